#include "Exposition.h"

#include "PI/Identifiers.h"
#include "PI/Internal/Utf8.h"

#include <RVX/Exceptions.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <vector>

namespace PI {
namespace Monitoring {

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD"; // U+FFFD

// Calls `take(first, length)` for each well-formed character and
// `replace()` for each byte that begins none.
template <class Take, class Replace>
void ForEachCharacter(std::string_view text, Take take, Replace replace) {
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    size_t i = 0;
    while (i < text.size()) {
        const size_t length = Internal::Utf8SequenceLength(s + i, text.size() - i);
        if (length == 0) {
            replace();
            ++i;
        } else {
            take(text.data() + i, length);
            i += length;
        }
    }
}

} // namespace

void AppendLabelValue(std::string& out, std::string_view text) {
    // Most values are plain ASCII: taken whole.
    if (std::none_of(text.begin(), text.end(), [](char c) {
            return c == '\\' || c == '"' || c == '\n' || static_cast<unsigned char>(c) >= 0x80;
        })) {
        out += text;
        return;
    }
    ForEachCharacter(
        text,
        [&out](const char* c, size_t length) {
            if (length == 1 && (*c == '\\' || *c == '"'))
                out += '\\', out += *c;
            else if (length == 1 && *c == '\n')
                out += "\\n";
            else
                out.append(c, length);
        },
        [&out] { out += kReplacement; });
}

std::string OneLineText(std::string_view text) {
    std::string line;
    ForEachCharacter(
        text,
        [&line](const char* c, size_t length) {
            const auto byte = static_cast<unsigned char>(*c);
            if (length == 1 && (byte < 0x20 || byte == 0x7F))
                line += ' ';
            else
                line.append(c, length);
        },
        [&line] { line += kReplacement; });
    return line;
}

// GetValue only reads, though it is not declared const. Throwing is off
// while it runs, so that a malformed block is a failed read.
bool NumberOf(const CProperty& property, Number& number) {
    RVX::Threading::CThrowStateGuard state;
    RVX::Threading::CDisableThrow quiet;
    return NumberOfQuietly(property, number);
}

bool NumberOfQuietly(const CProperty& property, Number& number) {
    CProperty& p = const_cast<CProperty&>(property);
    switch (p.Type) {
    case VT_UINT64: {
        unsigned long long value = 0;
        if (p.GetValue(value) != RESULT_SUCCESS)
            return false;
        number.exact = true;
        number.whole = value;
        return true;
    }
    case VT_FLOAT: {
        float value = 0;
        if (p.GetValue(value) != RESULT_SUCCESS)
            return false;
        number.exact = false;
        number.real = value;
        return true;
    }
    case VT_BOOL: {
        bool value = false;
        if (p.GetValue(value) != RESULT_SUCCESS)
            return false;
        number.exact = true;
        number.whole = value ? 1 : 0;
        return true;
    }
    case VT_RANGE: {
        int value = 0, minimum = 0, maximum = 0;
        unsigned int step = 0;
        if (p.GetValue(value, minimum, maximum, step) != RESULT_SUCCESS)
            return false;
        number.exact = false;
        number.real = value;
        return true;
    }
    case VT_INT_LIST: {
        int value = 0;
        thread_local std::vector<int> choices; // kept for its capacity
        if (p.GetValue(value, choices) != RESULT_SUCCESS)
            return false;
        number.exact = false;
        number.real = value;
        return true;
    }
    default:
        return false;
    }
}

bool TextOf(const CProperty& property, std::string& text) {
    RVX::Threading::CThrowStateGuard state;
    RVX::Threading::CDisableThrow quiet;
    return TextOfQuietly(property, text);
}

bool TextOfQuietly(const CProperty& property, std::string& text) {
    return property.Type == VT_STRING &&
           const_cast<CProperty&>(property).GetValue(text) == RESULT_SUCCESS;
}

void AppendValue(std::string& out, unsigned long long value) {
    char buffer[24];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
}

void AppendValue(std::string& out, double value) {
    if (std::isnan(value)) {
        out += "NaN";
    } else if (std::isinf(value)) {
        out += value > 0 ? "+Inf" : "-Inf";
    } else {
        char buffer[32];
        const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
        out.append(buffer, result.ptr);
    }
}

void AppendValue(std::string& out, const Number& number, double scale) {
    if (number.exact && scale == 1)
        AppendValue(out, number.whole);
    else
        AppendValue(out, number.AsDouble() * scale);
}

} // namespace Monitoring
} // namespace PI
