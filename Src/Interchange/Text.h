#pragma once

// Texts and bytes of the interchange form: which texts may travel as
// strings, and the Base64 spelling of bytes in JSON.

#include <cstddef>
#include <string>

namespace PI {
namespace Interchange {

// True when the bytes are well-formed UTF-8 (no overlong forms, no
// surrogates, nothing above U+10FFFF). NUL is a character like any other.
bool IsValidUtf8(const char* text, size_t length) noexcept;

// Appends the standard Base64 form (with padding) of the bytes.
void AppendBase64(const unsigned char* bytes, size_t length, std::string& out);

// Decodes standard Base64 with padding into `out` (replacing its content);
// false for any other character, a wrong length or wrong padding.
bool DecodeBase64(const char* text, size_t length, std::string& out);

} // namespace Interchange
} // namespace PI
