// The check plugin's judgement of an inventory (docs/metrics.md): one status
// line with performance data, and a line for every object that is not OK.
#include "PI/Metrics.h"

#include "Exposition.h"
#include "IdentifierNames.h"
#include "MetricTable.h"

#include "PI/Health.h"
#include "PI/Lookup.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <unordered_set>

namespace PI {
namespace {

// The measures in the order of the status line, with their default ranges.
struct Measure {
    const char* name;
    const char* warning;
    const char* critical;
    const char* unit;    // of the performance data
    const char* one;     // "1 drive failed"
    const char* several; // "2 drives failed"
};

constexpr Measure kMeasures[] = {
    {"drives_failed", "", "0", "", "drive failed", "drives failed"},
    {"drives_warning", "0", "", "", "drive with a warning", "drives with a warning"},
    {"ld_failed", "", "0", "", "logical drive failed", "logical drives failed"},
    {"ld_degraded", "0", "", "", "logical drive degraded", "logical drives degraded"},
    {"ld_without_spare", "0", "", "", "logical drive without a hot spare",
     "logical drives without a hot spare"},
    {"others_failed", "", "0", "", "other object failed", "other objects failed"},
    {"others_warning", "0", "", "", "other object with a warning", "other objects with a warning"},
    {"media_errors", "", "", "c", "media error", "media errors"},
    {"temperature", "", "", "", "C the hottest drive", "C the hottest drive"},
};
constexpr size_t kMeasureCount = sizeof kMeasures / sizeof kMeasures[0];
enum : size_t {
    DRIVES_FAILED,
    DRIVES_WARNING,
    LD_FAILED,
    LD_DEGRADED,
    LD_WITHOUT_SPARE,
    OTHERS_FAILED,
    OTHERS_WARNING,
    MEDIA_ERRORS,
    TEMPERATURE,
};

bool ParseNumber(const char* first, const char* last, double& value) {
    if (first == last)
        return false;
    const auto result = std::from_chars(first, last, value);
    return result.ec == std::errc() && result.ptr == last && std::isfinite(value);
}

std::string Fixed(double value) {
    char buffer[400];
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    return result.ec == std::errc() ? std::string(buffer, result.ptr) : std::string("0");
}

const char* KindName(const Monitoring::KindRow* kind) {
    if (kind == nullptr)
        return nullptr;
    switch (kind->kind) {
    case Monitoring::Kind::Adapter:
        return "adapter";
    case Monitoring::Kind::PhysicalDrive:
        return "physical drive";
    case Monitoring::Kind::LogicalDrive:
        return "logical drive";
    case Monitoring::Kind::PowerSupply:
        return "power supply";
    case Monitoring::Kind::TemperatureSensor:
        return "temperature sensor";
    case Monitoring::Kind::RaidManager:
        return "management agent";
    default:
        return kind->prefix + 3; // "pi_battery" -> "battery"
    }
}

const Monitoring::KindRow* KindOf(int type) {
    for (const auto& row : Monitoring::kKindRows)
        if (row.type == type)
            return &row;
    return nullptr;
}

int StatusPropertyOf(Monitoring::Kind kind) {
    for (const auto& row : Monitoring::kPropertyRows)
        if (row.kind == kind && row.role == Monitoring::Role::Status)
            return row.property;
    return 0;
}

// "state PD_STATE_FAILED", "state Degraded" or "no status".
std::string StateText(const std::vector<CProperty>& properties, int statusProperty) {
    const CProperty* status = FindProperty(properties, statusProperty);
    if (status == nullptr)
        return "no status";
    std::string text;
    Monitoring::Number n;
    if (Monitoring::TextOf(*status, text))
        return "state " + Monitoring::OneLineText(text);
    if (Monitoring::NumberOf(*status, n)) {
        for (const auto& name : Monitoring::ConstantsNamed("PD_STATE_"))
            if (n.AsDouble() == name.value)
                return std::string("state ") + name.name;
        std::string number;
        Monitoring::AppendValue(number, n);
        return "state " + number;
    }
    return "an unreadable status";
}

class Judge {
public:
    explicit Judge(const COperation& operation) : m_Operation(operation) {}

    void Run() {
        std::unordered_set<unsigned long long> seen;
        for (const CObject& object : m_Operation.Objects)
            if (seen.insert(object.ObjectID).second)
                Object(object);
        for (size_t i = 0; i < m_Operation.LogicalDrives.size(); ++i)
            LogicalDrive(m_Operation.LogicalDrives[i], i);
    }

    double values[kMeasureCount] = {};
    bool known[kMeasureCount] = {true, true, true, true, true, true, true, true, false};
    size_t drives = 0;
    size_t logicalDrives = 0;
    std::vector<std::string> details;

private:
    void Object(const CObject& object) {
        const Monitoring::KindRow* kind = KindOf(object.ObjectType);
        if (kind == nullptr)
            return;
        const int statusProperty = StatusPropertyOf(kind->kind);
        if (kind->kind == Monitoring::Kind::PhysicalDrive) {
            ++drives;
            Numbers(object);
        }
        if (statusProperty == 0)
            return;
        const _HEALTH health = GetObjectHealth(object);
        if (kind->kind == Monitoring::Kind::LogicalDrive)
            ++logicalDrives;
        Count(kind->kind, health);
        if (health == HEALTH_OK)
            return;
        std::string line = std::string(KindName(kind)) + " " + std::to_string(object.ObjectID);
        std::string extra;
        Label(object.Properties, PHYSICAL_DRIVE_SLOT, "slot ", extra, kind);
        Label(object.Properties, PHYSICAL_DRIVE_SERIAL_NUMBER, "serial ", extra, kind);
        if (!extra.empty())
            line += " (" + extra + ")";
        details.push_back(line + ": " + HealthName(health) + ", " +
                          StateText(object.Properties, statusProperty));
    }

    // Slot and serial of a physical drive for its detail line.
    static void Label(const std::vector<CProperty>& properties, int id, const char* prefix,
                      std::string& extra, const Monitoring::KindRow* kind) {
        if (kind->kind != Monitoring::Kind::PhysicalDrive)
            return;
        const CProperty* p = FindProperty(properties, id);
        if (p == nullptr)
            return;
        std::string text;
        Monitoring::Number n;
        if (Monitoring::TextOf(*p, text))
            text = Monitoring::OneLineText(text);
        else if (Monitoring::NumberOf(*p, n))
            Monitoring::AppendValue(text, n);
        else
            return;
        if (!extra.empty())
            extra += ", ";
        extra += prefix + text;
    }

    void Numbers(const CObject& drive) {
        Monitoring::Number n;
        const CProperty* errors = FindProperty(drive.Properties, PHYSICAL_DRIVE_MEDIA_ERROR_COUNT);
        if (errors != nullptr && Monitoring::NumberOf(*errors, n) && std::isfinite(n.AsDouble()))
            values[MEDIA_ERRORS] += n.AsDouble();
        const CProperty* temperature = FindProperty(drive.Properties, PHYSICAL_DRIVE_TEMPERATURE);
        if (temperature != nullptr && Monitoring::NumberOf(*temperature, n) &&
            std::isfinite(n.AsDouble())) {
            if (!known[TEMPERATURE] || n.AsDouble() > values[TEMPERATURE])
                values[TEMPERATURE] = n.AsDouble();
            known[TEMPERATURE] = true;
        }
    }

    void Count(Monitoring::Kind kind, _HEALTH health) {
        if (health != HEALTH_WARNING && health != HEALTH_CRITICAL)
            return;
        const bool failed = health == HEALTH_CRITICAL;
        if (kind == Monitoring::Kind::PhysicalDrive)
            values[failed ? DRIVES_FAILED : DRIVES_WARNING] += 1;
        else if (kind == Monitoring::Kind::LogicalDrive)
            values[failed ? LD_FAILED : LD_DEGRADED] += 1;
        else
            values[failed ? OTHERS_FAILED : OTHERS_WARNING] += 1;
    }

    void LogicalDrive(const CLogicalDrive& drive, size_t index) {
        ++logicalDrives;
        const _HEALTH health = GetLogicalDriveHealth(drive);
        Count(Monitoring::Kind::LogicalDrive, health);
        if (drive.GHS.empty() && drive.DHS.empty())
            values[LD_WITHOUT_SPARE] += 1;
        if (health == HEALTH_OK)
            return;
        std::string line = "logical drive #" + std::to_string(index);
        std::string name;
        if (const CProperty* p = FindProperty(drive.Properties, LOGICAL_DRIVE_NAME);
            p != nullptr && Monitoring::TextOf(*p, name))
            line += " \"" + Monitoring::OneLineText(name) + "\"";
        details.push_back(line + ": " + HealthName(health) + ", " +
                          StateText(drive.Properties, LOGICAL_DRIVE_STATUS));
    }

    const COperation& m_Operation;
};

// The range of a measure: the default unless the options give one.
bool RangeOf(const std::map<std::string, std::string>& given, const Measure& m,
             const char* fallback, CCheckRange& range, bool& set, std::string& error) {
    auto found = given.find(m.name);
    const std::string text = found == given.end() ? fallback : found->second;
    set = !text.empty();
    if (set && !ParseCheckRange(text, range)) {
        error = "bad range '" + Monitoring::OneLineText(text) + "' for " + m.name;
        return false;
    }
    return true;
}

std::string UnknownName(const CCheckOptions& options) {
    for (const auto* given : {&options.Warning, &options.Critical})
        for (const auto& entry : *given) {
            bool known = false;
            for (const Measure& m : kMeasures)
                known = known || entry.first == m.name;
            if (!known)
                return entry.first;
        }
    return std::string();
}

const char* StatusWord(_CHECK_STATUS status) {
    static const char* const kWords[] = {"OK", "WARNING", "CRITICAL", "UNKNOWN"};
    return kWords[status];
}

} // namespace

bool CCheckRange::Alerts(double value) const {
    const bool within = value >= Start && value <= End;
    return Inside ? within : !within;
}

bool ParseCheckRange(const std::string& text, CCheckRange& range) {
    CCheckRange parsed;
    parsed.Text = text;
    const char* p = text.data();
    const char* end = p + text.size();
    if (p != end && *p == '@') {
        parsed.Inside = true;
        ++p;
    }
    const char* colon = std::find(p, end, ':');
    if (colon == end) {
        if (!ParseNumber(p, end, parsed.End))
            return false;
    } else {
        if (colon - p == 1 && *p == '~')
            parsed.Start = -std::numeric_limits<double>::infinity();
        else if (colon != p && !ParseNumber(p, colon, parsed.Start))
            return false;
        parsed.End = std::numeric_limits<double>::infinity();
        if (colon + 1 != end && !ParseNumber(colon + 1, end, parsed.End))
            return false;
    }
    if (parsed.Start > parsed.End)
        return false;
    range = parsed;
    return true;
}

CCheckResult CheckUnknown(const std::string& reason) {
    CCheckResult result;
    result.Status = CHECK_UNKNOWN;
    result.Line = "PI UNKNOWN - " + Monitoring::OneLineText(reason);
    return result;
}

CCheckResult CheckOperation(const COperation& operation, const CCheckOptions& options) {
    const std::string unknownName = UnknownName(options);
    if (!unknownName.empty())
        return CheckUnknown("no measure '" + unknownName + "' to set a threshold for");

    Judge judge(operation);
    judge.Run();
    if (judge.drives == 0 && judge.logicalDrives == 0)
        return CheckUnknown("the record holds no physical or logical drive");

    _CHECK_STATUS status = CHECK_OK;
    std::string summary, performance;
    for (size_t i = 0; i < kMeasureCount; ++i) {
        const Measure& m = kMeasures[i];
        CCheckRange warning, critical;
        bool hasWarning = false, hasCritical = false;
        std::string error;
        if (!RangeOf(options.Warning, m, m.warning, warning, hasWarning, error) ||
            !RangeOf(options.Critical, m, m.critical, critical, hasCritical, error))
            return CheckUnknown(error);
        if (!judge.known[i])
            continue;
        const double value = judge.values[i];
        _CHECK_STATUS verdict = CHECK_OK;
        if (hasCritical && critical.Alerts(value))
            verdict = CHECK_CRITICAL;
        else if (hasWarning && warning.Alerts(value))
            verdict = CHECK_WARNING;
        status = std::max(status, verdict);
        const std::string number = Fixed(value);
        if (verdict != CHECK_OK) {
            if (!summary.empty())
                summary += ", ";
            summary += number + " " + (value == 1 ? m.one : m.several);
        }
        performance += ' ';
        performance += m.name;
        performance += '=' + number + m.unit + ';' + (hasWarning ? warning.Text : "") + ';' +
                       (hasCritical ? critical.Text : "");
    }
    if (summary.empty())
        summary = std::to_string(judge.drives) + " physical drive" +
                  (judge.drives == 1 ? "" : "s") + ", " + std::to_string(judge.logicalDrives) +
                  " logical drive" + (judge.logicalDrives == 1 ? "" : "s");

    CCheckResult result;
    result.Status = status;
    result.Line = std::string("PI ") + StatusWord(status) + " - " + summary + " |" + performance;
    result.Details = std::move(judge.details);
    return result;
}

} // namespace PI
