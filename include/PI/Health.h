#pragma once

// The health of a managed object, judged in one place: every front end that
// reports health (the metrics, the management service, the Python module,
// pitool) asks these functions and judges nothing itself.
//
// A physical drive (PHYSICAL_DRIVE_STATUS holding a drive state, 40000s) is
// judged by the state part of the status icon that GetPDStatusIcon chooses
// for that state: "ok" is OK, "warn"/"wr" a warning, "fail"/"fa" critical.
// The icon is taken for a rotating disk at normal power without marks, where
// every state has an image of its own; media, power, overlay and foreign
// marks never change an icon's state part. Only the states that the library
// names (PD_STATE_* of Identifiers.h) are judged: any other number is shown
// as an ok drive by the icon table, but its meaning is not known, so its
// health is unknown.
//
// A status given as text (a logical drive's "Degraded", an adapter's or a
// battery's status) is judged by the table of state words. The table that
// the library starts with:
//
//   OK        "Optimal", "Online"
//   warning   "Degraded", "Partially Degraded", "Rebuilding"
//   critical  "Failed", "Offline"
//
// A text matches a word when the two are equal after the text is trimmed of
// blanks at both ends (C isspace) and ASCII letters are folded to one case.
// A caller may replace the table (SetHealthWords) with the words its agents
// use.
//
// Anything else is unknown, never a guess: a missing status property, a kind
// of value the status is not given in, a number outside the drive states, a
// word not in the table, an object kind without a status property.

#include "PI/Export.h"
#include "PI/Identifiers.h"
#include "PI/LogicalDrive.h"
#include "PI/Object.h"
#include "PI/Property.h"

#include <string>
#include <string_view>
#include <vector>

namespace PI {

// The numbers are fixed. OK, warning and critical rise with severity, so the
// worse of two known healths is the larger.
enum _HEALTH : int {
    HEALTH_UNKNOWN = 0,
    HEALTH_OK = 1,
    HEALTH_WARNING = 2,
    HEALTH_CRITICAL = 3,
};

// "ok", "warning", "critical" or "unknown"; "unknown" also for a number that
// is no _HEALTH value.
PI_API const char* HealthName(_HEALTH health) noexcept;

// The health of an object by the status property of its kind:
//   OBJECT_TYPE_PHYSICAL_DRIVE        PHYSICAL_DRIVE_STATUS
//   OBJECT_TYPE_LOGICAL_DRIVE         LOGICAL_DRIVE_STATUS
//   the adapter kinds (IsAdapterType) ADAPTER_STATUS
//   OBJECT_TYPE_BATTERY               BATTERY_STATUS
//   OBJECT_TYPE_CHANNEL               CHANNEL_STATUS
//   OBJECT_TYPE_ENCLOSURE             ENCLOSURE_STATUS
//   OBJECT_TYPE_HOST                  HOST_STATUS
//   OBJECT_TYPE_POWER_SUPPLY          POWER_SUPPLY_STATUS
//   OBJECT_TYPE_PROCESSOR             PROCESSOR_STATUS
//   OBJECT_TYPE_RAID_MANAGER          RAID_MANAGER_STATUS
//   OBJECT_TYPE_TASK                  TASK_STATUS
// judged as HealthOfProperty judges it (the first property of that id when
// there are several). Every other kind: unknown.
PI_API _HEALTH GetObjectHealth(const CObject& object);
// A logical drive record by its LOGICAL_DRIVE_STATUS property.
PI_API _HEALTH GetLogicalDriveHealth(const CLogicalDrive& drive);

// One status property: PHYSICAL_DRIVE_STATUS holding a number (kind
// VT_UINT64, or the value of a VT_INT_LIST selection) as HealthOfDriveState
// judges it; any status holding text (VT_STRING) as HealthOfStateText judges
// it; anything else unknown. Never raises.
PI_API _HEALTH HealthOfProperty(const CProperty& status);
// A physical drive state by its status icon (see above); unknown for a
// number that no PD_STATE_* names.
PI_API _HEALTH HealthOfDriveState(int state);
// A status text by the current table of state words.
PI_API _HEALTH HealthOfStateText(std::string_view text);

// One row of the table of state words.
struct PI_API CHealthWord {
    std::string Word;
    _HEALTH Health;
};

// The table of state words. A replacement is taken whole or not at all: it
// is refused (false, the table unchanged) when a word is empty after
// trimming, a health is not OK, warning or critical, or two rows hold the
// same word (as matching compares them). Words are stored trimmed.
//
// Thread safety: any thread may judge while another replaces the table; each
// judgement uses either the old table or the new one as a whole, and every
// judgement that starts after SetHealthWords returned uses the new one.
PI_API bool SetHealthWords(const std::vector<CHealthWord>& words);
// The table in use, in the order it was given.
PI_API std::vector<CHealthWord> GetHealthWords();
// Back to the table the library starts with.
PI_API void ResetHealthWords();

} // namespace PI
