// Fuzz target: the drive identity functions.
#include "checks/DriveIdentity.h"

PI_FUZZ_TARGET(pi_fuzz::CheckDriveIdentity)
