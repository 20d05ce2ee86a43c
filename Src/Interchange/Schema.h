#pragma once

// The members of every record class but CProperty, in their order, with
// their defaults: one list per class, walked by the encoder (to leave out
// defaults and to write in order) and by the decoder (to find a member by
// its name). `f(name, member, default)` is called for each; `member` is a
// reference into the record, const when the record is.

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

// The object part of a task: a CObject whose ObjectType defaults to the
// task's kind rather than to 1.
template <class O> struct TaskBase { O& Object; };
struct TaskBaseDefault {};

constexpr int TASK_OBJECT_TYPE = OBJECT_TYPE_TASK;

template <class R, class T> using Like = std::conditional_t<std::is_const_v<R>, const T, T>;

template <class R, class F> void ObjectFields(R& o, F&& f, int defaultType = 1) {
    f("ObjectID"sv, o.ObjectID, 0ull);
    f("ObjectType"sv, o.ObjectType, defaultType);
    f("Parents"sv, o.Parents, Empty{});
    f("Children"sv, o.Children, Empty{});
    f("Value64"sv, o.Value64, 0ull);
    f("Flag"sv, o.Flag, false);
    f("Properties"sv, o.Properties, Empty{});
}

template <class R, class F> void TaskFields(R& t, F&& f) {
    f("Object"sv, TaskBase<Like<R, CObject>>{t}, TaskBaseDefault{});
    f("Text1"sv, t.Text1, Empty{});
    f("Text2"sv, t.Text2, Empty{});
    f("Text3"sv, t.Text3, Empty{});
    f("Attribute1"sv, t.Attribute1, 0ull);
    f("Attribute2"sv, t.Attribute2, 0);
    f("Time1"sv, t.Time1, Required{});
    f("Time2"sv, t.Time2, 0ull);
    f("Time3"sv, t.Time3, ~0ull);
    f("Attribute3"sv, t.Attribute3, 0ull);
    f("Attribute4"sv, t.Attribute4, 0);
    f("Attribute5"sv, t.Attribute5, 0);
    f("Flag"sv, t.Flag, false);
    f("Attribute6"sv, t.Attribute6, 40024);
    f("Attribute7"sv, t.Attribute7, 0);
}

template <class R, class F> void DriveFields(R& d, F&& f) {
    f("ObjectID"sv, d.ObjectID, 0ull);
    f("StartAddress"sv, d.StartAddress, 0ull);
    f("UsedSize"sv, d.UsedSize, 0ull);
    f("Properties"sv, d.Properties, Empty{});
    f("Attribute1"sv, d.Attribute1, 0ull);
    f("Attribute2"sv, d.Attribute2, 0ull);
    f("Flag"sv, d.Flag, true);
}

template <class R, class F> void ContainerFields(R& c, F&& f) {
    f("Drives"sv, c.Drives, Empty{});
}

template <class R, class F> void LogicalDriveFields(R& l, F&& f) {
    f("Attribute1"sv, l.Attribute1, 0);
    f("Properties"sv, l.Properties, Empty{});
    f("Attribute2"sv, l.Attribute2, 0);
    f("Size"sv, l.Size, 0ull);
    f("Units"sv, l.Units, UNITS_LOGICAL_DRIVE_DEFAULT);
    f("Containers"sv, l.Containers, Empty{});
    f("GHS"sv, l.GHS, Empty{});
    f("DHS"sv, l.DHS, Empty{});
    f("ALD"sv, l.ALD, Empty{});
}

template <class R, class F> void LevelFields(R& l, F&& f) {
    f("Attribute0"sv, l.Attribute0, 0);
    f("StripeSizes"sv, l.StripeSizes, Empty{});
    f("Attribute1"sv, l.Attribute1, 0);
    f("Properties"sv, l.Properties, Empty{});
    f("Attribute2"sv, l.Attribute2, 0);
    f("Attribute3"sv, l.Attribute3, 0);
    f("Attribute4"sv, l.Attribute4, 0);
    f("Attribute5"sv, l.Attribute5, 0);
    f("Size1"sv, l.Size1, 0ull);
    f("Size2"sv, l.Size2, 0ull);
    f("Units"sv, l.Units, UNITS_LOGICAL_DRIVE_DEFAULT);
    f("Attribute6"sv, l.Attribute6, 0);
    f("Attribute7"sv, l.Attribute7, 0);
    f("Flag"sv, l.Flag, true);
    f("Attribute8"sv, l.Attribute8, 0);
}

template <class R, class F> void MigrationFields(R& m, F&& f) {
    f("Attribute1"sv, m.Attribute1, 0);
    f("Attribute2"sv, m.Attribute2, 0);
    f("Attribute3"sv, m.Attribute3, 0);
    f("Properties"sv, m.Properties, Empty{});
}

template <class R, class F> void PartitionFields(R& p, F&& f) {
    f("Attribute1"sv, p.Attribute1, 0ull);
    f("Attribute2"sv, p.Attribute2, 0ull);
    f("Attribute3"sv, p.Attribute3, 0);
    f("Text1"sv, p.Text1, Empty{});
    f("Text2"sv, p.Text2, Empty{});
}

template <class R, class F> void PassThroughFields(R& p, F&& f) {
    f("Value"sv, p.Value, 0ull);
}

template <class R, class F> void EventFields(R& e, F&& f) {
    f("Scalar1"sv, e.Scalar1, 0ll);
    f("Scalar2"sv, e.Scalar2, 10000);
    f("Scalar3"sv, e.Scalar3, 2);
    f("Scalar4"sv, e.Scalar4, 1);
    f("Scalar5"sv, e.Scalar5, 0ll);
    f("PlaceHolder1"sv, CEventRawAccess::Stored(e, 0), Empty{});
    f("PlaceHolder2"sv, CEventRawAccess::Stored(e, 1), Empty{});
    f("PlaceHolder3"sv, CEventRawAccess::Stored(e, 2), Empty{});
    f("PlaceHolder4"sv, CEventRawAccess::Stored(e, 3), Empty{});
    f("PlaceHolder5"sv, CEventRawAccess::Stored(e, 4), Empty{});
    f("PlaceHolder6"sv, CEventRawAccess::Stored(e, 5), Empty{});
    f("Text1"sv, e.Text1, Empty{});
    f("Text2"sv, e.Text2, Empty{});
    f("Text3"sv, e.Text3, Empty{});
    f("Scalar6"sv, e.Scalar6, 0);
}

template <class R, class F> void OperationFields(R& o, F&& f) {
    f("Attribute1"sv, o.Attribute1, 1);
    f("Attribute2"sv, o.Attribute2, 1);
    f("Attribute3"sv, o.Attribute3, 0);
    f("Properties"sv, o.Properties, Empty{});
    f("LogicalDrives"sv, o.LogicalDrives, Empty{});
    f("Levels"sv, o.Levels, Empty{});
    f("Migrations"sv, o.Migrations, Empty{});
    f("Events"sv, o.Events, Empty{});
    f("PassThroughs"sv, o.PassThroughs, Empty{});
    f("Partitions"sv, o.Partitions, Empty{});
    f("Objects"sv, o.Objects, Empty{});
    f("Setting1"sv, o.Setting1, 1);
    f("Setting2"sv, o.Setting2, 1);
    f("Setting3"sv, o.Setting3, 1);
    f("Setting4"sv, o.Setting4, 1);
    f("Setting5"sv, o.Setting5, -1);
    f("Setting6"sv, o.Setting6, 1);
    f("Setting7"sv, o.Setting7, 1);
    f("Setting8"sv, o.Setting8, 1);
    f("Flag"sv, o.Flag, false);
    f("Setting9"sv, o.Setting9, 1);
}

// The member walk of each class, for the generic encoder and decoder.
struct ObjectSchema {
    static constexpr const char* Name = "CObject";
    template <class R, class F> static void Fields(R& r, F&& f) { ObjectFields(r, f); }
};
struct TaskSchema {
    static constexpr const char* Name = "CTask";
    template <class R, class F> static void Fields(R& r, F&& f) { TaskFields(r, f); }
};
struct DriveSchema {
    static constexpr const char* Name = "CDrive";
    template <class R, class F> static void Fields(R& r, F&& f) { DriveFields(r, f); }
};
struct ContainerSchema {
    static constexpr const char* Name = "CContainer";
    template <class R, class F> static void Fields(R& r, F&& f) { ContainerFields(r, f); }
};
struct LogicalDriveSchema {
    static constexpr const char* Name = "CLogicalDrive";
    template <class R, class F> static void Fields(R& r, F&& f) { LogicalDriveFields(r, f); }
};
struct LevelSchema {
    static constexpr const char* Name = "CLevel";
    template <class R, class F> static void Fields(R& r, F&& f) { LevelFields(r, f); }
};
struct MigrationSchema {
    static constexpr const char* Name = "CMigration";
    template <class R, class F> static void Fields(R& r, F&& f) { MigrationFields(r, f); }
};
struct PartitionSchema {
    static constexpr const char* Name = "CPartition";
    template <class R, class F> static void Fields(R& r, F&& f) { PartitionFields(r, f); }
};
struct PassThroughSchema {
    static constexpr const char* Name = "CPassThrough";
    template <class R, class F> static void Fields(R& r, F&& f) { PassThroughFields(r, f); }
};
struct EventSchema {
    static constexpr const char* Name = "CEvent";
    template <class R, class F> static void Fields(R& r, F&& f) { EventFields(r, f); }
};
struct OperationSchema {
    static constexpr const char* Name = "COperation";
    template <class R, class F> static void Fields(R& r, F&& f) { OperationFields(r, f); }
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
