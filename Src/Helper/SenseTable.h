#pragma once

#include "DirectIndex.h"
#include "PI/Tables.h"

#include <cstddef>

namespace PI {

constexpr size_t kSenseKeyRowCount = 16;
// One row per four-bit sense key, the row number being the key.
extern const SenseKeyRow kSenseKeyRows[kSenseKeyRowCount];

constexpr size_t kSenseRowCount = 470;
// Additional sense codes and qualifiers, in ascending order of (ASC, ASCQ).
extern const SenseRow kSenseRows[kSenseRowCount];

// The text of the first row holding (asc, ascq) with its length; nullptr when
// no row holds the pair.
Detail::FoundText FindSenseText(unsigned char asc, unsigned char ascq) noexcept;

} // namespace PI
