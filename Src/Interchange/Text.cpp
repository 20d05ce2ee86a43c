// UTF-8 checking and Base64 for the interchange form.
#include "Text.h"

#include <cstdint>

namespace PI {
namespace Interchange {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// 0-63 for the alphabet, 64 for '=', 255 for anything else.
int Sextet(unsigned char c) noexcept {
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    if (c == '+')
        return 62;
    if (c == '/')
        return 63;
    if (c == '=')
        return 64;
    return 255;
}

} // namespace

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
    out.reserve(out.size() + (length + 2) / 3 * 4);
    size_t i = 0;
    for (; i + 3 <= length; i += 3) {
        const std::uint32_t v =
            (std::uint32_t(bytes[i]) << 16) | (std::uint32_t(bytes[i + 1]) << 8) | bytes[i + 2];
        out += kAlphabet[(v >> 18) & 63];
        out += kAlphabet[(v >> 12) & 63];
        out += kAlphabet[(v >> 6) & 63];
        out += kAlphabet[v & 63];
    }
    if (length - i == 1) {
        const std::uint32_t v = std::uint32_t(bytes[i]) << 16;
        out += kAlphabet[(v >> 18) & 63];
        out += kAlphabet[(v >> 12) & 63];
        out += "==";
    } else if (length - i == 2) {
        const std::uint32_t v =
            (std::uint32_t(bytes[i]) << 16) | (std::uint32_t(bytes[i + 1]) << 8);
        out += kAlphabet[(v >> 18) & 63];
        out += kAlphabet[(v >> 12) & 63];
        out += kAlphabet[(v >> 6) & 63];
        out += '=';
    }
}

bool DecodeBase64(const char* text, size_t length, std::string& out) {
    if (length % 4 != 0)
        return false;
    std::string bytes;
    bytes.reserve(length / 4 * 3);
    for (size_t i = 0; i < length; i += 4) {
        int q[4];
        for (int k = 0; k < 4; ++k) {
            q[k] = Sextet(static_cast<unsigned char>(text[i + k]));
            if (q[k] == 255)
                return false;
        }
        const bool last = i + 4 == length;
        // Padding only at the end: "xx==" or "xxx=".
        if (q[0] == 64 || q[1] == 64 || (q[2] == 64 && q[3] != 64) || (!last && q[3] == 64))
            return false;
        const std::uint32_t v = (std::uint32_t(q[0]) << 18) | (std::uint32_t(q[1]) << 12) |
                                (std::uint32_t(q[2] & 63) << 6) | std::uint32_t(q[3] & 63);
        bytes += static_cast<char>((v >> 16) & 0xFF);
        if (q[2] == 64) {
            // The bits that the padding drops must be zero, so that every
            // byte sequence has exactly one spelling.
            if ((q[1] & 0x0F) != 0)
                return false;
            break;
        }
        bytes += static_cast<char>((v >> 8) & 0xFF);
        if (q[3] == 64) {
            if ((q[2] & 0x03) != 0)
                return false;
            break;
        }
        bytes += static_cast<char>(v & 0xFF);
    }
    out.swap(bytes);
    return true;
}

} // namespace Interchange
} // namespace PI
