// Fuzz target: the string-list readers of a property on an arbitrary block.
#include "checks/StringList.h"

PI_FUZZ_TARGET(pi_fuzz::CheckStringList)
