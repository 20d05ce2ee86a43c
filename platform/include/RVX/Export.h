#pragma once

// Symbols of the platform library that other modules may use.
#if defined(RVX_BUILDING_LIBRARY)
#define RVX_API __attribute__((visibility("default")))
#else
#define RVX_API __attribute__((visibility("default")))
#endif
