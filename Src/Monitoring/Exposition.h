#pragma once

// Pieces of the Prometheus text format and the reading of property values
// that the metrics and the check share.

#include "PI/Property.h"

#include <string>
#include <string_view>

namespace PI {
namespace Monitoring {

// Appends `text` as the inside of a quoted label value: backslash, double
// quote and line feed escaped, bytes that are not UTF-8 replaced by U+FFFD.
void AppendLabelValue(std::string& out, std::string_view text);
// `text` with the bytes that are not UTF-8 replaced by U+FFFD and every
// control character (a line feed among them) by a blank: for one line of
// plugin output.
std::string OneLineText(std::string_view text);

// A property value as a number: an unsigned one exactly, others as a double.
struct Number {
    bool exact = false;
    unsigned long long whole = 0;
    double real = 0;
    double AsDouble() const { return exact ? static_cast<double>(whole) : real; }
};
// VT_UINT64, VT_FLOAT, VT_BOOL (0 or 1), VT_RANGE and VT_INT_LIST (the
// value); false for other kinds and for a block that cannot be read.
bool NumberOf(const CProperty& property, Number& number);
// VT_STRING only.
bool TextOf(const CProperty& property, std::string& text);
// The same for a caller that has turned throwing off itself (a
// CThrowStateGuard and a CDisableThrow around a whole page).
bool NumberOfQuietly(const CProperty& property, Number& number);
bool TextOfQuietly(const CProperty& property, std::string& text);

// A sample value: integers in full, NaN, +Inf and -Inf by name, other
// doubles in their shortest exact form.
void AppendValue(std::string& out, const Number& number, double scale = 1);
void AppendValue(std::string& out, double value);
void AppendValue(std::string& out, unsigned long long value);

} // namespace Monitoring
} // namespace PI
