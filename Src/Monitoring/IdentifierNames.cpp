#include "IdentifierNames.h"

#include <cstring>
#include <iterator>

namespace PI {
namespace Monitoring {
namespace {

struct Row {
    const char* group;
    const char* name;
    int value;
};

#define PI_IDENTIFIER(group, name, value, pythonClass, pythonName) {group, name, value},
constexpr Row kRows[] = {
#include "IdentifierTable.inc"
};
#undef PI_IDENTIFIER

const char* FirstName(const char* group, int value) noexcept {
    for (const Row& row : kRows)
        if (row.value == value && std::strcmp(row.group, group) == 0)
            return row.name;
    return nullptr;
}

std::vector<NamedNumber> Collect(const char* group, const char* prefix) {
    std::vector<NamedNumber> names;
    const size_t length = std::strlen(prefix);
    for (const Row& row : kRows)
        if (std::strcmp(row.group, group) == 0 && std::strncmp(row.name, prefix, length) == 0)
            names.push_back({row.name, row.value});
    return names;
}

constexpr int kFirstProperty = 23001;
constexpr int kLastProperty = 23475;

// Metrics ask for a property's name once per property, so the names of the
// property band are indexed once.
struct PropertyIndex {
    const char* names[kLastProperty - kFirstProperty + 1] = {};
    PropertyIndex() {
        for (auto it = std::rbegin(kRows); it != std::rend(kRows); ++it)
            if (it->value >= kFirstProperty && it->value <= kLastProperty &&
                std::strcmp(it->group, "_PROPERTY_ID") == 0)
                names[it->value - kFirstProperty] = it->name; // the first name wins
    }
};

} // namespace

const char* PropertyName(int id) noexcept {
    static const PropertyIndex index;
    if (id < kFirstProperty || id > kLastProperty)
        return nullptr;
    return index.names[id - kFirstProperty];
}

const char* ObjectTypeName(int type) noexcept {
    return FirstName("_OBJECT_TYPE", type);
}

const char* SeverityName(int severity) noexcept {
    return FirstName("_SEVERITY", severity);
}

std::vector<NamedNumber> ConstantsNamed(const char* prefix) {
    return Collect("int", prefix);
}

std::vector<NamedNumber> Severities() {
    return Collect("_SEVERITY", "");
}

} // namespace Monitoring
} // namespace PI
