#pragma once

// The words of the Redfish view: the schema versions it speaks and the
// translations of our numbers and texts into Redfish enumerations.

#include <string_view>

namespace PI {
namespace Redfish {

// The @odata.type of each kind of resource (DMTF release 2025.4).
namespace Type {
constexpr const char* SERVICE_ROOT = "#ServiceRoot.v1_20_0.ServiceRoot";
constexpr const char* SYSTEMS = "#ComputerSystemCollection.ComputerSystemCollection";
constexpr const char* SYSTEM = "#ComputerSystem.v1_27_0.ComputerSystem";
constexpr const char* STORAGES = "#StorageCollection.StorageCollection";
constexpr const char* STORAGE = "#Storage.v1_21_0.Storage";
constexpr const char* CONTROLLERS = "#StorageControllerCollection.StorageControllerCollection";
constexpr const char* CONTROLLER = "#StorageController.v1_11_0.StorageController";
constexpr const char* DRIVE = "#Drive.v1_22_0.Drive";
constexpr const char* VOLUMES = "#VolumeCollection.VolumeCollection";
constexpr const char* VOLUME = "#Volume.v1_10_2.Volume";
constexpr const char* CHASSIS_LIST = "#ChassisCollection.ChassisCollection";
constexpr const char* CHASSIS = "#Chassis.v1_28_0.Chassis";
constexpr const char* POWER = "#PowerSubsystem.v1_1_3.PowerSubsystem";
constexpr const char* BATTERIES = "#BatteryCollection.BatteryCollection";
constexpr const char* BATTERY = "#Battery.v1_5_0.Battery";
constexpr const char* LOG_SERVICES = "#LogServiceCollection.LogServiceCollection";
constexpr const char* LOG_SERVICE = "#LogService.v1_9_0.LogService";
constexpr const char* LOG_ENTRIES = "#LogEntryCollection.LogEntryCollection";
constexpr const char* LOG_ENTRY = "#LogEntry.v1_21_0.LogEntry";
constexpr const char* SESSIONS = "#SessionCollection.SessionCollection";
} // namespace Type

// A RAID level number as Redfish's RAIDType ("RAID5"), or null.
const char* RaidTypeOf(unsigned long long level) noexcept;
// A task's name as Redfish's OperationType ("Rebuild"), or null; matched
// after trimming, ignoring the case of ASCII letters.
const char* OperationTypeOf(std::string_view taskName) noexcept;
// True for a task status text that says the task runs.
bool IsRunningWord(std::string_view status) noexcept;

} // namespace Redfish
} // namespace PI
