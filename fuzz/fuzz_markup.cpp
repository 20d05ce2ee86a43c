// Fuzz target: CMarkup navigation over arbitrary text.
#include "checks/Markup.h"

PI_FUZZ_TARGET(pi_fuzz::CheckMarkup)
