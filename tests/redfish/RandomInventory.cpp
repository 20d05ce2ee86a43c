// Writes a seeded random inventory for the Redfish view's checks: adapters
// with drives (some under enclosures, some orphaned or in parent cycles),
// batteries, tasks, logical drives over those drives and events, every
// property the view reads given a value of a random kind (texts that are
// not UTF-8, extreme numbers, ranges, lists).
//
//   redfish_random_inventory SEED FILE
#include "RecordGenerator.h"

#include <PI/Interchange.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <string>

namespace {

using namespace PI;

class Builder {
public:
    explicit Builder(std::uint64_t seed) : m_Gen(seed) {}

    COperation Inventory() {
        COperation op;
        const _OBJECT_TYPE adapterTypes[] = {OBJECT_TYPE_ADAPTER_1, OBJECT_TYPE_ADAPTER_5,
                                             OBJECT_TYPE_ADAPTER_8};
        for (size_t i = 1 + m_Gen.Below(3); i > 0; --i)
            op.Objects.push_back(
                Object(m_Gen.Below(4), adapterTypes[m_Gen.Below(3)], {}, // ids repeat
                       {ADAPTER_NAME, ADAPTER_VENDOR, ADAPTER_PRODUCT, ADAPTER_SERIAL_NUMBER,
                        ADAPTER_FIRMWARE_VERSION, ADAPTER_MEMORY_SIZE, ADAPTER_STATUS}));
        if (m_Gen.Below(3) == 0)
            op.Objects.push_back(Object(Id(), OBJECT_TYPE_SYSTEM, {}, {SYSTEM_NAME}));
        for (size_t i = m_Gen.Below(3); i > 0; --i)
            op.Objects.push_back(Object(Id(), OBJECT_TYPE_ENCLOSURE, Parents(op), {}));
        std::vector<unsigned long long> drives;
        for (size_t i = m_Gen.Below(12); i > 0; --i) {
            op.Objects.push_back(
                Object(Id(), OBJECT_TYPE_PHYSICAL_DRIVE, Parents(op),
                       {PHYSICAL_DRIVE_NAME, PHYSICAL_DRIVE_STATUS, PHYSICAL_DRIVE_MEDIA_TYPE,
                        PHYSICAL_DRIVE_VENDOR, PHYSICAL_DRIVE_PRODUCT, PHYSICAL_DRIVE_SERIAL_NUMBER,
                        PHYSICAL_DRIVE_FIRMWARE_VERSION, PHYSICAL_DRIVE_RPM, PHYSICAL_DRIVE_SLOT,
                        PHYSICAL_DRIVE_PHYSICAL_SIZE}));
            drives.push_back(op.Objects.back().ObjectID);
        }
        for (size_t i = m_Gen.Below(3); i > 0; --i)
            op.Objects.push_back(Object(Id(), OBJECT_TYPE_BATTERY, Parents(op),
                                        {BATTERY_NAME, BATTERY_VENDOR, BATTERY_SERIAL_NUMBER,
                                         BATTERY_STATUS, BATTERY_TYPE, BATTERY_VERSION}));
        for (size_t i = 1 + m_Gen.Below(3); i > 0; --i) {
            CObject task = Object(Id(), OBJECT_TYPE_TASK, {}, {TASK_NAME, TASK_STATUS});
            if (m_Gen.Below(4) != 0) {
                const char* names[] = {"Rebuild", " initialization ", "Consistency Check", "Copy"};
                CProperty name(TASK_NAME, false);
                name.SetValue(std::string(names[m_Gen.Below(4)]));
                CProperty status(TASK_STATUS, false);
                // A progress at either end of its range now and then.
                const auto [low, high] = std::minmax({m_Gen.I32(), m_Gen.I32()});
                const int value = m_Gen.Bool() ? high : m_Gen.Below(2) ? low : m_Gen.I32();
                const size_t kind = m_Gen.Below(3); // a word, a range, any number
                kind == 0   ? status.SetValue(std::string("Running"))
                : kind == 1 ? status.SetValue(value, low, high, 1)
                            : status.SetValue(static_cast<unsigned long long>(m_Gen.U64()));
                task.Properties = {name, status};
            }
            CProperty target(TASK_OBJECT, false);
            target.SetValue(drives.empty() || m_Gen.Below(5) == 0 ? m_Gen.U64() : Pick(drives));
            task.Properties.push_back(target);
            op.Objects.push_back(task);
        }
        for (size_t i = m_Gen.Below(5); i > 0; --i) {
            CLogicalDrive ld;
            ld.Properties = Properties({LOGICAL_DRIVE_NAME, LOGICAL_DRIVE_STATUS,
                                        LOGICAL_DRIVE_RAID_LEVEL, LOGICAL_DRIVE_LOGICAL_SIZE});
            ld.Size = m_Gen.U64();
            ld.Units = m_Gen.Bool() ? UNITS_BYTES : UNITS_GIGABYTES;
            for (size_t c = m_Gen.Below(3); c > 0; --c) {
                CContainer container;
                for (size_t d = m_Gen.Below(5); d > 0; --d) {
                    CDrive drive;
                    drive.ObjectID =
                        drives.empty() || m_Gen.Below(6) == 0 ? m_Gen.U64() : Pick(drives);
                    container.Drives.push_back(drive);
                }
                ld.Containers.push_back(container);
            }
            if (!drives.empty() && m_Gen.Bool())
                ld.GHS.push_back(Pick(drives));
            if (!drives.empty() && m_Gen.Bool())
                ld.DHS.push_back(Pick(drives));
            op.LogicalDrives.push_back(ld);
        }
        for (size_t i = m_Gen.Below(4); i > 0; --i)
            op.Events.push_back(m_Gen.Event());
        return op;
    }

private:
    // Mostly small ids, so that some repeat.
    unsigned long long Id() { return m_Gen.Below(4) == 0 ? m_Gen.U64() : m_Gen.Below(16); }

    unsigned long long Pick(const std::vector<unsigned long long>& ids) {
        return ids[m_Gen.Below(ids.size())];
    }

    // The first object (an adapter), any object made so far, or a dangling id.
    std::vector<unsigned long long> Parents(const COperation& op) {
        std::vector<unsigned long long> parents;
        for (size_t i = 1 + m_Gen.Below(2); i > 0 && !op.Objects.empty(); --i) {
            const size_t pick = m_Gen.Below(6);
            parents.push_back(pick == 0  ? m_Gen.U64()
                              : pick < 3 ? op.Objects[m_Gen.Below(op.Objects.size())].ObjectID
                                         : op.Objects.front().ObjectID);
        }
        return parents;
    }

    // A property of `id` that the interchange form can carry: mostly a value
    // of the kind the view expects, else anything the generator makes.
    CProperty Property(int id) {
        for (;;) {
            CProperty p = m_Gen.Property();
            p.PropertyID = static_cast<_PROPERTY_ID>(id);
            if (m_Gen.Below(3) != 0) {
                if (m_Gen.Bool())
                    p.SetValue(m_Gen.Text());
                else
                    p.SetValue(static_cast<unsigned long long>(
                        m_Gen.Bool() ? m_Gen.U64() : 40000 + m_Gen.Below(400)));
            }
            std::string ignored;
            if (WriteJsonValue(p, ignored) == 0)
                return p;
        }
    }

    std::vector<CProperty> Properties(std::initializer_list<int> ids) {
        std::vector<CProperty> list;
        for (int id : ids)
            if (m_Gen.Below(5) != 0)
                list.push_back(Property(id));
        return list;
    }

    CObject Object(unsigned long long id, _OBJECT_TYPE type,
                   std::vector<unsigned long long> parents, std::initializer_list<int> ids) {
        CObject object(id, type);
        object.Parents = std::move(parents);
        object.Properties = Properties(ids);
        return object;
    }

    Testing::RecordGenerator m_Gen;
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 3)
        return 2;
    std::string json;
    CInterchangeError error;
    if (WriteJsonDocument(Builder(std::stoull(argv[1])).Inventory(), json, &error) != 0) {
        std::cerr << "cannot write the inventory: " << error.Text() << "\n";
        return 1;
    }
    std::ofstream(argv[2], std::ios::binary) << json;
    return 0;
}
