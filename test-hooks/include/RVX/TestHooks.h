#pragma once

// Hooks for the tests into the platform layer: the steps of an INI file
// write, and the places of the machine key and identity.
//
// Not installed. The library exports the setters only when the build is
// configured with -DPI_TEST_HOOKS=ON (off by default, and in the packages),
// which defines PI_WITH_TEST_HOOKS for whatever links pi_test_hooks; without
// it the inline stand-ins below do nothing, HooksAvailable() is false and
// tests that need a hook skip.

#include "RVX/Export.h"

namespace RVX {
namespace INI_Files {
namespace Internals {

// Steps of a write, reported to the test hook in this order.
enum WriteStage : int {
    WRITE_LOCKED = 1,       // lock taken, file loaded
    WRITE_TEMP_CREATED = 2, // temporary file exists, empty
    WRITE_HALF_WRITTEN = 3, // half of the new content written
    WRITE_WRITTEN = 4,      // all written, not yet synced
    WRITE_SYNCED = 5,       // synced, not yet renamed
    WRITE_RENAMED = 6,      // renamed over the file, directory not yet synced
    WRITE_DONE = 7,         // directory synced, lock still held
};

// Called at every step of every write in the process, for tests that stop or
// kill a writer part way. Null (the default) calls nothing.
using WriteStageHook = void (*)(WriteStage stage);
#if defined(PI_WITH_TEST_HOOKS)
RVX_API void SetWriteStageHook(WriteStageHook hook) noexcept;
#else
inline void SetWriteStageHook(WriteStageHook) noexcept {}
#endif

} // namespace Internals
} // namespace INI_Files

namespace Crypt {
namespace Internals {

// Moves the machine key file (source 3) and the machine identity file
// (source 4) elsewhere; null restores the standard place.
#if defined(PI_WITH_TEST_HOOKS)
RVX_API void SetKeyPlaces(const char* keyFile, const char* machineId);
#else
inline void SetKeyPlaces(const char*, const char*) {}
#endif

} // namespace Internals
} // namespace Crypt

namespace Test {

// Whether the libraries were built with the hooks above.
constexpr bool HooksAvailable() noexcept {
#if defined(PI_WITH_TEST_HOOKS)
    return true;
#else
    return false;
#endif
}

} // namespace Test
} // namespace RVX
