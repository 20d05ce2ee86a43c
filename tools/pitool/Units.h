#pragma once

#include <PI/Identifiers.h>

#include <string>

namespace pitool {

// The short symbol of a byte unit ("B", "KB", ... "PB"), or "" for a unit
// that is no byte unit.
std::string UnitSymbol(int unit);
// The enumerator name of a _UNITS value, or "" when it has none.
std::string UnitName(int unit);

} // namespace pitool
