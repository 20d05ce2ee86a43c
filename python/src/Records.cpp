// The value records: objects, tasks, logical drive layouts, levels,
// migrations, partitions, pass-through results, events and operations.
#include "Fields.h"
#include "PythonNames.h"

#include <PI/Internal/RecordDescription.h>
#include <PI/Operation.h>
#include <PI/Records.h>

#include <climits>
#include <string>
#include <type_traits>
#include <vector>

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

// A task's object part, the member Object of its interchange form, as a live
// view: the only way to reach the object part's own Flag, which the task's
// Flag hides. Its lists are the task's lists (task.Properties is
// task.Object.Properties), so it shares the task's path.
template <class Cls> void ObjectPart(Cls& task, const char* name) {
    task.def_property(
        name,
        [](py::object self) {
            ListBase base = ListBaseOf(self);
            auto link = std::make_unique<ViewLink>();
            link->parent = self;
            link->step = [](py::handle parent, std::size_t) -> void* {
                return static_cast<CObject*>(&parent.cast<CTask&>());
            };
            link->counts = base.counts;
            link->path = base.path;
            return NewView<CObject>(std::move(link));
        },
        [name](py::object self, py::handle value) {
            CObject part = Item<CObject>::Take(value, name);
            static_cast<CObject&>(self.cast<CTask&>()) = std::move(part);
            ListBase base = ListBaseOf(self);
            base.counts->BumpUnder(base.path);
        },
        "The object part (a live CObject view); assigning a CObject replaces it.");
}

// Every member of R in the record description as a checked property. The
// result is the class's `_fields`: R's own members in order (the six
// placeholders as one PlaceHolders tuple, last; a task's object part as
// Object).
template <class R, class Cls> py::tuple BindMembers(Cls& cls) {
    py::list fields;
    bool placeholders = false;
    Records::ForEachMember<R>([&](const auto& d) {
        using M = std::decay_t<decltype(d)>;
        if constexpr (std::is_same_v<std::decay_t<decltype(d.Default)>, Records::TaskBaseDefault>) {
            if constexpr (std::is_same_v<R, CTask>)
                ObjectPart(cls, d.Name.data());
            fields.append(d.Name.data());
        } else if constexpr (!Records::HAS_POINTER<M>) {
            placeholders = true;
        } else {
            using T = std::decay_t<decltype(std::declval<R&>().*M::Pointer)>;
            const char* name = d.Name.data();
            if constexpr (std::is_enum_v<T>)
                EnumField(cls, name, M::Pointer, ENUMERATION<T>);
            else if constexpr (std::is_integral_v<T>)
                IntField(cls, name, M::Pointer);
            else if constexpr (IsVector<T>::value)
                ListField(cls, name, M::Pointer);
            else
                TextField(cls, name, M::Pointer);
            fields.append(name);
        }
    });
    if (placeholders)
        fields.append("PlaceHolders");
    return py::tuple(fields);
}

// The members, and == with copy and repr over `_fields`.
template <class R, class Cls> void DescribedFields(Cls& cls) {
    ValueSupport(cls, BindMembers<R>(cls));
}

void BindObject(py::module_& m) {
    py::class_<CObject, RecordHolder<CObject>> cls(
        m, "CObject",
        "One node of the managed-object graph; Parents and Children are "
        "lists of object ids.");
    cls.def(py::init<>());
    cls.def(py::init([](Int id, Int type) {
                return CObject(U64Arg(id, "id"),
                               static_cast<_OBJECT_TYPE>(IntArg(type, INT_MIN, INT_MAX, "type")));
            }),
            py::arg("id"), py::arg("type"));
    DescribedFields<CObject>(cls);

    py::class_<CTask, CObject, RecordHolder<CTask>> task(
        m, "CTask",
        "A task: a managed object of its own kind, stamped with "
        "its creation time (Time1).");
    task.def(py::init<>());
    DescribedFields<CTask>(task);
}

void BindLogicalDrive(py::module_& m) {
    py::class_<CDrive, RecordHolder<CDrive>> drive(
        m, "CDrive",
        "One piece of a physical drive in a logical drive; compared by "
        "ObjectID and StartAddress only.");
    drive.def(py::init<>());
    drive.def("__lt__", [](const CDrive& a, const CDrive& b) { return a < b; });
    DescribedFields<CDrive>(drive);

    py::class_<CContainer, RecordHolder<CContainer>> container(m, "CContainer",
                                                               "One span of a logical drive.");
    container.def(py::init<>());
    DescribedFields<CContainer>(container);

    py::class_<CLogicalDrive, RecordHolder<CLogicalDrive>> ld(
        m, "CLogicalDrive",
        "The layout of one logical drive. GHS, DHS and ALD do not take "
        "part in ==.");
    ld.def(py::init<>());
    ld.def(py::init([](Str xml) { return CLogicalDrive(TextArg(xml, "xml")); }), py::arg("xml"),
           "Reads a LogicalDriveConfiguration document; text that does not parse gives a\n"
           "default record, a missing or non-numeric attribute raises pi.Error.");
    DescribedFields<CLogicalDrive>(ld);
}

void BindLevels(py::module_& m) {
    py::class_<CLevel, RecordHolder<CLevel>> level(m, "CLevel",
                                                   "One RAID level that a controller offers.");
    level.def(py::init<>());
    DescribedFields<CLevel>(level);

    py::class_<CMigration, RecordHolder<CMigration>> migration(m, "CMigration",
                                                               "One level migration.");
    migration.def(py::init<>());
    DescribedFields<CMigration>(migration);
}

void BindSmallRecords(py::module_& m) {
    py::class_<CPartition, RecordHolder<CPartition>> partition(m, "CPartition", "One partition.");
    partition.def(py::init<>());
    DescribedFields<CPartition>(partition);

    py::class_<CPassThrough, RecordHolder<CPassThrough>> pass(
        m, "CPassThrough", "One result of a pass-through command.");
    pass.def(py::init<>());
    pass.attr("_fields") = BindMembers<CPassThrough>(pass);
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
    pass.def("__repr__",
             [](py::handle self) { return PackageAttr("pi._values", "record_repr")(self); });

    py::class_<CEvent, RecordHolder<CEvent>> event(
        m, "CEvent",
        "One event; == compares Scalar1 to Scalar5 only. Placeholders "
        "hold a text or a language-string id.");
    event.def(py::init<>());
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
    DescribedFields<CEvent>(event);
}

void BindOperation(py::module_& m) {
    py::class_<COperation, RecordHolder<COperation>> op(
        m, "COperation", "The record that asks for or reports an action, with eight lists.");
    op.def(py::init<>());
    DescribedFields<COperation>(op);
}

} // namespace

void RegisterRecords(py::module_& m) {
    BindListView<CProperty>(m, LIST_VIEW<CProperty>,
                            "A record's properties (items are live views).");
    BindListView<unsigned long long>(m, LIST_VIEW<unsigned long long>,
                                     "A record's list of 64-bit object ids.");
    BindListView<int>(m, LIST_VIEW<int>, "A record's list of 32-bit numbers.");
    BindObject(m);
    BindLogicalDrive(m);
    BindLevels(m);
    BindSmallRecords(m);
    BindOperation(m);
    BindListView<CObject>(m, LIST_VIEW<CObject>, "An operation's objects (items are live views).");
    BindListView<CDrive>(m, LIST_VIEW<CDrive>, "A container's drive pieces (live views).");
    BindListView<CContainer>(m, LIST_VIEW<CContainer>,
                             "A logical drive's containers (live views).");
    BindListView<CLogicalDrive>(m, LIST_VIEW<CLogicalDrive>,
                                "An operation's logical drives (live views).");
    BindListView<CLevel>(m, LIST_VIEW<CLevel>, "An operation's levels (live views).");
    BindListView<CMigration>(m, LIST_VIEW<CMigration>, "An operation's migrations (live views).");
    BindListView<CEvent>(m, LIST_VIEW<CEvent>, "An operation's events (live views).");
    BindListView<CPassThrough>(m, LIST_VIEW<CPassThrough>, "An operation's pass-through results.");
    BindListView<CPartition>(m, LIST_VIEW<CPartition>, "An operation's partitions (live views).");
}

} // namespace pibind
