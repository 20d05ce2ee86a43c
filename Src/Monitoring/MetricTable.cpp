#include "MetricTable.h"

namespace PI {
namespace Monitoring {

constexpr KindRow kKindRows[kKindRowCount] = {
    {OBJECT_TYPE_ADAPTER_1, Kind::Adapter, "pi_adapter"},
    {OBJECT_TYPE_ADAPTER_2, Kind::Adapter, "pi_adapter"},
    {OBJECT_TYPE_ADAPTER_3, Kind::Adapter, "pi_adapter"},
    {OBJECT_TYPE_ADAPTER_4, Kind::Adapter, "pi_adapter"},
    {OBJECT_TYPE_ADAPTER_5, Kind::Adapter, "pi_adapter"},
    {OBJECT_TYPE_ADAPTER_6, Kind::Adapter, "pi_adapter"},
    {OBJECT_TYPE_ADAPTER_7, Kind::Adapter, "pi_adapter"},
    {OBJECT_TYPE_ADAPTER_8, Kind::Adapter, "pi_adapter"},
    {OBJECT_TYPE_PHYSICAL_DRIVE, Kind::PhysicalDrive, "pi_physical_drive"},
    {OBJECT_TYPE_LOGICAL_DRIVE, Kind::LogicalDrive, "pi_logical_drive"},
    {OBJECT_TYPE_BATTERY, Kind::Battery, "pi_battery"},
    {OBJECT_TYPE_FAN, Kind::Fan, "pi_fan"},
    {OBJECT_TYPE_POWER_SUPPLY, Kind::PowerSupply, "pi_power_supply"},
    {OBJECT_TYPE_TEMPERATURE_SENSOR, Kind::TemperatureSensor, "pi_temperature_sensor"},
    {OBJECT_TYPE_ENCLOSURE, Kind::Enclosure, "pi_enclosure"},
    {OBJECT_TYPE_CHANNEL, Kind::Channel, "pi_channel"},
    {OBJECT_TYPE_PROCESSOR, Kind::Processor, "pi_processor"},
    {OBJECT_TYPE_HOST, Kind::Host, "pi_host"},
    {OBJECT_TYPE_RAID_MANAGER, Kind::RaidManager, "pi_raid_manager"},
    {OBJECT_TYPE_TASK, Kind::Task, "pi_task"},
};

// Temperatures are reported in degrees Celsius, sizes in bytes, times in
// seconds and charge in percent.
constexpr PropertyRow kPropertyRows[kPropertyRowCount] = {
    {Kind::Adapter, ADAPTER_NAME, Role::Name, nullptr, nullptr, 1},
    {Kind::Adapter, ADAPTER_SERIAL_NUMBER, Role::Serial, nullptr, nullptr, 1},
    {Kind::Adapter, ADAPTER_STATUS, Role::Status, nullptr, nullptr, 1},
    {Kind::Adapter, ADAPTER_TEMPERATURE, Role::Gauge, "pi_adapter_temperature_celsius",
     "Temperature of the adapter.", 1},
    {Kind::Adapter, ADAPTER_CHIP_TEMPERATURE, Role::Gauge, "pi_adapter_chip_temperature_celsius",
     "Temperature of the adapter's chip.", 1},
    {Kind::Adapter, ADAPTER_MEMORY_SIZE, Role::Gauge, "pi_adapter_memory_size_bytes",
     "Memory of the adapter.", 1},
    {Kind::Adapter, ADAPTER_CORRECTABLE_ERROR_COUNT, Role::Counter,
     "pi_adapter_correctable_errors_total", "Correctable memory errors of the adapter.", 1},
    {Kind::Adapter, ADAPTER_UNCORRECTABLE_ERROR_COUNT, Role::Counter,
     "pi_adapter_uncorrectable_errors_total", "Uncorrectable memory errors of the adapter.", 1},

    {Kind::PhysicalDrive, PHYSICAL_DRIVE_NAME, Role::Name, nullptr, nullptr, 1},
    {Kind::PhysicalDrive, PHYSICAL_DRIVE_SERIAL_NUMBER, Role::Serial, nullptr, nullptr, 1},
    {Kind::PhysicalDrive, PHYSICAL_DRIVE_SLOT, Role::Slot, nullptr, nullptr, 1},
    {Kind::PhysicalDrive, PHYSICAL_DRIVE_STATUS, Role::Status, nullptr, nullptr, 1},
    {Kind::PhysicalDrive, PHYSICAL_DRIVE_MEDIA_TYPE, Role::Media, nullptr, nullptr, 1},
    {Kind::PhysicalDrive, PHYSICAL_DRIVE_POWER_STATUS, Role::Power, nullptr, nullptr, 1},
    {Kind::PhysicalDrive, PHYSICAL_DRIVE_PHYSICAL_SIZE, Role::Gauge, "pi_physical_drive_size_bytes",
     "Size of the physical drive.", 1},
    {Kind::PhysicalDrive, PHYSICAL_DRIVE_TEMPERATURE, Role::Gauge,
     "pi_physical_drive_temperature_celsius", "Temperature of the physical drive.", 1},
    {Kind::PhysicalDrive, PHYSICAL_DRIVE_MEDIA_ERROR_COUNT, Role::Counter,
     "pi_physical_drive_media_errors_total", "Media errors the physical drive reported.", 1},
    {Kind::PhysicalDrive, PHYSICAL_DRIVE_HARD_ERRORS, Role::Counter,
     "pi_physical_drive_hard_errors_total", "Hard errors of the physical drive.", 1},
    {Kind::PhysicalDrive, PHYSICAL_DRIVE_MISC_ERRORS, Role::Counter,
     "pi_physical_drive_other_errors_total", "Other errors of the physical drive.", 1},
    {Kind::PhysicalDrive, PHYSICAL_DRIVE_PFA_COUNT, Role::Counter,
     "pi_physical_drive_predictive_failures_total",
     "Predictive failure alerts of the physical drive.", 1},
    {Kind::PhysicalDrive, PHYSICAL_DRIVE_REMAINING_TIME, Role::Gauge,
     "pi_physical_drive_remaining_seconds", "Time left of the physical drive's work.", 1},

    {Kind::LogicalDrive, LOGICAL_DRIVE_NAME, Role::Name, nullptr, nullptr, 1},
    {Kind::LogicalDrive, LOGICAL_DRIVE_STATUS, Role::Status, nullptr, nullptr, 1},
    {Kind::LogicalDrive, LOGICAL_DRIVE_RAID_LEVEL, Role::Gauge, "pi_logical_drive_raid_level",
     "RAID level of the logical drive.", 1},
    {Kind::LogicalDrive, LOGICAL_DRIVE_REMAINING_TIME, Role::Gauge,
     "pi_logical_drive_remaining_seconds", "Time left of the logical drive's work.", 1},

    {Kind::Battery, BATTERY_NAME, Role::Name, nullptr, nullptr, 1},
    {Kind::Battery, BATTERY_SERIAL_NUMBER, Role::Serial, nullptr, nullptr, 1},
    {Kind::Battery, BATTERY_STATUS, Role::Status, nullptr, nullptr, 1},
    {Kind::Battery, BATTERY_TEMPERATURE, Role::Gauge, "pi_battery_temperature_celsius",
     "Temperature of the battery.", 1},
    {Kind::Battery, BATTERY_RELATIVE_STATE_OF_CHARGE, Role::Gauge, "pi_battery_charge_ratio",
     "Charge of the battery, 1 when full.", 0.01},
    {Kind::Battery, BATTERY_CYCLE_COUNT, Role::Counter, "pi_battery_cycles_total",
     "Charge cycles of the battery.", 1},

    {Kind::Fan, FAN_FAN_SPEED, Role::Gauge, "pi_fan_speed_rpm", "Speed of the fan.", 1},

    {Kind::PowerSupply, POWER_SUPPLY_NAME, Role::Name, nullptr, nullptr, 1},
    {Kind::PowerSupply, POWER_SUPPLY_SERIAL_NUMBER, Role::Serial, nullptr, nullptr, 1},
    {Kind::PowerSupply, POWER_SUPPLY_STATUS, Role::Status, nullptr, nullptr, 1},

    {Kind::TemperatureSensor, TEMPERATURE_SENSOR_LOCATION, Role::Name, nullptr, nullptr, 1},
    {Kind::TemperatureSensor, TEMPERATURE_SENSOR_TEMPERATURE, Role::Gauge,
     "pi_temperature_sensor_celsius", "Temperature the sensor reads.", 1},
    {Kind::TemperatureSensor, TEMPERATURE_SENSOR_HIGH_WARNING_TEMPERATURE, Role::Gauge,
     "pi_temperature_sensor_high_warning_celsius", "Upper warning limit of the sensor.", 1},
    {Kind::TemperatureSensor, TEMPERATURE_SENSOR_HIGH_CRITICAL_TEMPERATURE, Role::Gauge,
     "pi_temperature_sensor_high_critical_celsius", "Upper critical limit of the sensor.", 1},
    {Kind::TemperatureSensor, TEMPERATURE_SENSOR_LOW_WARNING_TEMPERATURE, Role::Gauge,
     "pi_temperature_sensor_low_warning_celsius", "Lower warning limit of the sensor.", 1},
    {Kind::TemperatureSensor, TEMPERATURE_SENSOR_LOW_CRITICAL_TEMPERATURE, Role::Gauge,
     "pi_temperature_sensor_low_critical_celsius", "Lower critical limit of the sensor.", 1},

    {Kind::Enclosure, ENCLOSURE_NAME, Role::Name, nullptr, nullptr, 1},
    {Kind::Enclosure, ENCLOSURE_SERIAL_NUMBER, Role::Serial, nullptr, nullptr, 1},
    {Kind::Enclosure, ENCLOSURE_STATUS, Role::Status, nullptr, nullptr, 1},

    {Kind::Channel, CHANNEL_NAME, Role::Name, nullptr, nullptr, 1},
    {Kind::Channel, CHANNEL_STATUS, Role::Status, nullptr, nullptr, 1},

    {Kind::Processor, PROCESSOR_STATUS, Role::Status, nullptr, nullptr, 1},
    {Kind::Host, HOST_NAME, Role::Name, nullptr, nullptr, 1},
    {Kind::Host, HOST_STATUS, Role::Status, nullptr, nullptr, 1},
    {Kind::RaidManager, RAID_MANAGER_STATUS, Role::Status, nullptr, nullptr, 1},

    {Kind::Task, TASK_NAME, Role::Name, nullptr, nullptr, 1},
    {Kind::Task, TASK_STATUS, Role::Status, nullptr, nullptr, 1},
    {Kind::Task, TASK_OBJECT, Role::Target, nullptr, nullptr, 1},
};

constexpr int kRemainingTimeProperties[kRemainingTimeCount] = {
    PHYSICAL_DRIVE_REMAINING_TIME, LOGICAL_DRIVE_REMAINING_TIME, ADAPTER_REMAINING_TIME};

} // namespace Monitoring
} // namespace PI
