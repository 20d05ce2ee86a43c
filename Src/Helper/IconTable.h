#pragma once

#include "PI/Tables.h"

#include <cstddef>

namespace PI {

constexpr size_t kIconRowCount = 206;
// Icon ids and their image files.
extern const IconRow kIconRows[kIconRowCount];

// The image file of icon `id`, or nullptr when no row has it.
const char* FindIconFile(int id) noexcept;

} // namespace PI
