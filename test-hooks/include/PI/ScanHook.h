#pragma once

// A hook for the tests into reading logical drive configuration documents.
//
// CLogicalDrive(xml) reads a document of the shape the agent writes straight
// from its text, and any other through the markup parser. The hook lets a
// test read a document both ways and see which way a document took.
//
// Not installed; compiled into the library with PI_WITH_TEST_HOOKS only, as
// the allocation hook (AllocHook.h). Without it the library exports neither
// function: the inline stand-ins below do nothing, SetLogicalDriveScan
// returns false and LogicalDriveScanCount 0, and tests that need the hook
// skip.
// Every setting and count is per thread.

#include "PI/Export.h"

namespace PI {
namespace Test {

#if defined(PI_WITH_TEST_HOOKS)
// Whether this thread may read documents straight from their text (it may
// until told otherwise). Returns whether the library has the hook.
PI_API bool SetLogicalDriveScan(bool allowed) noexcept;

// How many documents this thread has read straight from their text.
PI_API unsigned long long LogicalDriveScanCount() noexcept;
#else
inline bool SetLogicalDriveScan(bool) noexcept {
    return false;
}
inline unsigned long long LogicalDriveScanCount() noexcept {
    return 0;
}
#endif

} // namespace Test
} // namespace PI
