// pitool record show: each record class as a person reads it, as text and
// as JSON of the same content.
#include "RecordShow.h"

#include "Names.h"
#include "Units.h"

#include <PI/Helpers.h>
#include <PI/Internal/EventRawAccess.h>
#include <RVX/Exceptions.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>
#include <variant>
#include <vector>

namespace pitool {

namespace {

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

} // namespace

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

std::string ReadableBytes(unsigned long long bytes) {
    float value = 0;
    PI::_UNITS unit = PI::UNITS_BYTES;
    PI::ConvertBytesToOtherUnit(bytes, value, unit);
    char text[64];
    std::snprintf(text, sizeof text, "%.2f %s", static_cast<double>(value),
                  UnitSymbol(unit).c_str());
    return std::string(text) + " (" + std::to_string(bytes) + " bytes)";
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

std::string TypeName(int type) {
    const NamedValue* row = FindByValue("_OBJECT_TYPE", "", type);
    return std::to_string(type) + (row ? std::string(" ") + row->name : "");
}

namespace {

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

// ---- Pieces shared by the views -----------------------------------------------

std::string Ids(const std::vector<unsigned long long>& ids) {
    std::string text;
    for (const auto id : ids)
        text += (text.empty() ? "" : ", ") + std::to_string(id);
    return text.empty() ? "none" : text;
}

Json IdList(const std::vector<unsigned long long>& ids) {
    Json list = Json::Array();
    for (const auto id : ids)
        list.Push(id);
    return list;
}

// "976.56 KB" without the exact count that ReadableBytes adds.
std::string ShortBytes(unsigned long long bytes) {
    const std::string text = ReadableBytes(bytes);
    return text.substr(0, text.find(" ("));
}

// "21021 UNITS_GIGABYTES".
std::string UnitsText(int units) {
    const std::string name = UnitName(units);
    return std::to_string(units) + (name.empty() ? "" : " " + name);
}

// A size counted in `units`: readable when the unit is bytes.
std::string SizeText(unsigned long long size, int units) {
    if (units == PI::UNITS_BYTES)
        return ReadableBytes(size);
    const std::string symbol = UnitSymbol(units);
    return std::to_string(size) + (symbol.empty() ? "" : " " + symbol);
}

void SetUnits(Json& json, int units) {
    json.Set("units", units);
    const std::string name = UnitName(units);
    if (!name.empty())
        json.Set("units_name", name);
}

// Milliseconds since 1970 as UTC: "2026-11-21 10:13:20.000 UTC".
std::string TimeText(unsigned long long milliseconds) {
    const std::time_t seconds = static_cast<std::time_t>(milliseconds / 1000);
    std::tm utc{};
    if (milliseconds / 1000 > static_cast<unsigned long long>(INT64_MAX / 2) ||
        gmtime_r(&seconds, &utc) == nullptr)
        return std::to_string(milliseconds) + " ms";
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03u UTC", utc.tm_year + 1900,
                  utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec,
                  static_cast<unsigned int>(milliseconds % 1000));
    return text;
}

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

std::string Flag(bool flag) {
    return flag ? "yes" : "no";
}

// The fields that carry no meaning of their own (Attribute1, Setting5, ...):
// the JSON form has every one, the text only those that differ from a new
// record's, so that the text stays short.
struct Fields {
    Rows rows;
    Json& json;

    template <class T> void Add(const char* name, const T& value, const T& fallback) {
        json.Set(Lower(name), value);
        if (value != fallback)
            rows.emplace_back(name, Show(value));
    }
    // "Attribute1" -> "attribute1": the JSON form's member names.
    static std::string Lower(const char* name) {
        std::string key(name);
        for (char& c : key)
            if (c >= 'A' && c <= 'Z')
                c = static_cast<char>(c - 'A' + 'a');
        return key;
    }
    static std::string Show(bool value) { return Flag(value); }
    template <class T> static std::string Show(const T& value) { return std::to_string(value); }
};

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

// ---- One view per record class --------------------------------------------------

Json ShowObject(const PI::CObject& o, std::string& text) {
    text += "object " + std::to_string(o.ObjectID) + "  type " + TypeName(o.ObjectType) + "\n";
    Json json =
        Json::Object().Set("object_id", o.ObjectID).Set("type", static_cast<int>(o.ObjectType));
    const NamedValue* type = FindByValue("_OBJECT_TYPE", "", o.ObjectType);
    if (type != nullptr)
        json.Set("type_name", type->name);
    const std::string icon = DriveIcon(o);
    if (!icon.empty()) {
        text += "  status icon  " + icon + "\n";
        json.Set("status_icon", icon);
    }
    Rows rows;
    if (!o.Parents.empty())
        rows.emplace_back("parents", Ids(o.Parents));
    if (!o.Children.empty())
        rows.emplace_back("children", Ids(o.Children));
    json.Set("parents", IdList(o.Parents)).Set("children", IdList(o.Children));
    const PI::CObject fresh;
    Fields fields{std::move(rows), json};
    fields.Add("Value64", o.Value64, fresh.Value64);
    fields.Add("Flag", o.Flag, fresh.Flag);
    text += FormatRows(fields.rows, 2);
    ShowProperties(o.Properties, 2, text, json);
    return json;
}

Json ShowTask(const PI::CTask& t, std::string& text) {
    text += "task \"" + t.Text1.Str() + "\" " + t.Text2.Str() + "\n";
    Json json = Json::Object()
                    .Set("text1", t.Text1.Str())
                    .Set("text2", t.Text2.Str())
                    .Set("text3", t.Text3.Str())
                    .Set("time1", t.Time1)
                    .Set("created", TimeText(t.Time1));
    Rows rows;
    if (!t.Text3.Str().empty())
        rows.emplace_back("Text3", Quoted(t.Text3.Str()));
    rows.emplace_back("created", TimeText(t.Time1));
    PI::CTask fresh;
    fresh.Time1 = t.Time1;
    Fields fields{std::move(rows), json};
    fields.Add("Attribute1", t.Attribute1, fresh.Attribute1);
    fields.Add("Attribute2", t.Attribute2, fresh.Attribute2);
    fields.Add("Time2", t.Time2, fresh.Time2);
    fields.Add("Time3", t.Time3, fresh.Time3);
    fields.Add("Attribute3", t.Attribute3, fresh.Attribute3);
    fields.Add("Attribute4", t.Attribute4, fresh.Attribute4);
    fields.Add("Attribute5", t.Attribute5, fresh.Attribute5);
    fields.Add("Flag", t.Flag, fresh.Flag);
    fields.Add("Attribute6", t.Attribute6, fresh.Attribute6);
    fields.Add("Attribute7", t.Attribute7, fresh.Attribute7);
    text += FormatRows(fields.rows, 2);
    return json;
}

// A drive piece in one line, as a container lists it.
std::string DriveLine(const PI::CDrive& d) {
    return "drive " + std::to_string(d.ObjectID) +
           (d.StartAddress ? "@" + std::to_string(d.StartAddress) : "") + " " +
           ShortBytes(d.UsedSize);
}

Json DriveJson(const PI::CDrive& d, std::string& text, size_t indent, bool detailed) {
    Json json = Json::Object()
                    .Set("object_id", d.ObjectID)
                    .Set("start_address", d.StartAddress)
                    .Set("used_size", d.UsedSize)
                    .Set("used", ReadableBytes(d.UsedSize));
    const PI::CDrive fresh;
    Fields fields{{}, json};
    fields.Add("Attribute1", d.Attribute1, fresh.Attribute1);
    fields.Add("Attribute2", d.Attribute2, fresh.Attribute2);
    fields.Add("Flag", d.Flag, fresh.Flag);
    std::string details = FormatRows(fields.rows, indent + 2);
    ShowProperties(d.Properties, indent + 2, details, json);
    if (detailed) {
        text += std::string(indent, ' ') + "drive " + std::to_string(d.ObjectID) + "  start " +
                std::to_string(d.StartAddress) + "  used " + ReadableBytes(d.UsedSize) + "\n" +
                details;
    }
    return json;
}

Json ShowContainer(const PI::CContainer& c, size_t number, std::string& text, bool detailed) {
    Json drives = Json::Array();
    std::string pieces, details;
    for (const PI::CDrive& d : c.Drives) {
        pieces += (pieces.empty() ? "" : ", ") + DriveLine(d);
        drives.Push(DriveJson(d, details, 2, detailed));
    }
    if (detailed)
        text += "container  " + std::to_string(c.Drives.size()) + " drive pieces\n" + details;
    else
        text += "  container " + std::to_string(number) + "  " + pieces + "\n";
    return Json::Object().Set("drives", std::move(drives));
}

Json ShowLogicalDrive(const PI::CLogicalDrive& ld, size_t number, std::string& text) {
    text +=
        "logical drive " + std::to_string(number) + "  size " + SizeText(ld.Size, ld.Units) + "\n";
    Json json = Json::Object().Set("size", ld.Size);
    SetUnits(json, ld.Units);
    json.Set("size_text", SizeText(ld.Size, ld.Units));
    Json containers = Json::Array();
    for (size_t c = 0; c < ld.Containers.size(); ++c)
        containers.Push(ShowContainer(ld.Containers[c], c, text, false));
    text += "  hot spares  global " + Ids(ld.GHS) + "; dedicated " + Ids(ld.DHS) + "\n";
    if (!ld.ALD.empty())
        text += "  associated logical drives  " + Ids(ld.ALD) + "\n";
    json.Set("containers", std::move(containers))
        .Set("global_hot_spares", IdList(ld.GHS))
        .Set("dedicated_hot_spares", IdList(ld.DHS))
        .Set("associated_logical_drives", IdList(ld.ALD));
    const PI::CLogicalDrive fresh;
    Fields fields{{}, json};
    fields.Add("Attribute1", ld.Attribute1, fresh.Attribute1);
    fields.Add("Attribute2", ld.Attribute2, fresh.Attribute2);
    text += FormatRows(fields.rows, 2);
    ShowProperties(ld.Properties, 2, text, json);
    return json;
}

Json ShowLevel(const PI::CLevel& l, std::string& text) {
    std::string sizes;
    Json stripes = Json::Array();
    for (const int size : l.StripeSizes) {
        sizes += (sizes.empty() ? "" : ", ") + std::to_string(size);
        stripes.Push(size);
    }
    text += "level " + std::to_string(l.Attribute0) + "  stripe sizes " +
            (sizes.empty() ? "none" : sizes) + "\n";
    Json json = Json::Object().Set("attribute0", l.Attribute0).Set("stripe_sizes", stripes);
    json.Set("size1", l.Size1).Set("size1_text", SizeText(l.Size1, l.Units));
    json.Set("size2", l.Size2).Set("size2_text", SizeText(l.Size2, l.Units));
    SetUnits(json, l.Units);
    Rows rows;
    rows.emplace_back("Size1", SizeText(l.Size1, l.Units));
    rows.emplace_back("Size2", SizeText(l.Size2, l.Units));
    rows.emplace_back("Units", UnitsText(l.Units));
    const PI::CLevel fresh;
    Fields fields{std::move(rows), json};
    fields.Add("Attribute1", l.Attribute1, fresh.Attribute1);
    fields.Add("Attribute2", l.Attribute2, fresh.Attribute2);
    fields.Add("Attribute3", l.Attribute3, fresh.Attribute3);
    fields.Add("Attribute4", l.Attribute4, fresh.Attribute4);
    fields.Add("Attribute5", l.Attribute5, fresh.Attribute5);
    fields.Add("Attribute6", l.Attribute6, fresh.Attribute6);
    fields.Add("Attribute7", l.Attribute7, fresh.Attribute7);
    fields.Add("Flag", l.Flag, fresh.Flag);
    fields.Add("Attribute8", l.Attribute8, fresh.Attribute8);
    text += FormatRows(fields.rows, 2);
    ShowProperties(l.Properties, 2, text, json);
    return json;
}

Json ShowMigration(const PI::CMigration& m, std::string& text) {
    text += "migration  Attribute1 " + std::to_string(m.Attribute1) + "  Attribute2 " +
            std::to_string(m.Attribute2) + "  Attribute3 " + std::to_string(m.Attribute3) + "\n";
    Json json = Json::Object()
                    .Set("attribute1", m.Attribute1)
                    .Set("attribute2", m.Attribute2)
                    .Set("attribute3", m.Attribute3);
    ShowProperties(m.Properties, 2, text, json);
    return json;
}

Json ShowPartition(const PI::CPartition& p, std::string& text) {
    text += "partition  " + Quoted(p.Text1) + "  " + Quoted(p.Text2) + "\n";
    Json json = Json::Object().Set("text1", p.Text1).Set("text2", p.Text2);
    Rows rows;
    rows.emplace_back("Attribute1", std::to_string(p.Attribute1));
    rows.emplace_back("Attribute2", std::to_string(p.Attribute2));
    rows.emplace_back("Attribute3", std::to_string(p.Attribute3));
    json.Set("attribute1", p.Attribute1)
        .Set("attribute2", p.Attribute2)
        .Set("attribute3", p.Attribute3);
    text += FormatRows(rows, 2);
    return json;
}

Json ShowPassThrough(const PI::CPassThrough& p, std::string& text) {
    char hex[32];
    std::snprintf(hex, sizeof hex, "0x%llX", p.Value);
    text += "pass-through  value " + std::to_string(p.Value) + " (" + hex + ")\n";
    return Json::Object().Set("value", p.Value);
}

// A placeholder as stored, read by the event's own rule.
Json Placeholder(unsigned int slot, const std::string& stored, std::string& shown) {
    Json json = Json::Object().Set("slot", slot + 1).Set("stored", stored);
    const PI::CStoredPlaceholder split = PI::SplitPlaceholder(stored);
    if (split.Tag == 'T') {
        const std::string text(split.Payload);
        shown = Quoted(text);
        json.Set("text", text);
        return json;
    }
    shown = stored;
    if (split.Tag == 'I') {
        try {
            const unsigned int id = PI::PlaceholderStringId(split.Payload);
            shown = "string " + std::to_string(id);
            json.Set("string_id", static_cast<unsigned long long>(id));
        } catch (const boost::bad_lexical_cast&) {
            // Shown as stored, as the event's getter would fail on it.
        }
    }
    return json;
}

Json ShowEvent(const PI::CEvent& e, std::string& text) {
    text += "event " + std::to_string(e.Scalar1) + "  code " + std::to_string(e.Scalar2);
    Json json = Json::Object().Set("scalar1", e.Scalar1).Set("code", e.Scalar2);
    Json placeholders = Json::Array();
    for (unsigned int slot = 0; slot < PI::CEventRawAccess::SLOTS; ++slot) {
        const std::string& stored = PI::CEventRawAccess::Stored(e, slot).Str();
        if (stored.empty())
            continue;
        std::string shown;
        placeholders.Push(Placeholder(slot, stored, shown));
        text += "  " + shown;
    }
    text += "\n";
    json.Set("placeholders", std::move(placeholders));
    Rows rows;
    for (const auto& [name, value] :
         {std::pair<const char*, const std::string*>{"Text1", &e.Text1.Str()},
          {"Text2", &e.Text2.Str()},
          {"Text3", &e.Text3.Str()}}) {
        json.Set(Fields::Lower(name), *value);
        if (!value->empty())
            rows.emplace_back(name, Quoted(*value));
    }
    const PI::CEvent fresh;
    Fields fields{std::move(rows), json};
    fields.Add("Scalar3", e.Scalar3, fresh.Scalar3);
    fields.Add("Scalar4", e.Scalar4, fresh.Scalar4);
    fields.Add("Scalar5", e.Scalar5, fresh.Scalar5);
    fields.Add("Scalar6", e.Scalar6, fresh.Scalar6);
    text += FormatRows(fields.rows, 2);
    return json;
}

template <class R, class View>
void ShowList(const std::vector<R>& list, const char* key, Json& json, std::string& text,
              View view) {
    Json array = Json::Array();
    for (size_t k = 0; k < list.size(); ++k)
        array.Push(view(list[k], k, text));
    json.Set(key, std::move(array));
}

void ShowOperation(const PI::COperation& op, std::string& text, Json& json) {
    text += "operation  " + std::to_string(op.Objects.size()) + " objects, " +
            std::to_string(op.LogicalDrives.size()) + " logical drives, " +
            std::to_string(op.Events.size()) + " events\n";
    Json own = Json::Object();
    const PI::COperation fresh;
    Fields fields{{}, own};
    fields.Add("Attribute1", op.Attribute1, fresh.Attribute1);
    fields.Add("Attribute2", op.Attribute2, fresh.Attribute2);
    fields.Add("Attribute3", op.Attribute3, fresh.Attribute3);
    fields.Add("Setting1", op.Setting1, fresh.Setting1);
    fields.Add("Setting2", op.Setting2, fresh.Setting2);
    fields.Add("Setting3", op.Setting3, fresh.Setting3);
    fields.Add("Setting4", op.Setting4, fresh.Setting4);
    fields.Add("Setting5", op.Setting5, fresh.Setting5);
    fields.Add("Setting6", op.Setting6, fresh.Setting6);
    fields.Add("Setting7", op.Setting7, fresh.Setting7);
    fields.Add("Setting8", op.Setting8, fresh.Setting8);
    fields.Add("Flag", op.Flag, fresh.Flag);
    fields.Add("Setting9", op.Setting9, fresh.Setting9);
    text += FormatRows(fields.rows, 2);
    json.Set("fields", std::move(own));
    ShowList(op.Objects, "objects", json, text,
             [](const PI::CObject& o, size_t, std::string& t) { return ShowObject(o, t); });
    ShowList(op.LogicalDrives, "logical_drives", json, text,
             [](const PI::CLogicalDrive& ld, size_t k, std::string& t) {
                 return ShowLogicalDrive(ld, k, t);
             });
    ShowList(op.Levels, "levels", json, text,
             [](const PI::CLevel& l, size_t, std::string& t) { return ShowLevel(l, t); });
    ShowList(op.Migrations, "migrations", json, text,
             [](const PI::CMigration& m, size_t, std::string& t) { return ShowMigration(m, t); });
    ShowList(op.Partitions, "partitions", json, text,
             [](const PI::CPartition& p, size_t, std::string& t) { return ShowPartition(p, t); });
    ShowList(
        op.PassThroughs, "pass_throughs", json, text,
        [](const PI::CPassThrough& p, size_t, std::string& t) { return ShowPassThrough(p, t); });
    if (!op.Properties.empty()) {
        text += "operation properties\n";
        ShowProperties(op.Properties, 2, text, json);
    } else {
        json.Set("properties", Json::Array());
    }
    ShowList(op.Events, "events", json, text,
             [](const PI::CEvent& e, size_t, std::string& t) { return ShowEvent(e, t); });
}

} // namespace

Result ShowRecord(const PI::AnyRecord& record) {
    Result result;
    std::string& text = result.text;
    Json json = Json::Object().Set("class", PI::RecordClassName(PI::RecordClassOf(record)));
    if (const auto* op = std::get_if<PI::COperation>(&record)) {
        ShowOperation(*op, text, json);
    } else if (const auto* o = std::get_if<PI::CObject>(&record)) {
        json.Set("object", ShowObject(*o, text));
    } else if (const auto* t = std::get_if<PI::CTask>(&record)) {
        json.Set("task", ShowTask(*t, text));
        json.Set("object", ShowObject(*t, text));
    } else if (const auto* d = std::get_if<PI::CDrive>(&record)) {
        json.Set("drive", DriveJson(*d, text, 0, true));
    } else if (const auto* c = std::get_if<PI::CContainer>(&record)) {
        json.Set("container", ShowContainer(*c, 0, text, true));
    } else if (const auto* ld = std::get_if<PI::CLogicalDrive>(&record)) {
        json.Set("logical_drive", ShowLogicalDrive(*ld, 0, text));
    } else if (const auto* l = std::get_if<PI::CLevel>(&record)) {
        json.Set("level", ShowLevel(*l, text));
    } else if (const auto* m = std::get_if<PI::CMigration>(&record)) {
        json.Set("migration", ShowMigration(*m, text));
    } else if (const auto* p = std::get_if<PI::CPartition>(&record)) {
        json.Set("partition", ShowPartition(*p, text));
    } else if (const auto* pt = std::get_if<PI::CPassThrough>(&record)) {
        json.Set("pass_through", ShowPassThrough(*pt, text));
    } else if (const auto* e = std::get_if<PI::CEvent>(&record)) {
        json.Set("event", ShowEvent(*e, text));
    } else if (const auto* property = std::get_if<PI::CProperty>(&record)) {
        ShowProperties({*property}, 0, text, json);
    }
    result.json = std::move(json);
    return result;
}

} // namespace pitool
