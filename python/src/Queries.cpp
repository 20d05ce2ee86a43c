// Questions a script asks of records: an object of an operation by id, the
// objects of one type, and the health of an object as the library judges it.
#include "Fields.h"

#include <PI/Health.h>
#include <PI/Lookup.h>

#include <climits>
#include <string>
#include <vector>

namespace pibind {

namespace {

using namespace PI;

ListView<CObject> Objects(py::object operation) {
    return ViewOfList(operation, &COperation::Objects, "Objects");
}

py::object ObjectById(py::object self, Int id) {
    const unsigned long long wanted = U64Arg(id, "id");
    ListView<CObject> list = Objects(self);
    const CObject* found = FindObject(self.cast<const COperation&>(), wanted);
    if (found == nullptr)
        return py::none();
    return ElementOf(list, static_cast<std::size_t>(found - list.Items().data()));
}

py::list ObjectsOfType(py::object self, Int type) {
    const auto wanted = static_cast<_OBJECT_TYPE>(IntArg(type, INT_MIN, INT_MAX, "type"));
    ListView<CObject> list = Objects(self);
    py::list out;
    const CObject* first = list.Items().data();
    for (const CObject* found : FindObjectsOfType(self.cast<const COperation&>(), wanted))
        out.append(ElementOf(list, static_cast<std::size_t>(found - first)));
    return out;
}

py::object HealthOf(_HEALTH health) {
    return ToEnum("Health", health);
}

py::object AnyHealth(Record record) {
    if (py::isinstance<CObject>(record))
        return HealthOf(GetObjectHealth(record.cast<const CObject&>()));
    if (py::isinstance<CLogicalDrive>(record))
        return HealthOf(GetLogicalDriveHealth(record.cast<const CLogicalDrive&>()));
    if (py::isinstance<CProperty>(record))
        return HealthOf(HealthOfProperty(record.cast<const CProperty&>()));
    throw py::type_error("health is judged for a CObject, CTask, CLogicalDrive or status "
                         "CProperty, not " +
                         std::string(py::str(py::type::of(record).attr("__name__"))));
}

// {word: Health} or (word, Health) pairs, taken whole or refused whole.
void SetWords(py::handle words) {
    if (PyUnicode_Check(words.ptr()) || PyBytes_Check(words.ptr()))
        throw py::type_error("words must be a mapping of words to Health, not text");
    py::object rows = py::isinstance<py::dict>(words) ? words.attr("items")()
                                                      : py::reinterpret_borrow<py::object>(words);
    std::vector<CHealthWord> table;
    for (py::handle row : py::iter(rows)) {
        py::tuple pair = py::tuple(py::reinterpret_borrow<py::object>(row));
        if (pair.size() != 2)
            throw py::type_error("each row of words is (word, Health)");
        table.push_back(
            {TextArg(pair[0], "word"), static_cast<_HEALTH>(IntArg(pair[1], 0, 3, "health"))});
    }
    if (!SetHealthWords(table))
        throw py::value_error("the table of state words was refused and is unchanged: a word "
                              "is empty, a health is not OK, WARNING or CRITICAL, or a word "
                              "appears twice");
}

py::list GetWords() {
    py::list out;
    for (const CHealthWord& row : GetHealthWords())
        out.append(py::make_tuple(ToPy(row.Word), HealthOf(row.Health)));
    return out;
}

} // namespace

void RegisterQueries(py::module_& m) {
    auto op = BoundClass<COperation>(m, "COperation");
    op.def("object", &ObjectById, py::arg("id"),
           "The object with this ObjectID (the first when there are several) as a live\n"
           "view, or None.");
    op.def("objects_of_type", &ObjectsOfType, py::arg("type"),
           "The objects of this ObjectType, in list order, as live views.");

    BoundClass<CObject>(m, "CObject")
        .def(
            "health", [](const CObject& o) { return HealthOf(GetObjectHealth(o)); },
            "OK, WARNING, CRITICAL or UNKNOWN, by the status property of the object's kind.");
    BoundClass<CLogicalDrive>(m, "CLogicalDrive")
        .def(
            "health", [](const CLogicalDrive& d) { return HealthOf(GetLogicalDriveHealth(d)); },
            "The health by LOGICAL_DRIVE_STATUS.");
    m.def("health", &AnyHealth, py::arg("record"),
          "The health of a CObject (or CTask), a CLogicalDrive or one status CProperty.");
    m.def("set_health_words", &SetWords, py::arg("words"),
          "Replaces the table of state words that status texts are judged by: a mapping\n"
          "of word to Health (or (word, Health) pairs). Refused whole (ValueError) when a\n"
          "word is empty, a health is UNKNOWN, or a word appears twice.");
    m.def("get_health_words", &GetWords, "The table of state words as (word, Health) pairs.");
    m.def("reset_health_words", &ResetHealthWords,
          "Back to the table of state words that the library starts with.");
}

} // namespace pibind
