#pragma once

#include <string>
#include <vector>

namespace pitool {

// One name of the identifier vocabulary: the enumeration it belongs to
// ("_PROPERTY_ID", "_UNITS", ...; "int" for the plain constants, RESULT_ and
// EXCEPTION_ among them), its name and its number, as the identifier table
// (cmake/GenerateIdentifiers.py) has them.
struct NamedValue {
    const char* group;
    const char* name;
    int value;
};

// The names of `group` that begin with `prefix`, in the order of the header.
std::vector<NamedValue> NamesOf(const std::string& group, const std::string& prefix = "");

// The name of `group` and `prefix` spelled `name` (case is ignored), or null.
const NamedValue* FindByName(const std::string& group, const std::string& prefix,
                             const std::string& name);

// The first name of `group` and `prefix` with the number `value`, or null.
const NamedValue* FindByValue(const std::string& group, const std::string& prefix, int value);

// A number (decimal) or one of the constant names of `group` that begin with
// `prefix`. Anything else fails with exit status 2.
int ParseNamedValue(const std::string& text, const std::string& what, const std::string& group,
                    const std::string& prefix);

} // namespace pitool
