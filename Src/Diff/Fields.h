#pragma once

// The diff and patch walk the members of each record class through the same
// description as the interchange form (PI/Internal/RecordDescription.h), which say whether
// operator== compares a member and how the elements of a list are paired. What remains here tells
// the three kinds of member apart.

#include "PI/Internal/RecordDescription.h"

#include <type_traits>
#include <vector>

namespace PI {
namespace DiffInternal {

using Records::EMatch;
using Records::SchemaOf;

template <class T> struct IsList : std::false_type {};
template <class E> struct IsList<std::vector<E>> : std::true_type {};

// A record inside a record under a name of its own: a task's object part.
template <class T> struct IsPart : std::false_type {};
template <class O> struct IsPart<Records::TaskBase<O>> : std::true_type {};

template <class T> constexpr bool IS_LIST = IsList<std::decay_t<T>>::value;
template <class T> constexpr bool IS_PART = IsPart<std::decay_t<T>>::value;

} // namespace DiffInternal
} // namespace PI
