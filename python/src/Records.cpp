// The value records: objects, tasks, logical drive layouts, levels,
// migrations, partitions, pass-through results, events and operations.
#include "Fields.h"

#include <PI/Internal/EventRawAccess.h>
#include <PI/Operation.h>
#include <PI/Records.h>

#include <climits>
#include <string>

namespace pibind {

namespace {

using namespace PI;

unsigned int Slot(py::handle slot) {
    return static_cast<unsigned int>(IntArg(slot, 1, 6, "slot")) - 1;
}

void SetPlaceHolder(CEvent& event, Int slot, StrOrInt value) {
    const unsigned int index = Slot(slot);
    using Setter = void (CEvent::*)(int);
    using TextSetter = void (CEvent::*)(const std::string&);
    static const Setter ids[] = {&CEvent::SetPlaceHolder1, &CEvent::SetPlaceHolder2,
                                 &CEvent::SetPlaceHolder3, &CEvent::SetPlaceHolder4,
                                 &CEvent::SetPlaceHolder5, &CEvent::SetPlaceHolder6};
    static const TextSetter texts[] = {&CEvent::SetPlaceHolder1, &CEvent::SetPlaceHolder2,
                                       &CEvent::SetPlaceHolder3, &CEvent::SetPlaceHolder4,
                                       &CEvent::SetPlaceHolder5, &CEvent::SetPlaceHolder6};
    if (PyUnicode_Check(value.ptr()))
        (event.*texts[index])(TextArg(value, "value"));
    else
        (event.*ids[index])(static_cast<int>(IntArg(value, INT_MIN, INT_MAX, "value")));
}

py::str GetPlaceHolder(CEvent& event, Int slot) {
    using Getter = const RVX::Strings::TString<16>& (CEvent::*)();
    static const Getter getters[] = {&CEvent::GetPlaceHolder1, &CEvent::GetPlaceHolder2,
                                     &CEvent::GetPlaceHolder3, &CEvent::GetPlaceHolder4,
                                     &CEvent::GetPlaceHolder5, &CEvent::GetPlaceHolder6};
    return ToPy((event.*getters[Slot(slot)])().Str());
}

void BindObject(py::module_& m) {
    py::class_<CObject> cls(m, "CObject",
                            "One node of the managed-object graph; Parents and Children are "
                            "lists of object ids.");
    cls.def(py::init<>());
    cls.def(py::init([](Int id, Int type) {
                return CObject(U64Arg(id, "id"),
                               static_cast<_OBJECT_TYPE>(IntArg(type, INT_MIN, INT_MAX, "type")));
            }),
            py::arg("id"), py::arg("type"));
    IntField(cls, "ObjectID", &CObject::ObjectID);
    EnumField(cls, "ObjectType", &CObject::ObjectType, "ObjectType");
    ListField(cls, "Parents", &CObject::Parents);
    ListField(cls, "Children", &CObject::Children);
    IntField(cls, "Value64", &CObject::Value64);
    IntField(cls, "Flag", &CObject::Flag);
    ListField(cls, "Properties", &CObject::Properties);
    ValueSupport(cls, py::make_tuple("ObjectID", "ObjectType", "Parents", "Children", "Value64",
                                     "Flag", "Properties"));

    py::class_<CTask, CObject> task(m, "CTask",
                                    "A task: a managed object of its own kind, stamped with "
                                    "its creation time (Time1).");
    task.def(py::init<>());
    TextField(task, "Text1", &CTask::Text1);
    TextField(task, "Text2", &CTask::Text2);
    TextField(task, "Text3", &CTask::Text3);
    IntField(task, "Attribute1", &CTask::Attribute1);
    IntField(task, "Attribute2", &CTask::Attribute2);
    IntField(task, "Time1", &CTask::Time1);
    IntField(task, "Time2", &CTask::Time2);
    IntField(task, "Time3", &CTask::Time3);
    IntField(task, "Attribute3", &CTask::Attribute3);
    IntField(task, "Attribute4", &CTask::Attribute4);
    IntField(task, "Attribute5", &CTask::Attribute5);
    IntField(task, "Flag", &CTask::Flag);
    IntField(task, "Attribute6", &CTask::Attribute6);
    IntField(task, "Attribute7", &CTask::Attribute7);
    ValueSupport(task,
                 py::make_tuple("Text1", "Text2", "Text3", "Attribute1", "Attribute2", "Time1",
                                "Time2", "Time3", "Attribute3", "Attribute4", "Attribute5", "Flag",
                                "Attribute6", "Attribute7", "ObjectID", "ObjectType", "Parents",
                                "Children", "Value64", "Properties"));
}

void BindLogicalDrive(py::module_& m) {
    py::class_<CDrive> drive(m, "CDrive",
                             "One piece of a physical drive in a logical drive; compared by "
                             "ObjectID and StartAddress only.");
    drive.def(py::init<>());
    IntField(drive, "ObjectID", &CDrive::ObjectID);
    IntField(drive, "StartAddress", &CDrive::StartAddress);
    IntField(drive, "UsedSize", &CDrive::UsedSize);
    ListField(drive, "Properties", &CDrive::Properties);
    IntField(drive, "Attribute1", &CDrive::Attribute1);
    IntField(drive, "Attribute2", &CDrive::Attribute2);
    IntField(drive, "Flag", &CDrive::Flag);
    drive.def("__lt__", [](const CDrive& a, const CDrive& b) { return a < b; });
    ValueSupport(drive, py::make_tuple("ObjectID", "StartAddress", "UsedSize", "Properties",
                                       "Attribute1", "Attribute2", "Flag"));

    py::class_<CContainer> container(m, "CContainer", "One span of a logical drive.");
    container.def(py::init<>());
    ListField(container, "Drives", &CContainer::Drives);
    ValueSupport(container, py::make_tuple("Drives"));

    py::class_<CLogicalDrive> ld(m, "CLogicalDrive",
                                 "The layout of one logical drive. GHS, DHS and ALD do not take "
                                 "part in ==.");
    ld.def(py::init<>());
    ld.def(py::init([](Str xml) { return CLogicalDrive(TextArg(xml, "xml")); }), py::arg("xml"),
           "Reads a LogicalDriveConfiguration document; text that does not parse gives a\n"
           "default record, a missing or non-numeric attribute raises pi.Error.");
    IntField(ld, "Attribute1", &CLogicalDrive::Attribute1);
    ListField(ld, "Properties", &CLogicalDrive::Properties);
    IntField(ld, "Attribute2", &CLogicalDrive::Attribute2);
    IntField(ld, "Size", &CLogicalDrive::Size);
    EnumField(ld, "Units", &CLogicalDrive::Units, "Units");
    ListField(ld, "Containers", &CLogicalDrive::Containers);
    ListField(ld, "GHS", &CLogicalDrive::GHS);
    ListField(ld, "DHS", &CLogicalDrive::DHS);
    ListField(ld, "ALD", &CLogicalDrive::ALD);
    ValueSupport(ld, py::make_tuple("Attribute1", "Properties", "Attribute2", "Size", "Units",
                                    "Containers", "GHS", "DHS", "ALD"));
}

void BindLevels(py::module_& m) {
    py::class_<CLevel> level(m, "CLevel", "One RAID level that a controller offers.");
    level.def(py::init<>());
    IntField(level, "Attribute0", &CLevel::Attribute0);
    ListField(level, "StripeSizes", &CLevel::StripeSizes);
    IntField(level, "Attribute1", &CLevel::Attribute1);
    ListField(level, "Properties", &CLevel::Properties);
    IntField(level, "Attribute2", &CLevel::Attribute2);
    IntField(level, "Attribute3", &CLevel::Attribute3);
    IntField(level, "Attribute4", &CLevel::Attribute4);
    IntField(level, "Attribute5", &CLevel::Attribute5);
    IntField(level, "Size1", &CLevel::Size1);
    IntField(level, "Size2", &CLevel::Size2);
    EnumField(level, "Units", &CLevel::Units, "Units");
    IntField(level, "Attribute6", &CLevel::Attribute6);
    IntField(level, "Attribute7", &CLevel::Attribute7);
    IntField(level, "Flag", &CLevel::Flag);
    IntField(level, "Attribute8", &CLevel::Attribute8);
    ValueSupport(level, py::make_tuple("Attribute0", "StripeSizes", "Attribute1", "Properties",
                                       "Attribute2", "Attribute3", "Attribute4", "Attribute5",
                                       "Size1", "Size2", "Units", "Attribute6", "Attribute7",
                                       "Flag", "Attribute8"));

    py::class_<CMigration> migration(m, "CMigration", "One level migration.");
    migration.def(py::init<>());
    IntField(migration, "Attribute1", &CMigration::Attribute1);
    IntField(migration, "Attribute2", &CMigration::Attribute2);
    IntField(migration, "Attribute3", &CMigration::Attribute3);
    ListField(migration, "Properties", &CMigration::Properties);
    ValueSupport(migration, py::make_tuple("Attribute1", "Attribute2", "Attribute3", "Properties"));
}

void BindSmallRecords(py::module_& m) {
    py::class_<CPartition> partition(m, "CPartition", "One partition.");
    partition.def(py::init<>());
    IntField(partition, "Attribute1", &CPartition::Attribute1);
    IntField(partition, "Attribute2", &CPartition::Attribute2);
    IntField(partition, "Attribute3", &CPartition::Attribute3);
    TextField(partition, "Text1", &CPartition::Text1);
    TextField(partition, "Text2", &CPartition::Text2);
    ValueSupport(partition,
                 py::make_tuple("Attribute1", "Attribute2", "Attribute3", "Text1", "Text2"));

    py::class_<CPassThrough> pass(m, "CPassThrough", "One result of a pass-through command.");
    pass.def(py::init<>());
    IntField(pass, "Value", &CPassThrough::Value);
    // The library compares pass-through results only as part of an operation.
    pass.def(
        "__eq__",
        [](const CPassThrough& a, py::handle b) -> py::object {
            if (!py::isinstance<CPassThrough>(b))
                return py::reinterpret_borrow<py::object>(Py_NotImplemented);
            return py::bool_(a.Value == b.cast<const CPassThrough&>().Value);
        },
        py::is_operator());
    pass.attr("__hash__") = py::none();
    pass.def("__copy__", [](const CPassThrough& r) { return CPassThrough(r); });
    pass.def(
        "__deepcopy__", [](const CPassThrough& r, py::handle) { return CPassThrough(r); },
        py::arg("memo"));
    pass.attr("_fields") = py::make_tuple("Value");
    pass.def("__repr__",
             [](py::handle self) { return PackageAttr("pi._values", "record_repr")(self); });

    py::class_<CEvent> event(m, "CEvent",
                             "One event; == compares Scalar1 to Scalar5 only. Placeholders "
                             "hold a text or a language-string id.");
    event.def(py::init<>());
    IntField(event, "Scalar1", &CEvent::Scalar1);
    IntField(event, "Scalar2", &CEvent::Scalar2);
    IntField(event, "Scalar3", &CEvent::Scalar3);
    IntField(event, "Scalar4", &CEvent::Scalar4);
    IntField(event, "Scalar5", &CEvent::Scalar5);
    TextField(event, "Text1", &CEvent::Text1);
    TextField(event, "Text2", &CEvent::Text2);
    TextField(event, "Text3", &CEvent::Text3);
    IntField(event, "Scalar6", &CEvent::Scalar6);
    event.def("set_placeholder", &SetPlaceHolder, py::arg("slot"), py::arg("value"),
              "Sets placeholder slot (1 to 6) to a text (str) or a language-string id (int).");
    event.def("get_placeholder", &GetPlaceHolder, py::arg("slot"),
              "Placeholder slot (1 to 6) resolved: an id gives its language string.");
    event.def_property(
        "PlaceHolders",
        [](CEvent& e) {
            py::list out;
            for (unsigned int i = 0; i < 6; ++i)
                out.append(ToPy(CEventRawAccess::Stored(e, i).Str()));
            return py::tuple(out);
        },
        [](CEvent& e, py::handle values) {
            if (PyUnicode_Check(values.ptr()))
                throw py::type_error("PlaceHolders must be a sequence of six str");
            std::vector<std::string> texts;
            for (py::handle item : py::iter(values))
                texts.push_back(TextArg(item, "placeholder"));
            if (texts.size() != 6)
                throw py::value_error("PlaceHolders must have six entries");
            for (unsigned int i = 0; i < 6; ++i)
                CEventRawAccess::Stored(e, i) = RVX::Strings::TString<16>(texts[i]);
        },
        "The six placeholders as stored: 'T:text' or 'I:id'.");
    ValueSupport(event, py::make_tuple("Scalar1", "Scalar2", "Scalar3", "Scalar4", "Scalar5",
                                       "Text1", "Text2", "Text3", "Scalar6", "PlaceHolders"));
}

void BindOperation(py::module_& m) {
    py::class_<COperation> op(m, "COperation",
                              "The record that asks for or reports an action, with eight lists.");
    op.def(py::init<>());
    IntField(op, "Attribute1", &COperation::Attribute1);
    IntField(op, "Attribute2", &COperation::Attribute2);
    IntField(op, "Attribute3", &COperation::Attribute3);
    ListField(op, "Properties", &COperation::Properties);
    ListField(op, "LogicalDrives", &COperation::LogicalDrives);
    ListField(op, "Levels", &COperation::Levels);
    ListField(op, "Migrations", &COperation::Migrations);
    ListField(op, "Events", &COperation::Events);
    ListField(op, "PassThroughs", &COperation::PassThroughs);
    ListField(op, "Partitions", &COperation::Partitions);
    ListField(op, "Objects", &COperation::Objects);
    IntField(op, "Setting1", &COperation::Setting1);
    IntField(op, "Setting2", &COperation::Setting2);
    IntField(op, "Setting3", &COperation::Setting3);
    IntField(op, "Setting4", &COperation::Setting4);
    IntField(op, "Setting5", &COperation::Setting5);
    IntField(op, "Setting6", &COperation::Setting6);
    IntField(op, "Setting7", &COperation::Setting7);
    IntField(op, "Setting8", &COperation::Setting8);
    IntField(op, "Flag", &COperation::Flag);
    IntField(op, "Setting9", &COperation::Setting9);
    ValueSupport(op, py::make_tuple("Attribute1", "Attribute2", "Attribute3", "Properties",
                                    "LogicalDrives", "Levels", "Migrations", "Events",
                                    "PassThroughs", "Partitions", "Objects", "Setting1", "Setting2",
                                    "Setting3", "Setting4", "Setting5", "Setting6", "Setting7",
                                    "Setting8", "Flag", "Setting9"));
}

} // namespace

void RegisterRecords(py::module_& m) {
    BindListView<CProperty>(m, "PropertyList", "A record's properties (items are copies).");
    BindListView<unsigned long long>(m, "IdList", "A record's list of 64-bit object ids.");
    BindListView<int>(m, "IntList", "A record's list of 32-bit numbers.");
    BindObject(m);
    BindLogicalDrive(m);
    BindLevels(m);
    BindSmallRecords(m);
    BindOperation(m);
    BindListView<CObject>(m, "ObjectList", "An operation's objects (items are copies).");
    BindListView<CDrive>(m, "DriveList", "A container's drive pieces (items are copies).");
    BindListView<CContainer>(m, "ContainerList", "A logical drive's containers (copies).");
    BindListView<CLogicalDrive>(m, "LogicalDriveList", "An operation's logical drives (copies).");
    BindListView<CLevel>(m, "LevelList", "An operation's levels (items are copies).");
    BindListView<CMigration>(m, "MigrationList", "An operation's migrations (copies).");
    BindListView<CEvent>(m, "EventList", "An operation's events (items are copies).");
    BindListView<CPassThrough>(m, "PassThroughList", "An operation's pass-through results.");
    BindListView<CPartition>(m, "PartitionList", "An operation's partitions (copies).");
}

} // namespace pibind
