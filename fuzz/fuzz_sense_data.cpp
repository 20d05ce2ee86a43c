// Fuzz target: decoding of raw sense data.
#include "checks/SenseData.h"

PI_FUZZ_TARGET(pi_fuzz::CheckSenseData)
