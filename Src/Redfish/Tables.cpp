// The translation tables of the Redfish view.
#include "Tables.h"

#include <algorithm>

namespace PI {
namespace Redfish {
namespace {

struct RaidRow {
    unsigned long long level;
    const char* type;
};
constexpr RaidRow kRaidTypes[] = {
    {0, "RAID0"}, {1, "RAID1"},   {3, "RAID3"},   {4, "RAID4"},   {5, "RAID5"},
    {6, "RAID6"}, {10, "RAID10"}, {50, "RAID50"}, {60, "RAID60"},
};

struct WordRow {
    const char* word;
    const char* type;
};
constexpr WordRow kOperationTypes[] = {
    {"rebuild", "Rebuild"},
    {"initialize", "Initialize"},
    {"initialization", "Initialize"},
    {"background initialization", "Initialize"},
    {"check consistency", "CheckConsistency"},
    {"consistency check", "CheckConsistency"},
    {"migration", "ChangeRAIDType"},
    {"reconstruction", "ChangeRAIDType"},
    {"format", "Format"},
    {"erase", "Sanitize"},
};

constexpr const char* kRunningWords[] = {"running", "in progress"};

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// Equal after trimming `text`, with ASCII letters of `text` folded to lower
// case; `word` is lower case already.
bool SameWord(std::string_view text, std::string_view word) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text.size() == word.size() &&
           std::equal(text.begin(), text.end(), word.begin(), [](char t, char w) {
               return (t >= 'A' && t <= 'Z' ? static_cast<char>(t - 'A' + 'a') : t) == w;
           });
}

} // namespace

const char* RaidTypeOf(unsigned long long level) noexcept {
    for (const RaidRow& row : kRaidTypes)
        if (row.level == level)
            return row.type;
    return nullptr;
}

const char* OperationTypeOf(std::string_view taskName) noexcept {
    for (const WordRow& row : kOperationTypes)
        if (SameWord(taskName, row.word))
            return row.type;
    return nullptr;
}

bool IsRunningWord(std::string_view status) noexcept {
    return std::any_of(std::begin(kRunningWords), std::end(kRunningWords),
                       [&](const char* word) { return SameWord(status, word); });
}

} // namespace Redfish
} // namespace PI
