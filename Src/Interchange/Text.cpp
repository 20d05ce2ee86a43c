// UTF-8 checking and Base64 for the interchange form.
#include "Text.h"

#include "PI/Internal/Utf8.h"
#include "RVX/Base64.h"

#include <cstdint>

namespace PI {
namespace Interchange {

bool IsValidUtf8(const char* text, size_t length) noexcept {
    const auto* s = reinterpret_cast<const unsigned char*>(text);
    size_t i = 0;
    while (i < length) {
        // Runs of ASCII, eight at a time where aligned reading allows.
        while (i + 8 <= length) {
            std::uint64_t word;
            __builtin_memcpy(&word, s + i, 8);
            if (word & 0x8080808080808080ull)
                break;
            i += 8;
        }
        if (i >= length)
            break;
        const size_t sequence = Internal::Utf8SequenceLength(s + i, length - i);
        if (sequence == 0)
            return false;
        i += sequence;
    }
    return true;
}

void AppendBase64(const unsigned char* bytes, size_t length, std::string& out) {
    RVX::Base64::Append(bytes, length, out);
}

bool DecodeBase64(const char* text, size_t length, std::string& out) {
    std::string bytes(RVX::Base64::MaxDecodedLength(length), '\0');
    size_t written = 0;
    if (!RVX::Base64::Decode(text, length, reinterpret_cast<unsigned char*>(&bytes[0]), written))
        return false;
    bytes.resize(written);
    out.swap(bytes);
    return true;
}

} // namespace Interchange
} // namespace PI
