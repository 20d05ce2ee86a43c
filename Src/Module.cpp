#include "PI/Module.h"

#include "PI/Identifiers.h"

#include "Version.h"

namespace PI {
namespace {

// Built by static initialisation, released when the library is unloaded.
RVX::Misc::CModuleInfo g_ModuleInfo(MODULE_NUMBER, "voPI", "P:" PI_VERSION " F:" PI_VERSION);

} // namespace

RVX::Misc::CModuleInfo& GetModuleInfo() {
    return g_ModuleInfo;
}

} // namespace PI
