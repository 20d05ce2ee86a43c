#include "RVX/Module.h"

namespace RVX {

Misc::CModuleInfo& PlatformModuleInfo() {
    // Built on first use, so that other static initialisers may already
    // raise or trace through it.
    static Misc::CModuleInfo module(PLATFORM_MODULE_NUMBER, PLATFORM_MODULE_NAME, "1.0",
                                    0x40000000u);
    return module;
}

namespace {
// Registered at load even when nothing has raised or traced yet.
const Misc::CModuleInfo& g_Registered = PlatformModuleInfo();
} // namespace

} // namespace RVX
