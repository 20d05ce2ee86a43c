// The change list as a JSON document, written and read with RapidJSON. The
// old and new values are interchange values and pass through as JSON.
#include "PI/Diff.h"

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstring>
#include <new>

namespace PI {
namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void Key(Writer& writer, const char* name) {
    writer.Key(name, static_cast<rapidjson::SizeType>(std::strlen(name)));
}
void Text(Writer& writer, const std::string& text) {
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

unsigned int Fail(CInterchangeError* error, unsigned int code, const std::string& pointer,
                  const std::string& what, size_t offset = 0) {
    if (error != nullptr) {
        error->Code = code;
        error->Pointer = pointer;
        error->Expected = what;
        error->Offset = offset;
    }
    return code;
}

// Refuses nesting beyond what a change list of interchange values needs
// before the document is built, so that nothing recurses deeply later.
struct DepthGuard : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, DepthGuard> {
    unsigned int depth = 0;
    bool tooDeep = false;
    bool Enter() {
        tooDeep = ++depth > MAX_DEPTH;
        return !tooDeep;
    }
    bool StartObject() { return Enter(); }
    bool EndObject(rapidjson::SizeType) { return --depth, true; }
    bool StartArray() { return Enter(); }
    bool EndArray(rapidjson::SizeType) { return --depth, true; }
    // The document, its list of changes and a change hold the values.
    static constexpr unsigned int MAX_DEPTH = INTERCHANGE_MAX_DEPTH + 3;
};

bool KindFromName(const rapidjson::Value& value, EChangeKind& kind) {
    if (!value.IsString())
        return false;
    for (EChangeKind k :
         {EChangeKind::Added, EChangeKind::Removed, EChangeKind::Changed, EChangeKind::Moved}) {
        if (std::strcmp(value.GetString(), ChangeKindName(k)) == 0 &&
            std::strlen(ChangeKindName(k)) == value.GetStringLength()) {
            kind = k;
            return true;
        }
    }
    return false;
}

std::string ToJson(const rapidjson::Value& value) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    value.Accept(writer);
    return std::string(buffer.GetString(), buffer.GetSize());
}

// The members each kind carries besides Kind and Path.
bool Carries(EChangeKind kind, const char* member) {
    if (std::strcmp(member, "From") == 0)
        return kind == EChangeKind::Moved;
    if (std::strcmp(member, "Old") == 0)
        return kind == EChangeKind::Removed || kind == EChangeKind::Changed;
    if (std::strcmp(member, "New") == 0)
        return kind == EChangeKind::Added || kind == EChangeKind::Changed;
    return false;
}

// The document is parsed in place, so a member's name points into the
// input: its opening quote is where errors about the member point.
struct Place {
    const char* base;
    size_t Of(const rapidjson::Value& name) const {
        return static_cast<size_t>(name.GetString() - base) - 1;
    }
    // The first member's name of an object, or `fallback`.
    size_t First(const rapidjson::Value& value, size_t fallback) const {
        return value.IsObject() && value.MemberCount() != 0 ? Of(value.MemberBegin()->name)
                                                            : fallback;
    }
};

unsigned int ReadChange(const rapidjson::Value& value, const std::string& at, const Place& place,
                        CChange& change, CInterchangeError* error) {
    const size_t offset = change.Offset;
    if (!value.IsObject())
        return Fail(error, INTERCHANGE_SCHEMA, at, "an object", offset);
    const auto kind = value.FindMember("Kind");
    if (kind == value.MemberEnd() || !KindFromName(kind->value, change.Kind))
        return Fail(error, INTERCHANGE_SCHEMA, at + "/Kind",
                    "\"added\", \"removed\", \"changed\" or \"moved\"",
                    kind == value.MemberEnd() ? offset : place.Of(kind->name));
    bool hasPath = false;
    for (const auto& member : value.GetObject()) {
        const std::string name(member.name.GetString(), member.name.GetStringLength());
        const std::string where = at + "/" + name;
        if (name == "Kind")
            continue;
        if (name == "Path" || (name == "From" && Carries(change.Kind, "From"))) {
            if (!member.value.IsString())
                return Fail(error, INTERCHANGE_SCHEMA, where, "a JSON Pointer text",
                            place.Of(member.name));
            (name == "Path" ? change.Path : change.From)
                .assign(member.value.GetString(), member.value.GetStringLength());
            hasPath = hasPath || name == "Path";
        } else if ((name == "Old" || name == "New") && Carries(change.Kind, name.c_str())) {
            (name == "Old" ? change.Old : change.New) = ToJson(member.value);
        } else {
            return Fail(error, INTERCHANGE_SCHEMA, where,
                        std::string("no member '") + name + "' in a change that is " +
                            ChangeKindName(change.Kind),
                        place.Of(member.name));
        }
    }
    if (!hasPath)
        return Fail(error, INTERCHANGE_SCHEMA, at + "/Path", "a JSON Pointer text", offset);
    for (const char* member : {"From", "Old", "New"}) {
        const bool present = value.HasMember(member);
        if (Carries(change.Kind, member) && !present)
            return Fail(error, INTERCHANGE_SCHEMA, at + "/" + member,
                        std::string("the member '") + member + "' in a change that is " +
                            ChangeKindName(change.Kind),
                        offset);
    }
    return 0;
}

} // namespace

unsigned int WriteChangeList(const ChangeList& changes, ERecordClass recordClass, std::string& out,
                             CInterchangeError* error) {
    try {
        rapidjson::StringBuffer buffer;
        Writer writer(buffer);
        writer.StartObject();
        Key(writer, "Version");
        writer.Uint(INTERCHANGE_VERSION);
        Key(writer, "Class");
        writer.String(RecordClassName(recordClass));
        Key(writer, "Changes");
        writer.StartArray();
        for (const CChange& change : changes) {
            writer.StartObject();
            Key(writer, "Kind");
            writer.String(ChangeKindName(change.Kind));
            Key(writer, "Path");
            Text(writer, change.Path);
            if (change.Kind == EChangeKind::Moved) {
                Key(writer, "From");
                Text(writer, change.From);
            }
            for (const char* member : {"Old", "New"}) {
                const std::string& json = member[0] == 'O' ? change.Old : change.New;
                if (!Carries(change.Kind, member))
                    continue;
                Key(writer, member);
                writer.RawValue(json.data(), json.size(), rapidjson::kObjectType);
            }
            writer.EndObject();
        }
        writer.EndArray();
        writer.EndObject();
        out.append(buffer.GetString(), buffer.GetSize());
        return 0;
    } catch (const std::bad_alloc&) {
        return Fail(error, RESULT_OUT_OF_MEMORY, "", "memory for the change list");
    }
}

unsigned int ReadChangeList(const char* text, size_t length, ERecordClass& recordClass,
                            ChangeList& changes, CInterchangeError* error) {
    try {
        if (length > INTERCHANGE_MAX_INPUT)
            return Fail(error, INTERCHANGE_LIMIT, "", "at most 1 GiB of input");
        // Not kParseFullPrecisionFlag: RapidJSON 1.1.0's full-precision path
        // passes zero to clz() on some inputs ("0E95"). Values are written
        // back with the shortest text that reads as the same double, and
        // floats (the only fractions) survive that.
        constexpr unsigned int FLAGS =
            rapidjson::kParseValidateEncodingFlag | rapidjson::kParseIterativeFlag;
        DepthGuard guard;
        rapidjson::Reader reader;
        rapidjson::MemoryStream bytes(text, length);
        reader.Parse<FLAGS>(bytes, guard);
        if (guard.tooDeep)
            return Fail(error, INTERCHANGE_LIMIT, "",
                        "at most " + std::to_string(DepthGuard::MAX_DEPTH) +
                            " nested objects and lists",
                        reader.GetErrorOffset());
        if (reader.HasParseError())
            return Fail(error,
                        reader.GetParseErrorCode() == rapidjson::kParseErrorStringInvalidEncoding
                            ? INTERCHANGE_BAD_TEXT
                            : INTERCHANGE_SYNTAX,
                        "", rapidjson::GetParseError_En(reader.GetParseErrorCode()),
                        reader.GetErrorOffset());
        // The reader takes a NUL byte for the end of the input.
        if (bytes.Tell() != length)
            return Fail(error, INTERCHANGE_SYNTAX, "", "nothing after the document", bytes.Tell());
        // Well-formed, so the parse in place (which needs a terminated copy)
        // cannot fail but for memory.
        std::string copy(text, length);
        rapidjson::Document document;
        document.ParseInsitu<FLAGS>(&copy[0]);
        if (document.HasParseError())
            return Fail(error, RESULT_OUT_OF_MEMORY, "", "memory for the change list");
        if (!document.IsObject())
            return Fail(error, INTERCHANGE_SCHEMA, "", "a change list object");
        const Place place{copy.data()};
        for (const auto& member : document.GetObject()) {
            const std::string name(member.name.GetString(), member.name.GetStringLength());
            if (name != "Version" && name != "Class" && name != "Changes")
                return Fail(error, INTERCHANGE_SCHEMA, "/" + name,
                            "only Version, Class and Changes in a change list",
                            place.Of(member.name));
        }
        const size_t first = place.First(document, 0);
        const auto at = [&](rapidjson::Value::ConstMemberIterator member) {
            return member == document.MemberEnd() ? first : place.Of(member->name);
        };
        const auto version = document.FindMember("Version");
        if (version == document.MemberEnd() || !version->value.IsUint())
            return Fail(error, INTERCHANGE_SCHEMA, "/Version", "the format version, an integer",
                        at(version));
        if (version->value.GetUint() != INTERCHANGE_VERSION)
            return Fail(error, INTERCHANGE_VERSION_UNKNOWN, "/Version", "format version 1",
                        at(version));
        const auto name = document.FindMember("Class");
        ERecordClass cls = ERecordClass::Operation;
        if (name == document.MemberEnd() || !name->value.IsString() ||
            !RecordClassFromName(name->value.GetString(), name->value.GetStringLength(), cls))
            return Fail(error, INTERCHANGE_SCHEMA, "/Class", "a record class name", at(name));
        const auto list = document.FindMember("Changes");
        if (list == document.MemberEnd() || !list->value.IsArray())
            return Fail(error, INTERCHANGE_SCHEMA, "/Changes", "a list of changes", at(list));
        ChangeList read;
        read.reserve(list->value.Size());
        size_t offset = at(list);
        for (rapidjson::SizeType k = 0; k < list->value.Size(); ++k) {
            read.emplace_back();
            offset = place.First(list->value[k], offset);
            read.back().Offset = offset;
            const unsigned int result = ReadChange(list->value[k], "/Changes/" + std::to_string(k),
                                                   place, read.back(), error);
            if (result != 0)
                return result;
        }
        recordClass = cls;
        changes = std::move(read);
        return 0;
    } catch (const std::bad_alloc&) {
        return Fail(error, RESULT_OUT_OF_MEMORY, "", "memory for the change list");
    }
}

} // namespace PI
