#pragma once

// Raising the library's exceptions through the platform facility.

namespace PI {
namespace Internal {

// Source paths named by the library's exception and trace records.
constexpr const char* SOURCE_OBJECTS = "Src/Objects";
constexpr const char* SOURCE_CONFIG = "Src/Config";

// Opens a throw state at `source`:`line` and throws CException(`code`); on
// the way out the same location is added as a source record. Returns only
// while throwing is disabled on this thread; callers then return `code` or a
// harmless value. Hold an RVX::Threading::CThrowStateGuard around the call so
// that the thread's state is put back on every way out.
void Raise(const char* source, unsigned int line, unsigned int code);

} // namespace Internal
} // namespace PI
