// The Prometheus text metrics of an inventory (docs/metrics.md).
#include "PI/Metrics.h"

#include "../Helper/HealthWords.h"
#include "Exposition.h"
#include "IdentifierNames.h"
#include "MetricTable.h"

#include "PI/Health.h"
#include "PI/Helpers.h"
#include "PI/Lookup.h"

#include <RVX/Exceptions.h>

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace PI {
namespace Monitoring {
namespace {

// One metric family: its samples are collected apart, so that each family
// is written as one group whatever order the objects come in.
struct Family {
    std::string name;
    std::string help;
    const char* type;
    std::string body;
};

class Page {
public:
    Family& Get(const std::string& name, const char* help, const char* type = "gauge") {
        auto found = m_Index.find(name);
        if (found != m_Index.end())
            return *found->second;
        m_Families.push_back(Family{name, help, type, {}});
        m_Index.emplace(name, &m_Families.back());
        return m_Families.back();
    }
    void Write(std::string& out) const {
        size_t size = out.size();
        for (const Family& f : m_Families)
            size += f.body.size() + f.name.size() * 2 + f.help.size() + 32;
        out.reserve(size);
        for (const Family& f : m_Families) {
            if (f.body.empty())
                continue;
            out += "# HELP ";
            out += f.name;
            out += ' ';
            out += f.help;
            out += "\n# TYPE ";
            out += f.name;
            out += ' ';
            out += f.type;
            out += '\n';
            out += f.body;
        }
    }

private:
    std::deque<Family> m_Families;
    std::unordered_map<std::string, Family*> m_Index;
};

void AddLabel(std::string& labels, const char* name, std::string_view value) {
    if (!labels.empty())
        labels += ',';
    labels += name;
    labels += "=\"";
    AppendLabelValue(labels, value);
    labels += '"';
}

void Start(Family& f, const std::string& labels) {
    f.body += f.name;
    f.body += '{';
    f.body += labels;
    f.body += "} ";
}

void Sample(Family& f, const std::string& labels, const Number& value, double scale = 1) {
    Start(f, labels);
    AppendValue(f.body, value, scale);
    f.body += '\n';
}

void Sample(Family& f, const std::string& labels, double value) {
    Start(f, labels);
    AppendValue(f.body, value);
    f.body += '\n';
}

// `labels` plus one more.
void Sample(Family& f, const std::string& labels, const char* name, std::string_view value,
            double sample) {
    std::string all = labels;
    AddLabel(all, name, value);
    Sample(f, all, sample);
}

std::string NumberText(const Number& n) {
    std::string text;
    AppendValue(text, n);
    return text;
}

std::string NameOrNumber(const char* name, long long value) {
    return name != nullptr ? std::string(name) : std::to_string(value);
}

// A state set: one sample per state, 1 for the current one. Two states that
// show as the same label value (texts that differ only in bytes replaced as
// not UTF-8) are one sample.
struct State {
    std::string label;
    bool current;
};

// One sample of a state set; `value` is escaped already.
void StateLine(Family& f, const std::string& labels, const char* labelName, std::string_view value,
               bool current) {
    f.body += f.name;
    f.body += '{';
    f.body += labels;
    if (!labels.empty())
        f.body += ',';
    f.body += labelName;
    f.body += "=\"";
    f.body += value;
    f.body += "\"} ";
    f.body += current ? '1' : '0';
    f.body += '\n';
}

void StateSet(Family& f, const std::string& labels, const char* labelName,
              const std::vector<State>& states) {
    std::vector<std::pair<std::string, bool>> shown;
    for (const State& s : states) {
        std::string value;
        AppendLabelValue(value, s.label);
        auto same = std::find_if(shown.begin(), shown.end(),
                                 [&](const auto& e) { return e.first == value; });
        if (same == shown.end())
            shown.emplace_back(std::move(value), s.current);
        else
            same->second = same->second || s.current;
    }
    for (const auto& [value, current] : shown)
        StateLine(f, labels, labelName, value, current);
}

// A state set over names that need no escaping (identifiers), with the
// number itself as one more state when no name has it.
void NamedStateSet(Family& f, const std::string& labels, const char* labelName,
                   const std::vector<NamedNumber>& names, const Number& n) {
    const double value = n.AsDouble();
    bool matched = false;
    for (const NamedNumber& name : names) {
        const bool current = value == name.value;
        matched = matched || current;
        StateLine(f, labels, labelName, name.name, current);
    }
    if (!matched)
        StateLine(f, labels, labelName, NumberText(n), true);
}

const KindRow* KindOf(int type) {
    for (const KindRow& row : kKindRows)
        if (row.type == type)
            return &row;
    return nullptr;
}

constexpr int kFirstId = 23001;
constexpr int kIdSpan = 475;
constexpr size_t kKindCount = static_cast<size_t>(Kind::Task) + 1;

// The table's row of a kind and a property, looked up once per property of
// every object: indexed by kind and id.
const PropertyRow* RowOf(Kind kind, int property) {
    struct Index {
        const PropertyRow* rows[kKindCount][kIdSpan] = {};
        Index() {
            for (const PropertyRow& row : kPropertyRows)
                if (row.property >= kFirstId && row.property < kFirstId + kIdSpan &&
                    rows[static_cast<size_t>(row.kind)][row.property - kFirstId] == nullptr)
                    rows[static_cast<size_t>(row.kind)][row.property - kFirstId] = &row;
        }
    };
    static const Index index;
    if (property < kFirstId || property >= kFirstId + kIdSpan)
        return nullptr;
    return index.rows[static_cast<size_t>(kind)][property - kFirstId];
}

// The first property of each id in a list, as FindProperty finds it.
class FirstProperties {
public:
    // True the first time `id` is seen since the last Reset.
    bool First(int id) {
        if (id >= kFirst && id < kFirst + kSpan) {
            unsigned& mark = m_Marks[id - kFirst];
            if (mark == m_Round)
                return false;
            mark = m_Round;
            return true;
        }
        if (std::find(m_Others.begin(), m_Others.end(), id) != m_Others.end())
            return false;
        m_Others.push_back(id);
        return true;
    }
    void Reset() {
        ++m_Round;
        m_Others.clear();
    }

private:
    static constexpr int kFirst = kFirstId;
    static constexpr int kSpan = kIdSpan;
    unsigned m_Marks[kSpan] = {};
    unsigned m_Round = 1;
    std::vector<int> m_Others;
};

class Writer {
public:
    explicit Writer(const COperation& operation)
        : m_Operation(operation), m_Words(GetHealthWords()),
          m_DriveStates(ConstantsNamed("PD_STATE_")), m_Media(ConstantsNamed("MEDIA_TYPE_")),
          m_Power(ConstantsNamed("POWER_STATE_")) {
        for (const CObject& object : operation.Objects)
            m_ById.emplace(object.ObjectID, &object); // the first of an id stays
        m_Info = &m_Page.Get("pi_object_info",
                             "Every object of the inventory and every logical drive, with its "
                             "name; value 1.");
        m_PropertyInfo = &m_Page.Get("pi_property_info",
                                     "A text property without a metric of its own; value 1.");
        m_MediaFamily = &m_Page.Get("pi_physical_drive_media",
                                    "Media of the physical drive: 1 for the current one.");
        m_PowerFamily = &m_Page.Get("pi_physical_drive_power_state",
                                    "Power state of the physical drive: 1 for the current one.");
        m_Health = &m_Page.Get("pi_health",
                               "Health of each object that has a status: 1 for the current one "
                               "of ok, warning, critical and unknown.");
    }

    void Write(std::string& out) {
        std::unordered_set<unsigned long long> seen;
        for (const CObject& object : m_Operation.Objects)
            if (seen.insert(object.ObjectID).second)
                WriteObject(object);
        std::unordered_set<std::string> seenDrives;
        for (size_t i = 0; i < m_Operation.LogicalDrives.size(); ++i)
            WriteLogicalDrive(m_Operation.LogicalDrives[i], i, seenDrives);
        WriteEvents();
        m_Page.Write(out);
    }

private:
    const CObject* Find(unsigned long long id) const {
        auto found = m_ById.find(id);
        return found == m_ById.end() ? nullptr : found->second;
    }

    // The adapter an object belongs to: itself or the first adapter up its
    // first parents; null when the chain ends or turns in a circle.
    const CObject* AdapterOf(const CObject* object) const {
        for (size_t steps = 0; object != nullptr && steps <= m_ById.size(); ++steps) {
            if (IsAdapterType(object->ObjectType))
                return object;
            if (object->Parents.empty())
                return nullptr;
            object = Find(object->Parents.front());
        }
        return nullptr;
    }

    const std::string& TypeLabel(int type) {
        auto found = m_TypeLabels.find(type);
        if (found == m_TypeLabels.end())
            found = m_TypeLabels.emplace(type, NameOrNumber(ObjectTypeName(type), type)).first;
        return found->second;
    }

    void WriteObject(const CObject& object) {
        const KindRow* kind = KindOf(object.ObjectType);
        // Identity first: the properties that give labels.
        std::string name, serial, slot, target;
        const CProperty* status = nullptr;
        const CProperty* media = nullptr;
        const CProperty* power = nullptr;
        m_First.Reset();
        for (const CProperty& p : object.Properties) {
            if (kind == nullptr || !m_First.First(p.PropertyID))
                continue;
            const PropertyRow* row = RowOf(kind->kind, p.PropertyID);
            if (row == nullptr)
                continue;
            Number n;
            switch (row->role) {
            case Role::Name:
                TextOfQuietly(p, name);
                break;
            case Role::Serial:
                TextOfQuietly(p, serial);
                break;
            case Role::Slot:
                if (NumberOfQuietly(p, n))
                    slot = NumberText(n);
                break;
            case Role::Target:
                if (NumberOfQuietly(p, n))
                    target = NumberText(n);
                break;
            case Role::Status:
                status = &p;
                break;
            case Role::Media:
                media = &p;
                break;
            case Role::Power:
                power = &p;
                break;
            default:
                break;
            }
        }
        std::string identity;
        if (const CObject* adapter = AdapterOf(&object))
            AddLabel(identity, "adapter", std::to_string(adapter->ObjectID));
        AddLabel(identity, "id", std::to_string(object.ObjectID));
        if (!slot.empty())
            AddLabel(identity, "slot", slot);
        if (!serial.empty())
            AddLabel(identity, "serial", serial);
        std::string typed;
        AddLabel(typed, "type", TypeLabel(object.ObjectType));
        typed += ',';
        typed += identity;

        std::string info = typed;
        AddLabel(info, "name", name);
        if (kind != nullptr && kind->kind == Kind::Task) {
            AddLabel(info, "target", target);
        }
        Sample(*m_Info, info, 1.0);

        if (kind != nullptr && HasStatus(kind->kind)) {
            WriteHealth(typed, GetObjectHealth(object));
            if (status != nullptr)
                WriteStatus(*kind, identity, *status);
        }
        if (media != nullptr)
            WriteNamedState(*m_MediaFamily, identity, "media", *media, m_Media);
        if (power != nullptr)
            WriteNamedState(*m_PowerFamily, identity, "state", *power, m_Power);
        if (kind != nullptr && kind->kind == Kind::Task && !target.empty())
            WriteTaskProgress(identity, object);
        WriteProperties(kind == nullptr ? nullptr : kind, object.Properties, identity);
    }

    static bool HasStatus(Kind kind) {
        for (const PropertyRow& row : kPropertyRows)
            if (row.kind == kind && row.role == Role::Status)
                return true;
        return false;
    }

    void WriteHealth(const std::string& labels, _HEALTH health) {
        static constexpr _HEALTH kAll[] = {HEALTH_OK, HEALTH_WARNING, HEALTH_CRITICAL,
                                           HEALTH_UNKNOWN};
        for (_HEALTH h : kAll)
            StateLine(*m_Health, labels, "health", HealthName(h), h == health);
    }

    // A drive state by its PD_STATE_* name; a text status by the state
    // words, plus the text itself when it is none of them.
    void WriteStatus(const KindRow& kind, const std::string& identity, const CProperty& status) {
        Family*& cached = m_StateFamilies[static_cast<size_t>(kind.kind)];
        if (cached == nullptr)
            cached = &m_Page.Get(std::string(kind.prefix) + "_state",
                                 "State of the object: 1 for the current one.");
        Family& f = *cached;
        if (kind.kind == Kind::PhysicalDrive) {
            WriteNamedState(f, identity, "state", status, m_DriveStates);
            return;
        }
        std::string& text = m_Text;
        if (!TextOfQuietly(status, text))
            return;
        std::string_view word;
        const CHealthWord* match = MatchHealthWord(m_Words, text, &word);
        std::vector<State> states;
        for (const CHealthWord& w : m_Words)
            states.push_back({w.Word, &w == match});
        if (match == nullptr)
            states.push_back({std::string(word), true});
        StateSet(f, identity, "state", states);
    }

    void WriteNamedState(Family& f, const std::string& identity, const char* labelName,
                         const CProperty& p, const std::vector<NamedNumber>& names) {
        Number n;
        if (NumberOfQuietly(p, n))
            NamedStateSet(f, identity, labelName, names, n);
    }

    // The time left of the work of a task, as its object reports it.
    void WriteTaskProgress(const std::string& identity, const CObject& task) {
        const CProperty* targetId = FindProperty(task.Properties, TASK_OBJECT);
        Number id;
        if (targetId == nullptr || !NumberOfQuietly(*targetId, id) || !id.exact)
            return;
        const CObject* target = Find(id.whole);
        if (target == nullptr)
            return;
        for (int property : kRemainingTimeProperties) {
            const CProperty* p = FindProperty(target->Properties, property);
            Number left;
            if (p != nullptr && NumberOfQuietly(*p, left)) {
                Sample(m_Page.Get("pi_task_remaining_seconds",
                                  "Time left of the task's work, as its object reports it."),
                       identity, left);
                return;
            }
        }
    }

    // Dedicated numbers by the kind's table, every other number and text
    // generically by the property's name.
    void WriteProperties(const KindRow* kind, const std::vector<CProperty>& properties,
                         const std::string& identity) {
        m_First.Reset();
        for (const CProperty& p : properties) {
            if (!m_First.First(p.PropertyID))
                continue;
            const PropertyRow* row = kind == nullptr ? nullptr : RowOf(kind->kind, p.PropertyID);
            Number n;
            if (row != nullptr && (row->role == Role::Gauge || row->role == Role::Counter)) {
                if (NumberOfQuietly(p, n)) {
                    Family*& f = m_RowFamilies[row - kPropertyRows];
                    if (f == nullptr)
                        f = &m_Page.Get(row->family, row->help,
                                        row->role == Role::Counter ? "counter" : "gauge");
                    Sample(*f, identity, n, row->scale);
                    continue;
                }
            } else if (row != nullptr && ShownAsLabelOrState(*row, p)) {
                continue;
            }
            if (TextOfQuietly(p, m_Text)) {
                std::string& body = m_PropertyInfo->body;
                body += m_PropertyInfo->name;
                body += '{';
                body += identity;
                body += ",property=\"";
                if (const char* name = PropertyName(p.PropertyID))
                    body += name;
                else
                    body += std::to_string(p.PropertyID);
                body += "\",value=\"";
                AppendLabelValue(body, m_Text);
                body += "\"} 1\n";
            } else if (NumberOfQuietly(p, n)) {
                GenericSample(p.PropertyID, identity, n);
            }
        }
    }

    // Whether WriteObject made a label or a state set of the property; one
    // it could not read is shown generically instead.
    static bool ShownAsLabelOrState(const PropertyRow& row, const CProperty& p) {
        Number n;
        switch (row.role) {
        case Role::Name:
        case Role::Serial:
            return p.Type == VT_STRING;
        case Role::Status:
            return row.kind == Kind::PhysicalDrive ? NumberOfQuietly(p, n) : p.Type == VT_STRING;
        default:
            return NumberOfQuietly(p, n);
        }
    }

    void GenericSample(int id, const std::string& identity, const Number& n) {
        const char* name = PropertyName(id);
        if (name == nullptr) {
            std::string labels = identity;
            AddLabel(labels, "property", std::to_string(id));
            Sample(m_Page.Get("pi_property_unnamed",
                              "A number property whose id has no name, by its id."),
                   labels, n);
            return;
        }
        Family*& f = m_Generic[id - kFirstId]; // a named id is in the band
        if (f == nullptr) {
            std::string family = "pi_property_";
            for (const char* c = name; *c != '\0'; ++c)
                family += static_cast<char>(*c >= 'A' && *c <= 'Z' ? *c - 'A' + 'a' : *c);
            // Never one of the families the generic ones are told apart by.
            if (family == "pi_property_info" || family == "pi_property_unnamed")
                family += "_value";
            const std::string help = "Property " + std::string(name) + " as a number.";
            f = &m_Page.Get(family, help.c_str());
        }
        Sample(*f, identity, n);
    }

    void WriteLogicalDrive(const CLogicalDrive& drive, size_t index,
                           std::unordered_set<std::string>& seen) {
        const CProperty* numberProperty =
            FindProperty(drive.Properties, LOGICAL_DRIVE_LOGICAL_DRIVE_NUMBER);
        Number number;
        const std::string ld = numberProperty != nullptr && NumberOfQuietly(*numberProperty, number)
                                   ? NumberText(number)
                                   : "#" + std::to_string(index);
        if (!seen.insert(ld).second)
            return;
        const CObject* adapter = nullptr;
        size_t members = 0;
        for (const CContainer& container : drive.Containers) {
            for (const CDrive& member : container.Drives) {
                if (members++ == 0)
                    adapter = AdapterOf(Find(member.ObjectID));
            }
        }
        std::string identity;
        if (adapter != nullptr)
            AddLabel(identity, "adapter", std::to_string(adapter->ObjectID));
        AddLabel(identity, "ld", ld);
        std::string typed;
        AddLabel(typed, "type", TypeLabel(OBJECT_TYPE_LOGICAL_DRIVE));
        typed += ',';
        typed += identity;

        std::string name;
        if (const CProperty* p = FindProperty(drive.Properties, LOGICAL_DRIVE_NAME))
            TextOfQuietly(*p, name);
        std::string info = typed;
        AddLabel(info, "name", name);
        Sample(*m_Info, info, 1.0);

        const KindRow* kind = KindOf(OBJECT_TYPE_LOGICAL_DRIVE);
        WriteHealth(typed, GetLogicalDriveHealth(drive));
        if (const CProperty* status = FindProperty(drive.Properties, LOGICAL_DRIVE_STATUS))
            WriteStatus(*kind, identity, *status);
        if (const double factor = UnitFactor(drive.Units); factor > 0)
            Sample(m_Page.Get("pi_logical_drive_size_bytes", "Size of the logical drive."),
                   identity, static_cast<double>(drive.Size) * factor);
        Sample(m_Page.Get("pi_logical_drive_members",
                          "Physical drives in the logical drive's containers."),
               identity, static_cast<double>(members));
        Family& spares = m_Page.Get("pi_logical_drive_spares",
                                    "Hot spares the logical drive can use, global or dedicated.");
        Sample(spares, identity, "spare", "global", static_cast<double>(drive.GHS.size()));
        Sample(spares, identity, "spare", "dedicated", static_cast<double>(drive.DHS.size()));
        WriteProperties(kind, drive.Properties, identity);
    }

    static double UnitFactor(_UNITS units) {
        switch (units) {
        case UNITS_BYTES:
            return 1;
        case UNITS_KILOBYTES:
            return 1024.0;
        case UNITS_MEGABYTES:
            return 1024.0 * 1024;
        case UNITS_GIGABYTES:
            return 1024.0 * 1024 * 1024;
        case UNITS_TERABYTES:
            return 1024.0 * 1024 * 1024 * 1024;
        case UNITS_PETABYTES:
            return 1024.0 * 1024 * 1024 * 1024 * 1024;
        default:
            return 0; // a unit whose size is not known: no size rather than a wrong one
        }
    }

    // Events by their grade (Scalar3); every named grade is shown, 0 when
    // no event has it.
    void WriteEvents() {
        std::map<int, double> counts;
        for (const NamedNumber& s : Severities())
            counts[s.value] = 0;
        for (const CEvent& e : m_Operation.Events)
            counts[e.Scalar3] += 1;
        Family& f = m_Page.Get("pi_events", "Events of the inventory by severity.");
        for (const auto& [severity, count] : counts)
            Sample(f, std::string(), "severity", NameOrNumber(SeverityName(severity), severity),
                   count);
    }

    // Throwing is off for the whole page: a block that cannot be read is a
    // failed read.
    RVX::Threading::CThrowStateGuard m_ThrowState;
    RVX::Threading::CDisableThrow m_Quiet;
    const COperation& m_Operation;
    const std::vector<CHealthWord> m_Words;
    const std::vector<NamedNumber> m_DriveStates, m_Media, m_Power;
    std::unordered_map<unsigned long long, const CObject*> m_ById;
    Family* m_Generic[kIdSpan] = {};
    Family* m_RowFamilies[kPropertyRowCount] = {};
    Family* m_StateFamilies[kKindCount] = {};
    Family* m_MediaFamily = nullptr;
    Family* m_PowerFamily = nullptr;
    Family* m_PropertyInfo = nullptr;
    std::string m_Text; // kept for its capacity
    std::unordered_map<int, std::string> m_TypeLabels;
    FirstProperties m_First;
    Page m_Page;
    Family* m_Info = nullptr;
    Family* m_Health = nullptr;
};

} // namespace
} // namespace Monitoring

void WriteMetrics(const COperation& operation, std::string& out) {
    Monitoring::Writer(operation).Write(out);
}

std::string GetMetrics(const COperation& operation) {
    std::string out;
    WriteMetrics(operation, out);
    return out;
}

} // namespace PI
