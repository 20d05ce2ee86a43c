// Fuzz target: the logical-drive document constructor.
#include "checks/LogicalDrive.h"

PI_FUZZ_TARGET(pi_fuzz::CheckLogicalDrive)
