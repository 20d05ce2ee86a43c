#pragma once

// Field-by-field comparison of records, including what operator== leaves
// out (hot spares, associated drives, stored placeholders, event and task
// texts, pieces' sizes and properties) and every byte of every block.
// FirstDifference gives "" for equal records, else the path of the first
// field that differs.

#include <PI/Internal/EventRawAccess.h>
#include <PI/ObjectModel.h>

#include <cstring>
#include <string>
#include <vector>

namespace PI {
namespace Testing {

namespace Detail {

template <class T> bool Differ(const std::string& path, const T& a, const T& b, std::string& out) {
    if (a == b)
        return false;
    out = path;
    return true;
}

} // namespace Detail

inline std::string FirstDifference(const CProperty& a, const CProperty& b) {
    std::string out;
    using Detail::Differ;
    if (Differ("/PropertyID", a.PropertyID, b.PropertyID, out) ||
        Differ("/SecondaryID", a.SecondaryID, b.SecondaryID, out) ||
        Differ("/Attribute1", a.Attribute1, b.Attribute1, out) ||
        Differ("/Attribute2", a.Attribute2, b.Attribute2, out) ||
        Differ("/Attribute3", a.Attribute3, b.Attribute3, out) ||
        Differ("/Attribute4", a.Attribute4, b.Attribute4, out) ||
        Differ("/Attribute5", a.Attribute5, b.Attribute5, out) ||
        Differ("/Type", a.Type, b.Type, out) || Differ("/SubType", a.SubType, b.SubType, out) ||
        Differ("/Flag", a.Flag, b.Flag, out) ||
        Differ("/Attribute6", a.Attribute6, b.Attribute6, out) ||
        Differ("/Flag2", a.Flag2, b.Flag2, out) ||
        Differ("/Attribute7", a.Attribute7, b.Attribute7, out) ||
        Differ("/Attribute8", a.Attribute8, b.Attribute8, out) ||
        Differ("/SelectionMask", a.SelectionMask, b.SelectionMask, out) ||
        Differ("/DataSize", a.DataSize, b.DataSize, out) ||
        Differ("/SplitSize", a.SplitSize, b.SplitSize, out) ||
        Differ("/Data (present)", a.Data != nullptr, b.Data != nullptr, out))
        return out;
    if (a.Data != nullptr && a.DataSize > 0 && std::memcmp(a.Data, b.Data, a.DataSize) != 0)
        return "/Data";
    return "";
}

// Declared first: the list comparison below finds them by ordinary lookup.
inline std::string FirstDifference(const CObject& a, const CObject& b);
inline std::string FirstDifference(const CTask& a, const CTask& b);
inline std::string FirstDifference(const CDrive& a, const CDrive& b);
inline std::string FirstDifference(const CContainer& a, const CContainer& b);
inline std::string FirstDifference(const CLogicalDrive& a, const CLogicalDrive& b);
inline std::string FirstDifference(const CLevel& a, const CLevel& b);
inline std::string FirstDifference(const CMigration& a, const CMigration& b);
inline std::string FirstDifference(const CPartition& a, const CPartition& b);
inline std::string FirstDifference(const CPassThrough& a, const CPassThrough& b);
inline std::string FirstDifference(const CEvent& a, const CEvent& b);
inline std::string FirstDifference(const COperation& a, const COperation& b);

template <class T>
std::string ListDifference(const std::string& name, const std::vector<T>& a,
                           const std::vector<T>& b) {
    if (a.size() != b.size())
        return "/" + name + " (count)";
    for (size_t i = 0; i < a.size(); ++i) {
        const std::string inner = FirstDifference(a[i], b[i]);
        if (!inner.empty())
            return "/" + name + "/" + std::to_string(i) + inner;
    }
    return "";
}

#define PI_FIELD(name)                                                                             \
    if (!(a.name == b.name))                                                                       \
        return "/" #name;
#define PI_LIST(name)                                                                              \
    if (std::string d = ListDifference(#name, a.name, b.name); !d.empty())                         \
        return d;

inline std::string FirstDifference(const CObject& a, const CObject& b) {
    PI_FIELD(ObjectID)
    PI_FIELD(ObjectType)
    PI_FIELD(Parents)
    PI_FIELD(Children)
    PI_FIELD(Value64)
    PI_FIELD(Flag)
    PI_LIST(Properties)
    return "";
}

inline std::string FirstDifference(const CTask& a, const CTask& b) {
    if (std::string d =
            FirstDifference(static_cast<const CObject&>(a), static_cast<const CObject&>(b));
        !d.empty())
        return "/Object" + d;
    PI_FIELD(Text1)
    PI_FIELD(Text2)
    PI_FIELD(Text3)
    PI_FIELD(Attribute1)
    PI_FIELD(Attribute2)
    PI_FIELD(Time1)
    PI_FIELD(Time2)
    PI_FIELD(Time3)
    PI_FIELD(Attribute3)
    PI_FIELD(Attribute4)
    PI_FIELD(Attribute5)
    PI_FIELD(Flag)
    PI_FIELD(Attribute6)
    PI_FIELD(Attribute7)
    return "";
}

inline std::string FirstDifference(const CDrive& a, const CDrive& b) {
    PI_FIELD(ObjectID)
    PI_FIELD(StartAddress)
    PI_FIELD(UsedSize)
    PI_LIST(Properties)
    PI_FIELD(Attribute1)
    PI_FIELD(Attribute2)
    PI_FIELD(Flag)
    return "";
}

inline std::string FirstDifference(const CContainer& a, const CContainer& b) {
    PI_LIST(Drives)
    return "";
}

inline std::string FirstDifference(const CLogicalDrive& a, const CLogicalDrive& b) {
    PI_FIELD(Attribute1)
    PI_LIST(Properties)
    PI_FIELD(Attribute2)
    PI_FIELD(Size)
    PI_FIELD(Units)
    PI_LIST(Containers)
    PI_FIELD(GHS)
    PI_FIELD(DHS)
    PI_FIELD(ALD)
    return "";
}

inline std::string FirstDifference(const CLevel& a, const CLevel& b) {
    PI_FIELD(Attribute0)
    PI_FIELD(StripeSizes)
    PI_FIELD(Attribute1)
    PI_LIST(Properties)
    PI_FIELD(Attribute2)
    PI_FIELD(Attribute3)
    PI_FIELD(Attribute4)
    PI_FIELD(Attribute5)
    PI_FIELD(Size1)
    PI_FIELD(Size2)
    PI_FIELD(Units)
    PI_FIELD(Attribute6)
    PI_FIELD(Attribute7)
    PI_FIELD(Flag)
    PI_FIELD(Attribute8)
    return "";
}

inline std::string FirstDifference(const CMigration& a, const CMigration& b) {
    PI_FIELD(Attribute1)
    PI_FIELD(Attribute2)
    PI_FIELD(Attribute3)
    PI_LIST(Properties)
    return "";
}

inline std::string FirstDifference(const CPartition& a, const CPartition& b) {
    PI_FIELD(Attribute1)
    PI_FIELD(Attribute2)
    PI_FIELD(Attribute3)
    PI_FIELD(Text1)
    PI_FIELD(Text2)
    return "";
}

inline std::string FirstDifference(const CPassThrough& a, const CPassThrough& b) {
    PI_FIELD(Value)
    return "";
}

inline std::string FirstDifference(const CEvent& a, const CEvent& b) {
    PI_FIELD(Scalar1)
    PI_FIELD(Scalar2)
    PI_FIELD(Scalar3)
    PI_FIELD(Scalar4)
    PI_FIELD(Scalar5)
    for (unsigned int slot = 0; slot < CEventRawAccess::SLOTS; ++slot) {
        if (CEventRawAccess::Stored(a, slot) != CEventRawAccess::Stored(b, slot))
            return "/PlaceHolder" + std::to_string(slot + 1);
    }
    PI_FIELD(Text1)
    PI_FIELD(Text2)
    PI_FIELD(Text3)
    PI_FIELD(Scalar6)
    return "";
}

inline std::string FirstDifference(const COperation& a, const COperation& b) {
    PI_FIELD(Attribute1)
    PI_FIELD(Attribute2)
    PI_FIELD(Attribute3)
    PI_LIST(Properties)
    PI_LIST(LogicalDrives)
    PI_LIST(Levels)
    PI_LIST(Migrations)
    PI_LIST(Events)
    PI_LIST(PassThroughs)
    PI_LIST(Partitions)
    PI_LIST(Objects)
    PI_FIELD(Setting1)
    PI_FIELD(Setting2)
    PI_FIELD(Setting3)
    PI_FIELD(Setting4)
    PI_FIELD(Setting5)
    PI_FIELD(Setting6)
    PI_FIELD(Setting7)
    PI_FIELD(Setting8)
    PI_FIELD(Flag)
    PI_FIELD(Setting9)
    return "";
}

#undef PI_FIELD
#undef PI_LIST

} // namespace Testing
} // namespace PI
