#include "Names.h"

#include "Tool.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <iterator>

namespace pitool {
namespace {

#define PI_IDENTIFIER(group, name, value, pythonClass, pythonName) {group, name, value},
const NamedValue kIdentifierNames[] = {
#include "IdentifierTable.inc"
};
#undef PI_IDENTIFIER

bool EqualsIgnoringCase(const std::string& a, const std::string& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::toupper(static_cast<unsigned char>(x)) ==
                      std::toupper(static_cast<unsigned char>(y));
           });
}

bool Matches(const NamedValue& row, const std::string& group, const std::string& prefix) {
    return group == row.group && std::string(row.name).compare(0, prefix.size(), prefix) == 0;
}

} // namespace

std::vector<NamedValue> NamesOf(const std::string& group, const std::string& prefix) {
    std::vector<NamedValue> names;
    std::copy_if(std::begin(kIdentifierNames), std::end(kIdentifierNames),
                 std::back_inserter(names),
                 [&](const NamedValue& row) { return Matches(row, group, prefix); });
    return names;
}

const NamedValue* FindByName(const std::string& group, const std::string& prefix,
                             const std::string& name) {
    for (const auto& row : kIdentifierNames) {
        if (Matches(row, group, prefix) && EqualsIgnoringCase(row.name, name)) {
            return &row;
        }
    }
    return nullptr;
}

const NamedValue* FindByValue(const std::string& group, const std::string& prefix, int value) {
    for (const auto& row : kIdentifierNames) {
        if (Matches(row, group, prefix) && row.value == value) {
            return &row;
        }
    }
    return nullptr;
}

int ParseNamedValue(const std::string& text, const std::string& what, const std::string& group,
                    const std::string& prefix) {
    if (!text.empty() && (std::isdigit(static_cast<unsigned char>(text[0])) || text[0] == '-')) {
        return static_cast<int>(ParseSigned(text, what, INT_MIN, INT_MAX));
    }
    if (const NamedValue* row = FindByName(group, prefix, text)) {
        return row->value;
    }
    Fail(what + " '" + text + "' is neither a number nor a " + prefix + "* name");
}

} // namespace pitool
