#pragma once

// The tests and fuzz checks reach the placeholders as the library does.
#include <PI/Internal/EventRawAccess.h>
