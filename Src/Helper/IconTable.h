#pragma once

#include "DirectIndex.h"
#include "PI/Tables.h"

#include <cstddef>

namespace PI {

constexpr size_t kIconRowCount = 206;
// Icon ids and their image files.
extern const IconRow kIconRows[kIconRowCount];

// The image file of icon `id` with its length; nullptr when no row has it.
Detail::FoundText FindIconFile(int id) noexcept;

} // namespace PI
