#pragma once

// Standard Base64 (the RFC 4648 alphabet with "+" and "/", "=" padding, no
// line breaks): the text form of the sealed bytes of an encrypted value and
// of bytes in the interchange form.

#include "RVX/Export.h"

#include <cstddef>
#include <string>

namespace RVX {
namespace Base64 {

// Characters of the text of `length` bytes.
constexpr size_t EncodedLength(size_t length) noexcept {
    return (length + 2) / 3 * 4;
}

// The most bytes that a text of `length` characters can decode to.
constexpr size_t MaxDecodedLength(size_t length) noexcept {
    return length / 4 * 3;
}

// Appends the text of the bytes to `out`.
RVX_API void Append(const unsigned char* bytes, size_t length, std::string& out);

// Decodes strictly: a multiple of four characters of the alphabet, padding
// only at the end, and the bits that padding drops zero, so that every byte
// sequence has exactly one text. Writes the bytes to `out`, which must hold
// MaxDecodedLength(length), and their number to `written`. False for any
// other text; `out` may then hold part of the bytes. The empty text is the
// empty byte sequence.
RVX_API bool Decode(const char* text, size_t length, unsigned char* out, size_t& written) noexcept;

} // namespace Base64
} // namespace RVX
