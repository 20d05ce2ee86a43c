#pragma once

// The one UTF-8 rule of this tree: the interchange form decides with it
// which texts travel as strings, pitool which bytes it must replace.

#include <cstddef>
#include <cstdint>

namespace PI {
namespace Internal {

// The length of the well-formed UTF-8 sequence at the start of the
// `available` bytes at `s` (no overlong forms, no surrogates, nothing above
// U+10FFFF), or 0 when they do not begin with one. NUL is a character like
// any other.
inline std::size_t Utf8SequenceLength(const unsigned char* s, std::size_t available) noexcept {
    const unsigned char c = s[0];
    if (c < 0x80)
        return 1;
    std::size_t extra;
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
        return 0;
    }
    if (available <= extra)
        return 0;
    for (std::size_t k = 1; k <= extra; ++k) {
        const unsigned char next = s[k];
        if ((next & 0xC0) != 0x80)
            return 0;
        code = (code << 6) | (next & 0x3F);
    }
    if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        return 0;
    return extra + 1;
}

} // namespace Internal
} // namespace PI
