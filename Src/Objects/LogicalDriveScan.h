#pragma once

// Direct reading of a logical drive configuration document of the shape the
// agent writes, without building the markup parser's tree.

#include "PI/LogicalDrive.h"

#include <cstddef>
#include <cstring>
#include <string>

namespace PI {
namespace Internal {

// Reads the decimal digits at `p` and moves `p` past them: 1 to 20 of them
// up to the largest 64-bit value, the numbers that the document's conversion
// takes as they stand. False for none, more or a larger value (`p` then
// stands after the digits all the same).
inline bool ReadDecimal(const char*& p, unsigned long long& value) noexcept {
    const char* const digits = p;
    unsigned long long result = 0;
    for (unsigned digit; (digit = static_cast<unsigned char>(*p) - 48u) < 10; ++p)
        result = result * 10 + digit;
    const size_t size = static_cast<size_t>(p - digits);
    // Of 20 digits, those beyond the largest value wrapped above.
    if (size - 1 >= 20 || (size == 20 && std::memcmp(digits, "18446744073709551615", 20) > 0))
        return false;
    value = result;
    return true;
}

// Reads `xml` into `drive`, a default record, when the whole text keeps to
// the usual shape: the configuration element with its containers and drives,
// the three id lists at the top level, each at most once, all numbers plain
// decimal, every element closed, only blanks and comments between elements,
// and elements of other names only as empty leaves. Such a text is
// well-formed and the markup parser reads it to the same record.
//
// Returns false for anything else and leaves `drive` a default record; the
// caller then reads the text through the markup parser, which decides what
// such a text means (or that it is refused). Throws std::bad_alloc.
bool ScanLogicalDrive(const std::string& xml, CLogicalDrive& drive);

} // namespace Internal
} // namespace PI
