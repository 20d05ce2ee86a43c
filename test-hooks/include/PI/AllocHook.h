#pragma once

// A hook for the tests into the allocation of property value blocks.
//
// Every value block of PI::CProperty (setters, copy construction, copy
// assignment) is obtained through this hook, with malloc underneath, and
// released with free. A test can make the next allocations fail to reach the
// out-of-memory paths (result 20007 of the setters, exception 0x21130003 of
// copying).
//
// This header is not installed: the hook is for the tests only. It is
// compiled into the library when the build is configured with
// -DPI_TEST_HOOKS=ON (off by default, and in the packages), which defines
// PI_WITH_TEST_HOOKS for the library and for whatever links pi_test_hooks.
// Without it the library exports none of these functions; the inline
// stand-ins below do nothing, AllocHooksAvailable() is false, and tests that
// need the hook skip.
//
// Every setting is per thread: only allocations made on the thread that set
// it are affected, so tests cannot disturb each other's threads.
//
// The hook only watches while it is armed: by a CAllocHookScope (or
// ArmAllocHook) on any thread, or by FailAllocations / SetAllocFilter on a
// thread until that thread's next ResetAllocHook. Unarmed, a block comes
// straight from malloc and nothing is counted, so that the library built with
// the hook stays as fast as the one without it.

#include "PI/Export.h"

#include <cstddef>

namespace PI {
namespace Test {

#if defined(PI_WITH_TEST_HOOKS)
// True when the library was built with the hook.
PI_API bool AllocHooksAvailable() noexcept;

// Lets the next `skip` allocations succeed and then fails `count` of them.
PI_API void FailAllocations(unsigned int skip, unsigned int count = 1) noexcept;

// A filter called with the requested size before each allocation; it returns
// false to make that allocation fail. Null removes it. It is consulted after
// the FailAllocations countdown.
using AllocFilter = bool (*)(size_t size, void* context);
PI_API void SetAllocFilter(AllocFilter filter, void* context) noexcept;

// Removes every setting of this thread and sets its counters to zero. Arms
// nothing; it ends the arming by this thread's settings.
PI_API void ResetAllocHook() noexcept;

// Arms the hook for every thread until the matching DisarmAllocHook; calls
// nest. CAllocHookScope does this for a scope.
PI_API void ArmAllocHook() noexcept;
PI_API void DisarmAllocHook() noexcept;

// Allocations attempted on this thread while the hook was armed since the
// last reset, and how many of them the hook made fail.
PI_API unsigned long long AllocationCount() noexcept;
PI_API unsigned long long FailedAllocationCount() noexcept;

// Blocks obtained less blocks released while the hook was armed, over all
// threads (not reset by ResetAllocHook). The difference of two readings
// taken while the hook stays armed is exact; lets a test see when a block is
// released.
PI_API long long LiveBlockCount() noexcept;
#else
// The library has no hook: these stand-ins let a test compile and skip.
inline bool AllocHooksAvailable() noexcept {
    return false;
}
inline void FailAllocations(unsigned int, unsigned int = 1) noexcept {}
using AllocFilter = bool (*)(size_t size, void* context);
inline void SetAllocFilter(AllocFilter, void*) noexcept {}
inline void ResetAllocHook() noexcept {}
inline void ArmAllocHook() noexcept {}
inline void DisarmAllocHook() noexcept {}
inline unsigned long long AllocationCount() noexcept {
    return 0;
}
inline unsigned long long FailedAllocationCount() noexcept {
    return 0;
}
inline long long LiveBlockCount() noexcept {
    return 0;
}
#endif

// Resets the hook of this thread on entry and on every way out of a scope,
// and keeps it armed in between.
class CAllocHookScope {
public:
    CAllocHookScope() noexcept {
        ResetAllocHook();
        ArmAllocHook();
    }
    ~CAllocHookScope() {
        ResetAllocHook();
        DisarmAllocHook();
    }
    CAllocHookScope(const CAllocHookScope&) = delete;
    CAllocHookScope& operator=(const CAllocHookScope&) = delete;
};

} // namespace Test
} // namespace PI
