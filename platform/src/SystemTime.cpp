#include "RVX/SystemTime.h"

#include <chrono>

namespace RVXX {

unsigned long long CSystemTime_Lx::Now() noexcept {
    using namespace std::chrono;
    return static_cast<unsigned long long>(
        duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
}

} // namespace RVXX
