#pragma once

#include "RVX/Export.h"

namespace RVXX {

class RVX_API CSystemTime_Lx {
public:
    // The current time in milliseconds since 1970-01-01 00:00 UTC.
    static unsigned long long Now() noexcept;
};

} // namespace RVXX
