// The forms of a property in the interchange form.
#include "PropertyForm.h"

#include "../Objects/PropertyBlock.h"

#include <cmath>
#include <cstring>

namespace PI {
namespace Interchange {
using Internal::Word;

const char* CheckBlock(unsigned int type, const unsigned char* data, std::uint32_t size,
                       std::uint32_t split) noexcept {
    switch (type) {
    case VT_STRING:
    case VT_XML:
        return size >= 1 && data[size - 1] == 0 ? nullptr
                                                : "a block of at least 1 byte ending in NUL";
    case VT_INT_LIST:
        return size >= 8 && size % 4 == 0 ? nullptr
                                          : "a block of at least 8 bytes, a multiple of 4";
    case VT_BOOL:
    case VT_FLOAT:
        return size == 4 ? nullptr : "a block of 4 bytes";
    case VT_UINT64:
        return size == 8 ? nullptr : "a block of 8 bytes";
    case VT_RANGE:
        return size == 16 ? nullptr : "a block of 16 bytes";
    case VT_INT_LIST_PAIR:
        return size % 4 == 0 && split % 4 == 0 && split <= size
                   ? nullptr
                   : "a block of a multiple of 4 bytes and a SplitSize within it, a multiple of 4";
    case VT_UINT64_LIST:
        return size % 8 == 0 ? nullptr : "a block of a multiple of 8 bytes";
    case VT_STRING_LIST: {
        const char* table = "a length table of SplitSize/4 words that agrees with the block";
        if (split % 4 != 0 || split > size)
            return table;
        std::uint64_t position = split;
        for (std::uint32_t i = 0; i < split / 4; ++i) {
            const std::uint32_t entry = Word<std::uint32_t>(data + Internal::BLOCK_WORD * i);
            if (entry == 0 || position + entry > size || data[position + entry - 1] != 0)
                return table;
            position += entry;
        }
        return position == size ? nullptr : table;
    }
    default:
        return nullptr;
    }
}

PropertyForm ClassifyProperty(const CProperty& p) noexcept {
    const unsigned int type = p.Type;
    if (type == VT_NONE)
        return p.Data == nullptr && p.DataSize == 0 && p.SplitSize == 0 ? PropertyForm::NoValue
                                                                        : PropertyForm::Raw;
    if (type < VT_STRING || type > VT_STRING_LIST)
        return PropertyForm::Raw;
    if (p.Data == nullptr) {
        // Only the empty pair and the empty 64-bit list have no block.
        const bool empty = p.DataSize == 0 && p.SplitSize == 0;
        return empty && (type == VT_INT_LIST_PAIR || type == VT_UINT64_LIST) ? PropertyForm::Natural
                                                                             : PropertyForm::Raw;
    }
    if (CheckBlock(type, p.Data, p.DataSize, p.SplitSize) != nullptr)
        return PropertyForm::Bad;
    if (type != VT_INT_LIST_PAIR && type != VT_STRING_LIST && p.SplitSize != 0)
        return PropertyForm::Raw;
    switch (type) {
    case VT_BOOL:
        return Word<std::uint32_t>(p.Data) <= 1 ? PropertyForm::Natural : PropertyForm::Raw;
    case VT_FLOAT: {
        float value;
        std::memcpy(&value, p.Data, sizeof value);
        return std::isfinite(value) ? PropertyForm::Natural : PropertyForm::Raw;
    }
    case VT_INT_LIST_PAIR:
    case VT_UINT64_LIST:
        // The natural form of an empty list has no block at all.
        return p.DataSize > 0 ? PropertyForm::Natural : PropertyForm::Raw;
    default:
        return PropertyForm::Natural;
    }
}

} // namespace Interchange
} // namespace PI
