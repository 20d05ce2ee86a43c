// pitool record: record files in the interchange form (JSON or MessagePack,
// told apart by their first byte): shown for a person, compared, patched and
// converted.
#include "Commands.h"
#include "Names.h"
#include "Units.h"

#include <PI/Diff.h>
#include <PI/EventRawAccess.h>
#include <PI/Helpers.h>
#include <PI/Interchange.h>
#include <RVX/Exceptions.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>
#include <variant>

namespace pitool {

namespace {

enum class Format { Json, MsgPack };

struct RecordFile {
    PI::AnyRecord record;
    Format format = Format::Json;
};

std::string Quote(const std::string& path) {
    return path == "-" ? "standard input" : "'" + path + "'";
}

// JSON text begins with '{' (after blanks); a MessagePack document begins
// with a map, whose first byte is never '{' nor a blank.
Format FormatOf(const std::string& content) {
    for (const char c : content) {
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r')
            continue;
        return c == '{' ? Format::Json : Format::MsgPack;
    }
    return Format::Json;
}

RecordFile ReadRecord(const std::string& path) {
    const std::string content = ReadFileOrStdin(path);
    if (content.empty())
        Fail(Quote(path) + " is empty, not a record document");
    RecordFile file;
    file.format = FormatOf(content);
    PI::CInterchangeError error;
    const unsigned int result =
        file.format == Format::Json
            ? PI::ReadJsonDocument(content.data(), content.size(), file.record, &error)
            : PI::ReadMsgPackDocument(reinterpret_cast<const std::uint8_t*>(content.data()),
                                      content.size(), file.record, &error);
    if (result != 0)
        Fail(Quote(path) + " is not a " + (file.format == Format::Json ? "JSON" : "MessagePack") +
             " record document: " + error.Text());
    return file;
}

std::string Encode(const PI::AnyRecord& record, Format format) {
    std::string out;
    PI::CInterchangeError error;
    unsigned int result = 0;
    std::visit(
        [&](const auto& r) {
            if (format == Format::Json) {
                result = PI::WriteJsonDocument(r, out, &error);
                out += '\n';
            } else {
                std::vector<std::uint8_t> bytes;
                result = PI::WriteMsgPackDocument(r, bytes, &error);
                out.assign(bytes.begin(), bytes.end());
            }
        },
        record);
    if (result != 0)
        Fail("cannot write the record: " + error.Text());
    return out;
}

// ---- Showing properties ---------------------------------------------------

std::string PropertyName(int id) {
    RVX::Strings::CStringVar path;
    if (PI::GetHelpPath(id, path) == 0) {
        const size_t hash = path.Str().find('#');
        if (hash != std::string::npos && hash + 1 < path.Str().size())
            return path.Str().substr(hash + 1);
    }
    if (const NamedValue* row = FindByValue("_PROPERTY_ID", "", id))
        return row->name;
    return std::to_string(id);
}

bool EndsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() &&
           text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// The name prefix of the constants a property's number is one of.
const char* EnumPrefix(const std::string& name) {
    if (EndsWith(name, "MEDIA_TYPE"))
        return "MEDIA_TYPE_";
    if (EndsWith(name, "POWER_STATUS") || EndsWith(name, "POWER_STATE"))
        return "POWER_STATE_";
    if (EndsWith(name, "_STATUS") || EndsWith(name, "_STATE"))
        return "PD_STATE_";
    return nullptr;
}

bool IsByteCount(const std::string& name) {
    return EndsWith(name, "_SIZE") || EndsWith(name, "CAPACITY");
}

std::string ReadableBytes(unsigned long long bytes) {
    float value = 0;
    PI::_UNITS unit = PI::UNITS_BYTES;
    PI::ConvertBytesToOtherUnit(bytes, value, unit);
    char text[64];
    std::snprintf(text, sizeof text, "%.2f %s", static_cast<double>(value),
                  UnitSymbol(unit).c_str());
    return std::string(text) + " (" + std::to_string(bytes) + " bytes)";
}

// The number a property holds, for the kinds that hold one.
bool NumberOf(PI::CProperty p, long long& number) {
    RVX::Threading::CDisableThrow quiet;
    if (p.Type == PI::VT_UINT64) {
        unsigned long long value = 0;
        if (p.GetValue(value) != 0)
            return false;
        number = static_cast<long long>(value);
        return true;
    }
    if (p.Type == PI::VT_INT_LIST) {
        int value = 0;
        std::vector<int> list;
        if (p.GetValue(value, list) != 0)
            return false;
        number = value;
        return true;
    }
    if (p.Type == PI::VT_RANGE) {
        int value = 0, low = 0, high = 0;
        unsigned int step = 0;
        if (p.GetValue(value, low, high, step) != 0)
            return false;
        number = value;
        return true;
    }
    return false;
}

std::string Ints(const std::vector<int>& list) {
    std::string text;
    for (const int v : list)
        text += (text.empty() ? "" : ", ") + std::to_string(v);
    return "[" + text + "]";
}

// The value as a person reads it; the raw kinds show their size.
std::string PropertyValue(PI::CProperty p) {
    RVX::Threading::CDisableThrow quiet;
    const std::string name = PropertyName(p.PropertyID);
    std::string text;
    switch (p.Type) {
    case PI::VT_NONE:
        return "-";
    case PI::VT_STRING:
    case PI::VT_XML:
        if (p.SubType == PI::PROPERTY_SUBTYPE_ENCRYPTED)
            return "(encrypted)";
        if (p.GetValue(text) == 0)
            return "\"" + text + "\"";
        break;
    case PI::VT_BOOL: {
        bool value = false;
        if (p.GetValue(value) == 0)
            return value ? "yes" : "no";
        break;
    }
    case PI::VT_UINT64: {
        unsigned long long value = 0;
        if (p.GetValue(value) == 0)
            text = IsByteCount(name) ? ReadableBytes(value) : std::to_string(value);
        break;
    }
    case PI::VT_INT_LIST: {
        int value = 0;
        std::vector<int> list;
        if (p.GetValue(value, list) == 0)
            text = std::to_string(value) + " of " + Ints(list);
        break;
    }
    case PI::VT_RANGE: {
        int value = 0, low = 0, high = 0;
        unsigned int step = 0;
        if (p.GetValue(value, low, high, step) == 0)
            text = std::to_string(value) + " (" + std::to_string(low) + ".." +
                   std::to_string(high) + " step " + std::to_string(step) + ")";
        break;
    }
    case PI::VT_INT_LIST_PAIR: {
        std::vector<int> first, second;
        if (p.GetValue(first, second) == 0)
            return Ints(first) + " / " + Ints(second);
        break;
    }
    case PI::VT_FLOAT: {
        float value = 0;
        if (p.GetValue(value) == 0) {
            char buffer[32];
            std::snprintf(buffer, sizeof buffer, "%g", static_cast<double>(value));
            return buffer;
        }
        break;
    }
    case PI::VT_UINT64_LIST: {
        std::vector<unsigned long long> list;
        if (p.GetValue(list) == 0) {
            for (const auto v : list)
                text += (text.empty() ? "" : ", ") + std::to_string(v);
            return "[" + text + "]";
        }
        break;
    }
    case PI::VT_STRING_LIST: {
        std::vector<std::string> list;
        unsigned int mask = 0;
        if (p.GetValue(list, mask) == 0) {
            for (size_t k = 0; k < list.size(); ++k)
                text += std::string(text.empty() ? "" : ", ") +
                        (k < 32 && (mask >> k & 1u) ? "*" : "") + "\"" + list[k] + "\"";
            return "[" + text + "]";
        }
        break;
    }
    default:
        break;
    }
    if (text.empty())
        return "(raw, kind " + std::to_string(p.Type) + ", " + std::to_string(p.DataSize) +
               " bytes)";
    long long number = 0;
    if (const char* prefix = EnumPrefix(name)) {
        if (NumberOf(p, number) && number >= INT32_MIN && number <= INT32_MAX)
            if (const NamedValue* row = FindByValue("int", prefix, static_cast<int>(number)))
                text += " " + std::string(row->name);
    }
    return text;
}

const PI::CProperty* FindProperty(const std::vector<PI::CProperty>& list, int id) {
    for (const PI::CProperty& p : list)
        if (p.PropertyID == id)
            return &p;
    return nullptr;
}

// The status icon file of an object that reports a physical drive's state.
std::string DriveIcon(const PI::CObject& object) {
    const PI::CProperty* state = FindProperty(object.Properties, PI::PHYSICAL_DRIVE_STATUS);
    long long value = 0;
    if (state == nullptr || !NumberOf(*state, value))
        return "";
    long long media = 0, power = PI::POWER_STATE_NORMAL;
    if (const PI::CProperty* p = FindProperty(object.Properties, PI::PHYSICAL_DRIVE_MEDIA_TYPE))
        NumberOf(*p, media);
    if (const PI::CProperty* p = FindProperty(object.Properties, PI::PHYSICAL_DRIVE_POWER_STATUS))
        NumberOf(*p, power);
    const int icon = PI::GetPDStatusIcon(static_cast<int>(value), static_cast<int>(media), false,
                                         false, static_cast<int>(power));
    RVX::Strings::CStringVar file;
    return PI::GetIconPath(icon, file) == 0 ? file.Str() : "";
}

std::string TypeName(int type) {
    const NamedValue* row = FindByValue("_OBJECT_TYPE", "", type);
    return std::to_string(type) + (row ? std::string(" ") + row->name : "");
}

void ShowProperties(const std::vector<PI::CProperty>& list, size_t indent, std::string& text,
                    Json& json) {
    Rows rows;
    Json array = Json::Array();
    for (const PI::CProperty& p : list) {
        const std::string name = PropertyName(p.PropertyID);
        const std::string value = PropertyValue(p);
        rows.emplace_back(name, value);
        array.Push(Json::Object()
                       .Set("id", static_cast<int>(p.PropertyID))
                       .Set("name", name)
                       .Set("kind", p.Type)
                       .Set("value", value));
    }
    text += FormatRows(rows, indent);
    json.Set("properties", std::move(array));
}

Json ShowObject(const PI::CObject& o, std::string& text) {
    text += "object " + std::to_string(o.ObjectID) + "  type " + TypeName(o.ObjectType) + "\n";
    Json json =
        Json::Object().Set("object_id", o.ObjectID).Set("type", static_cast<int>(o.ObjectType));
    const std::string icon = DriveIcon(o);
    if (!icon.empty()) {
        text += "  status icon  " + icon + "\n";
        json.Set("status_icon", icon);
    }
    ShowProperties(o.Properties, 2, text, json);
    return json;
}

std::string Ids(const std::vector<unsigned long long>& ids) {
    std::string text;
    for (const auto id : ids)
        text += (text.empty() ? "" : ", ") + std::to_string(id);
    return text.empty() ? "none" : text;
}

Json ShowLogicalDrive(const PI::CLogicalDrive& ld, size_t number, std::string& text) {
    const std::string symbol = UnitSymbol(ld.Units);
    text += "logical drive " + std::to_string(number) + "  size " + std::to_string(ld.Size) +
            (symbol.empty() ? "" : " " + symbol) + "\n";
    Json json = Json::Object().Set("size", ld.Size).Set("units", static_cast<int>(ld.Units));
    for (size_t c = 0; c < ld.Containers.size(); ++c) {
        std::string pieces;
        for (const PI::CDrive& d : ld.Containers[c].Drives)
            pieces += (pieces.empty() ? "" : ", ") + std::string("drive ") +
                      std::to_string(d.ObjectID) +
                      (d.StartAddress ? "@" + std::to_string(d.StartAddress) : "") + " " +
                      ReadableBytes(d.UsedSize).substr(0, ReadableBytes(d.UsedSize).find(" ("));
        text += "  container " + std::to_string(c) + "  " + pieces + "\n";
    }
    text += "  hot spares  global " + Ids(ld.GHS) + "; dedicated " + Ids(ld.DHS) + "\n";
    ShowProperties(ld.Properties, 2, text, json);
    return json;
}

Result Show(const RecordFile& file) {
    Result result;
    Json json = Json::Object().Set("class", PI::RecordClassName(PI::RecordClassOf(file.record)));
    std::string& text = result.text;
    if (const auto* op = std::get_if<PI::COperation>(&file.record)) {
        text += "operation  " + std::to_string(op->Objects.size()) + " objects, " +
                std::to_string(op->LogicalDrives.size()) + " logical drives, " +
                std::to_string(op->Events.size()) + " events\n";
        Json objects = Json::Array();
        for (const PI::CObject& o : op->Objects)
            objects.Push(ShowObject(o, text));
        json.Set("objects", std::move(objects));
        Json lds = Json::Array();
        for (size_t k = 0; k < op->LogicalDrives.size(); ++k)
            lds.Push(ShowLogicalDrive(op->LogicalDrives[k], k, text));
        json.Set("logical_drives", std::move(lds));
        if (!op->Properties.empty()) {
            text += "operation properties\n";
            ShowProperties(op->Properties, 2, text, json);
        }
        for (const PI::CEvent& e : op->Events) {
            text += "event " + std::to_string(e.Scalar1) + "  code " + std::to_string(e.Scalar2);
            for (unsigned int slot = 0; slot < PI::CEventRawAccess::SLOTS; ++slot) {
                const std::string& stored = PI::CEventRawAccess::Stored(e, slot).Str();
                if (!stored.empty())
                    text += "  " + stored;
            }
            text += "\n";
        }
    } else if (const auto* o = std::get_if<PI::CObject>(&file.record)) {
        json.Set("object", ShowObject(*o, text));
    } else if (const auto* t = std::get_if<PI::CTask>(&file.record)) {
        text += "task \"" + t->Text1.Str() + "\" " + t->Text2.Str() + "\n";
        json.Set("object", ShowObject(*t, text));
    } else if (const auto* ld = std::get_if<PI::CLogicalDrive>(&file.record)) {
        json.Set("logical_drive", ShowLogicalDrive(*ld, 0, text));
    } else if (const auto* p = std::get_if<PI::CProperty>(&file.record)) {
        ShowProperties({*p}, 0, text, json);
    } else {
        // The other classes have few fields: their JSON form reads well as it is.
        text += Encode(file.record, Format::Json);
    }
    result.json = std::move(json);
    return result;
}

// ---- Differences --------------------------------------------------------------

bool EndsWithList(const std::string& path, const std::string& list) {
    const size_t slash = path.rfind('/');
    return slash != std::string::npos && EndsWith(path.substr(0, slash), "/" + list);
}

// One cell of the table: a property's value, an object or drive piece in
// short, or else the value's JSON.
std::string Cell(const std::string& path, const std::string& json) {
    if (json.empty() || json[0] != '{')
        return json;
    PI::CProperty p;
    if (EndsWithList(path, "Properties") && PI::ReadJsonValue(json, p) == 0)
        return PropertyValue(p);
    PI::CObject o;
    if (EndsWithList(path, "Objects") && PI::ReadJsonValue(json, o) == 0) {
        std::string name;
        if (const PI::CProperty* named = o.Properties.empty() ? nullptr : &o.Properties[0])
            name = "  " + PropertyName(named->PropertyID) + " " + PropertyValue(*named);
        return "object " + std::to_string(o.ObjectID) + "  type " + TypeName(o.ObjectType) + name;
    }
    PI::CDrive d;
    if (EndsWithList(path, "Drives") && PI::ReadJsonValue(json, d) == 0) {
        const std::string used = ReadableBytes(d.UsedSize);
        return "drive " + std::to_string(d.ObjectID) + " start " + std::to_string(d.StartAddress) +
               " used " + used.substr(0, used.find(" ("));
    }
    return json.size() > 60 ? json.substr(0, 57) + "..." : json;
}

// The name of the property a path ends in, from its new or old value.
std::string What(const PI::CChange& c) {
    PI::CProperty p;
    const std::string& json = c.New.empty() ? c.Old : c.New;
    if (c.Path.find("/Properties/") != std::string::npos && PI::ReadJsonValue(json, p) == 0)
        return PropertyName(p.PropertyID);
    return "";
}

std::string ChangeKindPadded(PI::EChangeKind kind) {
    std::string name = PI::ChangeKindName(kind);
    name.resize(9, ' ');
    return name;
}

template <class R>
void DiffRecords(const R& a, const PI::AnyRecord& other, PI::EDiffFields fields,
                 PI::ChangeList& changes) {
    PI::CInterchangeError error;
    if (PI::Diff(a, std::get<R>(other), changes, fields, &error) != 0)
        Fail("cannot compare: " + error.Text());
}

struct DiffArgs {
    std::string first, second;
    bool all = false;
};

Result RunDiff(const DiffArgs& args, bool json) {
    if (args.first == "-" && args.second == "-")
        Fail("only one of the two records can come from standard input");
    const RecordFile a = ReadRecord(args.first);
    const RecordFile b = ReadRecord(args.second);
    const PI::ERecordClass cls = PI::RecordClassOf(a.record);
    if (cls != PI::RecordClassOf(b.record))
        Fail(Quote(args.first) + " holds a " + PI::RecordClassName(cls) + ", " +
             Quote(args.second) + " a " + PI::RecordClassName(PI::RecordClassOf(b.record)));
    PI::ChangeList changes;
    const auto fields = args.all ? PI::EDiffFields::All : PI::EDiffFields::Compared;
    std::visit([&](const auto& r) { DiffRecords(r, b.record, fields, changes); }, a.record);

    Result result;
    result.status = changes.empty() ? EXIT_OK : EXIT_NOT_FOUND;
    if (json) {
        PI::WriteChangeList(changes, cls, result.raw);
        result.raw += '\n';
        return result;
    }
    Rows rows;
    for (const PI::CChange& c : changes) {
        std::string line = ChangeKindPadded(c.Kind);
        const std::string what = What(c);
        std::string detail = what.empty() ? "" : what + "  ";
        switch (c.Kind) {
        case PI::EChangeKind::Changed:
            detail += Cell(c.Path, c.Old) + " -> " + Cell(c.Path, c.New);
            break;
        case PI::EChangeKind::Added:
            detail += Cell(c.Path, c.New);
            break;
        case PI::EChangeKind::Removed:
            detail += Cell(c.Path, c.Old);
            break;
        case PI::EChangeKind::Moved:
            detail += "from " + c.From;
            break;
        }
        rows.emplace_back(line + c.Path, detail);
    }
    result.text = FormatRows(rows);
    return result;
}

// ---- Patch and convert ------------------------------------------------------------

Format OutputFormat(const std::string& to, Format otherwise, bool json) {
    if (json || to == "json")
        return Format::Json;
    if (to == "msgpack")
        return Format::MsgPack;
    if (!to.empty())
        Fail("--to takes json or msgpack, not '" + to + "'");
    return otherwise;
}

struct PatchArgs {
    std::string record, changes, to;
};

Result RunPatch(const PatchArgs& args, bool json) {
    if (args.record == "-" && args.changes == "-")
        Fail("only one of the record and the change list can come from standard input");
    RecordFile file = ReadRecord(args.record);
    const std::string text = ReadFileOrStdin(args.changes);
    PI::ChangeList changes;
    PI::ERecordClass cls = PI::ERecordClass::Operation;
    PI::CInterchangeError error;
    if (PI::ReadChangeList(text.data(), text.size(), cls, changes, &error) != 0)
        Fail(Quote(args.changes) + " is not a change list: " + error.Text());
    if (cls != PI::RecordClassOf(file.record))
        Fail(Quote(args.changes) + " changes a " + PI::RecordClassName(cls) + ", " +
             Quote(args.record) + " holds a " +
             PI::RecordClassName(PI::RecordClassOf(file.record)));
    unsigned int code = 0;
    std::visit([&](auto& r) { code = PI::Patch(r, changes, &error); }, file.record);
    if (code != 0)
        Fail("the change list does not apply to " + Quote(args.record) + ": " + error.Text());
    Result result;
    result.raw = Encode(file.record, OutputFormat(args.to, file.format, json));
    return result;
}

struct ConvertArgs {
    std::string record, to;
};

Result RunConvert(const ConvertArgs& args, bool json) {
    const RecordFile file = ReadRecord(args.record);
    Result result;
    result.raw = Encode(
        file.record,
        OutputFormat(args.to, file.format == Format::Json ? Format::MsgPack : Format::Json, json));
    return result;
}

} // namespace

void AddRecordCommand(CLI::App& app, Invocation& call) {
    CLI::App* sub = AddSubcommand(
        app, call, "record", "Show, compare, patch and convert record files (JSON or MessagePack)",
        "Each FILE is a record document in the interchange form, JSON or MessagePack (told "
        "apart by the content); - reads standard input.\n"
        "  show FILE          the record with property names, named values, readable sizes and "
        "each physical drive's status icon\n"
        "  diff A B [--all]   the changes from A to B as a table, or the change list with --json; "
        "--all also compares the fields that equality leaves out. Exit status 0 equal, 1 "
        "different, 2 bad input\n"
        "  patch A CHANGES    A with a change list (pitool record diff --json) applied; written in "
        "A's format unless --to says otherwise\n"
        "  convert FILE       the record in the other format (or --to json|msgpack)");
    sub->require_subcommand(1);

    auto showFile = std::make_shared<std::string>();
    CLI::App* show = sub->add_subcommand("show", "The record as a person reads it");
    show->fallthrough();
    show->add_option("file", *showFile, "Record document; - reads standard input")->required();
    show->callback(
        [&call, showFile] { call.run = [showFile] { return Show(ReadRecord(*showFile)); }; });

    auto diffArgs = std::make_shared<DiffArgs>();
    CLI::App* diff = sub->add_subcommand("diff", "What changed from A to B");
    diff->fallthrough();
    diff->add_option("first", diffArgs->first, "The old record")->required();
    diff->add_option("second", diffArgs->second, "The new record")->required();
    diff->add_flag("--all", diffArgs->all, "Also the fields that equality leaves out");
    diff->callback([&call, diffArgs] {
        call.run = [&call, diffArgs] { return RunDiff(*diffArgs, call.json); };
    });

    auto patchArgs = std::make_shared<PatchArgs>();
    CLI::App* patch = sub->add_subcommand("patch", "A record with a change list applied");
    patch->fallthrough();
    patch->add_option("record", patchArgs->record, "The record to change")->required();
    patch->add_option("changes", patchArgs->changes, "The change list (JSON)")->required();
    patch->add_option("--to", patchArgs->to, "Output format: json or msgpack");
    patch->callback([&call, patchArgs] {
        call.run = [&call, patchArgs] { return RunPatch(*patchArgs, call.json); };
    });

    auto convertArgs = std::make_shared<ConvertArgs>();
    CLI::App* convert = sub->add_subcommand("convert", "The record in the other format");
    convert->fallthrough();
    convert->add_option("file", convertArgs->record, "Record document")->required();
    convert->add_option("--to", convertArgs->to, "Output format: json or msgpack");
    convert->callback([&call, convertArgs] {
        call.run = [&call, convertArgs] { return RunConvert(*convertArgs, call.json); };
    });
}

} // namespace pitool
