#pragma once

// The class of a record type, known at compile time.

#include "PI/Interchange.h"

#include <cstddef>
#include <type_traits>
#include <variant>

namespace PI {
namespace Interchange {

template <class R, size_t I = 0> constexpr ERecordClass ClassOf() {
    static_assert(I < std::variant_size_v<AnyRecord>, "not a record class");
    if constexpr (std::is_same_v<R, std::variant_alternative_t<I, AnyRecord>>)
        return static_cast<ERecordClass>(I);
    else
        return ClassOf<R, I + 1>();
}

} // namespace Interchange
} // namespace PI
