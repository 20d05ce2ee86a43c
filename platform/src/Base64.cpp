#include "RVX/Base64.h"

#include <cstdint>

namespace RVX {
namespace Base64 {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned char kPad = 64;
constexpr unsigned char kBad = 255;

// 0-63 for the alphabet, kPad for '=', kBad for anything else.
constexpr unsigned char Sextet(unsigned char c) noexcept {
    if (c >= 'A' && c <= 'Z')
        return static_cast<unsigned char>(c - 'A');
    if (c >= 'a' && c <= 'z')
        return static_cast<unsigned char>(c - 'a' + 26);
    if (c >= '0' && c <= '9')
        return static_cast<unsigned char>(c - '0' + 52);
    if (c == '+')
        return 62;
    if (c == '/')
        return 63;
    return c == '=' ? kPad : kBad;
}

} // namespace

void Append(const unsigned char* bytes, size_t length, std::string& out) {
    const size_t start = out.size();
    out.resize(start + EncodedLength(length));
    char* to = &out[start];
    size_t i = 0;
    for (; i + 3 <= length; i += 3) {
        const std::uint32_t v =
            (std::uint32_t(bytes[i]) << 16) | (std::uint32_t(bytes[i + 1]) << 8) | bytes[i + 2];
        *to++ = kAlphabet[(v >> 18) & 63];
        *to++ = kAlphabet[(v >> 12) & 63];
        *to++ = kAlphabet[(v >> 6) & 63];
        *to++ = kAlphabet[v & 63];
    }
    if (length - i == 1) {
        const std::uint32_t v = std::uint32_t(bytes[i]) << 16;
        *to++ = kAlphabet[(v >> 18) & 63];
        *to++ = kAlphabet[(v >> 12) & 63];
        *to++ = '=';
        *to++ = '=';
    } else if (length - i == 2) {
        const std::uint32_t v =
            (std::uint32_t(bytes[i]) << 16) | (std::uint32_t(bytes[i + 1]) << 8);
        *to++ = kAlphabet[(v >> 18) & 63];
        *to++ = kAlphabet[(v >> 12) & 63];
        *to++ = kAlphabet[(v >> 6) & 63];
        *to++ = '=';
    }
}

bool Decode(const char* text, size_t length, unsigned char* out, size_t& written) noexcept {
    written = 0;
    if (length % 4 != 0)
        return false;
    unsigned char* to = out;
    for (size_t i = 0; i < length; i += 4) {
        unsigned char q[4];
        for (int k = 0; k < 4; ++k) {
            q[k] = Sextet(static_cast<unsigned char>(text[i + k]));
            if (q[k] == kBad)
                return false;
        }
        const bool last = i + 4 == length;
        // Padding only at the end: "xx==" or "xxx=".
        if (q[0] == kPad || q[1] == kPad || (q[2] == kPad && q[3] != kPad) ||
            (!last && q[3] == kPad))
            return false;
        const std::uint32_t v = (std::uint32_t(q[0]) << 18) | (std::uint32_t(q[1]) << 12) |
                                (std::uint32_t(q[2] & 63) << 6) | std::uint32_t(q[3] & 63);
        *to++ = static_cast<unsigned char>(v >> 16);
        if (q[2] == kPad) {
            if ((q[1] & 0x0F) != 0)
                return false;
            break;
        }
        *to++ = static_cast<unsigned char>(v >> 8);
        if (q[3] == kPad) {
            if ((q[2] & 0x03) != 0)
                return false;
            break;
        }
        *to++ = static_cast<unsigned char>(v);
    }
    written = static_cast<size_t>(to - out);
    return true;
}

} // namespace Base64
} // namespace RVX
