// The interchange form from Python: to_json/to_msgpack and the from_*
// class methods on every record, and readers of documents of any class.
#include "Interchange.h"

#include <cstdint>
#include <string>
#include <vector>

namespace pibind {

namespace {

using namespace PI;

// JSON text given as str (sent as UTF-8) or as bytes.
template <class F> unsigned int WithJsonText(py::handle data, F&& read) {
    if (PyUnicode_Check(data.ptr())) {
        const std::string text = TextArg(data, "data");
        return read(text.data(), text.size());
    }
    CBytes bytes(data, "data (str or bytes)");
    return read(bytes.Chars(), bytes.Size());
}

template <class R> py::str ToJson(const R& record) {
    std::string out;
    CInterchangeError error;
    if (const unsigned int code = WriteJsonDocument(record, out, &error))
        RaiseInterchange(code, error);
    return ToPy(out);
}

template <class R> py::bytes ToMsgPack(const R& record) {
    std::vector<std::uint8_t> out;
    CInterchangeError error;
    if (const unsigned int code = WriteMsgPackDocument(record, out, &error))
        RaiseInterchange(code, error);
    return py::bytes(reinterpret_cast<const char*>(out.data()), out.size());
}

template <class R> R FromJson(py::handle data) {
    R record;
    CInterchangeError error;
    const unsigned int code = WithJsonText(data, [&](const char* text, size_t length) {
        return ReadJsonDocument(text, length, record, &error);
    });
    if (code != 0)
        RaiseInterchange(code, error);
    return record;
}

template <class R> R FromMsgPack(py::handle data) {
    R record;
    CInterchangeError error;
    CBytes bytes(data, "data");
    if (const unsigned int code = ReadMsgPackDocument(bytes.Data(), bytes.Size(), record, &error))
        RaiseInterchange(code, error);
    return record;
}

Record FromAny(AnyRecord&& record) {
    return Record(std::visit([](auto&& r) { return py::cast(std::move(r)); }, std::move(record)));
}

Record AnyFromJson(TextOrBytes data) {
    return FromAny(FromJson<AnyRecord>(data));
}

Record AnyFromMsgPack(Buffer data) {
    return FromAny(FromMsgPack<AnyRecord>(data));
}

// JSON text begins with '{' after blanks; a MessagePack document begins with
// a map, whose first byte is neither.
bool LooksLikeJson(const CBytes& bytes) {
    for (size_t i = 0; i < bytes.Size(); ++i) {
        const char c = bytes.Chars()[i];
        if (c != ' ' && c != '\t' && c != '\r' && c != '\n')
            return c == '{';
    }
    return true; // empty: the JSON reader names the fault
}

Record Load(Path path) {
    py::object content = py::module_::import("pathlib").attr("Path")(path).attr("read_bytes")();
    CBytes bytes(content, "file content");
    return LooksLikeJson(bytes) ? AnyFromJson(TextOrBytes(content))
                                : AnyFromMsgPack(Buffer(content));
}

template <class R> void AddMethods(py::module_& m, const char* name) {
    auto cls = BoundClass<R>(m, name);
    cls.def("to_json", &ToJson<R>,
            "The record as a JSON interchange document {\"Version\": 1, \"<class>\": {...}}.");
    cls.def("to_msgpack", &ToMsgPack<R>, "The record as a MessagePack interchange document.");
    cls.def_static(
        "from_json", [](TextOrBytes data) { return FromJson<R>(data); }, py::arg("data"),
        "Reads a JSON interchange document (str or UTF-8 bytes) of this class; a\n"
        "document of another class or a malformed one raises pi.InterchangeError.");
    cls.def_static(
        "from_msgpack", [](Buffer data) { return FromMsgPack<R>(data); }, py::arg("data"),
        "Reads a MessagePack interchange document of this class; pi.InterchangeError\n"
        "when it is not one.");
}

} // namespace

void RaiseInterchange(unsigned int code, const CInterchangeError& error, const char* errorClass) {
    if (code == RESULT_OUT_OF_MEMORY)
        RaiseCode(code, error.Text());
    py::object type = PackageAttr("pi._errors", errorClass);
    py::object raised = type(code, ToPy(error.Text()), ToPy(error.Pointer), error.Offset);
    PyErr_SetObject(type.ptr(), raised.ptr());
    throw py::error_already_set();
}

void RegisterInterchange(py::module_& m) {
    AddMethods<CProperty>(m, "CProperty");
    AddMethods<CObject>(m, "CObject");
    AddMethods<CTask>(m, "CTask");
    AddMethods<CDrive>(m, "CDrive");
    AddMethods<CContainer>(m, "CContainer");
    AddMethods<CLogicalDrive>(m, "CLogicalDrive");
    AddMethods<CLevel>(m, "CLevel");
    AddMethods<CMigration>(m, "CMigration");
    AddMethods<CPartition>(m, "CPartition");
    AddMethods<CPassThrough>(m, "CPassThrough");
    AddMethods<CEvent>(m, "CEvent");
    AddMethods<COperation>(m, "COperation");
    m.def("from_json", &AnyFromJson, py::arg("data"),
          "Reads a JSON interchange document of any record class (str or UTF-8 bytes)\n"
          "and gives a record of the class it names.");
    m.def("from_msgpack", &AnyFromMsgPack, py::arg("data"),
          "Reads a MessagePack interchange document of any record class.");
    m.def("load", &Load, py::arg("path"),
          "Reads a record file, JSON or MessagePack by its content, and gives a record\n"
          "of the class it holds. OSError when the file cannot be read.");
}

} // namespace pibind
