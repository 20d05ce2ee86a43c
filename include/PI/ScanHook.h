#pragma once

// A hook for the tests into reading logical drive configuration documents.
//
// CLogicalDrive(xml) reads a document of the shape the agent writes straight
// from its text, and any other through the markup parser. The hook lets a
// test read a document both ways and see which way a document took.
//
// Compiled in with PI_WITH_TEST_HOOKS, as the allocation hook (AllocHook.h);
// without it the functions do nothing, SetLogicalDriveScan returns false and
// LogicalDriveScanCount 0, and tests that need the hook should skip.
// Every setting and count is per thread.

#include "PI/Export.h"

namespace PI {
namespace Test {

// Whether this thread may read documents straight from their text (it may
// until told otherwise). Returns whether the library has the hook.
PI_API bool SetLogicalDriveScan(bool allowed) noexcept;

// How many documents this thread has read straight from their text.
PI_API unsigned long long LogicalDriveScanCount() noexcept;

} // namespace Test
} // namespace PI
