#include "PI/Module.h"

#include "PI/Identifiers.h"

namespace PI {
namespace {

// Built by static initialisation, released when the library is unloaded.
RVX::Misc::CModuleInfo g_ModuleInfo(MODULE_NUMBER, "voPI", "P:5.8.12 F:5.8.12");

} // namespace

RVX::Misc::CModuleInfo& GetModuleInfo() {
    return g_ModuleInfo;
}

} // namespace PI
