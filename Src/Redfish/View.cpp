// An inventory operation as Redfish resources. The text goes through the
// same RapidJSON writer as the interchange form; texts that are not UTF-8
// have their bad bytes replaced, since a Redfish string must be text.
#include "PI/Redfish.h"

#include "Tables.h"

#include "PI/Health.h"
#include "PI/Helpers.h"
#include "PI/Internal/Utf8.h"
#include "PI/Lookup.h"

#include <RVX/Exceptions.h>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace PI {
namespace {

using namespace Redfish;
using Properties = std::vector<CProperty>;
using Id = unsigned long long;

constexpr const char* ROOT = "/redfish/v1";
// Parents are followed this far up to find a drive's or battery's adapter.
constexpr int MAX_PARENT_DEPTH = 16;

// ---- reading properties (never raising) -------------------------------------

std::optional<std::string> TextOf(const Properties& list, int id) {
    const CProperty* p = FindProperty(list, id);
    if (p == nullptr || p->Type != VT_STRING)
        return std::nullopt;
    RVX::Threading::CThrowStateGuard state;
    RVX::Threading::CDisableThrow quiet;
    std::string text;
    if (const_cast<CProperty*>(p)->GetValue(text) != RESULT_SUCCESS)
        return std::nullopt;
    return text;
}

// A number held as VT_UINT64 or as the value of a selection list.
std::optional<unsigned long long> NumberOf(const Properties& list, int id) {
    const CProperty* p = FindProperty(list, id);
    if (p == nullptr)
        return std::nullopt;
    RVX::Threading::CThrowStateGuard state;
    RVX::Threading::CDisableThrow quiet;
    CProperty& q = const_cast<CProperty&>(*p);
    if (q.Type == VT_UINT64) {
        unsigned long long value = 0;
        if (q.GetValue(value) == RESULT_SUCCESS)
            return value;
    } else if (q.Type == VT_INT_LIST) {
        int value = 0;
        std::vector<int> choices;
        if (q.GetValue(value, choices) == RESULT_SUCCESS && value >= 0)
            return static_cast<unsigned long long>(value);
    }
    return std::nullopt;
}

// A task's progress in percent: a range value (its place between minimum
// and maximum) or a number of at most 100.
std::optional<int> ProgressOf(const Properties& list) {
    const CProperty* p = FindProperty(list, TASK_STATUS);
    if (p == nullptr)
        return std::nullopt;
    if (p->Type == VT_RANGE) {
        RVX::Threading::CThrowStateGuard state;
        RVX::Threading::CDisableThrow quiet;
        int value = 0, minimum = 0, maximum = 0;
        unsigned int step = 0;
        if (const_cast<CProperty*>(p)->GetValue(value, minimum, maximum, step) != RESULT_SUCCESS ||
            maximum <= minimum)
            return std::nullopt;
        const long long done = std::clamp<long long>(value, minimum, maximum) - minimum;
        return static_cast<int>(done * 100 / (static_cast<long long>(maximum) - minimum));
    }
    const std::optional<unsigned long long> number = NumberOf(list, TASK_STATUS);
    if (number && *number <= 100)
        return static_cast<int>(*number);
    return std::nullopt;
}

const char* HealthWord(_HEALTH health) {
    switch (health) {
    case HEALTH_OK:
        return "OK";
    case HEALTH_WARNING:
        return "Warning";
    case HEALTH_CRITICAL:
        return "Critical";
    default:
        return nullptr;
    }
}

// ---- the JSON writer ------------------------------------------------------------

class Json {
public:
    Json() : m_Writer(m_Buffer) {}

    void Begin() { m_Writer.StartObject(); }
    void End() { m_Writer.EndObject(); }
    void BeginList(const char* key) {
        Key(key);
        m_Writer.StartArray();
    }
    void EndList() { m_Writer.EndArray(); }
    void BeginObject(const char* key) {
        Key(key);
        m_Writer.StartObject();
    }
    void Key(const char* key) { m_Writer.Key(key); }

    void Text(std::string_view text) {
        m_Scratch.clear();
        const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
        for (size_t at = 0; at < text.size();) {
            const size_t n = Internal::Utf8SequenceLength(bytes + at, text.size() - at);
            if (n == 0) {
                m_Scratch += "\xEF\xBF\xBD"; // U+FFFD for a byte that is not UTF-8
                ++at;
            } else {
                m_Scratch.append(text.data() + at, n);
                at += n;
            }
        }
        m_Writer.String(m_Scratch.data(), static_cast<rapidjson::SizeType>(m_Scratch.size()));
    }
    void Member(const char* key, std::string_view text) {
        Key(key);
        Text(text);
    }
    void Member(const char* key, const char* text) { Member(key, std::string_view(text)); }
    void Member(const char* key, const std::string& text) { Member(key, std::string_view(text)); }
    void Member(const char* key, const std::optional<std::string>& text) {
        if (text)
            Member(key, *text);
    }
    void Number(const char* key, unsigned long long value) {
        Key(key);
        m_Writer.Uint64(value);
    }
    void Signed(const char* key, long long value) {
        Key(key);
        m_Writer.Int64(value);
    }
    // A count of bytes or the like: Redfish numbers are signed 64-bit.
    void Number(const char* key, const std::optional<unsigned long long>& value) {
        if (value &&
            *value <= static_cast<unsigned long long>(std::numeric_limits<long long>::max()))
            Number(key, *value);
    }
    void Link(const char* key, const std::string& uri) {
        BeginObject(key);
        Member("@odata.id", uri);
        End();
    }
    void LinkItem(const std::string& uri) {
        m_Writer.StartObject();
        Member("@odata.id", uri);
        m_Writer.EndObject();
    }
    void Links(const char* key, const std::vector<std::string>& uris) {
        BeginList(key);
        for (const std::string& uri : uris)
            LinkItem(uri);
        EndList();
        Number((std::string(key) + "@odata.count").c_str(), uris.size());
    }
    void Status(_HEALTH health, const char* state = "Enabled",
                std::optional<_HEALTH> rollup = std::nullopt) {
        BeginObject("Status");
        Member("State", state);
        if (const char* word = HealthWord(health))
            Member("Health", word);
        if (rollup)
            if (const char* word = HealthWord(*rollup))
                Member("HealthRollup", word);
        End();
    }
    // @odata.id, @odata.type, Id and Name: what every resource starts with.
    void Head(const std::string& uri, const char* type, std::string_view id,
              std::string_view name) {
        Begin();
        Member("@odata.id", uri);
        Member("@odata.type", type);
        Member("Id", id);
        Member("Name", name);
    }

    std::string Take() { return std::string(m_Buffer.GetString(), m_Buffer.GetSize()); }

private:
    rapidjson::StringBuffer m_Buffer;
    rapidjson::Writer<rapidjson::StringBuffer> m_Writer;
    std::string m_Scratch;
};

// ---- the inventory seen as a storage tree -----------------------------------

struct Volume {
    const CLogicalDrive* record;
    std::string id;
    std::vector<Id> drives; // the members that are drives of this view
};

struct Task {
    const CObject* object;
    Id target;
};

struct Adapter {
    const CObject* object;
    std::vector<const CObject*> drives;
    std::vector<const CObject*> batteries;
    std::vector<Volume> volumes;
};

class View {
public:
    explicit View(const COperation& inventory) : m_Inventory(inventory) {
        for (const CObject& object : inventory.Objects)
            m_Objects.emplace(object.ObjectID, &object); // the first of an id wins
        for (const CObject& object : inventory.Objects) {
            if (m_Objects.at(object.ObjectID) != &object)
                continue;
            if (IsAdapterType(object.ObjectType)) {
                m_AdapterIndex.emplace(object.ObjectID, m_Adapters.size());
                m_Adapters.push_back(Adapter{&object, {}, {}, {}});
            } else if (object.ObjectType == OBJECT_TYPE_TASK) {
                const std::optional<unsigned long long> target =
                    NumberOf(object.Properties, TASK_OBJECT);
                if (target && IsRunning(object))
                    m_Tasks.push_back(Task{&object, *target});
            } else if ((object.ObjectType == OBJECT_TYPE_SYSTEM ||
                        object.ObjectType == OBJECT_TYPE_HOST) &&
                       m_System == nullptr) {
                m_System = &object;
            }
        }
        m_SystemId = m_System != nullptr ? std::to_string(m_System->ObjectID) : "0";
        m_SystemUri = std::string(ROOT) + "/Systems/" + m_SystemId;
        for (const CObject& object : inventory.Objects) {
            if (m_Objects.at(object.ObjectID) != &object)
                continue;
            if (object.ObjectType != OBJECT_TYPE_PHYSICAL_DRIVE &&
                object.ObjectType != OBJECT_TYPE_BATTERY)
                continue;
            Adapter* adapter = AdapterOf(object);
            if (adapter == nullptr)
                continue;
            if (object.ObjectType == OBJECT_TYPE_PHYSICAL_DRIVE) {
                adapter->drives.push_back(&object);
                m_DriveAdapter.emplace(object.ObjectID, adapter->object->ObjectID);
            } else {
                adapter->batteries.push_back(&object);
            }
        }
        ReadLogicalDrives();
    }

    std::vector<CRedfishResource> Resources() {
        ServiceRoot();
        Sessions();
        Systems();
        System();
        StorageList();
        for (const Adapter& adapter : m_Adapters)
            Storage(adapter);
        ChassisList();
        for (const Adapter& adapter : m_Adapters)
            Chassis(adapter);
        Logs();
        return std::move(m_Out);
    }

private:
    static bool IsRunning(const CObject& task) {
        if (const std::optional<std::string> status = TextOf(task.Properties, TASK_STATUS))
            return IsRunningWord(*status);
        const std::optional<int> progress = ProgressOf(task.Properties);
        return progress && *progress < 100;
    }

    // The nearest adapter above an object, through any of its parents.
    Adapter* AdapterOf(const CObject& object) {
        std::vector<Id> level(object.Parents);
        std::unordered_set<Id> seen{object.ObjectID};
        for (int depth = 0; depth < MAX_PARENT_DEPTH && !level.empty(); ++depth) {
            std::vector<Id> next;
            for (Id id : level) {
                if (!seen.insert(id).second)
                    continue;
                const auto adapter = m_AdapterIndex.find(id);
                if (adapter != m_AdapterIndex.end())
                    return &m_Adapters[adapter->second];
                const auto parent = m_Objects.find(id);
                if (parent != m_Objects.end())
                    next.insert(next.end(), parent->second->Parents.begin(),
                                parent->second->Parents.end());
            }
            level.swap(next);
        }
        return nullptr;
    }

    // A logical drive belongs to the adapter of its first member drive of
    // this view, else to the first adapter; it is numbered by its place in
    // the inventory, as the record carries no object id.
    void ReadLogicalDrives() {
        for (size_t i = 0; i < m_Inventory.LogicalDrives.size(); ++i) {
            const CLogicalDrive& ld = m_Inventory.LogicalDrives[i];
            Volume volume{&ld, std::to_string(i), {}};
            Id owner = 0;
            bool owned = false;
            for (const CContainer& container : ld.Containers)
                for (const CDrive& drive : container.Drives) {
                    const auto adapter = m_DriveAdapter.find(drive.ObjectID);
                    if (adapter == m_DriveAdapter.end() ||
                        std::find(volume.drives.begin(), volume.drives.end(), drive.ObjectID) !=
                            volume.drives.end())
                        continue;
                    if (!owned) {
                        owner = adapter->second;
                        owned = true;
                    }
                    volume.drives.push_back(drive.ObjectID);
                }
            for (Id spare : ld.GHS)
                m_Spares.emplace(spare, "Global");
            for (Id spare : ld.DHS)
                m_Spares.emplace(spare, "Dedicated");
            if (m_Adapters.empty())
                continue;
            Adapter& adapter = owned ? m_Adapters[m_AdapterIndex.at(owner)] : m_Adapters.front();
            // Members on another adapter are left out of its links.
            volume.drives.erase(std::remove_if(volume.drives.begin(), volume.drives.end(),
                                               [&](Id d) {
                                                   return m_DriveAdapter.at(d) !=
                                                          adapter.object->ObjectID;
                                               }),
                                volume.drives.end());
            for (Id d : volume.drives)
                m_DriveVolumes[d].push_back(VolumeUri(adapter, volume));
            adapter.volumes.push_back(std::move(volume));
        }
    }

    void Emit(std::string uri, Json& json) {
        m_Out.push_back(CRedfishResource{std::move(uri), json.Take()});
    }

    void Collection(const std::string& uri, const char* type, const char* name,
                    const std::vector<std::string>& members) {
        Json json;
        json.Begin();
        json.Member("@odata.id", uri);
        json.Member("@odata.type", type);
        json.Member("Name", name);
        json.Links("Members", members);
        json.End();
        Emit(uri, json);
    }

    std::string StorageUri(const Adapter& a) const {
        return m_SystemUri + "/Storage/" + std::to_string(a.object->ObjectID);
    }
    std::string DriveUri(const Adapter& a, Id drive) const {
        return StorageUri(a) + "/Drives/" + std::to_string(drive);
    }
    std::string VolumeUri(const Adapter& a, const Volume& v) const {
        return StorageUri(a) + "/Volumes/" + v.id;
    }
    std::string ChassisUri(const Adapter& a) const {
        return std::string(ROOT) + "/Chassis/" + std::to_string(a.object->ObjectID);
    }

    void ServiceRoot() {
        Json json;
        json.Head(ROOT, Type::SERVICE_ROOT, "RootService", "PI Redfish view");
        json.Member("RedfishVersion", "1.22.0");
        json.Link("Systems", std::string(ROOT) + "/Systems");
        json.Link("Chassis", std::string(ROOT) + "/Chassis");
        json.BeginObject("Links");
        json.Link("Sessions", std::string(ROOT) + "/SessionService/Sessions");
        json.End();
        json.End();
        Emit(ROOT, json);
    }

    // No sessions: the view is read without logging in.
    void Sessions() {
        Collection(std::string(ROOT) + "/SessionService/Sessions", Type::SESSIONS,
                   "Session Collection", {});
    }

    void Systems() {
        Collection(std::string(ROOT) + "/Systems", Type::SYSTEMS, "Computer System Collection",
                   {m_SystemUri});
    }

    _HEALTH Worst(const Adapter& a) const {
        _HEALTH worst = GetObjectHealth(*a.object);
        for (const CObject* d : a.drives)
            worst = std::max(worst, GetObjectHealth(*d));
        for (const CObject* b : a.batteries)
            worst = std::max(worst, GetObjectHealth(*b));
        for (const Volume& v : a.volumes)
            worst = std::max(worst, GetLogicalDriveHealth(*v.record));
        return worst;
    }

    void System() {
        Json json;
        std::optional<std::string> name;
        if (m_System != nullptr)
            name = TextOf(m_System->Properties,
                          m_System->ObjectType == OBJECT_TYPE_SYSTEM ? SYSTEM_NAME : HOST_NAME);
        json.Head(m_SystemUri, Type::SYSTEM, m_SystemId, name ? *name : "System");
        json.Member("SystemType", "Physical");
        _HEALTH rollup = HEALTH_UNKNOWN;
        for (const Adapter& a : m_Adapters)
            rollup = std::max(rollup, Worst(a));
        json.Status(m_System != nullptr ? GetObjectHealth(*m_System) : HEALTH_UNKNOWN, "Enabled",
                    rollup);
        json.Link("Storage", m_SystemUri + "/Storage");
        json.Link("LogServices", m_SystemUri + "/LogServices");
        json.BeginObject("Links");
        std::vector<std::string> chassis;
        for (const Adapter& a : m_Adapters)
            chassis.push_back(ChassisUri(a));
        json.Links("Chassis", chassis);
        json.End();
        json.End();
        Emit(m_SystemUri, json);
    }

    void StorageList() {
        std::vector<std::string> members;
        for (const Adapter& a : m_Adapters)
            members.push_back(StorageUri(a));
        Collection(m_SystemUri + "/Storage", Type::STORAGES, "Storage Collection", members);
    }

    void Storage(const Adapter& a) {
        const std::string uri = StorageUri(a);
        const std::string id = std::to_string(a.object->ObjectID);
        const std::optional<std::string> name = TextOf(a.object->Properties, ADAPTER_NAME);
        {
            Json json;
            json.Head(uri, Type::STORAGE, id, name ? *name : "Storage " + id);
            json.Status(GetObjectHealth(*a.object), "Enabled", Worst(a));
            json.Link("Controllers", uri + "/Controllers");
            std::vector<std::string> drives;
            for (const CObject* d : a.drives)
                drives.push_back(DriveUri(a, d->ObjectID));
            json.Links("Drives", drives);
            json.Link("Volumes", uri + "/Volumes");
            json.End();
            Emit(uri, json);
        }
        Collection(uri + "/Controllers", Type::CONTROLLERS, "Storage Controller Collection",
                   {uri + "/Controllers/" + id});
        Controller(a, uri + "/Controllers/" + id, id, name);
        for (const CObject* d : a.drives)
            Drive(a, *d);
        std::vector<std::string> volumes;
        for (const Volume& v : a.volumes)
            volumes.push_back(VolumeUri(a, v));
        Collection(uri + "/Volumes", Type::VOLUMES, "Volume Collection", volumes);
        for (const Volume& v : a.volumes)
            VolumeOf(a, v);
    }

    void Controller(const Adapter& a, const std::string& uri, const std::string& id,
                    const std::optional<std::string>& name) {
        const Properties& p = a.object->Properties;
        Json json;
        json.Head(uri, Type::CONTROLLER, id, name ? *name : "Controller " + id);
        json.Status(GetObjectHealth(*a.object));
        json.Member("Manufacturer", TextOf(p, ADAPTER_VENDOR));
        json.Member("Model", TextOf(p, ADAPTER_PRODUCT));
        json.Member("SerialNumber", TextOf(p, ADAPTER_SERIAL_NUMBER));
        json.Member("FirmwareVersion", TextOf(p, ADAPTER_FIRMWARE_VERSION));
        if (const std::optional<unsigned long long> memory = NumberOf(p, ADAPTER_MEMORY_SIZE)) {
            json.BeginObject("CacheSummary");
            json.Number("TotalCacheSizeMiB", *memory / (1024 * 1024));
            json.End();
        }
        Oem(json, *a.object, TextOf(p, ADAPTER_STATUS));
        json.End();
        Emit(uri, json);
    }

    // Oem.PI: the object's id and kind, and the status as the agent gave it.
    static void Oem(Json& json, const CObject& object, const std::optional<std::string>& status,
                    const std::optional<unsigned long long>& state = std::nullopt) {
        json.BeginObject("Oem");
        json.BeginObject("PI");
        json.Number("ObjectID", object.ObjectID);
        json.Signed("ObjectType", object.ObjectType);
        json.Member("StatusText", status);
        if (state)
            json.Number("DriveState", *state);
        json.End();
        json.End();
    }

    // The running tasks on any of `targets`, as Redfish operations.
    void Operations(Json& json, const std::vector<Id>& targets) {
        bool any = false;
        for (const Task& task : m_Tasks) {
            if (std::find(targets.begin(), targets.end(), task.target) == targets.end())
                continue;
            if (!any)
                json.BeginList("Operations");
            any = true;
            json.Begin();
            const std::optional<std::string> name = TextOf(task.object->Properties, TASK_NAME);
            if (const char* type = name ? OperationTypeOf(*name) : nullptr)
                json.Member("Operation", type);
            else if (name)
                json.Member("OperationName", *name);
            if (const std::optional<int> progress = ProgressOf(task.object->Properties))
                json.Number("PercentageComplete", static_cast<unsigned long long>(*progress));
            json.End();
        }
        if (any)
            json.EndList();
    }

    void Drive(const Adapter& a, const CObject& drive) {
        const Properties& p = drive.Properties;
        const std::string id = std::to_string(drive.ObjectID);
        const std::string uri = DriveUri(a, drive.ObjectID);
        const std::optional<std::string> name = TextOf(p, PHYSICAL_DRIVE_NAME);
        const std::optional<unsigned long long> state = NumberOf(p, PHYSICAL_DRIVE_STATUS);
        const auto spare = m_Spares.find(drive.ObjectID);
        const auto volumes = m_DriveVolumes.find(drive.ObjectID);
        const bool member = volumes != m_DriveVolumes.end();
        Json json;
        json.Head(uri, Type::DRIVE, id, name ? *name : "Drive " + id);
        const char* condition = "Enabled";
        if (state && *state == static_cast<unsigned long long>(PD_STATE_MISSING))
            condition = "Absent";
        else if (spare != m_Spares.end() && !member)
            condition = "StandbySpare";
        json.Status(GetObjectHealth(drive), condition);
        json.Number("CapacityBytes", NumberOf(p, PHYSICAL_DRIVE_PHYSICAL_SIZE));
        if (const std::optional<unsigned long long> media =
                NumberOf(p, PHYSICAL_DRIVE_MEDIA_TYPE)) {
            if (*media == static_cast<unsigned long long>(MEDIA_TYPE_HDD))
                json.Member("MediaType", "HDD");
            else if (*media == static_cast<unsigned long long>(MEDIA_TYPE_SSD))
                json.Member("MediaType", "SSD");
        }
        json.Member("Manufacturer", TextOf(p, PHYSICAL_DRIVE_VENDOR));
        json.Member("Model", TextOf(p, PHYSICAL_DRIVE_PRODUCT));
        json.Member("SerialNumber", TextOf(p, PHYSICAL_DRIVE_SERIAL_NUMBER));
        json.Member("Revision", TextOf(p, PHYSICAL_DRIVE_FIRMWARE_VERSION));
        json.Number("RotationSpeedRPM", NumberOf(p, PHYSICAL_DRIVE_RPM));
        json.Member("HotspareType", spare != m_Spares.end() ? spare->second : "None");
        if (const std::optional<unsigned long long> slot = NumberOf(p, PHYSICAL_DRIVE_SLOT)) {
            json.BeginObject("PhysicalLocation");
            json.BeginObject("PartLocation");
            json.Member("LocationType", "Slot");
            json.Number("LocationOrdinalValue", slot);
            json.End();
            json.End();
        }
        Operations(json, {drive.ObjectID});
        json.BeginObject("Links");
        json.Links("Volumes", member ? volumes->second : std::vector<std::string>{});
        json.Link("Storage", StorageUri(a));
        json.End();
        Oem(json, drive, TextOf(p, PHYSICAL_DRIVE_STATUS), state);
        json.End();
        Emit(uri, json);
    }

    void VolumeOf(const Adapter& a, const Volume& v) {
        const CLogicalDrive& ld = *v.record;
        const Properties& p = ld.Properties;
        const std::string uri = VolumeUri(a, v);
        const std::optional<std::string> name = TextOf(p, LOGICAL_DRIVE_NAME);
        Json json;
        json.Head(uri, Type::VOLUME, v.id, name ? *name : "Volume " + v.id);
        json.Status(GetLogicalDriveHealth(ld));
        std::optional<unsigned long long> size = NumberOf(p, LOGICAL_DRIVE_LOGICAL_SIZE);
        if (!size && ld.Units == UNITS_BYTES)
            size = ld.Size;
        json.Number("CapacityBytes", size);
        const std::optional<unsigned long long> level = NumberOf(p, LOGICAL_DRIVE_RAID_LEVEL);
        const char* raid = level ? Redfish::RaidTypeOf(*level) : nullptr;
        if (raid != nullptr)
            json.Member("RAIDType", raid);
        Operations(json, v.drives);
        std::vector<std::string> drives;
        for (Id d : v.drives)
            drives.push_back(DriveUri(a, d));
        json.BeginObject("Links");
        json.Links("Drives", drives);
        json.End();
        json.BeginObject("Oem");
        json.BeginObject("PI");
        json.Number("Index", std::stoull(v.id));
        json.Member("StatusText", TextOf(p, LOGICAL_DRIVE_STATUS));
        if (level && raid == nullptr)
            json.Number("RAIDLevel", *level);
        json.End();
        json.End();
        json.End();
        Emit(uri, json);
    }

    void ChassisList() {
        std::vector<std::string> members;
        for (const Adapter& a : m_Adapters)
            members.push_back(ChassisUri(a));
        Collection(std::string(ROOT) + "/Chassis", Type::CHASSIS_LIST, "Chassis Collection",
                   members);
    }

    // Each adapter is a card of its own; its batteries are its power.
    void Chassis(const Adapter& a) {
        const std::string uri = ChassisUri(a);
        const std::string id = std::to_string(a.object->ObjectID);
        const std::optional<std::string> name = TextOf(a.object->Properties, ADAPTER_NAME);
        {
            Json json;
            json.Head(uri, Type::CHASSIS, id, name ? *name : "Chassis " + id);
            json.Member("ChassisType", "Card");
            json.Status(GetObjectHealth(*a.object));
            if (!a.batteries.empty())
                json.Link("PowerSubsystem", uri + "/PowerSubsystem");
            json.BeginObject("Links");
            json.Links("ComputerSystems", {m_SystemUri});
            json.Links("Storage", {StorageUri(a)});
            json.End();
            json.End();
            Emit(uri, json);
        }
        if (a.batteries.empty())
            return;
        {
            Json json;
            json.Head(uri + "/PowerSubsystem", Type::POWER, "PowerSubsystem", "Power Subsystem");
            json.Link("Batteries", uri + "/PowerSubsystem/Batteries");
            json.End();
            Emit(uri + "/PowerSubsystem", json);
        }
        std::vector<std::string> members;
        for (const CObject* b : a.batteries)
            members.push_back(uri + "/PowerSubsystem/Batteries/" + std::to_string(b->ObjectID));
        Collection(uri + "/PowerSubsystem/Batteries", Type::BATTERIES, "Battery Collection",
                   members);
        for (size_t i = 0; i < a.batteries.size(); ++i) {
            const CObject& b = *a.batteries[i];
            const Properties& p = b.Properties;
            const std::string bid = std::to_string(b.ObjectID);
            const std::optional<std::string> bname = TextOf(p, BATTERY_NAME);
            Json json;
            json.Head(members[i], Type::BATTERY, bid, bname ? *bname : "Battery " + bid);
            json.Status(GetObjectHealth(b));
            json.Member("Manufacturer", TextOf(p, BATTERY_VENDOR));
            json.Member("SerialNumber", TextOf(p, BATTERY_SERIAL_NUMBER));
            json.Member("Version", TextOf(p, BATTERY_VERSION));
            json.Member("Model", TextOf(p, BATTERY_TYPE));
            Oem(json, b, TextOf(p, BATTERY_STATUS));
            json.End();
            Emit(members[i], json);
        }
    }

    void Logs() {
        const std::string services = m_SystemUri + "/LogServices";
        const std::string service = services + "/Events";
        const std::string entries = service + "/Entries";
        Collection(services, Type::LOG_SERVICES, "Log Service Collection", {service});
        {
            Json json;
            json.Head(service, Type::LOG_SERVICE, "Events", "Events");
            json.Member("LogEntryType", "OEM");
            json.Member("OverWritePolicy", "Unknown");
            json.Link("Entries", entries);
            json.End();
            Emit(service, json);
        }
        std::vector<std::string> members;
        for (size_t i = 0; i < m_Inventory.Events.size(); ++i)
            members.push_back(entries + "/" + std::to_string(i + 1));
        Collection(entries, Type::LOG_ENTRIES, "Log Entry Collection", members);
        for (size_t i = 0; i < m_Inventory.Events.size(); ++i)
            Entry(m_Inventory.Events[i], members[i], std::to_string(i + 1));
    }

    // The placeholders as the event reads them; one that cannot be read
    // (an "I:" without a number) counts as empty.
    static std::vector<std::string> Placeholders(const CEvent& stored) {
        CEvent event(stored);
        using Getter = const RVX::Strings::TString<16>& (CEvent::*)();
        static constexpr Getter getters[] = {&CEvent::GetPlaceHolder1, &CEvent::GetPlaceHolder2,
                                             &CEvent::GetPlaceHolder3, &CEvent::GetPlaceHolder4,
                                             &CEvent::GetPlaceHolder5, &CEvent::GetPlaceHolder6};
        std::vector<std::string> out;
        for (Getter get : getters) {
            try {
                const auto& text = (event.*get)();
                out.emplace_back(text.c_str(), text.Length());
            } catch (const std::bad_alloc&) {
                throw;
            } catch (const std::exception&) {
                out.emplace_back();
            }
        }
        while (!out.empty() && out.back().empty())
            out.pop_back();
        return out;
    }

    void Entry(const CEvent& event, const std::string& uri, const std::string& id) {
        const std::vector<std::string> args = Placeholders(event);
        const std::string source(event.Text1.c_str(), event.Text1.Length());
        std::string message = source.empty() ? "" : source + ":";
        for (const std::string& arg : args)
            if (!arg.empty())
                message += (message.empty() ? "" : " ") + arg;
        Json json;
        json.Head(uri, Type::LOG_ENTRY, id, "Event " + id);
        json.Member("EntryType", "Oem");
        json.Member("OemRecordFormat", "PI");
        json.Member("Message", message);
        json.BeginList("MessageArgs");
        for (const std::string& arg : args)
            json.Text(arg);
        json.EndList();
        json.BeginObject("Oem");
        json.BeginObject("PI");
        json.Signed("Scalar1", event.Scalar1);
        json.Signed("Scalar2", event.Scalar2);
        json.Signed("Scalar3", event.Scalar3);
        json.Signed("Scalar4", event.Scalar4);
        json.Signed("Scalar5", event.Scalar5);
        json.Signed("Scalar6", event.Scalar6);
        json.Member("Text1", source);
        json.Member("Text2", std::string_view(event.Text2.c_str(), event.Text2.Length()));
        json.Member("Text3", std::string_view(event.Text3.c_str(), event.Text3.Length()));
        json.End();
        json.End();
        json.End();
        Emit(uri, json);
    }

    const COperation& m_Inventory;
    std::unordered_map<Id, const CObject*> m_Objects;
    std::unordered_map<Id, size_t> m_AdapterIndex;
    std::vector<Adapter> m_Adapters;
    std::vector<Task> m_Tasks;
    std::unordered_map<Id, Id> m_DriveAdapter;
    std::unordered_map<Id, const char*> m_Spares;
    std::unordered_map<Id, std::vector<std::string>> m_DriveVolumes;
    const CObject* m_System = nullptr;
    std::string m_SystemId;
    std::string m_SystemUri;
    std::vector<CRedfishResource> m_Out;
};

} // namespace

std::vector<CRedfishResource> MakeRedfishView(const COperation& inventory) {
    return View(inventory).Resources();
}

std::string RedfishMockupPath(const std::string& uri) {
    std::string path = uri;
    while (!path.empty() && path.front() == '/')
        path.erase(0, 1);
    return path + "/index.json";
}

} // namespace PI
