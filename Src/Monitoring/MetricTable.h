#pragma once

// What the metrics make of each kind of object and of its properties.

#include "PI/Identifiers.h"

#include <cstddef>

namespace PI {
namespace Monitoring {

enum class Kind {
    Adapter,
    PhysicalDrive,
    LogicalDrive,
    Battery,
    Fan,
    PowerSupply,
    TemperatureSensor,
    Enclosure,
    Channel,
    Processor,
    Host,
    RaidManager,
    Task,
};

struct KindRow {
    _OBJECT_TYPE type;
    Kind kind;
    const char* prefix; // of the kind's own families: "pi_physical_drive"
};

// How a property of a kind is shown.
enum class Role {
    Name,    // the `name` label of pi_object_info
    Serial,  // the `serial` identity label
    Slot,    // the `slot` identity label
    Target,  // a task's object: the `target` label, and where its remaining time is read
    Status,  // the kind's state set <prefix>_state, and its health
    Media,   // the state set pi_physical_drive_media
    Power,   // the state set pi_physical_drive_power_state
    Gauge,   // a number of the family `family`, times `scale`
    Counter, // the same, a counter
};

struct PropertyRow {
    Kind kind;
    int property;
    Role role;
    const char* family;
    const char* help;
    double scale;
};

constexpr size_t kKindRowCount = 20;
extern const KindRow kKindRows[kKindRowCount];
constexpr size_t kPropertyRowCount = 53;
extern const PropertyRow kPropertyRows[kPropertyRowCount];

// Properties that hold the time left of a task's work, on the task's object.
constexpr size_t kRemainingTimeCount = 3;
extern const int kRemainingTimeProperties[kRemainingTimeCount];

} // namespace Monitoring
} // namespace PI
