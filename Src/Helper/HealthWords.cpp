#include "HealthWords.h"

namespace PI {

// The words RAID controllers commonly report for a logical drive or a
// device; a drive that is rebuilding still serves, so it is a warning.
constexpr DefaultHealthWord kDefaultHealthWords[kDefaultHealthWordCount] = {
    {"Optimal", HEALTH_OK},         {"Online", HEALTH_OK},
    {"Degraded", HEALTH_WARNING},   {"Partially Degraded", HEALTH_WARNING},
    {"Rebuilding", HEALTH_WARNING}, {"Failed", HEALTH_CRITICAL},
    {"Offline", HEALTH_CRITICAL},
};

} // namespace PI
