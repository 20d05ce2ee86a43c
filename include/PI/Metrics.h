#pragma once

// The monitoring views of an inventory (a COperation with the objects and
// logical drives an agent reports): Prometheus text metrics, and the one
// status line of a check plugin. docs/metrics.md describes every metric
// family, the check's line and its exit statuses.
//
// Both judge health only through Health.h, and neither raises on anything a
// record may hold: any text, any number, repeated object ids, a property of
// an unexpected kind, an empty operation. (Running out of memory still
// raises std::bad_alloc.)

#include "PI/Export.h"
#include "PI/Operation.h"

#include <map>
#include <string>
#include <vector>

namespace PI {

// ---- Prometheus text exposition format, version 0.0.4 ---------------------

// Appends the metrics of `operation` to `out`. Every family has # HELP and
// # TYPE lines and its samples in one group; label values are escaped and
// bytes that are not UTF-8 are replaced by U+FFFD. The first object of an id
// wins, as FindObject finds it, and so does the first property of an id.
PI_API void WriteMetrics(const COperation& operation, std::string& out);
PI_API std::string GetMetrics(const COperation& operation);

// ---- Check plugin -----------------------------------------------------------

// Exit statuses of a check plugin.
enum _CHECK_STATUS : int {
    CHECK_OK = 0,
    CHECK_WARNING = 1,
    CHECK_CRITICAL = 2,
    CHECK_UNKNOWN = 3,
};

// A threshold range of the check plugins' syntax: "[@]start:end", where an
// empty start is 0, "~" is minus infinity and an omitted end plus infinity
// ("10" is 0:10). A value alerts when it lies outside [start, end], or
// inside it with "@".
struct PI_API CCheckRange {
    double Start = 0;
    double End = 0;
    bool Inside = false;
    std::string Text; // as given, for the performance data
    bool Alerts(double value) const;
};
// False (and `range` unchanged) for text that is not a range, or whose
// start lies above its end.
PI_API bool ParseCheckRange(const std::string& text, CCheckRange& range);

// Thresholds by measure name (the labels of the performance data:
// drives_failed, drives_warning, ld_failed, ld_degraded, ld_without_spare,
// others_failed, others_warning, media_errors, temperature). A range given
// here replaces the measure's default; an empty text removes it.
struct PI_API CCheckOptions {
    std::map<std::string, std::string> Warning;
    std::map<std::string, std::string> Critical;
};

struct PI_API CCheckResult {
    _CHECK_STATUS Status = CHECK_UNKNOWN;
    // "PI CRITICAL - 1 drive failed | drives_failed=1;;0 ...": one line,
    // without a line feed.
    std::string Line;
    // One line for every object whose health is not OK.
    std::vector<std::string> Details;
};

// Judges an inventory. An unknown measure name or a bad range gives
// CHECK_UNKNOWN with the reason on the line.
PI_API CCheckResult CheckOperation(const COperation& operation, const CCheckOptions& options);
// "PI UNKNOWN - <reason>", for a record that could not be read.
PI_API CCheckResult CheckUnknown(const std::string& reason);

} // namespace PI
