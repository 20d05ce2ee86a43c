#pragma once

// Checked access to the lists of the record classes.

#include "../Raise.h"
#include "PI/Identifiers.h"

#include <RVX/Exceptions.h>

#include <optional>
#include <vector>

namespace PI {
namespace Internal {

template <typename T> unsigned int ListCount(const std::vector<T>& list) {
    return static_cast<unsigned int>(list.size());
}

// Raises the index exception, naming `line` as the place of the check.
// Returns only while throwing is disabled on this thread.
inline void RaiseIndexOutOfRange(unsigned int line) {
    RVX::Threading::CThrowStateGuard guard;
    Raise(SOURCE_OBJECTS, line, EXCEPTION_INDEX_OUT_OF_RANGE);
}

// A per-thread stand-in for a missing element, freshly default-built on every
// call so that nothing written through an earlier reference survives.
template <typename T> T& StandIn() {
    static thread_local std::optional<T> element;
    element.emplace();
    return *element;
}

// The element at `index`. Out of range, raises the index exception from
// `line`; with throwing disabled the caller gets the stand-in instead of
// storage outside the list.
template <typename T> T& CheckedGet(std::vector<T>& list, unsigned int index, unsigned int line) {
    if (index < list.size())
        return list[index];
    RaiseIndexOutOfRange(line);
    return StandIn<T>();
}

// As CheckedGet, by value; a zero value with throwing disabled.
template <typename T>
T CheckedGetValue(const std::vector<T>& list, unsigned int index, unsigned int line) {
    if (index < list.size())
        return list[index];
    RaiseIndexOutOfRange(line);
    return T();
}

} // namespace Internal
} // namespace PI
