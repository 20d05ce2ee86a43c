// CProperty: the typed value, with `.value` in Python's terms and explicit
// set_*/get_* methods for each kind.
#include "Fields.h"
#include "PythonNames.h"

#include <PI/Internal/RecordDescription.h>
#include <PI/Property.h>
#include <RVX/Exceptions.h>
#include <RVX/Markup.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace pibind {

namespace {

using PI::CProperty;

int Int32(py::handle value, const char* what) {
    return static_cast<int>(IntArg(value, INT_MIN, INT_MAX, what));
}

py::list IntList(const std::vector<int>& items) {
    py::list out;
    for (int item : items)
        out.append(item);
    return out;
}

py::object GetRange(CProperty& p) {
    int value = 0, minimum = 0, maximum = 0;
    unsigned int step = 0;
    p.GetValue(value, minimum, maximum, step);
    return PackageAttr("pi._values", "Range")(value, minimum, maximum, step);
}

py::object GetSelection(CProperty& p) {
    int value = 0;
    std::vector<int> items;
    p.GetValue(value, items);
    return PackageAttr("pi._values", "Selection")(value, IntList(items));
}

// The list kinds store an empty list as no block at all, which the
// library's readers refuse as missing data; in Python it is the empty list.
bool EmptyList(const CProperty& p) {
    return p.DataSize == 0 && p.Data == nullptr &&
           (p.Type == PI::VT_UINT64_LIST || p.Type == PI::VT_INT_LIST_PAIR);
}

py::object GetPair(CProperty& p) {
    std::vector<int> first, second;
    if (!EmptyList(p))
        p.GetValue(first, second);
    return py::make_tuple(IntList(first), IntList(second));
}

py::object GetU64List(CProperty& p) {
    std::vector<unsigned long long> items;
    if (!EmptyList(p))
        p.GetValue(items);
    py::list out;
    for (unsigned long long item : items)
        out.append(py::int_(item));
    return out;
}

py::object GetStringList(CProperty& p) {
    std::vector<std::string> items;
    unsigned int mask = 0;
    p.GetValue(items, mask);
    py::list out;
    for (const std::string& item : items)
        out.append(ToPy(item));
    return out;
}

py::object GetXml(CProperty& p) {
    RVX::XML::CMarkup markup;
    p.GetValue(markup);
    return PackageAttr("pi._values", "XmlText")(ToPy(markup.GetDoc()));
}

py::object GetString(CProperty& p) {
    std::string text;
    p.GetValue(text);
    return ToPy(text);
}

py::object GetValue(CProperty& p) {
    switch (p.Type) {
    case PI::VT_NONE:
        return py::none();
    case PI::VT_STRING:
        return GetString(p);
    case PI::VT_INT_LIST:
        return GetSelection(p);
    case PI::VT_BOOL: {
        bool value = false;
        p.GetValue(value);
        return py::bool_(value);
    }
    case PI::VT_UINT64: {
        unsigned long long value = 0;
        p.GetValue(value);
        return py::int_(value);
    }
    case PI::VT_RANGE:
        return GetRange(p);
    case PI::VT_INT_LIST_PAIR:
        return GetPair(p);
    case PI::VT_FLOAT: {
        float value = 0;
        p.GetValue(value);
        return py::float_(value);
    }
    case PI::VT_UINT64_LIST:
        return GetU64List(p);
    case PI::VT_XML:
        return GetXml(p);
    case PI::VT_STRING_LIST:
        return GetStringList(p);
    default:
        RaiseCode(PI::EXCEPTION_WRONG_TYPE, "property " + std::to_string(p.PropertyID) +
                                                " has the unknown kind " + std::to_string(p.Type));
    }
}

void SetString(CProperty& p, Str text) {
    const std::string value = TextArg(text, "text");
    CheckResult(p.SetValue(RVX::Strings::CStringRef(value)), "setting a string");
}

void SetPlainString(CProperty& p, Str text) {
    CheckResult(p.SetValue(TextArg(text, "text")), "setting a string");
}

void SetBool(CProperty& p, Bool value) {
    CheckResult(p.SetValue(BoolArg(value, "value")), "setting a bool");
}

void SetU64(CProperty& p, Int value) {
    CheckResult(p.SetValue(U64Arg(value, "value")), "setting a 64-bit number");
}

void SetFloat(CProperty& p, Float value) {
    if (!PyFloat_Check(value.ptr()) && (!PyLong_Check(value.ptr()) || PyBool_Check(value.ptr())))
        throw py::type_error("value must be float or int");
    const double number =
        PyFloat_Check(value.ptr()) ? PyFloat_AsDouble(value.ptr()) : PyLong_AsDouble(value.ptr());
    if (number == -1.0 && PyErr_Occurred()) {
        PyErr_Clear();
        throw py::value_error("value is out of range for a 32-bit float");
    }
    // Converting a finite double beyond the float range is undefined in C++;
    // Python's own 32-bit packing refuses it too.
    if (std::isfinite(number) && std::fabs(number) > std::numeric_limits<float>::max())
        throw py::value_error("value is out of range for a 32-bit float");
    CheckResult(p.SetValue(static_cast<float>(number)), "setting a float");
}

void SetRange(CProperty& p, Int value, Int minimum, Int maximum, Int step) {
    CheckResult(p.SetValue(Int32(value, "value"), Int32(minimum, "minimum"),
                           Int32(maximum, "maximum"),
                           static_cast<unsigned int>(IntArg(step, 0, UINT_MAX, "step"))),
                "setting a range");
}

void SetIntList(CProperty& p, Int value, Ints items) {
    std::vector<int> list = TakeAll<int>(items, "items");
    CheckResult(p.SetValue(Int32(value, "value"), list), "setting an int list");
}

void SetPair(CProperty& p, Ints first, Ints second) {
    std::vector<int> a = TakeAll<int>(first, "first");
    std::vector<int> b = TakeAll<int>(second, "second");
    CheckResult(p.SetValue(a, b), "setting a pair of int lists");
}

void SetU64List(CProperty& p, Ints items) {
    std::vector<unsigned long long> list = TakeAll<unsigned long long>(items, "items");
    CheckResult(p.SetValue(list), "setting a 64-bit list");
}

void SetStringList(CProperty& p, Strs items, Int mask) {
    if (PyUnicode_Check(items.ptr()) || PyBytes_Check(items.ptr()))
        throw py::type_error("items must be a sequence of str, not text");
    std::vector<std::string> list;
    for (py::handle item : py::iter(items))
        list.push_back(TextArg(item, "item"));
    CheckResult(
        p.SetValue(list, static_cast<unsigned int>(IntArg(mask, 0, UINT_MAX, "selection_mask"))),
        "setting a string list");
}

void SetXml(CProperty& p, Str text) {
    RVX::XML::CMarkup markup;
    markup.SetDoc(TextArg(text, "text"));
    CheckResult(p.SetValue(markup), "setting XML");
}

// `.value = x`: the kind follows the Python type.
void SetValue(CProperty& p, py::handle value) {
    PyObject* o = value.ptr();
    py::object values = py::module_::import("pi._values");
    if (value.is_none())
        throw py::type_error("a property cannot be set to None; assign a new CProperty");
    if (PyBool_Check(o))
        return SetBool(p, py::reinterpret_borrow<Bool>(value));
    if (PyLong_Check(o))
        return SetU64(p, py::reinterpret_borrow<Int>(value));
    if (PyFloat_Check(o))
        return SetFloat(p, py::reinterpret_borrow<Float>(value));
    if (py::isinstance(value, values.attr("XmlText")))
        return SetXml(p, py::reinterpret_borrow<Str>(value));
    if (PyUnicode_Check(o))
        return SetString(p, py::reinterpret_borrow<Str>(value));
    if (py::isinstance(value, values.attr("Range"))) {
        py::tuple t = py::reinterpret_borrow<py::tuple>(value);
        return SetRange(p, t[0], t[1], t[2], t[3]);
    }
    if (py::isinstance(value, values.attr("Selection"))) {
        py::tuple t = py::reinterpret_borrow<py::tuple>(value);
        return SetIntList(p, t[0], t[1]);
    }
    if (PyTuple_Check(o) && PyTuple_GET_SIZE(o) == 2) {
        py::tuple t = py::reinterpret_borrow<py::tuple>(value);
        return SetPair(p, t[0], t[1]);
    }
    if (PyList_Check(o)) {
        py::list list = py::reinterpret_borrow<py::list>(value);
        bool texts =
            list.size() > 0 ? PyUnicode_Check(list[0].ptr()) != 0 : p.Type == PI::VT_STRING_LIST;
        if (texts)
            return SetStringList(p, py::reinterpret_borrow<Strs>(value),
                                 py::reinterpret_borrow<Int>(py::int_(p.SelectionMask)));
        return SetU64List(p, py::reinterpret_borrow<Ints>(value));
    }
    throw py::type_error(
        "a property value must be bool, int, float, str, XmlText, Range, Selection, "
        "a tuple of two int lists or a list of int or str, not " +
        std::string(py::str(py::type::of(value).attr("__name__"))));
}

py::object Block(const CProperty& p) {
    if (p.Data == nullptr)
        return py::none();
    return py::bytes(reinterpret_cast<const char*>(p.Data), p.DataSize);
}

} // namespace

// The reader of one kind, whose refusal of another kind names both: what
// the property holds and what was asked.
template <auto Read> auto ReaderOf(const char* asked) {
    return [asked](CProperty& p) {
        try {
            return Read(p);
        } catch (const RVX::Exceptions::CException& e) {
            if (e.GetCode() != PI::EXCEPTION_WRONG_TYPE)
                throw;
            const std::string held = py::str(ToEnum("ValueType", p.Type).attr("name"));
            const std::string name = py::str(ToEnum("PropertyID", p.PropertyID).attr("name"));
            char code[24];
            std::snprintf(code, sizeof code, " (exception 0x%08x)", e.GetCode());
            RaiseCode(e.GetCode(), "property " + name + " (" + std::to_string(p.PropertyID) +
                                       ") holds a " + held + " value, not " + asked + code);
        }
    };
}

template <class T> T ReadScalar(CProperty& p) {
    T value{};
    p.GetValue(value);
    return value;
}

void RegisterProperty(py::module_& m) {
    py::class_<CProperty, RecordHolder<CProperty>> cls(m, "CProperty",
                                                       R"doc(One typed property value.

``value`` reads the value in Python's terms, by kind (``Type``):
NONE -> None, STRING -> str, INT_LIST -> Selection(value, items),
BOOL -> bool, UINT64 -> int, RANGE -> Range(value, minimum, maximum, step),
INT_LIST_PAIR -> (list, list), FLOAT -> float, UINT64_LIST -> list of int,
XML -> XmlText, STRING_LIST -> list of str.

Assigning ``value`` picks the kind from the Python type (bool, int, float,
str, XmlText, Range, Selection, a 2-tuple of int lists, a list of int or of
str); the set_* methods choose the kind explicitly. The get_* methods read
one kind and raise WrongKindError for another. Type, DataSize, SplitSize
and the block (``data``) change only through the setters.)doc");
    cls.def(py::init([](Int id, Bool flag) {
                return CProperty(static_cast<PI::_PROPERTY_ID>(Int32(id, "id")),
                                 BoolArg(flag, "flag"));
            }),
            py::arg("id") = 1, py::arg("flag") = false,
            "PropertyID and SecondaryID take id, Flag takes flag.");
    // The members from the record description; Type and the block's sizes
    // are read-only, since only the setters may change a property's kind.
    PI::Records::ForEachMember<CProperty>([&](const auto& d) {
        using M = std::decay_t<decltype(d)>;
        using T = std::decay_t<decltype(std::declval<CProperty&>().*M::Pointer)>;
        const char* name = d.Name.data();
        if constexpr (IS_PROPERTY_KIND<M::Pointer>) {
            cls.def_property_readonly(
                name, [](const CProperty& p) { return ToEnum("ValueType", p.Type); });
        } else if constexpr (std::is_enum_v<T>) {
            EnumField(cls, name, M::Pointer, ENUMERATION<T>);
        } else if constexpr (std::is_pointer_v<T>) {
            // the block itself is `data` and `value`
        } else if constexpr (std::is_same_v<std::decay_t<decltype(d.Default)>,
                                            PI::Records::Block>) {
            cls.def_readonly(name, M::Pointer);
        } else {
            IntField(cls, name, M::Pointer);
        }
    });
    cls.def_property_readonly("data", &Block, "The encoded value block as bytes, or None.");
    cls.def_property("value", &GetValue, &SetValue, "The value in Python's terms (see the class).");

    cls.def("set_string", &SetString, py::arg("text"),
            "Stores trimmed text; with SubType SUBTYPE_ENCRYPTED the text is encrypted\n"
            "unless it already starts with 'ENC1('.");
    cls.def("set_plain_string", &SetPlainString, py::arg("text"),
            "Stores trimmed text with SubType 0; never encrypts.");
    cls.def("set_bool", &SetBool, py::arg("value"));
    cls.def("set_uint64", &SetU64, py::arg("value"));
    cls.def("set_float", &SetFloat, py::arg("value"));
    cls.def("set_range", &SetRange, py::arg("value"), py::arg("minimum"), py::arg("maximum"),
            py::arg("step"),
            "Stores value clamped to [minimum, maximum] with the bounds and step.");
    cls.def("set_int_list", &SetIntList, py::arg("value"), py::arg("items"),
            "Stores a number with a list; an empty list raises EmptyListError.");
    cls.def("set_int_list_pair", &SetPair, py::arg("first"), py::arg("second"));
    cls.def("set_uint64_list", &SetU64List, py::arg("items"));
    cls.def("set_string_list", &SetStringList, py::arg("items"),
            py::arg("selection_mask") = 0xFFFFFFFFu,
            "Stores a list of texts as given; bit i of selection_mask selects entry i.");
    cls.def("set_xml", &SetXml, py::arg("text"), "Stores an XML document text.");

    cls.def("get_string", ReaderOf<&GetString>("STRING or STRING_LIST"),
            "The text of a STRING, or the selected entries of a STRING_LIST joined.");
    cls.def("get_bool", ReaderOf<&ReadScalar<bool>>("BOOL"));
    cls.def("get_uint64", ReaderOf<&ReadScalar<unsigned long long>>("UINT64"));
    cls.def("get_float", ReaderOf<&ReadScalar<float>>("FLOAT"));
    cls.def("get_range", ReaderOf<&GetRange>("RANGE"));
    cls.def("get_int_list", ReaderOf<&GetSelection>("INT_LIST"));
    cls.def("get_int_list_pair", ReaderOf<&GetPair>("INT_LIST_PAIR"));
    cls.def("get_uint64_list", ReaderOf<&GetU64List>("UINT64_LIST"));
    cls.def("get_string_list", ReaderOf<&GetStringList>("STRING_LIST"));
    cls.def("get_xml", ReaderOf<&GetXml>("XML"));
    // `_fields`, for == and repr: the id, the kind and the value first, then
    // the other described members in order (the block is the value).
    py::list fields;
    for (const char* first : {"PropertyID", "Type", "value", "SubType"})
        fields.append(first);
    PI::Records::ForEachMember<CProperty>([&](const auto& d) {
        using D = std::decay_t<decltype(d.Default)>;
        if (!std::is_same_v<D, PI::Records::Block> && !fields.contains(d.Name.data()))
            fields.append(d.Name.data());
    });
    ValueSupport(cls, py::tuple(fields));
}

} // namespace pibind
