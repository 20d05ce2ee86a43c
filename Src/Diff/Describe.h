#pragma once

// The fields of every record class, in the order of their interchange form,
// with whether operator== compares them and how the elements of each list
// are matched. Diff and Patch both walk these lists, so a field is named in
// one place. Each accessor is a generic lambda giving a reference into the
// record (const when the record is).

#include "PI/EventRawAccess.h"
#include "PI/ObjectModel.h"

namespace PI {
namespace DiffInternal {

// How the elements of a list are paired between two records.
enum class EMatch {
    Position,   // the i-th with the i-th
    ObjectId,   // objects by ObjectID
    PropertyId, // properties by PropertyID and SecondaryID
    DrivePiece, // member drives by ObjectID and StartAddress
};

constexpr bool COMPARED = true;
constexpr bool IGNORED = false;

#define PI_FIELD(type, name)                                                                       \
    [](auto& r) -> auto& {                                                                         \
        return r.name;                                                                             \
    }

template <class V> void DescribeObject(V& v) {
    v.Scalar("ObjectID", COMPARED, PI_FIELD(CObject, ObjectID));
    v.Scalar("ObjectType", COMPARED, PI_FIELD(CObject, ObjectType));
    v.List("Parents", COMPARED, EMatch::Position, PI_FIELD(CObject, Parents));
    v.List("Children", COMPARED, EMatch::Position, PI_FIELD(CObject, Children));
    v.Scalar("Value64", COMPARED, PI_FIELD(CObject, Value64));
    v.Scalar("Flag", COMPARED, PI_FIELD(CObject, Flag));
    v.List("Properties", COMPARED, EMatch::PropertyId, PI_FIELD(CObject, Properties));
}

template <class V> void Describe(V& v, const CObject*) {
    DescribeObject(v);
}

inline CObject& AsObject(CTask& task) {
    return task;
}
inline const CObject& AsObject(const CTask& task) {
    return task;
}

// The task's object part is its member "Object".
template <class V> void Describe(V& v, const CTask*) {
    v.Part(
        "Object", COMPARED, [](auto& r) -> auto& { return AsObject(r); });
    v.Scalar("Text1", COMPARED, PI_FIELD(CTask, Text1));
    v.Scalar("Text2", COMPARED, PI_FIELD(CTask, Text2));
    v.Scalar("Text3", COMPARED, PI_FIELD(CTask, Text3));
    v.Scalar("Attribute1", COMPARED, PI_FIELD(CTask, Attribute1));
    v.Scalar("Attribute2", COMPARED, PI_FIELD(CTask, Attribute2));
    v.Scalar("Time1", COMPARED, PI_FIELD(CTask, Time1));
    v.Scalar("Time2", COMPARED, PI_FIELD(CTask, Time2));
    v.Scalar("Time3", COMPARED, PI_FIELD(CTask, Time3));
    v.Scalar("Attribute3", COMPARED, PI_FIELD(CTask, Attribute3));
    v.Scalar("Attribute4", COMPARED, PI_FIELD(CTask, Attribute4));
    v.Scalar("Attribute5", COMPARED, PI_FIELD(CTask, Attribute5));
    v.Scalar("Flag", COMPARED, PI_FIELD(CTask, Flag));
    v.Scalar("Attribute6", COMPARED, PI_FIELD(CTask, Attribute6));
    v.Scalar("Attribute7", COMPARED, PI_FIELD(CTask, Attribute7));
}

// A piece compares by its identity alone; the rest travels but is ignored.
template <class V> void Describe(V& v, const CDrive*) {
    v.Scalar("ObjectID", COMPARED, PI_FIELD(CDrive, ObjectID));
    v.Scalar("StartAddress", COMPARED, PI_FIELD(CDrive, StartAddress));
    v.Scalar("UsedSize", IGNORED, PI_FIELD(CDrive, UsedSize));
    v.List("Properties", IGNORED, EMatch::PropertyId, PI_FIELD(CDrive, Properties));
    v.Scalar("Attribute1", IGNORED, PI_FIELD(CDrive, Attribute1));
    v.Scalar("Attribute2", IGNORED, PI_FIELD(CDrive, Attribute2));
    v.Scalar("Flag", IGNORED, PI_FIELD(CDrive, Flag));
}

template <class V> void Describe(V& v, const CContainer*) {
    v.List("Drives", COMPARED, EMatch::DrivePiece, PI_FIELD(CContainer, Drives));
}

template <class V> void Describe(V& v, const CLogicalDrive*) {
    v.Scalar("Attribute1", COMPARED, PI_FIELD(CLogicalDrive, Attribute1));
    v.List("Properties", COMPARED, EMatch::PropertyId, PI_FIELD(CLogicalDrive, Properties));
    v.Scalar("Attribute2", COMPARED, PI_FIELD(CLogicalDrive, Attribute2));
    v.Scalar("Size", COMPARED, PI_FIELD(CLogicalDrive, Size));
    v.Scalar("Units", COMPARED, PI_FIELD(CLogicalDrive, Units));
    v.List("Containers", COMPARED, EMatch::Position, PI_FIELD(CLogicalDrive, Containers));
    v.List("GHS", IGNORED, EMatch::Position, PI_FIELD(CLogicalDrive, GHS));
    v.List("DHS", IGNORED, EMatch::Position, PI_FIELD(CLogicalDrive, DHS));
    v.List("ALD", IGNORED, EMatch::Position, PI_FIELD(CLogicalDrive, ALD));
}

template <class V> void Describe(V& v, const CLevel*) {
    v.Scalar("Attribute0", COMPARED, PI_FIELD(CLevel, Attribute0));
    v.List("StripeSizes", COMPARED, EMatch::Position, PI_FIELD(CLevel, StripeSizes));
    v.Scalar("Attribute1", COMPARED, PI_FIELD(CLevel, Attribute1));
    v.List("Properties", COMPARED, EMatch::PropertyId, PI_FIELD(CLevel, Properties));
    v.Scalar("Attribute2", COMPARED, PI_FIELD(CLevel, Attribute2));
    v.Scalar("Attribute3", COMPARED, PI_FIELD(CLevel, Attribute3));
    v.Scalar("Attribute4", COMPARED, PI_FIELD(CLevel, Attribute4));
    v.Scalar("Attribute5", COMPARED, PI_FIELD(CLevel, Attribute5));
    v.Scalar("Size1", COMPARED, PI_FIELD(CLevel, Size1));
    v.Scalar("Size2", COMPARED, PI_FIELD(CLevel, Size2));
    v.Scalar("Units", COMPARED, PI_FIELD(CLevel, Units));
    v.Scalar("Attribute6", COMPARED, PI_FIELD(CLevel, Attribute6));
    v.Scalar("Attribute7", COMPARED, PI_FIELD(CLevel, Attribute7));
    v.Scalar("Flag", COMPARED, PI_FIELD(CLevel, Flag));
    v.Scalar("Attribute8", COMPARED, PI_FIELD(CLevel, Attribute8));
}

template <class V> void Describe(V& v, const CMigration*) {
    v.Scalar("Attribute1", COMPARED, PI_FIELD(CMigration, Attribute1));
    v.Scalar("Attribute2", COMPARED, PI_FIELD(CMigration, Attribute2));
    v.Scalar("Attribute3", COMPARED, PI_FIELD(CMigration, Attribute3));
    v.List("Properties", COMPARED, EMatch::PropertyId, PI_FIELD(CMigration, Properties));
}

template <class V> void Describe(V& v, const CPartition*) {
    v.Scalar("Attribute1", COMPARED, PI_FIELD(CPartition, Attribute1));
    v.Scalar("Attribute2", COMPARED, PI_FIELD(CPartition, Attribute2));
    v.Scalar("Attribute3", COMPARED, PI_FIELD(CPartition, Attribute3));
    v.Scalar("Text1", COMPARED, PI_FIELD(CPartition, Text1));
    v.Scalar("Text2", COMPARED, PI_FIELD(CPartition, Text2));
}

template <class V> void Describe(V& v, const CPassThrough*) {
    v.Scalar("Value", COMPARED, PI_FIELD(CPassThrough, Value));
}

// Events compare by their five scalars; placeholders travel in their stored
// form, as the interchange form carries them.
template <unsigned int Slot> auto& Placeholder(CEvent& e) {
    return CEventRawAccess::Stored(e, Slot);
}
template <unsigned int Slot> auto& Placeholder(const CEvent& e) {
    return CEventRawAccess::Stored(e, Slot);
}

template <class V> void Describe(V& v, const CEvent*) {
    v.Scalar("Scalar1", COMPARED, PI_FIELD(CEvent, Scalar1));
    v.Scalar("Scalar2", COMPARED, PI_FIELD(CEvent, Scalar2));
    v.Scalar("Scalar3", COMPARED, PI_FIELD(CEvent, Scalar3));
    v.Scalar("Scalar4", COMPARED, PI_FIELD(CEvent, Scalar4));
    v.Scalar("Scalar5", COMPARED, PI_FIELD(CEvent, Scalar5));
    v.Scalar(
        "PlaceHolder1", IGNORED, [](auto& r) -> auto& { return Placeholder<0>(r); });
    v.Scalar(
        "PlaceHolder2", IGNORED, [](auto& r) -> auto& { return Placeholder<1>(r); });
    v.Scalar(
        "PlaceHolder3", IGNORED, [](auto& r) -> auto& { return Placeholder<2>(r); });
    v.Scalar(
        "PlaceHolder4", IGNORED, [](auto& r) -> auto& { return Placeholder<3>(r); });
    v.Scalar(
        "PlaceHolder5", IGNORED, [](auto& r) -> auto& { return Placeholder<4>(r); });
    v.Scalar(
        "PlaceHolder6", IGNORED, [](auto& r) -> auto& { return Placeholder<5>(r); });
    v.Scalar("Text1", IGNORED, PI_FIELD(CEvent, Text1));
    v.Scalar("Text2", IGNORED, PI_FIELD(CEvent, Text2));
    v.Scalar("Text3", IGNORED, PI_FIELD(CEvent, Text3));
    v.Scalar("Scalar6", IGNORED, PI_FIELD(CEvent, Scalar6));
}

template <class V> void Describe(V& v, const COperation*) {
    v.Scalar("Attribute1", COMPARED, PI_FIELD(COperation, Attribute1));
    v.Scalar("Attribute2", COMPARED, PI_FIELD(COperation, Attribute2));
    v.Scalar("Attribute3", COMPARED, PI_FIELD(COperation, Attribute3));
    v.List("Properties", COMPARED, EMatch::PropertyId, PI_FIELD(COperation, Properties));
    v.List("LogicalDrives", COMPARED, EMatch::Position, PI_FIELD(COperation, LogicalDrives));
    v.List("Levels", COMPARED, EMatch::Position, PI_FIELD(COperation, Levels));
    v.List("Migrations", COMPARED, EMatch::Position, PI_FIELD(COperation, Migrations));
    v.List("Events", COMPARED, EMatch::Position, PI_FIELD(COperation, Events));
    v.List("PassThroughs", COMPARED, EMatch::Position, PI_FIELD(COperation, PassThroughs));
    v.List("Partitions", COMPARED, EMatch::Position, PI_FIELD(COperation, Partitions));
    v.List("Objects", COMPARED, EMatch::ObjectId, PI_FIELD(COperation, Objects));
    v.Scalar("Setting1", COMPARED, PI_FIELD(COperation, Setting1));
    v.Scalar("Setting2", COMPARED, PI_FIELD(COperation, Setting2));
    v.Scalar("Setting3", COMPARED, PI_FIELD(COperation, Setting3));
    v.Scalar("Setting4", COMPARED, PI_FIELD(COperation, Setting4));
    v.Scalar("Setting5", COMPARED, PI_FIELD(COperation, Setting5));
    v.Scalar("Setting6", COMPARED, PI_FIELD(COperation, Setting6));
    v.Scalar("Setting7", COMPARED, PI_FIELD(COperation, Setting7));
    v.Scalar("Setting8", COMPARED, PI_FIELD(COperation, Setting8));
    v.Scalar("Flag", COMPARED, PI_FIELD(COperation, Flag));
    v.Scalar("Setting9", COMPARED, PI_FIELD(COperation, Setting9));
}

#undef PI_FIELD

} // namespace DiffInternal
} // namespace PI
