// pitool record show: each record class as a person reads it, as text and
// as JSON of the same content, the members taken from the record description.
#include "RecordShow.h"

#include "Names.h"
#include "Units.h"

#include <PI/Health.h>
#include <PI/Helpers.h>
#include <PI/Internal/RecordDescription.h>
#include <PI/Internal/Utf8.h>
#include <PI/Lookup.h>
#include <RVX/Base64.h>
#include <RVX/Exceptions.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <type_traits>
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

bool IsUtf8(const std::string& text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    for (size_t i = 0; i < text.size();) {
        const size_t length = PI::Internal::Utf8SequenceLength(bytes + i, text.size() - i);
        if (length == 0)
            return false;
        i += length;
    }
    return true;
}

// A text as a terminal may show it: bytes that are no UTF-8 and control
// characters (which could move the cursor or recolour the screen) become
// \xHH, and a backslash \\, so that every byte stays readable.
std::string Visible(const std::string& text) {
    static const char hex[] = "0123456789ABCDEF";
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        const unsigned char c = bytes[i];
        const size_t length = PI::Internal::Utf8SequenceLength(bytes + i, text.size() - i);
        if (c == '\\') {
            out += "\\\\";
        } else if (length == 0 || c < 0x20 || c == 0x7F) {
            out += "\\x";
            out += hex[c >> 4];
            out += hex[c & 0x0F];
        } else {
            out.append(text, i, length);
            i += length;
            continue;
        }
        ++i;
    }
    return out;
}

// A text member as the interchange form writes it: a string when its bytes
// are UTF-8, else {"Base64": ...} holding the bytes.
Json TextJson(const std::string& text) {
    if (IsUtf8(text))
        return Json(text);
    std::string base64;
    RVX::Base64::Append(reinterpret_cast<const unsigned char*>(text.data()), text.size(), base64);
    return Json::Object().Set("Base64", std::move(base64));
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
            return "\"" + Visible(text) + "\"";
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
                        (k < 32 && (mask >> k & 1u) ? "*" : "") + "\"" + Visible(list[k]) + "\"";
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

// The status icon file of an object that reports a physical drive's state.
std::string DriveIcon(const PI::CObject& object) {
    const PI::CProperty* state = PI::FindProperty(object, PI::PHYSICAL_DRIVE_STATUS);
    long long value = 0;
    if (state == nullptr || !NumberOf(*state, value))
        return "";
    long long media = 0, power = PI::POWER_STATE_NORMAL;
    if (const PI::CProperty* p = PI::FindProperty(object, PI::PHYSICAL_DRIVE_MEDIA_TYPE))
        NumberOf(*p, media);
    if (const PI::CProperty* p = PI::FindProperty(object, PI::PHYSICAL_DRIVE_POWER_STATUS))
        NumberOf(*p, power);
    const int icon = PI::GetPDStatusIcon(static_cast<int>(value), static_cast<int>(media), false,
                                         false, static_cast<int>(power));
    RVX::Strings::CStringVar file;
    return PI::GetIconPath(icon, file) == 0 ? file.Str() : "";
}

// The text view names a health only where one is known: most objects carry
// no status (the JSON says "unknown" for them).
std::string HealthLine(PI::_HEALTH health) {
    return health == PI::HEALTH_UNKNOWN ? ""
                                        : "  health  " + std::string(PI::HealthName(health)) + "\n";
}

// ---- Pieces shared by the views -----------------------------------------------

std::string Ids(const std::vector<unsigned long long>& ids) {
    std::string text;
    for (const auto id : ids)
        text += (text.empty() ? "" : ", ") + std::to_string(id);
    return text.empty() ? "none" : text;
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

void SetUnitsName(Json& json, int units) {
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
    return "\"" + Visible(text) + "\"";
}

// A placeholder as stored, read by the event's own rule.
Json Placeholder(unsigned int slot, const std::string& stored, std::string& shown) {
    Json json = Json::Object().Set("slot", slot + 1).Set("stored", TextJson(stored));
    const PI::CStoredPlaceholder split = PI::SplitPlaceholder(stored);
    if (split.Tag == 'T') {
        const std::string text(split.Payload);
        shown = Quoted(text);
        json.Set("text", TextJson(text));
        return json;
    }
    shown = Visible(stored);
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

// ---- JSON: every described member by its interchange name, then what a
// person reads (names of numbers, readable sizes and times) -----------------

template <class R> Json RecordJson(const R& record);

template <class T> Json MemberJson(const T& value) {
    if constexpr (std::is_enum_v<T>)
        return Json(static_cast<int>(value));
    else if constexpr (std::is_base_of_v<RVX::Strings::CStringVar, T>)
        return TextJson(value.Str());
    else if constexpr (std::is_same_v<T, std::string>)
        return TextJson(value);
    else
        return Json(value);
}
template <class T> Json MemberJson(const std::vector<T>& list) {
    Json array = Json::Array();
    for (const T& element : list) {
        if constexpr (std::is_arithmetic_v<T>)
            array.Push(element);
        else
            array.Push(RecordJson(element));
    }
    return array;
}
inline Json MemberJson(const PI::Records::TaskBase<const PI::CObject>& part) {
    return RecordJson(part.Object);
}

void AddReadable(Json& json, const PI::CProperty& p) {
    json.Set("name", PropertyName(p.PropertyID)).Set("value", PropertyValue(p));
}
void AddReadable(Json& json, const PI::CObject& o) {
    if (const NamedValue* type = FindByValue("_OBJECT_TYPE", "", o.ObjectType))
        json.Set("type_name", type->name);
    json.Set("health", PI::HealthName(PI::GetObjectHealth(o)));
    const std::string icon = DriveIcon(o);
    if (!icon.empty())
        json.Set("status_icon", icon);
}
void AddReadable(Json& json, const PI::CTask& t) {
    json.Set("created", TimeText(t.Time1));
}
void AddReadable(Json& json, const PI::CDrive& d) {
    json.Set("used", ReadableBytes(d.UsedSize));
}
void AddReadable(Json& json, const PI::CLogicalDrive& ld) {
    json.Set("health", PI::HealthName(PI::GetLogicalDriveHealth(ld)));
    SetUnitsName(json, ld.Units);
    json.Set("size_text", SizeText(ld.Size, ld.Units));
}
void AddReadable(Json& json, const PI::CLevel& l) {
    SetUnitsName(json, l.Units);
    json.Set("size1_text", SizeText(l.Size1, l.Units));
    json.Set("size2_text", SizeText(l.Size2, l.Units));
}
void AddReadable(Json& json, const PI::CEvent& e) {
    Json placeholders = Json::Array();
    for (unsigned int slot = 0; slot < PI::CEventRawAccess::SLOTS; ++slot) {
        const std::string& stored = PI::CEventRawAccess::Stored(e, slot).Str();
        std::string shown;
        if (!stored.empty())
            placeholders.Push(Placeholder(slot, stored, shown));
    }
    json.Set("placeholders", std::move(placeholders));
}
template <class R> void AddReadable(Json&, const R&) {}

template <class R> Json RecordJson(const R& record) {
    Json json = Json::Object();
    PI::Records::SchemaOf<R>::Fields(
        [&](std::string_view name, const auto&, bool, PI::Records::EMatch, const auto& member) {
            if constexpr (!std::is_pointer_v<std::decay_t<decltype(member)>>)
                json.Set(std::string(name), MemberJson(member));
        },
        record);
    AddReadable(json, record);
    return json;
}

// ---- Text: one view per record class ------------------------------------------

// The number and flag members that carry no meaning of their own (Attribute1,
// Setting5, ...) and that the view does not show otherwise, where they differ
// from a new record's: the text stays short.
template <class R>
Rows OtherMembers(const R& record, std::initializer_list<std::string_view> shown) {
    Rows rows;
    PI::Records::ForEachMember<R>([&](const auto& d) {
        using D = std::decay_t<decltype(d.Default)>;
        if constexpr (std::is_arithmetic_v<D>) {
            const auto& value = d.Of(record);
            using T = std::decay_t<decltype(value)>;
            if (value == static_cast<T>(d.Default) ||
                std::find(shown.begin(), shown.end(), d.Name) != shown.end())
                return;
            if constexpr (std::is_same_v<T, bool>)
                rows.emplace_back(d.Name, value ? "yes" : "no");
            else if constexpr (std::is_enum_v<T>)
                rows.emplace_back(d.Name, std::to_string(static_cast<int>(value)));
            else
                rows.emplace_back(d.Name, std::to_string(value));
        }
    });
    return rows;
}

Rows Join(Rows first, const Rows& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

void ShowProperties(const std::vector<PI::CProperty>& list, size_t indent, std::string& text) {
    Rows rows;
    for (const PI::CProperty& p : list)
        rows.emplace_back(PropertyName(p.PropertyID), PropertyValue(p));
    text += FormatRows(rows, indent);
}

void Show(const PI::CObject& o, std::string& text) {
    text += "object " + std::to_string(o.ObjectID) + "  type " + TypeName(o.ObjectType) + "\n";
    text += HealthLine(PI::GetObjectHealth(o));
    const std::string icon = DriveIcon(o);
    if (!icon.empty())
        text += "  status icon  " + icon + "\n";
    Rows rows;
    if (!o.Parents.empty())
        rows.emplace_back("parents", Ids(o.Parents));
    if (!o.Children.empty())
        rows.emplace_back("children", Ids(o.Children));
    text += FormatRows(Join(rows, OtherMembers(o, {"ObjectID", "ObjectType"})), 2);
    ShowProperties(o.Properties, 2, text);
}

void Show(const PI::CTask& t, std::string& text) {
    text += "task " + Quoted(t.Text1.Str()) + " " + Visible(t.Text2.Str()) + "\n";
    Rows rows;
    if (!t.Text3.Str().empty())
        rows.emplace_back("Text3", Quoted(t.Text3.Str()));
    rows.emplace_back("created", TimeText(t.Time1));
    text += FormatRows(Join(rows, OtherMembers(t, {})), 2);
    Show(static_cast<const PI::CObject&>(t), text);
}

// A drive piece in one line, as a container lists it.
std::string DriveLine(const PI::CDrive& d) {
    return "drive " + std::to_string(d.ObjectID) +
           (d.StartAddress ? "@" + std::to_string(d.StartAddress) : "") + " " +
           ShortBytes(d.UsedSize);
}

void Show(const PI::CDrive& d, std::string& text, size_t indent = 0) {
    text += std::string(indent, ' ') + "drive " + std::to_string(d.ObjectID) + "  start " +
            std::to_string(d.StartAddress) + "  used " + ReadableBytes(d.UsedSize) + "\n" +
            FormatRows(OtherMembers(d, {"ObjectID", "StartAddress", "UsedSize"}), indent + 2);
    ShowProperties(d.Properties, indent + 2, text);
}

void Show(const PI::CContainer& c, std::string& text) {
    text += "container  " + std::to_string(c.Drives.size()) + " drive pieces\n";
    for (const PI::CDrive& d : c.Drives)
        Show(d, text, 2);
}

void Show(const PI::CLogicalDrive& ld, std::string& text, size_t number = 0) {
    text +=
        "logical drive " + std::to_string(number) + "  size " + SizeText(ld.Size, ld.Units) + "\n";
    text += HealthLine(PI::GetLogicalDriveHealth(ld));
    for (size_t c = 0; c < ld.Containers.size(); ++c) {
        std::string pieces;
        for (const PI::CDrive& d : ld.Containers[c].Drives)
            pieces += (pieces.empty() ? "" : ", ") + DriveLine(d);
        text += "  container " + std::to_string(c) + "  " + pieces + "\n";
    }
    text += "  hot spares  global " + Ids(ld.GHS) + "; dedicated " + Ids(ld.DHS) + "\n";
    if (!ld.ALD.empty())
        text += "  associated logical drives  " + Ids(ld.ALD) + "\n";
    text += FormatRows(OtherMembers(ld, {"Size", "Units"}), 2);
    ShowProperties(ld.Properties, 2, text);
}

void Show(const PI::CLevel& l, std::string& text) {
    std::string sizes;
    for (const int size : l.StripeSizes)
        sizes += (sizes.empty() ? "" : ", ") + std::to_string(size);
    text += "level " + std::to_string(l.Attribute0) + "  stripe sizes " +
            (sizes.empty() ? "none" : sizes) + "\n";
    const Rows rows{{"Size1", SizeText(l.Size1, l.Units)},
                    {"Size2", SizeText(l.Size2, l.Units)},
                    {"Units", UnitsText(l.Units)}};
    text += FormatRows(Join(rows, OtherMembers(l, {"Attribute0", "Size1", "Size2", "Units"})), 2);
    ShowProperties(l.Properties, 2, text);
}

void Show(const PI::CMigration& m, std::string& text) {
    text += "migration  Attribute1 " + std::to_string(m.Attribute1) + "  Attribute2 " +
            std::to_string(m.Attribute2) + "  Attribute3 " + std::to_string(m.Attribute3) + "\n";
    ShowProperties(m.Properties, 2, text);
}

void Show(const PI::CPartition& p, std::string& text) {
    text += "partition  " + Quoted(p.Text1) + "  " + Quoted(p.Text2) + "\n";
    text += FormatRows({{"Attribute1", std::to_string(p.Attribute1)},
                        {"Attribute2", std::to_string(p.Attribute2)},
                        {"Attribute3", std::to_string(p.Attribute3)}},
                       2);
}

void Show(const PI::CPassThrough& p, std::string& text) {
    char hex[32];
    std::snprintf(hex, sizeof hex, "0x%llX", p.Value);
    text += "pass-through  value " + std::to_string(p.Value) + " (" + hex + ")\n";
}

void Show(const PI::CEvent& e, std::string& text) {
    text += "event " + std::to_string(e.Scalar1) + "  code " + std::to_string(e.Scalar2);
    for (unsigned int slot = 0; slot < PI::CEventRawAccess::SLOTS; ++slot) {
        const std::string& stored = PI::CEventRawAccess::Stored(e, slot).Str();
        std::string shown;
        if (stored.empty())
            continue;
        Placeholder(slot, stored, shown);
        text += "  " + shown;
    }
    text += "\n";
    Rows rows;
    for (const auto& [name, value] :
         {std::pair<const char*, const std::string*>{"Text1", &e.Text1.Str()},
          {"Text2", &e.Text2.Str()},
          {"Text3", &e.Text3.Str()}}) {
        if (!value->empty())
            rows.emplace_back(name, Quoted(*value));
    }
    text += FormatRows(Join(rows, OtherMembers(e, {"Scalar1", "Scalar2"})), 2);
}

void Show(const PI::CProperty& p, std::string& text) {
    ShowProperties({p}, 0, text);
}

void Show(const PI::COperation& op, std::string& text) {
    text += "operation  " + std::to_string(op.Objects.size()) + " objects, " +
            std::to_string(op.LogicalDrives.size()) + " logical drives, " +
            std::to_string(op.Events.size()) + " events\n";
    text += FormatRows(OtherMembers(op, {}), 2);
    for (const PI::CObject& o : op.Objects)
        Show(o, text);
    for (size_t k = 0; k < op.LogicalDrives.size(); ++k)
        Show(op.LogicalDrives[k], text, k);
    for (const PI::CLevel& l : op.Levels)
        Show(l, text);
    for (const PI::CMigration& m : op.Migrations)
        Show(m, text);
    for (const PI::CPartition& p : op.Partitions)
        Show(p, text);
    for (const PI::CPassThrough& p : op.PassThroughs)
        Show(p, text);
    if (!op.Properties.empty()) {
        text += "operation properties\n";
        ShowProperties(op.Properties, 2, text);
    }
    for (const PI::CEvent& e : op.Events)
        Show(e, text);
}

} // namespace

// The text as a person reads it; the JSON holds the record under its class
// name with every member by its interchange name.
Result ShowRecord(const PI::AnyRecord& record) {
    Result result;
    std::visit(
        [&](const auto& r) {
            const char* name = PI::RecordClassName(PI::RecordClassOf(record));
            Show(r, result.text);
            result.json = Json::Object().Set("class", name).Set(name, RecordJson(r));
        },
        record);
    return result;
}

} // namespace pitool
