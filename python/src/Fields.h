#pragma once

// Building blocks for binding the value records: checked number, enum and
// text fields, copy/compare/repr support, and live list views.

#include "Binding.h"

#include <PI/Lookup.h>
#include <RVX/Strings.h>

#include <climits>
#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
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

// A live view of one list of a record: the list is reached afresh from the
// record on every use. Its elements are views too (see Views.h); numbers are
// read as ints.
template <class T> struct ListView {
    py::object owner;                                 // the record holding the list
    std::function<std::vector<T>&(py::handle)> items; // the list, reached from the owner
    std::shared_ptr<ListCounts> counts;
    std::string path; // "Objects", "Objects[2].Properties"

    std::vector<T>& Items() const { return items(owner); }
    // The length or order changed, or the list was replaced.
    void Changed() const { ++(*counts)[path]; }
    // Element i was replaced: its views and the lists under it are stale.
    void Replaced(std::size_t i) const { counts->BumpUnder(path + "[" + std::to_string(i) + "]"); }
};

template <class R, class T>
ListView<T> ViewOfList(py::object record, std::vector<T> R::*member, const char* name) {
    ListBase base = ListBaseOf(record);
    return ListView<T>{
        record, [member](py::handle owner) -> std::vector<T>& { return owner.cast<R&>().*member; },
        base.counts, base.path.empty() ? name : base.path + "." + name};
}

// Element i of the list: a view of a record, or a number.
template <class T> py::object ElementOf(const ListView<T>& v, std::size_t i) {
    if constexpr (std::is_class_v<T>) {
        auto link = std::make_unique<ViewLink>();
        link->parent = v.owner;
        link->step = [items = v.items](py::handle parent, std::size_t index) -> void* {
            std::vector<T>& list = items(parent);
            return index < list.size() ? &list[index] : nullptr;
        };
        link->index = i;
        link->counts = v.counts;
        link->list = v.path;
        link->path = v.path + "[" + std::to_string(i) + "]";
        link->count = v.counts->Get(link->list);
        link->own = v.counts->Get(link->path);
        return NewView<T>(std::move(link));
    } else {
        return Item<T>::Get(v.Items()[i]);
    }
}

template <class T> std::vector<T> TakeAll(py::handle iterable, const char* what) {
    if (PyUnicode_Check(iterable.ptr()) || PyBytes_Check(iterable.ptr()))
        throw py::type_error(std::string(what) + " must be a sequence of items, not text");
    std::vector<T> out;
    for (py::handle item : py::iter(iterable))
        out.push_back(Item<T>::Take(item, what));
    return out;
}

// A list position: a plain int. An enumeration member is refused, since
// Properties[PropertyID.X] would read the X-th element, not property X.
inline long long PositionArg(py::handle index, bool properties) {
    if (PyLong_Check(index.ptr()) && !PyBool_Check(index.ptr()) &&
        py::isinstance(index, PackageAttr("enum", "Enum")))
        throw py::type_error(
            "list positions must be plain integers, not " + std::string(py::str(py::repr(index))) +
            (properties ? "; look a property up with .get(id) or the record's .property(id)" : ""));
    if (!PyLong_Check(index.ptr()) || PyBool_Check(index.ptr()))
        throw py::type_error("list indices must be integers or slices, not " +
                             std::string(py::str(py::type::of(index).attr("__name__"))));
    int overflow = 0;
    const long long i = PyLong_AsLongLongAndOverflow(index.ptr(), &overflow);
    return overflow > 0 ? LLONG_MAX : (overflow < 0 ? LLONG_MIN : i);
}

template <class T> void BindListView(py::module_& m, const char* name, const char* doc) {
    using View = ListView<T>;
    constexpr bool properties = std::is_same_v<T, PI::CProperty>;
    auto position = [](const View& v, py::handle index, bool forInsert) {
        const long long size = static_cast<long long>(v.Items().size());
        long long i = PositionArg(index, properties);
        if (i < 0 && i != LLONG_MIN)
            i += size;
        if (forInsert)
            return static_cast<size_t>(i < 0 ? 0 : (i > size ? size : i));
        if (i < 0 || i >= size)
            throw py::index_error("list index out of range");
        return static_cast<size_t>(i);
    };
    // Copies of the elements, for what must not follow the record.
    auto snapshot = [](const View& v) {
        py::list out;
        for (const T& item : v.Items())
            out.append(Item<T>::Get(item));
        return out;
    };
    auto elements = [](const View& v) {
        py::list out;
        const size_t size = v.Items().size();
        for (size_t i = 0; i < size; ++i)
            out.append(ElementOf(v, i));
        return out;
    };
    // A slice is assigned or deleted on a list of copies, which then
    // replaces the list: Python's own rules for slices, and every value is
    // checked before the record changes.
    auto reslice = [snapshot](const View& v, py::handle index, py::handle value) {
        py::list all = snapshot(v);
        if ((value ? PyObject_SetItem(all.ptr(), index.ptr(), value.ptr())
                   : PyObject_DelItem(all.ptr(), index.ptr())) != 0)
            throw py::error_already_set();
        std::vector<T> items = TakeAll<T>(all, "item");
        v.Items() = std::move(items);
        v.Changed();
    };
    py::class_<View> cls(m, name, doc);
    cls.def("__len__", [](const View& v) { return v.Items().size(); })
        .def("__getitem__",
             [position, elements](const View& v, py::handle index) -> py::object {
                 if (PySlice_Check(index.ptr()))
                     return elements(v)[index];
                 return ElementOf(v, position(v, index, false));
             })
        .def("__setitem__",
             [position, reslice](View& v, py::handle index, py::handle value) {
                 if (PySlice_Check(index.ptr()))
                     return reslice(v, index, value);
                 T item = Item<T>::Take(value, "item");
                 const size_t i = position(v, index, false);
                 v.Items()[i] = std::move(item);
                 v.Replaced(i);
             })
        .def("__delitem__",
             [position, reslice](View& v, py::handle index) {
                 if (PySlice_Check(index.ptr()))
                     return reslice(v, index, py::handle());
                 const size_t i = position(v, index, false);
                 v.Items().erase(v.Items().begin() + static_cast<std::ptrdiff_t>(i));
                 v.Changed();
             })
        .def("__iter__", [elements](const View& v) { return py::iter(elements(v)); })
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
            [](View& v, py::handle value) {
                T item = Item<T>::Take(value, "item");
                v.Items().push_back(std::move(item));
                v.Changed();
            },
            py::arg("item"), "Appends a copy of item.")
        .def(
            "extend",
            [](View& v, py::handle values) {
                std::vector<T> more = TakeAll<T>(values, "item");
                std::vector<T>& items = v.Items();
                items.insert(items.end(), more.begin(), more.end());
                v.Changed();
            },
            py::arg("items"))
        .def(
            "insert",
            [position](View& v, py::handle index, py::handle value) {
                T item = Item<T>::Take(value, "item");
                const size_t i = position(v, index, true);
                v.Items().insert(v.Items().begin() + static_cast<std::ptrdiff_t>(i),
                                 std::move(item));
                v.Changed();
            },
            py::arg("index"), py::arg("item"))
        .def(
            "pop",
            [position](View& v, py::handle index) {
                const size_t i = position(v, index, false);
                py::object item = Item<T>::Get(v.Items()[i]);
                v.Items().erase(v.Items().begin() + static_cast<std::ptrdiff_t>(i));
                v.Changed();
                return item;
            },
            py::arg("index") = -1, "Removes element index and returns it (a copy).")
        .def("clear", [](View& v) {
            v.Items().clear();
            v.Changed();
        });
    if constexpr (properties) {
        cls.def(
            "get",
            [](const View& v, Int id, py::object fallback, OptionalInt secondary) -> py::object {
                const int pid = static_cast<int>(IntArg(id, INT_MIN, INT_MAX, "id"));
                std::vector<PI::CProperty>& items = v.Items();
                const PI::CProperty* found =
                    secondary.is_none()
                        ? PI::FindProperty(items, pid)
                        : PI::FindProperty(items, pid,
                                           static_cast<unsigned int>(
                                               IntArg(secondary, 0, UINT_MAX, "secondary")));
                if (found == nullptr)
                    return fallback;
                return ElementOf(v, static_cast<size_t>(found - items.data()));
            },
            py::arg("id"), py::arg("default") = py::none(), py::kw_only(),
            py::arg("secondary") = py::none(),
            "The first property with this PropertyID (and SecondaryID, when given), as a\n"
            "live view; default when there is none.");
    }
    // Register as a mutable sequence so isinstance checks and the
    // collections.abc helpers recognise it.
    py::module_::import("collections.abc").attr("MutableSequence").attr("register")(m.attr(name));
}

// A record's list field as a live view; assigning any iterable replaces it.
// A record with Properties also answers .property(id).
template <class Cls, class R, class T>
void ListField(Cls& cls, const char* name, std::vector<T> R::*member) {
    cls.def_property(
        name, [member, name](py::object self) { return ViewOfList(self, member, name); },
        [member, name](py::object self, py::handle values) {
            std::vector<T> items = TakeAll<T>(values, name);
            ListView<T> list = ViewOfList(self, member, name);
            list.Items() = std::move(items);
            list.Changed();
        });
    if constexpr (std::is_same_v<T, PI::CProperty>) {
        cls.def(
            "property",
            [member, name](py::object self, Int id, OptionalInt secondary) {
                return py::cast(ViewOfList(self, member, name))
                    .attr("get")(id, py::none(), py::arg("secondary") = secondary);
            },
            py::arg("id"), py::arg("secondary") = py::none(),
            "The first property with this PropertyID (and SecondaryID, when given) as a\n"
            "live view, or None.");
    }
}

} // namespace pibind
