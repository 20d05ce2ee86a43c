#pragma once

// Building blocks for binding the value records: checked number, enum and
// text fields, copy/compare/repr support, and live list views.

#include "Binding.h"

#include <RVX/Strings.h>

#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace pibind {

// A field of an integral type; bool fields take only True and False.
template <class Cls, class R, class T> void IntField(Cls& cls, const char* name, T R::*member) {
    static_assert(std::is_integral<T>::value, "integral fields only");
    if constexpr (std::is_same<T, bool>::value) {
        cls.def_property(
            name, [member](const R& r) { return r.*member; },
            [member, name](R& r, py::handle v) { r.*member = BoolArg(v, name); });
    } else if constexpr (std::is_same<T, unsigned long long>::value) {
        cls.def_property(
            name, [member](const R& r) { return r.*member; },
            [member, name](R& r, py::handle v) { r.*member = U64Arg(v, name); });
    } else {
        cls.def_property(
            name, [member](const R& r) { return r.*member; },
            [member, name](R& r, py::handle v) {
                r.*member = static_cast<T>(
                    IntArg(v, std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), name));
            });
    }
}

// A field of a C++ enumeration, read as the member of `enumeration` in
// pi._identifiers; any 32-bit number may be stored.
template <class Cls, class R, class E>
void EnumField(Cls& cls, const char* name, E R::*member, const char* enumeration) {
    cls.def_property(
        name, [member, enumeration](const R& r) { return ToEnum(enumeration, r.*member); },
        [member, name](R& r, py::handle v) {
            r.*member = static_cast<E>(
                IntArg(v, std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), name));
        });
}

// A text field, std::string or one of the platform's text classes.
template <class Cls, class R, class T> void TextField(Cls& cls, const char* name, T R::*member) {
    cls.def_property(
        name,
        [member](const R& r) {
            if constexpr (std::is_same<T, std::string>::value)
                return ToPy(r.*member);
            else
                return ToPy((r.*member).Str());
        },
        [member, name](R& r, py::handle v) { r.*member = T(TextArg(v, name)); });
}

// ==, copy.copy, copy.deepcopy (the records' copies are deep) and a repr
// over `fields`. Records are mutable, so they are not hashable.
template <class Cls> void ValueSupport(Cls& cls, py::tuple fields) {
    using R = typename Cls::type;
    cls.def(
        "__eq__",
        [](const R& a, py::handle b) -> py::object {
            if (!py::isinstance<R>(b) || py::type::of(b).ptr() != py::type::of<R>().ptr())
                return py::reinterpret_borrow<py::object>(Py_NotImplemented);
            return py::bool_(a == b.cast<const R&>());
        },
        py::is_operator());
    cls.def(
        "__ne__",
        [](const R& a, py::handle b) -> py::object {
            if (!py::isinstance<R>(b) || py::type::of(b).ptr() != py::type::of<R>().ptr())
                return py::reinterpret_borrow<py::object>(Py_NotImplemented);
            return py::bool_(a != b.cast<const R&>());
        },
        py::is_operator());
    cls.attr("__hash__") = py::none();
    cls.def("__copy__", [](const R& r) { return R(r); });
    cls.def(
        "__deepcopy__", [](const R& r, py::handle) { return R(r); }, py::arg("memo"));
    cls.attr("_fields") = fields;
    cls.def("__repr__",
            [](py::handle self) { return PackageAttr("pi._values", "record_repr")(self); });
}

// How list elements cross: records are copied out and in; numbers are
// checked against their C++ type.
template <class T> struct Item {
    static py::object Get(const T& value) { return py::cast(T(value)); }
    static T Take(py::handle value, const char* what) {
        if (!py::isinstance<T>(value))
            throw py::type_error(std::string(what) + " must be " +
                                 std::string(py::str(py::type::of<T>().attr("__name__"))) +
                                 ", not " +
                                 std::string(py::str(py::type::of(value).attr("__name__"))));
        return value.cast<const T&>();
    }
};
template <> struct Item<unsigned long long> {
    static py::object Get(unsigned long long value) { return py::int_(value); }
    static unsigned long long Take(py::handle value, const char* what) {
        return U64Arg(value, what);
    }
};
template <> struct Item<int> {
    static py::object Get(int value) { return py::int_(value); }
    static int Take(py::handle value, const char* what) {
        return static_cast<int>(
            IntArg(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), what));
    }
};

// A live view of one list of a record. It keeps the record alive; elements
// read from it are copies, so no Python object ever points into the list.
template <class T> struct ListView {
    py::object owner;
    std::vector<T>* items;
};

template <class T> std::vector<T> TakeAll(py::handle iterable, const char* what) {
    if (PyUnicode_Check(iterable.ptr()) || PyBytes_Check(iterable.ptr()))
        throw py::type_error(std::string(what) + " must be a sequence of items, not text");
    std::vector<T> out;
    for (py::handle item : py::iter(iterable))
        out.push_back(Item<T>::Take(item, what));
    return out;
}

template <class T> void BindListView(py::module_& m, const char* name, const char* doc) {
    using View = ListView<T>;
    auto position = [](const View& v, py::handle index, bool forInsert) {
        const long long size = static_cast<long long>(v.items->size());
        long long i = 0;
        if (!PyLong_Check(index.ptr()) || PyBool_Check(index.ptr()))
            throw py::type_error("list indices must be integers");
        int overflow = 0;
        i = PyLong_AsLongLongAndOverflow(index.ptr(), &overflow);
        if (overflow != 0)
            throw py::index_error("list index out of range");
        if (i < 0)
            i += size;
        if (forInsert)
            return static_cast<size_t>(i < 0 ? 0 : (i > size ? size : i));
        if (i < 0 || i >= size)
            throw py::index_error("list index out of range");
        return static_cast<size_t>(i);
    };
    auto snapshot = [](const View& v) {
        py::list out;
        for (const T& item : *v.items)
            out.append(Item<T>::Get(item));
        return out;
    };
    py::class_<View>(m, name, doc)
        .def("__len__", [](const View& v) { return v.items->size(); })
        .def("__getitem__",
             [position, snapshot](const View& v, py::handle index) -> py::object {
                 if (PySlice_Check(index.ptr()))
                     return snapshot(v)[index];
                 return Item<T>::Get((*v.items)[position(v, index, false)]);
             })
        .def("__setitem__",
             [position](View& v, py::handle index, py::handle value) {
                 T item = Item<T>::Take(value, "item");
                 (*v.items)[position(v, index, false)] = std::move(item);
             })
        .def("__delitem__",
             [position](View& v, py::handle index) {
                 const size_t i = position(v, index, false);
                 v.items->erase(v.items->begin() + static_cast<std::ptrdiff_t>(i));
             })
        .def("__iter__", [snapshot](const View& v) { return py::iter(snapshot(v)); })
        .def("__eq__",
             [snapshot](const View& v, py::handle other) -> py::object {
                 if (!py::isinstance<py::sequence>(other) && !py::isinstance<View>(other))
                     return py::reinterpret_borrow<py::object>(Py_NotImplemented);
                 return snapshot(v).attr("__eq__")(
                     py::module_::import("builtins").attr("list")(other));
             })
        .def("__repr__", [snapshot](const View& v) { return py::repr(snapshot(v)); })
        // A copy of a view is a plain list of copies: it no longer follows the record.
        .def("__copy__", [snapshot](const View& v) { return snapshot(v); })
        .def(
            "__deepcopy__", [snapshot](const View& v, py::handle) { return snapshot(v); },
            py::arg("memo"))
        .def(
            "append",
            [](View& v, py::handle value) { v.items->push_back(Item<T>::Take(value, "item")); },
            py::arg("item"), "Appends a copy of item.")
        .def(
            "extend",
            [](View& v, py::handle values) {
                std::vector<T> more = TakeAll<T>(values, "item");
                v.items->insert(v.items->end(), more.begin(), more.end());
            },
            py::arg("items"))
        .def(
            "insert",
            [position](View& v, py::handle index, py::handle value) {
                T item = Item<T>::Take(value, "item");
                const size_t i = position(v, index, true);
                v.items->insert(v.items->begin() + static_cast<std::ptrdiff_t>(i), std::move(item));
            },
            py::arg("index"), py::arg("item"))
        .def(
            "pop",
            [position](View& v, py::handle index) {
                const size_t i = position(v, index, false);
                py::object item = Item<T>::Get((*v.items)[i]);
                v.items->erase(v.items->begin() + static_cast<std::ptrdiff_t>(i));
                return item;
            },
            py::arg("index") = -1)
        .def("clear", [](View& v) { v.items->clear(); });
    // Register as a mutable sequence so isinstance checks and the
    // collections.abc helpers recognise it.
    py::module_::import("collections.abc").attr("MutableSequence").attr("register")(m.attr(name));
}

// A record's list field as a live view; assigning any iterable replaces it.
template <class Cls, class R, class T>
void ListField(Cls& cls, const char* name, std::vector<T> R::*member) {
    cls.def_property(
        name,
        [member](py::object self) {
            R& r = self.cast<R&>();
            return ListView<T>{self, &(r.*member)};
        },
        [member, name](R& r, py::handle values) { r.*member = TakeAll<T>(values, name); });
}

} // namespace pibind
