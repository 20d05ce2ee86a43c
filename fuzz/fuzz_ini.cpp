// Fuzz target: the INI reader and one update on arbitrary bytes.
#include "checks/Ini.h"

PI_FUZZ_TARGET(pi_fuzz::CheckIni)
