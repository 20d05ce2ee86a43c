#pragma once

// Which form a property travels in, and which blocks a decoder may accept.

#include "PI/Internal/RecordDescription.h"
#include "PI/Property.h"

#include <cstdint>

namespace PI {
namespace Interchange {

using Records::DefaultSubType;

enum class PropertyForm {
    NoValue, // kind 1 without a block: neither Value nor Raw
    Natural, // Value, in the natural form of its kind
    Raw,     // Raw, DataSize and SplitSize
    Bad,     // a block of the kinds 2 to 11 that its readers would refuse
};

PropertyForm ClassifyProperty(const CProperty& property) noexcept;

// For a block of `size` bytes present on a property of kind `type` (2 to
// 11): null when the kind's readers accept it whole, else what the block
// must be.
const char* CheckBlock(unsigned int type, const unsigned char* data, std::uint32_t size,
                       std::uint32_t split) noexcept;

} // namespace Interchange
} // namespace PI
