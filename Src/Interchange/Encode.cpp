// Records to their interchange form: one encoder over two writers, RapidJSON's
// for JSON and msgpack-cxx's packer for MessagePack.
#include "Classes.h"
#include "Pointer.h"
#include "PropertyForm.h"
#include "Text.h"
#include "ValueWriter.h"

#include "../Objects/PropertyBlock.h"

#include "PI/Interchange.h"
#include "PI/Internal/RecordDescription.h"

#include <msgpack.hpp>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <charconv>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace PI {
namespace Interchange {
using namespace Records;
using Internal::WordAt;
namespace {

// RapidJSON's writer with one addition: a member name that needs no
// escaping, copied into the buffer at once.
class JsonWriter : public rapidjson::Writer<rapidjson::StringBuffer> {
public:
    using Writer::Writer;

    void PlainKey(const char* name, size_t length) {
        Prefix(rapidjson::kStringType);
        char* out = os_->Push(length + 2);
        out[0] = '"';
        std::memcpy(out + 1, name, length);
        out[length + 1] = '"';
    }
};

// JSON through RapidJSON's writer. Map sizes are not needed.
class JsonSink {
public:
    static constexpr bool NeedsCounts = false;

    explicit JsonSink(rapidjson::StringBuffer& buffer) : m_Writer(buffer) {}

    // Starts a new value in `buffer`, keeping the writer's stack and scratch.
    void Restart(rapidjson::StringBuffer& buffer) { m_Writer.Reset(buffer); }

    void BeginObject(uint32_t) { m_Writer.StartObject(); }
    void EndObject() { m_Writer.EndObject(); }
    void BeginArray(uint32_t) { m_Writer.StartArray(); }
    void EndArray() { m_Writer.EndArray(); }
    // Member names are the schema's, plain ASCII that needs no escaping: they
    // are copied in whole, past the writer's escaping of texts.
    void Key(std::string_view name) { m_Writer.PlainKey(name.data(), name.size()); }
    void Null() { m_Writer.Null(); }
    void Bool(bool value) { m_Writer.Bool(value); }
    void Unsigned(uint64_t value) { m_Writer.Uint64(value); }
    void Signed(int64_t value) { m_Writer.Int64(value); }
    // The shortest decimal that reads back as the same float, always with a
    // fraction or an exponent so that readers see a float.
    void Float(float value) {
        char text[32];
        const std::to_chars_result r = std::to_chars(text, text + sizeof text - 2, value);
        size_t length = static_cast<size_t>(r.ptr - text);
        if (std::memchr(text, '.', length) == nullptr &&
            std::memchr(text, 'e', length) == nullptr) {
            text[length++] = '.';
            text[length++] = '0';
        }
        m_Writer.RawValue(text, length, rapidjson::kNumberType);
    }
    // Valid UTF-8 only; the caller sends other texts as bytes.
    void Text(const char* text, size_t length) {
        m_Writer.String(text, static_cast<rapidjson::SizeType>(length));
    }
    void Bytes(const unsigned char* bytes, size_t length) {
        m_Scratch.clear();
        AppendBase64(bytes, length, m_Scratch);
        m_Writer.StartObject();
        m_Writer.Key("Base64", 6);
        m_Writer.String(m_Scratch.data(), static_cast<rapidjson::SizeType>(m_Scratch.size()));
        m_Writer.EndObject();
    }

private:
    JsonWriter m_Writer;
    std::string m_Scratch;
};

// The bytes of msgpack-cxx's packer go straight into the caller's vector.
struct VectorBuffer {
    std::vector<std::uint8_t>& Out;
    void write(const char* data, size_t length) {
        Out.insert(Out.end(), reinterpret_cast<const std::uint8_t*>(data),
                   reinterpret_cast<const std::uint8_t*>(data) + length);
    }
};

class MsgPackSink {
public:
    static constexpr bool NeedsCounts = true;

    explicit MsgPackSink(std::vector<std::uint8_t>& out) : m_Buffer{out}, m_Packer(m_Buffer) {}

    void BeginObject(uint32_t count) { m_Packer.pack_map(count); }
    void EndObject() {}
    void BeginArray(uint32_t count) { m_Packer.pack_array(count); }
    void EndArray() {}
    void Key(std::string_view name) { Text(name.data(), name.size()); }
    void Null() { m_Packer.pack_nil(); }
    void Bool(bool value) { value ? m_Packer.pack_true() : m_Packer.pack_false(); }
    void Unsigned(uint64_t value) { m_Packer.pack_uint64(value); }
    void Signed(int64_t value) { m_Packer.pack_int64(value); }
    void Float(float value) { m_Packer.pack_float(value); }
    void Text(const char* text, size_t length) {
        m_Packer.pack_str(static_cast<uint32_t>(length));
        m_Packer.pack_str_body(text, static_cast<uint32_t>(length));
    }
    void Bytes(const unsigned char* bytes, size_t length) {
        m_Packer.pack_bin(static_cast<uint32_t>(length));
        m_Packer.pack_bin_body(reinterpret_cast<const char*>(bytes), static_cast<uint32_t>(length));
    }

private:
    VectorBuffer m_Buffer;
    msgpack::packer<VectorBuffer> m_Packer;
};

// --- defaults ---------------------------------------------------------------

template <class T, class D, std::enable_if_t<std::is_arithmetic_v<D> || std::is_enum_v<D>, int> = 0>
bool IsDefault(const T& value, const D& fallback) {
    return value == static_cast<T>(fallback);
}
template <class T> bool IsDefault(const std::vector<T>& list, Empty) {
    return list.empty();
}
inline bool IsDefault(const RVX::Strings::CStringVar& text, Empty) {
    return text.IsEmpty();
}
inline bool IsDefault(const std::string& text, Empty) {
    return text.empty();
}
template <class T> bool IsDefault(const T&, Required) {
    return false;
}
inline bool IsDefault(const TaskBase<const CObject>& base, TaskBaseDefault) {
    const CObject& o = base.Object;
    return o.ObjectID == 0 && o.ObjectType == TASK_OBJECT_TYPE && o.Parents.empty() &&
           o.Children.empty() && o.Value64 == 0 && !o.Flag && o.Properties.empty();
}

// --- the encoder --------------------------------------------------------------

template <class Sink> class Encoder {
public:
    Encoder(Sink& sink, CInterchangeError& error) : m_Sink(sink), m_Error(error) {}

    bool Put(unsigned int value) { return m_Sink.Unsigned(value), true; }
    bool Put(unsigned long long value) { return m_Sink.Unsigned(value), true; }
    bool Put(int value) { return m_Sink.Signed(value), true; }
    bool Put(long long value) { return m_Sink.Signed(value), true; }
    bool Put(bool value) { return m_Sink.Bool(value), true; }
    template <class E, std::enable_if_t<std::is_enum_v<E>, int> = 0> bool Put(E value) {
        return m_Sink.Signed(static_cast<int>(value)), true;
    }
    bool Put(const RVX::Strings::CStringVar& text) { return PutText(text.c_str(), text.Length()); }
    bool Put(const std::string& text) { return PutText(text.data(), text.size()); }
    bool Put(const std::vector<unsigned long long>& list) {
        m_Sink.BeginArray(static_cast<uint32_t>(list.size()));
        for (unsigned long long id : list)
            m_Sink.Unsigned(id);
        m_Sink.EndArray();
        return true;
    }
    bool Put(const std::vector<int>& list) {
        m_Sink.BeginArray(static_cast<uint32_t>(list.size()));
        for (int value : list)
            m_Sink.Signed(value);
        m_Sink.EndArray();
        return true;
    }
    template <class R> bool Put(const std::vector<R>& list) {
        m_Sink.BeginArray(static_cast<uint32_t>(list.size()));
        for (size_t i = 0; i < list.size(); ++i) {
            if (!Put(list[i])) {
                PrependIndex(m_Error.Pointer, i);
                return false;
            }
        }
        m_Sink.EndArray();
        return true;
    }
    bool Put(const TaskBase<const CObject>& base) {
        return PutFields(base.Object, [](auto& o, auto&& f) { TaskObjectFields(f, o); });
    }
    template <class R, class = decltype(SchemaOf<R>::Name)> bool Put(const R& record) {
        return PutFields(record, [](auto& r, auto&& f) { SchemaOf<R>::Fields(f, r); });
    }
    bool Put(const CProperty& p);

private:
    bool PutText(const char* text, size_t length) {
        if (IsValidUtf8(text, length))
            m_Sink.Text(text, length);
        else
            m_Sink.Bytes(reinterpret_cast<const unsigned char*>(text), length);
        return true;
    }

    template <class R, class Walk> bool PutFields(const R& record, Walk walk) {
        if constexpr (Sink::NeedsCounts) {
            uint32_t count = 0;
            walk(record, [&](std::string_view, const auto& fallback, bool, EMatch,
                             const auto& member) { count += IsDefault(member, fallback) ? 0 : 1; });
            m_Sink.BeginObject(count);
        } else {
            m_Sink.BeginObject(0);
        }
        bool ok = true;
        walk(record,
             [&](std::string_view name, const auto& fallback, bool, EMatch, const auto& member) {
                 if (!ok || IsDefault(member, fallback))
                     return;
                 m_Sink.Key(name);
                 if (!Put(member)) {
                     PrependKey(m_Error.Pointer, name);
                     ok = false;
                 }
             });
        if (ok)
            m_Sink.EndObject();
        return ok;
    }

    bool PutValue(const CProperty& p);

    Sink& m_Sink;
    CInterchangeError& m_Error;
};

template <class Sink> bool Encoder<Sink>::Put(const CProperty& p) {
    const PropertyForm form = ClassifyProperty(p);
    if (form == PropertyForm::Bad) {
        m_Error.Code = INTERCHANGE_BAD_BLOCK;
        m_Error.Expected = CheckBlock(p.Type, p.Data, p.DataSize, p.SplitSize);
        m_Error.Pointer.clear();
        return false;
    }
    // The members but the block's pieces, each left out at its default.
    const auto written = [&p](const auto& fallback, const auto& member) {
        using D = std::decay_t<decltype(fallback)>;
        if constexpr (std::is_same_v<D, Block>)
            return false;
        else if constexpr (std::is_same_v<D, Required>)
            return true;
        else
            return member != static_cast<std::decay_t<decltype(member)>>(Resolve(fallback, p));
    };
    if constexpr (Sink::NeedsCounts) {
        uint32_t count = form == PropertyForm::Natural ? 1
                         : form == PropertyForm::Raw   ? 2 + (p.SplitSize != 0)
                                                       : 0;
        SchemaOf<CProperty>::Fields([&](std::string_view, const auto& fallback, bool, EMatch,
                                        const auto& member) { count += written(fallback, member); },
                                    p);
        m_Sink.BeginObject(count);
    } else {
        m_Sink.BeginObject(0);
    }
    SchemaOf<CProperty>::Fields(
        [&](std::string_view name, const auto& fallback, bool, EMatch, const auto& member) {
            if (written(fallback, member)) {
                m_Sink.Key(name);
                Put(member);
            }
        },
        p);
    if (form == PropertyForm::Natural) {
        m_Sink.Key("Value"sv);
        PutValue(p);
    } else if (form == PropertyForm::Raw) {
        m_Sink.Key("Raw"sv);
        if (p.Data == nullptr)
            m_Sink.Null();
        else
            m_Sink.Bytes(p.Data, p.DataSize);
        m_Sink.Key("DataSize"sv);
        m_Sink.Unsigned(p.DataSize);
        if (p.SplitSize != 0) {
            m_Sink.Key("SplitSize"sv);
            m_Sink.Unsigned(p.SplitSize);
        }
    }
    m_Sink.EndObject();
    return true;
}

// The natural form of a property that ClassifyProperty found natural.
template <class Sink> bool Encoder<Sink>::PutValue(const CProperty& p) {
    const unsigned char* block = p.Data;
    switch (p.Type) {
    case VT_STRING:
    case VT_XML:
        return PutText(reinterpret_cast<const char*>(block), p.DataSize - 1);
    case VT_INT_LIST: {
        const size_t count = p.DataSize / 4 - 1;
        m_Sink.BeginObject(2);
        m_Sink.Key("Value"sv);
        m_Sink.Signed(WordAt<int32_t>(block, 0));
        m_Sink.Key("List"sv);
        m_Sink.BeginArray(static_cast<uint32_t>(count));
        for (size_t i = 1; i <= count; ++i)
            m_Sink.Signed(WordAt<int32_t>(block, i));
        m_Sink.EndArray();
        m_Sink.EndObject();
        return true;
    }
    case VT_BOOL:
        m_Sink.Bool(WordAt<uint32_t>(block, 0) != 0);
        return true;
    case VT_UINT64:
        m_Sink.Unsigned(WordAt<uint64_t>(block, 0));
        return true;
    case VT_RANGE:
        m_Sink.BeginObject(4);
        m_Sink.Key("Value"sv);
        m_Sink.Signed(WordAt<int32_t>(block, 0));
        m_Sink.Key("Minimum"sv);
        m_Sink.Signed(WordAt<int32_t>(block, Internal::RANGE_MINIMUM));
        m_Sink.Key("Maximum"sv);
        m_Sink.Signed(WordAt<int32_t>(block, Internal::RANGE_MAXIMUM));
        m_Sink.Key("Step"sv);
        m_Sink.Unsigned(WordAt<uint32_t>(block, Internal::RANGE_STEP));
        m_Sink.EndObject();
        return true;
    case VT_INT_LIST_PAIR: {
        const size_t first = p.SplitSize / 4;
        const size_t total = p.DataSize / 4;
        m_Sink.BeginObject(2);
        m_Sink.Key("First"sv);
        m_Sink.BeginArray(static_cast<uint32_t>(first));
        for (size_t i = 0; i < first; ++i)
            m_Sink.Signed(WordAt<int32_t>(block, i));
        m_Sink.EndArray();
        m_Sink.Key("Second"sv);
        m_Sink.BeginArray(static_cast<uint32_t>(total - first));
        for (size_t i = first; i < total; ++i)
            m_Sink.Signed(WordAt<int32_t>(block, i));
        m_Sink.EndArray();
        m_Sink.EndObject();
        return true;
    }
    case VT_FLOAT:
        m_Sink.Float(WordAt<float>(block, 0));
        return true;
    case VT_UINT64_LIST: {
        const size_t count = p.DataSize / 8;
        m_Sink.BeginArray(static_cast<uint32_t>(count));
        for (size_t i = 0; i < count; ++i)
            m_Sink.Unsigned(WordAt<uint64_t>(block, i));
        m_Sink.EndArray();
        return true;
    }
    case VT_STRING_LIST: {
        const size_t count = p.SplitSize / 4;
        m_Sink.BeginArray(static_cast<uint32_t>(count));
        size_t position = p.SplitSize;
        for (size_t i = 0; i < count; ++i) {
            const uint32_t entry = WordAt<uint32_t>(block, i);
            PutText(reinterpret_cast<const char*>(block + position), entry - 1);
            position += entry;
        }
        m_Sink.EndArray();
        return true;
    }
    default:
        return true;
    }
}

template <class Sink, class Record>
unsigned int Encode(Sink& sink, const Record& record, bool document, CInterchangeError& error) {
    Encoder<Sink> encoder(sink, error);
    if (document) {
        sink.BeginObject(2);
        sink.Key("Version"sv);
        sink.Unsigned(INTERCHANGE_VERSION);
        const char* name = RecordClassName(ClassOf<Record>());
        sink.Key(name);
        if (!encoder.Put(record)) {
            PrependKey(error.Pointer, name);
            return error.Code;
        }
        sink.EndObject();
        return 0;
    }
    return encoder.Put(record) ? 0 : error.Code;
}

// Fills the error record of an encoding that ran out of memory. Naming what
// was missing needs memory too: without it the code alone is reported.
unsigned int OutOfMemory(CInterchangeError& e) noexcept {
    e.Code = RESULT_OUT_OF_MEMORY;
    e.Pointer.clear();
    e.Offset = 0;
    try {
        e.Expected = "memory for the encoding";
    } catch (...) {
        e.Expected.clear();
    }
    return e.Code;
}

template <class Record>
unsigned int ToJson(const Record& record, std::string& out, bool document,
                    CInterchangeError* error) noexcept {
    CInterchangeError local;
    CInterchangeError& e = error != nullptr ? *error : local;
    e = CInterchangeError();
    try {
        rapidjson::StringBuffer buffer;
        JsonSink sink(buffer);
        if (const unsigned int code = Encode(sink, record, document, e))
            return code;
        out.append(buffer.GetString(), buffer.GetSize());
        return 0;
    } catch (...) {
        return OutOfMemory(e);
    }
}

template <class Record>
unsigned int ToMsgPack(const Record& record, std::vector<std::uint8_t>& out, bool document,
                       CInterchangeError* error) noexcept {
    CInterchangeError local;
    CInterchangeError& e = error != nullptr ? *error : local;
    e = CInterchangeError();
    const size_t start = out.size();
    try {
        MsgPackSink sink(out);
        if (const unsigned int code = Encode(sink, record, document, e)) {
            out.resize(start);
            return code;
        }
        return 0;
    } catch (...) {
        out.resize(start);
        return OutOfMemory(e);
    }
}

} // namespace

struct JsonValueWriter::State {
    rapidjson::StringBuffer buffer;
    JsonSink sink{buffer};
    // Filled only by a failed value, then handed over and cleared.
    CInterchangeError error;
};

JsonValueWriter::JsonValueWriter() noexcept = default;
JsonValueWriter::~JsonValueWriter() = default;

JsonValueWriter::State& JsonValueWriter::Ready() {
    if (!m_State)
        m_State = std::make_unique<State>();
    m_State->buffer.Clear();
    m_State->sink.Restart(m_State->buffer);
    return *m_State;
}

template <class Record>
unsigned int JsonValueWriter::Write(const Record& record, std::string& out,
                                    CInterchangeError* error) noexcept {
    try {
        State& s = Ready();
        if (const unsigned int code = Encode(s.sink, record, false, s.error)) {
            if (error != nullptr)
                std::swap(*error, s.error);
            s.error = CInterchangeError();
            return code;
        }
        out.append(s.buffer.GetString(), s.buffer.GetSize());
        return 0;
    } catch (...) {
        if (m_State)
            m_State->error = CInterchangeError();
        CInterchangeError local;
        return OutOfMemory(error != nullptr ? *error : local);
    }
}

void JsonValueWriter::WriteText(const char* text, size_t length, std::string& out) {
    State& s = Ready();
    if (IsValidUtf8(text, length))
        s.sink.Text(text, length);
    else
        s.sink.Bytes(reinterpret_cast<const unsigned char*>(text), length);
    out.append(s.buffer.GetString(), s.buffer.GetSize());
}

} // namespace Interchange

template <class Record>
unsigned int WriteJsonDocument(const Record& record, std::string& out, CInterchangeError* error) {
    return Interchange::ToJson(record, out, true, error);
}
template <class Record>
unsigned int WriteJsonValue(const Record& record, std::string& out, CInterchangeError* error) {
    return Interchange::ToJson(record, out, false, error);
}
template <class Record>
unsigned int WriteMsgPackDocument(const Record& record, std::vector<std::uint8_t>& out,
                                  CInterchangeError* error) {
    return Interchange::ToMsgPack(record, out, true, error);
}
template <class Record>
unsigned int WriteMsgPackValue(const Record& record, std::vector<std::uint8_t>& out,
                               CInterchangeError* error) {
    return Interchange::ToMsgPack(record, out, false, error);
}

#define PI_INTERCHANGE_WRITERS(Record)                                                             \
    template PI_API unsigned int WriteJsonDocument<Record>(const Record&, std::string&,            \
                                                           CInterchangeError*);                    \
    template PI_API unsigned int WriteJsonValue<Record>(const Record&, std::string&,               \
                                                        CInterchangeError*);                       \
    template PI_API unsigned int WriteMsgPackDocument<Record>(                                     \
        const Record&, std::vector<std::uint8_t>&, CInterchangeError*);                            \
    template PI_API unsigned int WriteMsgPackValue<Record>(                                        \
        const Record&, std::vector<std::uint8_t>&, CInterchangeError*);                            \
    template unsigned int Interchange::JsonValueWriter::Write<Record>(                             \
        const Record&, std::string&, CInterchangeError*) noexcept;
PI_INTERCHANGE_WRITERS(CProperty)
PI_INTERCHANGE_WRITERS(CObject)
PI_INTERCHANGE_WRITERS(CTask)
PI_INTERCHANGE_WRITERS(CDrive)
PI_INTERCHANGE_WRITERS(CContainer)
PI_INTERCHANGE_WRITERS(CLogicalDrive)
PI_INTERCHANGE_WRITERS(CLevel)
PI_INTERCHANGE_WRITERS(CMigration)
PI_INTERCHANGE_WRITERS(CPartition)
PI_INTERCHANGE_WRITERS(CPassThrough)
PI_INTERCHANGE_WRITERS(CEvent)
PI_INTERCHANGE_WRITERS(COperation)
#undef PI_INTERCHANGE_WRITERS

} // namespace PI
