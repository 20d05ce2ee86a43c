// Library failures as Python exceptions, and the checked conversions that
// keep wrong Python values away from the library.
#include "Binding.h"

#include <PI/Identifiers.h>
#include <RVX/Exceptions.h>
#include <RVX/IniFiles.h>

#include <boost/lexical_cast/bad_lexical_cast.hpp>

#include <climits>
#include <exception>
#include <stdexcept>
#include <system_error>

namespace pibind {

py::object PackageAttr(const char* module, const char* name) {
    return py::module_::import(module).attr(name);
}

py::object ToEnum(const char* enumeration, long long value) {
    py::object type = PackageAttr("pi._identifiers", enumeration);
    py::dict members = type.attr("_value2member_map_");
    py::int_ key(value);
    if (members.contains(key))
        return members[key];
    return std::move(key);
}

void RaiseAs(const char* name, long long code, const std::string& text) {
    py::object type = PackageAttr("pi._errors", name);
    py::object error = type(code, ToPy(text));
    PyErr_SetObject(type.ptr(), error.ptr());
    throw py::error_already_set();
}

void RaiseRefused(unsigned int code, const char* rule, const std::string& why) {
    py::object type = PackageAttr("pi._errors", "ConfigRefusedError");
    py::object error = type(code, ToPy(std::string("refused (") + rule + "): " + why), rule);
    PyErr_SetObject(type.ptr(), error.ptr());
    throw py::error_already_set();
}

void RaiseCode(unsigned int code, const std::string& text) {
    py::object type = PackageAttr("pi._errors", "error_class")(code);
    py::object error = type(code, ToPy(text));
    PyErr_SetObject(type.ptr(), error.ptr());
    throw py::error_already_set();
}

void CheckResult(unsigned int code, const char* what) {
    if (code != PI::RESULT_SUCCESS)
        RaiseCode(code, std::string(what) + " failed with result " + std::to_string(code));
}

py::str ToPy(const std::string& text) {
    PyObject* decoded =
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "surrogateescape");
    if (decoded == nullptr)
        throw py::error_already_set();
    return py::reinterpret_steal<py::str>(decoded);
}

std::string TextArg(py::handle value, const char* what) {
    if (!PyUnicode_Check(value.ptr()))
        throw py::type_error(std::string(what) + " must be str, not " +
                             std::string(py::str(py::type::of(value).attr("__name__"))));
    PyObject* encoded = PyUnicode_AsEncodedString(value.ptr(), "utf-8", "surrogateescape");
    if (encoded == nullptr)
        throw py::error_already_set();
    py::bytes bytes = py::reinterpret_steal<py::bytes>(encoded);
    return std::string(bytes);
}

namespace {

void RequireInt(py::handle value, const char* what) {
    if (!PyLong_Check(value.ptr()) || PyBool_Check(value.ptr()))
        throw py::type_error(std::string(what) + " must be int, not " +
                             std::string(py::str(py::type::of(value).attr("__name__"))));
}

[[noreturn]] void OutOfRange(const char* what, const std::string& range) {
    throw py::value_error(std::string(what) + " is out of range (" + range + ")");
}

} // namespace

long long IntArg(py::handle value, long long low, long long high, const char* what) {
    RequireInt(value, what);
    int overflow = 0;
    const long long number = PyLong_AsLongLongAndOverflow(value.ptr(), &overflow);
    if (number == -1 && PyErr_Occurred())
        throw py::error_already_set();
    if (overflow != 0 || number < low || number > high)
        OutOfRange(what, std::to_string(low) + " to " + std::to_string(high));
    return number;
}

unsigned long long U64Arg(py::handle value, const char* what) {
    RequireInt(value, what);
    const unsigned long long number = PyLong_AsUnsignedLongLong(value.ptr());
    if (number == static_cast<unsigned long long>(-1) && PyErr_Occurred()) {
        PyErr_Clear();
        OutOfRange(what, "0 to 2**64-1");
    }
    return number;
}

bool BoolArg(py::handle value, const char* what) {
    if (!PyBool_Check(value.ptr()))
        throw py::type_error(std::string(what) + " must be bool, not " +
                             std::string(py::str(py::type::of(value).attr("__name__"))));
    return value.ptr() == Py_True;
}

void RegisterErrors(py::module_&) {
    // Runs before pybind11's own translations, so the library's std
    // exceptions keep their meaning (a short product is the library's
    // failure, not a Python index error).
    py::register_exception_translator([](std::exception_ptr pending) {
        if (!pending)
            return;
        try {
            std::rethrow_exception(pending);
        } catch (const RVX::Exceptions::CException& e) {
            try {
                // A file that a rule of the configuration store refuses.
                if (const char* rule = RVX::INI_Files::RefusalName(e.GetCode()))
                    RaiseRefused(e.GetCode(), rule,
                                 e.GetDetail().empty() ? e.what() : e.GetDetail());
                // A failed system call is the operating system's refusal.
                if (e.GetSystemError() != 0)
                    RaiseAs("FileError", e.GetSystemError(), e.what());
                RaiseCode(e.GetCode(), e.what());
            } catch (py::error_already_set& raised) {
                raised.restore();
            }
        } catch (const boost::bad_lexical_cast& e) {
            try {
                RaiseCode(0, std::string("not a number where one is required: ") + e.what());
            } catch (py::error_already_set& raised) {
                raised.restore();
            }
        } catch (const std::system_error& e) {
            try {
                RaiseAs("FileError", e.code().value(), e.what());
            } catch (py::error_already_set& raised) {
                raised.restore();
            }
        } catch (const std::out_of_range& e) {
            try {
                RaiseCode(0, e.what());
            } catch (py::error_already_set& raised) {
                raised.restore();
            }
        }
    });
}

} // namespace pibind
