#pragma once

// The platform library's own registration with the trace and error facility:
// its failures are RVX::Exceptions::CException with codes of this module
// (0x20000000 + (number << 16) + local number), and its trace records name it.

#include "RVX/Export.h"
#include "RVX/Trace.h"

namespace RVX {

constexpr unsigned int PLATFORM_MODULE_NUMBER = 254;
constexpr const char PLATFORM_MODULE_NAME[] = "RVX";

// The code of local failure `local` of the platform module.
constexpr unsigned int PlatformCode(unsigned int local) {
    return 0x20000000u + (PLATFORM_MODULE_NUMBER << 16) + local;
}

// The platform's registration; records at level 0x40000000 (failures) are
// wanted by default.
RVX_API Misc::CModuleInfo& PlatformModuleInfo();

} // namespace RVX
