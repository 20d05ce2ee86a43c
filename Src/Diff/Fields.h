#pragma once

// The diff and patch walk the members of each record class through the same
// lists as the interchange form (Schema.h), which say whether operator==
// compares a member and how the elements of a list are paired. What remains
// here tells the three kinds of member apart.

#include "../Interchange/Schema.h"

#include <type_traits>
#include <vector>

namespace PI {
namespace DiffInternal {

using Interchange::EMatch;
using Interchange::SchemaOf;

template <class T> struct IsList : std::false_type {};
template <class E> struct IsList<std::vector<E>> : std::true_type {};

// A record inside a record under a name of its own: a task's object part.
template <class T> struct IsPart : std::false_type {};
template <class O> struct IsPart<Interchange::TaskBase<O>> : std::true_type {};

template <class T> constexpr bool IS_LIST = IsList<std::decay_t<T>>::value;
template <class T> constexpr bool IS_PART = IsPart<std::decay_t<T>>::value;

} // namespace DiffInternal
} // namespace PI
