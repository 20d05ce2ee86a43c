#pragma once

#include "DirectIndex.h"
#include "PI/Tables.h"

#include <cstddef>

namespace PI {

constexpr size_t kHelpRowCount = 470;
// Properties and operations with their help paths, in the order the help
// pages number them.
extern const HelpRow kHelpRows[kHelpRowCount];

// The help path of `id` with its length; nullptr when no row has it.
Detail::FoundText FindHelpPath(int id) noexcept;

} // namespace PI
