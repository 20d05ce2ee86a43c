// The names of the record classes, as documents name them.
#include "PI/Interchange.h"

#include <cstring>

namespace PI {
namespace {

// In the order of ERecordClass.
constexpr const char* kClassNames[RECORD_CLASS_COUNT] = {
    "CProperty", "CObject",    "CTask",      "CDrive",       "CContainer", "CLogicalDrive",
    "CLevel",    "CMigration", "CPartition", "CPassThrough", "CEvent",     "COperation",
};

} // namespace

const char* RecordClassName(ERecordClass recordClass) noexcept {
    const unsigned int index = static_cast<unsigned int>(recordClass);
    return index < RECORD_CLASS_COUNT ? kClassNames[index] : "";
}

bool RecordClassFromName(const char* name, size_t length, ERecordClass& recordClass) noexcept {
    if (name == nullptr)
        return false;
    for (unsigned int i = 0; i < RECORD_CLASS_COUNT; ++i) {
        if (std::strlen(kClassNames[i]) == length &&
            std::memcmp(kClassNames[i], name, length) == 0) {
            recordClass = static_cast<ERecordClass>(i);
            return true;
        }
    }
    return false;
}

} // namespace PI
