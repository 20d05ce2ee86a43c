#pragma once

// The members of every record class but CProperty, in their order, with
// their defaults and how a diff treats them: one list per class, walked by
// the encoder (to leave out defaults and to write in order), the decoder (to
// find a member by its name), and the diff and patch (to compare and change
// records member by member).
//
// `f(name, default, compared, match, member...)` is called for each member,
// with that member of each record given to the walk: one record for the
// encoder, the decoder and the patch, two for the diff, none to learn the
// names alone. A member is a reference into its record, const when the record
// is.

#include "PI/EventRawAccess.h"
#include "PI/ObjectModel.h"

#include <string_view>
#include <type_traits>

namespace PI {
namespace Interchange {

using namespace std::string_view_literals;

// Defaults that are not a value of the member's own type.
struct Empty {};    // an empty list or text
struct Required {}; // no default: always written, must be present

// Whether operator== compares a member. Ignored members travel in the
// interchange form and a diff of all fields reports them.
constexpr bool COMPARED = true;
constexpr bool IGNORED = false;

// How the elements of a list are paired between two records.
enum class EMatch {
    None,       // not a list
    Position,   // the i-th with the i-th
    ObjectId,   // objects by ObjectID
    PropertyId, // properties by PropertyID and SecondaryID
    DrivePiece, // member drives by ObjectID and StartAddress
};

// The object part of a task: a CObject whose ObjectType defaults to the
// task's kind rather than to 1.
template <class O> struct TaskBase { O& Object; };
struct TaskBaseDefault {};

constexpr int TASK_OBJECT_TYPE = OBJECT_TYPE_TASK;

template <class R, class T> using Like = std::conditional_t<std::is_const_v<R>, const T, T>;

template <int DefaultType = 1, class F, class... R> void ObjectFields(F&& f, R&... o) {
    f("ObjectID"sv, 0ull, COMPARED, EMatch::None, o.ObjectID...);
    f("ObjectType"sv, DefaultType, COMPARED, EMatch::None, o.ObjectType...);
    f("Parents"sv, Empty{}, COMPARED, EMatch::Position, o.Parents...);
    f("Children"sv, Empty{}, COMPARED, EMatch::Position, o.Children...);
    f("Value64"sv, 0ull, COMPARED, EMatch::None, o.Value64...);
    f("Flag"sv, false, COMPARED, EMatch::None, o.Flag...);
    f("Properties"sv, Empty{}, COMPARED, EMatch::PropertyId, o.Properties...);
}

template <class F, class... R> void TaskFields(F&& f, R&... t) {
    f("Object"sv, TaskBaseDefault{}, COMPARED, EMatch::None, TaskBase<Like<R, CObject>>{t}...);
    f("Text1"sv, Empty{}, COMPARED, EMatch::None, t.Text1...);
    f("Text2"sv, Empty{}, COMPARED, EMatch::None, t.Text2...);
    f("Text3"sv, Empty{}, COMPARED, EMatch::None, t.Text3...);
    f("Attribute1"sv, 0ull, COMPARED, EMatch::None, t.Attribute1...);
    f("Attribute2"sv, 0, COMPARED, EMatch::None, t.Attribute2...);
    f("Time1"sv, Required{}, COMPARED, EMatch::None, t.Time1...);
    f("Time2"sv, 0ull, COMPARED, EMatch::None, t.Time2...);
    f("Time3"sv, ~0ull, COMPARED, EMatch::None, t.Time3...);
    f("Attribute3"sv, 0ull, COMPARED, EMatch::None, t.Attribute3...);
    f("Attribute4"sv, 0, COMPARED, EMatch::None, t.Attribute4...);
    f("Attribute5"sv, 0, COMPARED, EMatch::None, t.Attribute5...);
    f("Flag"sv, false, COMPARED, EMatch::None, t.Flag...);
    f("Attribute6"sv, 40024, COMPARED, EMatch::None, t.Attribute6...);
    f("Attribute7"sv, 0, COMPARED, EMatch::None, t.Attribute7...);
}

template <class F, class... R> void DriveFields(F&& f, R&... d) {
    f("ObjectID"sv, 0ull, COMPARED, EMatch::None, d.ObjectID...);
    f("StartAddress"sv, 0ull, COMPARED, EMatch::None, d.StartAddress...);
    f("UsedSize"sv, 0ull, IGNORED, EMatch::None, d.UsedSize...);
    f("Properties"sv, Empty{}, IGNORED, EMatch::PropertyId, d.Properties...);
    f("Attribute1"sv, 0ull, IGNORED, EMatch::None, d.Attribute1...);
    f("Attribute2"sv, 0ull, IGNORED, EMatch::None, d.Attribute2...);
    f("Flag"sv, true, IGNORED, EMatch::None, d.Flag...);
}

template <class F, class... R> void ContainerFields(F&& f, R&... c) {
    f("Drives"sv, Empty{}, COMPARED, EMatch::DrivePiece, c.Drives...);
}

template <class F, class... R> void LogicalDriveFields(F&& f, R&... l) {
    f("Attribute1"sv, 0, COMPARED, EMatch::None, l.Attribute1...);
    f("Properties"sv, Empty{}, COMPARED, EMatch::PropertyId, l.Properties...);
    f("Attribute2"sv, 0, COMPARED, EMatch::None, l.Attribute2...);
    f("Size"sv, 0ull, COMPARED, EMatch::None, l.Size...);
    f("Units"sv, UNITS_LOGICAL_DRIVE_DEFAULT, COMPARED, EMatch::None, l.Units...);
    f("Containers"sv, Empty{}, COMPARED, EMatch::Position, l.Containers...);
    f("GHS"sv, Empty{}, IGNORED, EMatch::Position, l.GHS...);
    f("DHS"sv, Empty{}, IGNORED, EMatch::Position, l.DHS...);
    f("ALD"sv, Empty{}, IGNORED, EMatch::Position, l.ALD...);
}

template <class F, class... R> void LevelFields(F&& f, R&... l) {
    f("Attribute0"sv, 0, COMPARED, EMatch::None, l.Attribute0...);
    f("StripeSizes"sv, Empty{}, COMPARED, EMatch::Position, l.StripeSizes...);
    f("Attribute1"sv, 0, COMPARED, EMatch::None, l.Attribute1...);
    f("Properties"sv, Empty{}, COMPARED, EMatch::PropertyId, l.Properties...);
    f("Attribute2"sv, 0, COMPARED, EMatch::None, l.Attribute2...);
    f("Attribute3"sv, 0, COMPARED, EMatch::None, l.Attribute3...);
    f("Attribute4"sv, 0, COMPARED, EMatch::None, l.Attribute4...);
    f("Attribute5"sv, 0, COMPARED, EMatch::None, l.Attribute5...);
    f("Size1"sv, 0ull, COMPARED, EMatch::None, l.Size1...);
    f("Size2"sv, 0ull, COMPARED, EMatch::None, l.Size2...);
    f("Units"sv, UNITS_LOGICAL_DRIVE_DEFAULT, COMPARED, EMatch::None, l.Units...);
    f("Attribute6"sv, 0, COMPARED, EMatch::None, l.Attribute6...);
    f("Attribute7"sv, 0, COMPARED, EMatch::None, l.Attribute7...);
    f("Flag"sv, true, COMPARED, EMatch::None, l.Flag...);
    f("Attribute8"sv, 0, COMPARED, EMatch::None, l.Attribute8...);
}

template <class F, class... R> void MigrationFields(F&& f, R&... m) {
    f("Attribute1"sv, 0, COMPARED, EMatch::None, m.Attribute1...);
    f("Attribute2"sv, 0, COMPARED, EMatch::None, m.Attribute2...);
    f("Attribute3"sv, 0, COMPARED, EMatch::None, m.Attribute3...);
    f("Properties"sv, Empty{}, COMPARED, EMatch::PropertyId, m.Properties...);
}

template <class F, class... R> void PartitionFields(F&& f, R&... p) {
    f("Attribute1"sv, 0ull, COMPARED, EMatch::None, p.Attribute1...);
    f("Attribute2"sv, 0ull, COMPARED, EMatch::None, p.Attribute2...);
    f("Attribute3"sv, 0, COMPARED, EMatch::None, p.Attribute3...);
    f("Text1"sv, Empty{}, COMPARED, EMatch::None, p.Text1...);
    f("Text2"sv, Empty{}, COMPARED, EMatch::None, p.Text2...);
}

template <class F, class... R> void PassThroughFields(F&& f, R&... p) {
    f("Value"sv, 0ull, COMPARED, EMatch::None, p.Value...);
}

template <class F, class... R> void EventFields(F&& f, R&... e) {
    f("Scalar1"sv, 0ll, COMPARED, EMatch::None, e.Scalar1...);
    f("Scalar2"sv, 10000, COMPARED, EMatch::None, e.Scalar2...);
    f("Scalar3"sv, 2, COMPARED, EMatch::None, e.Scalar3...);
    f("Scalar4"sv, 1, COMPARED, EMatch::None, e.Scalar4...);
    f("Scalar5"sv, 0ll, COMPARED, EMatch::None, e.Scalar5...);
    f("PlaceHolder1"sv, Empty{}, IGNORED, EMatch::None, CEventRawAccess::Stored(e, 0)...);
    f("PlaceHolder2"sv, Empty{}, IGNORED, EMatch::None, CEventRawAccess::Stored(e, 1)...);
    f("PlaceHolder3"sv, Empty{}, IGNORED, EMatch::None, CEventRawAccess::Stored(e, 2)...);
    f("PlaceHolder4"sv, Empty{}, IGNORED, EMatch::None, CEventRawAccess::Stored(e, 3)...);
    f("PlaceHolder5"sv, Empty{}, IGNORED, EMatch::None, CEventRawAccess::Stored(e, 4)...);
    f("PlaceHolder6"sv, Empty{}, IGNORED, EMatch::None, CEventRawAccess::Stored(e, 5)...);
    f("Text1"sv, Empty{}, IGNORED, EMatch::None, e.Text1...);
    f("Text2"sv, Empty{}, IGNORED, EMatch::None, e.Text2...);
    f("Text3"sv, Empty{}, IGNORED, EMatch::None, e.Text3...);
    f("Scalar6"sv, 0, IGNORED, EMatch::None, e.Scalar6...);
}

template <class F, class... R> void OperationFields(F&& f, R&... o) {
    f("Attribute1"sv, 1, COMPARED, EMatch::None, o.Attribute1...);
    f("Attribute2"sv, 1, COMPARED, EMatch::None, o.Attribute2...);
    f("Attribute3"sv, 0, COMPARED, EMatch::None, o.Attribute3...);
    f("Properties"sv, Empty{}, COMPARED, EMatch::PropertyId, o.Properties...);
    f("LogicalDrives"sv, Empty{}, COMPARED, EMatch::Position, o.LogicalDrives...);
    f("Levels"sv, Empty{}, COMPARED, EMatch::Position, o.Levels...);
    f("Migrations"sv, Empty{}, COMPARED, EMatch::Position, o.Migrations...);
    f("Events"sv, Empty{}, COMPARED, EMatch::Position, o.Events...);
    f("PassThroughs"sv, Empty{}, COMPARED, EMatch::Position, o.PassThroughs...);
    f("Partitions"sv, Empty{}, COMPARED, EMatch::Position, o.Partitions...);
    f("Objects"sv, Empty{}, COMPARED, EMatch::ObjectId, o.Objects...);
    f("Setting1"sv, 1, COMPARED, EMatch::None, o.Setting1...);
    f("Setting2"sv, 1, COMPARED, EMatch::None, o.Setting2...);
    f("Setting3"sv, 1, COMPARED, EMatch::None, o.Setting3...);
    f("Setting4"sv, 1, COMPARED, EMatch::None, o.Setting4...);
    f("Setting5"sv, -1, COMPARED, EMatch::None, o.Setting5...);
    f("Setting6"sv, 1, COMPARED, EMatch::None, o.Setting6...);
    f("Setting7"sv, 1, COMPARED, EMatch::None, o.Setting7...);
    f("Setting8"sv, 1, COMPARED, EMatch::None, o.Setting8...);
    f("Flag"sv, false, COMPARED, EMatch::None, o.Flag...);
    f("Setting9"sv, 1, COMPARED, EMatch::None, o.Setting9...);
}

// The member walk of each class, for the code generic over records.
struct ObjectSchema {
    static constexpr const char* Name = "CObject";
    template <class F, class... R> static void Fields(F&& f, R&... r) { ObjectFields(f, r...); }
};
struct TaskSchema {
    static constexpr const char* Name = "CTask";
    template <class F, class... R> static void Fields(F&& f, R&... r) { TaskFields(f, r...); }
};
struct DriveSchema {
    static constexpr const char* Name = "CDrive";
    template <class F, class... R> static void Fields(F&& f, R&... r) { DriveFields(f, r...); }
};
struct ContainerSchema {
    static constexpr const char* Name = "CContainer";
    template <class F, class... R> static void Fields(F&& f, R&... r) { ContainerFields(f, r...); }
};
struct LogicalDriveSchema {
    static constexpr const char* Name = "CLogicalDrive";
    template <class F, class... R> static void Fields(F&& f, R&... r) {
        LogicalDriveFields(f, r...);
    }
};
struct LevelSchema {
    static constexpr const char* Name = "CLevel";
    template <class F, class... R> static void Fields(F&& f, R&... r) { LevelFields(f, r...); }
};
struct MigrationSchema {
    static constexpr const char* Name = "CMigration";
    template <class F, class... R> static void Fields(F&& f, R&... r) { MigrationFields(f, r...); }
};
struct PartitionSchema {
    static constexpr const char* Name = "CPartition";
    template <class F, class... R> static void Fields(F&& f, R&... r) { PartitionFields(f, r...); }
};
struct PassThroughSchema {
    static constexpr const char* Name = "CPassThrough";
    template <class F, class... R> static void Fields(F&& f, R&... r) {
        PassThroughFields(f, r...);
    }
};
struct EventSchema {
    static constexpr const char* Name = "CEvent";
    template <class F, class... R> static void Fields(F&& f, R&... r) { EventFields(f, r...); }
};
struct OperationSchema {
    static constexpr const char* Name = "COperation";
    template <class F, class... R> static void Fields(F&& f, R&... r) { OperationFields(f, r...); }
};

template <class R> struct SchemaOf;
template <> struct SchemaOf<CObject> : ObjectSchema {};
template <> struct SchemaOf<CTask> : TaskSchema {};
template <> struct SchemaOf<CDrive> : DriveSchema {};
template <> struct SchemaOf<CContainer> : ContainerSchema {};
template <> struct SchemaOf<CLogicalDrive> : LogicalDriveSchema {};
template <> struct SchemaOf<CLevel> : LevelSchema {};
template <> struct SchemaOf<CMigration> : MigrationSchema {};
template <> struct SchemaOf<CPartition> : PartitionSchema {};
template <> struct SchemaOf<CPassThrough> : PassThroughSchema {};
template <> struct SchemaOf<CEvent> : EventSchema {};
template <> struct SchemaOf<COperation> : OperationSchema {};

} // namespace Interchange
} // namespace PI
