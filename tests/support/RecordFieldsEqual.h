#pragma once

// Field-by-field comparison of records, walking the record description: also
// what operator== leaves out (hot spares, associated drives, stored
// placeholders, event and task texts, pieces' sizes and properties) and
// every byte of every block. FirstDifference gives "" for equal records,
// else the path of the first field that differs.

#include <PI/Internal/RecordDescription.h>
#include <PI/ObjectModel.h>

#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace PI {
namespace Testing {

template <class R, class = decltype(Records::SchemaOf<R>::Name)>
std::string FirstDifference(const R& a, const R& b);

namespace Detail {

// The path below a member that differs ("" for the member itself), or
// false when it does not.
template <class T> bool Differs(const T& a, const T& b, std::string& below) {
    if constexpr (std::is_pointer_v<T>) {
        return false; // the property's block: compared with its size below
    } else {
        below.clear();
        return !(a == b);
    }
}
template <class O>
bool Differs(const Records::TaskBase<O>& a, const Records::TaskBase<O>& b, std::string& below) {
    below = FirstDifference(a.Object, b.Object);
    return !below.empty();
}
template <class T, class = decltype(Records::SchemaOf<T>::Name)>
bool Differs(const std::vector<T>& a, const std::vector<T>& b, std::string& below) {
    if (a.size() != b.size()) {
        below = " (count)";
        return true;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        below = FirstDifference(a[i], b[i]);
        if (!below.empty()) {
            below = "/" + std::to_string(i) + below;
            return true;
        }
    }
    return false;
}

} // namespace Detail

template <class R, class> std::string FirstDifference(const R& a, const R& b) {
    std::string out, below;
    Records::SchemaOf<R>::Fields(
        [&](std::string_view name, const auto&, bool, Records::EMatch, const auto& x,
            const auto& y) {
            if (out.empty() && Detail::Differs(x, y, below))
                out = "/" + std::string(name) + below;
        },
        a, b);
    if constexpr (std::is_same_v<R, CProperty>) {
        if (out.empty() && (a.Data != nullptr) != (b.Data != nullptr))
            return "/Data (present)";
        if (out.empty() && a.Data != nullptr && a.DataSize > 0 &&
            std::memcmp(a.Data, b.Data, a.DataSize) != 0)
            return "/Data";
    }
    return out;
}

} // namespace Testing
} // namespace PI
