#pragma once

#include "PI/Export.h"

#include <RVX/Trace.h>

namespace PI {

// The library's registration with the trace and error facility: module 275,
// "voPI". Its trace mask selects which trace records the library writes.
PI_API RVX::Misc::CModuleInfo& GetModuleInfo();

} // namespace PI
