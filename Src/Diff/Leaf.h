#pragma once

// One value of a change in its interchange form: a field of a record (a
// number, a flag, a text) or a whole element (a property, an object).

#include "../Interchange/Classes.h"
#include "../Interchange/ValueWriter.h"

#include "PI/Interchange.h"
#include "PI/InterchangeError.h"

#include <RVX/Strings.h>

#include <cstddef>
#include <limits>
#include <string>
#include <type_traits>
#include <variant>

namespace PI {
namespace DiffInternal {

template <class T>
constexpr bool IS_TEXT =
    std::is_same_v<T, std::string> || std::is_base_of_v<RVX::Strings::CStringVar, T>;
template <class T> constexpr bool IS_NUMBER = std::is_arithmetic_v<T> || std::is_enum_v<T>;

using Interchange::ClassOf;

// JSON text of numbers and flags.
void AppendNumber(long long value, std::string& out);
void AppendNumber(unsigned long long value, std::string& out);
void AppendFlag(bool value, std::string& out);
// Readers of one JSON value each; false (and `out` untouched) for anything
// else. Ranges are those of the field's type.
bool ParseFlag(const std::string& json, bool& out);
bool ParseSigned(const std::string& json, long long minimum, long long maximum, long long& out);
bool ParseUnsigned(const std::string& json, unsigned long long maximum, unsigned long long& out);
bool ParseText(const std::string& json, std::string& out);

inline std::string& TextOf(std::string& text) {
    return text;
}
inline const std::string& TextOf(const std::string& text) {
    return text;
}
inline std::string& TextOf(RVX::Strings::CStringVar& text) {
    return text.Str();
}
inline const std::string& TextOf(const RVX::Strings::CStringVar& text) {
    return text.Str();
}

// Appends the JSON value of `value` to `out`; only records can fail. The
// writer is the caller's, reused for every value it writes.
template <class T>
unsigned int EncodeLeaf(const T& value, std::string& out, CInterchangeError* error,
                        Interchange::JsonValueWriter& writer) {
    if constexpr (std::is_same_v<T, bool>) {
        AppendFlag(value, out);
    } else if constexpr (std::is_enum_v<T>) {
        AppendNumber(static_cast<long long>(static_cast<int>(value)), out);
    } else if constexpr (std::is_integral_v<T> && std::is_signed_v<T>) {
        AppendNumber(static_cast<long long>(value), out);
    } else if constexpr (std::is_integral_v<T>) {
        AppendNumber(static_cast<unsigned long long>(value), out);
    } else if constexpr (IS_TEXT<T>) {
        const std::string& text = TextOf(value);
        writer.WriteText(text.data(), text.size(), out);
    } else {
        return writer.Write(value, out, error);
    }
    return 0;
}

// Reads the JSON value of a leaf of type T. Returns 0, INTERCHANGE_SCHEMA
// for a value that is not one of T (with `what` set to what was expected) or
// RESULT_OUT_OF_MEMORY; `out` is untouched unless it returns 0.
template <class T> unsigned int DecodeLeaf(const std::string& json, T& out, std::string& what) {
    if constexpr (std::is_same_v<T, bool>) {
        what = "true or false";
        return ParseFlag(json, out) ? 0 : INTERCHANGE_SCHEMA;
    } else if constexpr (std::is_enum_v<T> || (std::is_integral_v<T> && std::is_signed_v<T>)) {
        using Stored = std::conditional_t<std::is_enum_v<T>, int, T>;
        const long long lo = std::numeric_limits<Stored>::min();
        const long long hi = std::numeric_limits<Stored>::max();
        what = "an integer from " + std::to_string(lo) + " to " + std::to_string(hi);
        long long value = 0;
        if (!ParseSigned(json, lo, hi, value))
            return INTERCHANGE_SCHEMA;
        out = static_cast<T>(value);
        return 0;
    } else if constexpr (std::is_integral_v<T>) {
        const unsigned long long hi = std::numeric_limits<T>::max();
        what = "an integer from 0 to " + std::to_string(hi);
        unsigned long long value = 0;
        if (!ParseUnsigned(json, hi, value))
            return INTERCHANGE_SCHEMA;
        out = static_cast<T>(value);
        return 0;
    } else if constexpr (IS_TEXT<T>) {
        what = "a text or {\"Base64\": ...}";
        return ParseText(json, TextOf(out)) ? 0 : INTERCHANGE_SCHEMA;
    } else {
        T record;
        CInterchangeError error;
        const unsigned int result = ReadJsonValue(json, record, &error);
        if (result == RESULT_OUT_OF_MEMORY) {
            what = "memory for a " + std::string(RecordClassName(ClassOf<T>())) + " value";
            return result;
        }
        if (result != 0) {
            what =
                "a " + std::string(RecordClassName(ClassOf<T>())) + " value (" + error.Text() + ")";
            return INTERCHANGE_SCHEMA;
        }
        out = std::move(record);
        return 0;
    }
}

} // namespace DiffInternal
} // namespace PI
