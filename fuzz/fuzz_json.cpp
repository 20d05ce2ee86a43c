// Fuzz target: the JSON decoder of the interchange form.
#include "checks/Interchange.h"

PI_FUZZ_TARGET(pi_fuzz::CheckJsonInterchange)
