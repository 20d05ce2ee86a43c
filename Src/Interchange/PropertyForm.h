#pragma once

// Which form a property travels in, and which blocks a decoder may accept.

#include "PI/Property.h"

#include <cstdint>

namespace PI {
namespace Interchange {

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

// The SubType that a property of `type` has unless told otherwise: what the
// kind's setter writes.
inline unsigned int DefaultSubType(unsigned int type) noexcept {
    return type == VT_UINT64 || type == VT_UINT64_LIST ? PROPERTY_SUBTYPE_64BIT
                                                       : PROPERTY_SUBTYPE_PLAIN;
}

} // namespace Interchange
} // namespace PI
