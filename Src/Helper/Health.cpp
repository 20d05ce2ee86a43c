// Health of objects: drive states by their status icon, status texts by the
// table of state words.
#include "PI/Health.h"

#include "HealthWords.h"
#include "PI/Helpers.h"
#include "StatusIconTable.h"

#include <RVX/Exceptions.h>
#include <RVX/Strings.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

namespace PI {
namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

char Folded(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool SameWord(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return Folded(x) == Folded(y);
           });
}

bool IsJudgement(_HEALTH health) {
    return health == HEALTH_OK || health == HEALTH_WARNING || health == HEALTH_CRITICAL;
}

using WordTable = std::vector<CHealthWord>;

std::shared_ptr<const WordTable> DefaultTable() {
    auto table = std::make_shared<WordTable>();
    for (const DefaultHealthWord& row : kDefaultHealthWords)
        table->push_back(CHealthWord{row.word, row.health});
    return table;
}

// The table in use. Judgements take a reference to it under the mutex and
// read it outside; a replacement swaps in a new table, so a table is never
// changed while anyone reads it.
struct Words {
    std::mutex mutex;
    std::shared_ptr<const WordTable> table = DefaultTable();
};

Words& TheWords() {
    static Words words;
    return words;
}

std::shared_ptr<const WordTable> CurrentTable() {
    Words& words = TheWords();
    std::lock_guard<std::mutex> lock(words.mutex);
    return words.table;
}

void Install(std::shared_ptr<const WordTable> table) {
    Words& words = TheWords();
    std::lock_guard<std::mutex> lock(words.mutex);
    words.table.swap(table);
} // the old table goes here, outside the lock, unless a judgement still holds it

// The state part of an icon file name: "ok", "warn", "fail" and the short
// forms of the solid-state images, "wr" and "fa".
_HEALTH HealthOfIconFile(const std::string& file) {
    std::string_view name(file);
    name = name.substr(0, name.find('.'));
    while (!name.empty()) {
        const size_t end = std::min(name.find('_'), name.size());
        const std::string_view part = name.substr(0, end);
        if (part == "ok")
            return HEALTH_OK;
        if (part == "warn" || part == "wr")
            return HEALTH_WARNING;
        if (part == "fail" || part == "fa")
            return HEALTH_CRITICAL;
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return HEALTH_UNKNOWN;
}

// The status property of each kind of object.
int StatusPropertyOf(_OBJECT_TYPE type) {
    if (IsAdapterType(type))
        return ADAPTER_STATUS;
    switch (type) {
    case OBJECT_TYPE_PHYSICAL_DRIVE:
        return PHYSICAL_DRIVE_STATUS;
    case OBJECT_TYPE_LOGICAL_DRIVE:
        return LOGICAL_DRIVE_STATUS;
    case OBJECT_TYPE_BATTERY:
        return BATTERY_STATUS;
    case OBJECT_TYPE_CHANNEL:
        return CHANNEL_STATUS;
    case OBJECT_TYPE_ENCLOSURE:
        return ENCLOSURE_STATUS;
    case OBJECT_TYPE_HOST:
        return HOST_STATUS;
    case OBJECT_TYPE_POWER_SUPPLY:
        return POWER_SUPPLY_STATUS;
    case OBJECT_TYPE_PROCESSOR:
        return PROCESSOR_STATUS;
    case OBJECT_TYPE_RAID_MANAGER:
        return RAID_MANAGER_STATUS;
    case OBJECT_TYPE_TASK:
        return TASK_STATUS;
    default:
        return 0;
    }
}

_HEALTH HealthOfStatus(const std::vector<CProperty>& properties, int id) {
    if (id == 0)
        return HEALTH_UNKNOWN;
    for (const CProperty& p : properties)
        if (p.PropertyID == id)
            return HealthOfProperty(p);
    return HEALTH_UNKNOWN;
}

// GetValue only reads the property, though it is not declared const.
// Throwing is off while it runs: a malformed block gives a failed read and
// so an unknown health, not an exception.
bool NumberOf(const CProperty& status, int& number) {
    RVX::Threading::CThrowStateGuard state;
    RVX::Threading::CDisableThrow quiet;
    CProperty& p = const_cast<CProperty&>(status);
    if (p.Type == VT_UINT64) {
        unsigned long long value = 0;
        if (p.GetValue(value) != RESULT_SUCCESS || value > 0x7FFFFFFFull)
            return false;
        number = static_cast<int>(value);
        return true;
    }
    if (p.Type == VT_INT_LIST) {
        std::vector<int> choices;
        return p.GetValue(number, choices) == RESULT_SUCCESS;
    }
    return false;
}

bool TextOf(const CProperty& status, std::string& text) {
    if (status.Type != VT_STRING)
        return false;
    RVX::Threading::CThrowStateGuard state;
    RVX::Threading::CDisableThrow quiet;
    return const_cast<CProperty&>(status).GetValue(text) == RESULT_SUCCESS;
}

} // namespace

const char* HealthName(_HEALTH health) noexcept {
    switch (health) {
    case HEALTH_OK:
        return "ok";
    case HEALTH_WARNING:
        return "warning";
    case HEALTH_CRITICAL:
        return "critical";
    default:
        return "unknown";
    }
}

_HEALTH GetObjectHealth(const CObject& object) {
    return HealthOfStatus(object.Properties, StatusPropertyOf(object.ObjectType));
}

_HEALTH GetLogicalDriveHealth(const CLogicalDrive& drive) {
    return HealthOfStatus(drive.Properties, LOGICAL_DRIVE_STATUS);
}

_HEALTH HealthOfProperty(const CProperty& status) {
    if (status.PropertyID == PHYSICAL_DRIVE_STATUS) {
        int state = 0;
        if (NumberOf(status, state))
            return HealthOfDriveState(state);
    }
    std::string text;
    if (TextOf(status, text))
        return HealthOfStateText(text);
    return HEALTH_UNKNOWN;
}

_HEALTH HealthOfDriveState(int state) {
    if (state != PD_STATE_OK && !IsListedPDState(state))
        return HEALTH_UNKNOWN;
    const int icon = GetPDStatusIcon(state, MEDIA_TYPE_HDD, false, false, POWER_STATE_NORMAL);
    RVX::Strings::CStringVar file;
    if (GetIconPath(icon, file) != RESULT_SUCCESS)
        return HEALTH_UNKNOWN;
    return HealthOfIconFile(file.Str());
}

const CHealthWord* MatchHealthWord(const std::vector<CHealthWord>& words, std::string_view text,
                                   std::string_view* trimmed) {
    text = Trimmed(text);
    if (trimmed != nullptr)
        *trimmed = text;
    for (const CHealthWord& row : words)
        if (SameWord(row.Word, text))
            return &row;
    return nullptr;
}

_HEALTH HealthOfStateText(std::string_view text) {
    const std::shared_ptr<const WordTable> table = CurrentTable();
    const CHealthWord* row = MatchHealthWord(*table, text);
    return row != nullptr ? row->Health : HEALTH_UNKNOWN;
}

bool SetHealthWords(const std::vector<CHealthWord>& words) {
    auto table = std::make_shared<WordTable>();
    for (const CHealthWord& row : words) {
        const std::string_view word = Trimmed(row.Word);
        if (word.empty() || !IsJudgement(row.Health))
            return false;
        for (const CHealthWord& earlier : *table)
            if (SameWord(earlier.Word, word))
                return false;
        table->push_back(CHealthWord{std::string(word), row.Health});
    }
    Install(std::move(table));
    return true;
}

std::vector<CHealthWord> GetHealthWords() {
    return *CurrentTable();
}

void ResetHealthWords() {
    Install(DefaultTable());
}

} // namespace PI
