// Fuzz target: the metrics page and the check plugin's line of random inventories.
#include "checks/Metrics.h"

PI_FUZZ_TARGET(pi_fuzz::CheckMetrics)
