// UTF-8 checking and Base64 for the interchange form.
#include "Text.h"

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
        const unsigned char c = s[i];
        if (c < 0x80) {
            ++i;
            continue;
        }
        size_t extra;
        std::uint32_t code;
        std::uint32_t minimum;
        if ((c & 0xE0) == 0xC0) {
            extra = 1;
            code = c & 0x1F;
            minimum = 0x80;
        } else if ((c & 0xF0) == 0xE0) {
            extra = 2;
            code = c & 0x0F;
            minimum = 0x800;
        } else if ((c & 0xF8) == 0xF0) {
            extra = 3;
            code = c & 0x07;
            minimum = 0x10000;
        } else {
            return false;
        }
        if (length - i <= extra)
            return false;
        for (size_t k = 1; k <= extra; ++k) {
            const unsigned char next = s[i + k];
            if ((next & 0xC0) != 0x80)
                return false;
            code = (code << 6) | (next & 0x3F);
        }
        if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
            return false;
        i += extra + 1;
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
