// Diff and patch from Python: pi.diff gives a pi.ChangeList of pi.Change,
// pi.patch applies one to a copy of a record.
#include "Interchange.h"

#include <PI/Diff.h>

#include <string>
#include <type_traits>

namespace pibind {

namespace {

using namespace PI;

py::object Json() {
    return py::module_::import("json");
}

// An interchange value as the Python value that json.loads gives.
py::object ValueOf(const std::string& json) {
    if (json.empty())
        return py::none();
    return Json().attr("loads")(ToPy(json));
}

// A Python value as JSON text; TypeError for what JSON cannot hold.
std::string JsonOf(py::handle value) {
    py::object text =
        Json().attr("dumps")(value, py::arg("ensure_ascii") = false, py::arg("allow_nan") = false);
    return TextArg(text, "value");
}

EChangeKind KindArg(py::handle kind) {
    const std::string text = TextArg(kind, "kind");
    for (EChangeKind k :
         {EChangeKind::Added, EChangeKind::Removed, EChangeKind::Changed, EChangeKind::Moved})
        if (text == ChangeKindName(k))
            return k;
    throw py::value_error("kind must be 'added', 'removed', 'changed' or 'moved', not '" + text +
                          "'");
}

CChange MakeChange(Str kind, Str path, Value old, Value now, OptionalStr fromPath) {
    CChange change;
    change.Kind = KindArg(kind);
    change.Path = TextArg(path, "path");
    const bool wantsOld =
        change.Kind == EChangeKind::Removed || change.Kind == EChangeKind::Changed;
    const bool wantsNew = change.Kind == EChangeKind::Added || change.Kind == EChangeKind::Changed;
    const bool wantsFrom = change.Kind == EChangeKind::Moved;
    auto check = [&](bool wanted, bool given, const char* name) {
        if (wanted != given)
            throw py::value_error(std::string("a '") + ChangeKindName(change.Kind) + "' change " +
                                  (wanted ? "needs " : "takes no ") + name);
    };
    check(wantsOld, !old.is_none(), "old value");
    check(wantsNew, !now.is_none(), "new value");
    check(wantsFrom, !fromPath.is_none(), "from_path");
    if (wantsOld)
        change.Old = JsonOf(old);
    if (wantsNew)
        change.New = JsonOf(now);
    if (wantsFrom)
        change.From = TextArg(fromPath, "from_path");
    return change;
}

ChangeListResult MakeList(ChangeList&& changes, ERecordClass recordClass) {
    py::list items;
    for (CChange& change : changes)
        items.append(py::cast(std::move(change)));
    return ChangeListResult(
        PackageAttr("pi._changes", "ChangeList")(items, RecordClassName(recordClass)));
}

ChangeList ChangesArg(py::handle changes) {
    if (PyUnicode_Check(changes.ptr()) || PyBytes_Check(changes.ptr()))
        throw py::type_error("changes must be an iterable of pi.Change");
    ChangeList out;
    for (py::handle item : py::iter(changes)) {
        if (!py::isinstance<CChange>(item))
            throw py::type_error("changes must hold pi.Change, not " +
                                 std::string(py::str(py::type::of(item).attr("__name__"))));
        out.push_back(item.cast<const CChange&>());
    }
    return out;
}

[[noreturn]] void NotARecord(py::handle value, const char* what) {
    throw py::type_error(std::string(what) + " must be a pi record (CProperty, ..., COperation), " +
                         "not " + std::string(py::str(py::type::of(value).attr("__name__"))));
}

ChangeListResult DiffRecords(Record before, Record after, Bool allFields) {
    const EDiffFields fields =
        BoolArg(allFields, "all_fields") ? EDiffFields::All : EDiffFields::Compared;
    ChangeListResult result;
    const bool known = WithRecord(before, [&](auto& a) {
        using R = std::decay_t<decltype(a)>;
        if (!py::type::of(after).is(py::type::of<R>()))
            throw py::type_error(std::string("diff compares two records of one class, not ") +
                                 RecordClassName(ClassOf<R>()) + " and " +
                                 std::string(py::str(py::type::of(after).attr("__name__"))));
        ChangeList changes;
        CInterchangeError error;
        if (const unsigned int code = Diff(a, after.cast<const R&>(), changes, fields, &error))
            RaiseInterchange(code, error);
        result = MakeList(std::move(changes), ClassOf<R>());
    });
    if (!known)
        NotARecord(before, "before");
    return result;
}

// The record class a change list names, when it names one.
void CheckListClass(py::handle changes, ERecordClass recordClass) {
    if (!py::hasattr(changes, "record_class"))
        return;
    py::object named = changes.attr("record_class");
    if (named.is_none())
        return;
    const std::string name = TextArg(named, "record_class");
    if (name != RecordClassName(recordClass))
        throw py::value_error("the change list is of " + name + ", the record a " +
                              RecordClassName(recordClass));
}

Record PatchRecord(Record record, Changes changes) {
    Record result;
    const bool known = WithRecord(record, [&](auto& r) {
        using R = std::decay_t<decltype(r)>;
        CheckListClass(changes, ClassOf<R>());
        const ChangeList list = ChangesArg(changes);
        R patched(r);
        CInterchangeError error;
        if (const unsigned int code = Patch(patched, list, &error))
            RaiseInterchange(code, error, "PatchError");
        result = Record(py::cast(std::move(patched)));
    });
    if (!known)
        NotARecord(record, "record");
    return result;
}

py::str WriteChanges(Changes changes, Str recordClass) {
    const std::string name = TextArg(recordClass, "record_class");
    ERecordClass cls;
    if (!RecordClassFromName(name.data(), name.size(), cls))
        throw py::value_error("no record class named '" + name + "'");
    const ChangeList list = ChangesArg(changes);
    std::string out;
    CInterchangeError error;
    if (const unsigned int code = WriteChangeList(list, cls, out, &error))
        RaiseInterchange(code, error);
    return ToPy(out);
}

ChangeListResult ReadChanges(TextOrBytes data) {
    ERecordClass cls = ERecordClass::Operation;
    ChangeList changes;
    CInterchangeError error;
    unsigned int code = 0;
    if (PyUnicode_Check(data.ptr())) {
        const std::string text = TextArg(data, "data");
        code = ReadChangeList(text.data(), text.size(), cls, changes, &error);
    } else {
        CBytes bytes(data, "data (str or bytes)");
        code = ReadChangeList(bytes.Chars(), bytes.Size(), cls, changes, &error);
    }
    if (code != 0)
        RaiseInterchange(code, error);
    return MakeList(std::move(changes), cls);
}

py::str ChangeRepr(const CChange& c) {
    std::string text = std::string("Change(kind='") + ChangeKindName(c.Kind) + "', path=";
    text += std::string(py::repr(ToPy(c.Path)));
    if (c.Kind == EChangeKind::Moved)
        text += ", from_path=" + std::string(py::repr(ToPy(c.From)));
    if (!c.Old.empty())
        text += ", old=" + std::string(py::repr(ValueOf(c.Old)));
    if (!c.New.empty())
        text += ", new=" + std::string(py::repr(ValueOf(c.New)));
    return ToPy(text + ")");
}

} // namespace

void RegisterDiff(py::module_& m) {
    py::class_<CChange> change(
        m, "Change",
        "One change between two records: kind ('added', 'removed', 'changed' or\n"
        "'moved'), path (a JSON Pointer into the record's interchange value), from_path\n"
        "(a moved element's old place), and old and new: the values in the interchange\n"
        "form, decoded as json.loads gives them (None when the kind has none).");
    change.def(py::init(&MakeChange), py::arg("kind"), py::arg("path"), py::kw_only(),
               py::arg("old") = py::none(), py::arg("new") = py::none(),
               py::arg("from_path") = py::none(),
               "A change to apply with pi.patch; old and new are any values that json.dumps\n"
               "takes, as the interchange form writes them.");
    change.def_property_readonly("kind",
                                 [](const CChange& c) { return py::str(ChangeKindName(c.Kind)); });
    change.def_property_readonly("path", [](const CChange& c) { return ToPy(c.Path); });
    change.def_property_readonly("from_path", [](const CChange& c) -> py::object {
        if (c.Kind != EChangeKind::Moved)
            return py::none();
        return ToPy(c.From);
    });
    change.def_property_readonly("old", [](const CChange& c) { return ValueOf(c.Old); });
    change.def_property_readonly("new", [](const CChange& c) { return ValueOf(c.New); });
    change.def(
        "__eq__",
        [](const CChange& a, py::handle b) -> py::object {
            if (!py::isinstance<CChange>(b))
                return py::reinterpret_borrow<py::object>(Py_NotImplemented);
            return py::bool_(a == b.cast<const CChange&>());
        },
        py::is_operator());
    change.attr("__hash__") = py::none();
    change.def("__repr__", &ChangeRepr);
    change.def("__copy__", [](const CChange& c) { return CChange(c); });
    change.def(
        "__deepcopy__", [](const CChange& c, py::handle) { return CChange(c); }, py::arg("memo"));

    m.def("diff", &DiffRecords, py::arg("before"), py::arg("after"),
          py::arg("all_fields") = py::bool_(false),
          "The changes that turn before into after (two records of one class), as a\n"
          "pi.ChangeList. all_fields=True also lists fields that == leaves out.\n"
          "Objects, properties and member drives are matched by their identity.");
    m.def("patch", &PatchRecord, py::arg("record"), py::arg("changes"),
          "A copy of record with changes applied; record itself is left alone.\n"
          "Raises pi.PatchError, naming the change's path, when a path names no\n"
          "element or an old value is not the record's.");
    m.def("_write_change_list", &WriteChanges, py::arg("changes"), py::arg("record_class"));
    m.def("_read_change_list", &ReadChanges, py::arg("data"));
}

} // namespace pibind
