#pragma once

// JSON Pointers of the elements that a fault concerns, built only on the way
// out of a failure: each level puts its own step in front.

#include <cstddef>
#include <string>
#include <string_view>

namespace PI {
namespace Interchange {

// "/name" with '~' and '/' escaped as "~0" and "~1".
inline void PrependKey(std::string& pointer, std::string_view name) {
    std::string step = "/";
    for (char c : name) {
        if (c == '~')
            step += "~0";
        else if (c == '/')
            step += "~1";
        else
            step += c;
    }
    pointer.insert(0, step);
}

inline void PrependIndex(std::string& pointer, size_t index) {
    pointer.insert(0, "/" + std::to_string(index));
}

} // namespace Interchange
} // namespace PI
