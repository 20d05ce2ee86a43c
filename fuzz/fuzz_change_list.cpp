// Fuzz target: the change list reader and Patch.
#include "checks/ChangeList.h"

PI_FUZZ_TARGET(pi_fuzz::CheckChangeList)
