// Fuzz target: event placeholders on arbitrary stored text.
#include "checks/EventPlaceholders.h"

PI_FUZZ_TARGET(pi_fuzz::CheckEventPlaceholders)
