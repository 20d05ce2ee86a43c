#pragma once

// Shared by the interchange and diff areas: the record classes as one type
// list, and the interchange failures as pi.InterchangeError.

#include "Binding.h"

#include <PI/Interchange.h>
#include <PI/InterchangeError.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>

namespace pibind {

// A bytes-like argument, held (not copied) for the length of one call.
class CBytes {
public:
    CBytes(py::handle value, const char* what) {
        if (PyUnicode_Check(value.ptr()) || !PyObject_CheckBuffer(value.ptr()))
            throw py::type_error(std::string(what) + " must be a bytes-like object, not " +
                                 std::string(py::str(py::type::of(value).attr("__name__"))));
        if (PyObject_GetBuffer(value.ptr(), &m_View, PyBUF_SIMPLE) != 0)
            throw py::error_already_set();
    }
    ~CBytes() { PyBuffer_Release(&m_View); }
    CBytes(const CBytes&) = delete;
    CBytes& operator=(const CBytes&) = delete;

    const std::uint8_t* Data() const { return static_cast<const std::uint8_t*>(m_View.buf); }
    const char* Chars() const { return static_cast<const char*>(m_View.buf); }
    size_t Size() const { return static_cast<size_t>(m_View.len); }

private:
    Py_buffer m_View{};
};

template <class T> struct Tag { using type = T; };

// Calls f(record) with the record's own C++ class (CTask is not taken for a
// CObject); false when `value` is no record of the library.
template <class F> bool WithRecord(py::handle value, F&& f) {
    bool done = false;
    auto one = [&](auto tag) {
        using R = typename decltype(tag)::type;
        if (!done && py::type::of(value).is(py::type::of<R>())) {
            done = true;
            f(value.cast<R&>());
        }
    };
    std::apply([&](auto... tags) { (one(tags), ...); },
               std::tuple<Tag<PI::CProperty>, Tag<PI::CObject>, Tag<PI::CTask>, Tag<PI::CDrive>,
                          Tag<PI::CContainer>, Tag<PI::CLogicalDrive>, Tag<PI::CLevel>,
                          Tag<PI::CMigration>, Tag<PI::CPartition>, Tag<PI::CPassThrough>,
                          Tag<PI::CEvent>, Tag<PI::COperation>>{});
    return done;
}

// Raises pi.InterchangeError (or `errorClass`, a subclass of it, from
// pi._errors) with the code, the library's text, the JSON Pointer and the
// byte offset; out of memory stays pi.OutOfMemoryError.
[[noreturn]] void RaiseInterchange(unsigned int code, const PI::CInterchangeError& error,
                                   const char* errorClass = "InterchangeError");

// The class of a record type, as AnyRecord orders them.
template <class R, std::size_t I = 0> constexpr PI::ERecordClass ClassOf() {
    if constexpr (std::is_same<std::variant_alternative_t<I, PI::AnyRecord>, R>::value)
        return static_cast<PI::ERecordClass>(I);
    else
        return ClassOf<R, I + 1>();
}

} // namespace pibind
