#pragma once

// Shared pieces of the `pi` module's sources. Each area registers its
// classes and functions through one Register* call from Module.cpp, so a new
// area is one more source file and one more line there.

#include <pybind11/pybind11.h>

#include <string>

#include "Views.h"

namespace pibind {

namespace py = pybind11;

void RegisterErrors(py::module_& m);
void RegisterHelpers(py::module_& m);
void RegisterProperty(py::module_& m);
void RegisterRecords(py::module_& m);
void RegisterConfig(py::module_& m);
void RegisterInterchange(py::module_& m);
void RegisterDiff(py::module_& m);
void RegisterQueries(py::module_& m);
void RegisterMetrics(py::module_& m);
void RegisterRedfish(py::module_& m);
void RegisterTesting(py::module_& m);

// A class that another area registered, to add methods to it: the
// interchange and diff areas put to_json, diff and so on on the records.
//   auto op = BoundClass<PI::COperation>(m, "COperation");
//   op.def("to_json", ...);
// A record class comes with its RecordHolder (see Views.h).
template <class R> py::class_<R, HolderFor<R>> BoundClass(py::module_& m, const char* name) {
    return py::reinterpret_borrow<py::class_<R, HolderFor<R>>>(m.attr(name));
}

// A member of an identifier enumeration of pi._identifiers (PropertyID,
// Units, ...), or the plain int when the enumeration has no such member.
py::object ToEnum(const char* enumeration, long long value);
// An attribute of a pure-Python part of the package (pi._values, ...).
py::object PackageAttr(const char* module, const char* name);

// Raises the pi.Error subclass that belongs to `code`, with `text`.
[[noreturn]] void RaiseCode(unsigned int code, const std::string& text);
// Raises the pi._errors class `name` with `code` and `text`.
[[noreturn]] void RaiseAs(const char* name, long long code, const std::string& text);
// Raises pi.ConfigRefusedError: a rule of the configuration store (its
// RefusalName) refused the file, for the reason `why`.
[[noreturn]] void RaiseRefused(unsigned int code, const char* rule, const std::string& why);
// Raises pi.Error when a library call returned a failure code.
void CheckResult(unsigned int code, const char* what);

// Text both ways: bytes that are not UTF-8 come back as surrogate escapes
// and go out unchanged, so any stored text round-trips. Anything but str is
// a TypeError.
py::str ToPy(const std::string& text);
std::string TextArg(py::handle value, const char* what);
// Integers with their range checked: TypeError for a non-int (bool
// included), ValueError outside [low, high], however large the int.
long long IntArg(py::handle value, long long low, long long high, const char* what);
unsigned long long U64Arg(py::handle value, const char* what);
bool BoolArg(py::handle value, const char* what);

// Argument types of the bound functions: each takes any Python object (the
// checks below give the errors) and names the type it expects, so that
// help() shows "value: int" rather than an untyped handle.
inline bool AnyObject(PyObject*) {
    return true;
}
#define PIBIND_ARGUMENT(Name)                                                                      \
    class Name : public py::object {                                                               \
    public:                                                                                        \
        PYBIND11_OBJECT_DEFAULT(Name, py::object, AnyObject)                                       \
    };
PIBIND_ARGUMENT(Int)
PIBIND_ARGUMENT(OptionalInt)
PIBIND_ARGUMENT(Str)
PIBIND_ARGUMENT(OptionalStr)
PIBIND_ARGUMENT(StrOrInt)
PIBIND_ARGUMENT(Bool)
PIBIND_ARGUMENT(Float)
PIBIND_ARGUMENT(Buffer)
PIBIND_ARGUMENT(Ints)
PIBIND_ARGUMENT(Strs)
PIBIND_ARGUMENT(Path)
PIBIND_ARGUMENT(TextOrBytes)
PIBIND_ARGUMENT(Value)
PIBIND_ARGUMENT(Record)
PIBIND_ARGUMENT(Changes)
PIBIND_ARGUMENT(ChangeListResult)
#undef PIBIND_ARGUMENT

} // namespace pibind

namespace pybind11 {
namespace detail {
#define PIBIND_ARGUMENT_NAME(Name, Text)                                                           \
    template <> struct handle_type_name<pibind::Name> {                                            \
        static constexpr auto name = const_name(Text);                                             \
    };
PIBIND_ARGUMENT_NAME(Int, "int")
PIBIND_ARGUMENT_NAME(OptionalInt, "Optional[int]")
PIBIND_ARGUMENT_NAME(Str, "str")
PIBIND_ARGUMENT_NAME(OptionalStr, "Optional[str]")
PIBIND_ARGUMENT_NAME(StrOrInt, "Union[str, int]")
PIBIND_ARGUMENT_NAME(Bool, "bool")
PIBIND_ARGUMENT_NAME(Float, "float")
PIBIND_ARGUMENT_NAME(Buffer, "Union[bytes, bytearray, memoryview]")
PIBIND_ARGUMENT_NAME(Ints, "Iterable[int]")
PIBIND_ARGUMENT_NAME(Strs, "Iterable[str]")
PIBIND_ARGUMENT_NAME(Path, "Union[str, os.PathLike]")
PIBIND_ARGUMENT_NAME(TextOrBytes, "Union[str, bytes, bytearray, memoryview]")
PIBIND_ARGUMENT_NAME(Value, "Any")
PIBIND_ARGUMENT_NAME(Record, "Record")
PIBIND_ARGUMENT_NAME(Changes, "Iterable[Change]")
PIBIND_ARGUMENT_NAME(ChangeListResult, "ChangeList")
#undef PIBIND_ARGUMENT_NAME
} // namespace detail
} // namespace pybind11
