#pragma once

// The inventory operation that the benchmarks use: one adapter, 8
// enclosures, 256 physical drives and 32 logical drives, 10 728 properties of
// mixed kinds.

#include <PI/Identifiers.h>
#include <PI/LogicalDrive.h>
#include <PI/Object.h>
#include <PI/Operation.h>
#include <PI/Property.h>

#include <string>
#include <vector>

namespace bench {

using PI::CContainer;
using PI::CDrive;
using PI::CLogicalDrive;
using PI::CObject;
using PI::COperation;
using PI::CProperty;

constexpr PI::_OBJECT_TYPE kPhysicalDriveType = PI::OBJECT_TYPE_PHYSICAL_DRIVE;

// A property of `id` with a value of a kind chosen by `kind`, filled from
// `seed`, as an agent would report it.
inline CProperty MakeProperty(int id, int kind, unsigned long long seed) {
    CProperty p(static_cast<PI::_PROPERTY_ID>(id), false);
    switch (kind % 6) {
    case 0:
        p.SetValue("ST3500418AS-" + std::to_string(seed));
        break;
    case 1:
        p.SetValue(static_cast<unsigned long long>(500107862016ull + seed));
        break;
    case 2:
        p.SetValue(static_cast<int>(seed % 100), 0, 100, 1);
        break;
    case 3:
        p.SetValue(seed % 2 == 0);
        break;
    case 4:
        p.SetValue(static_cast<float>(seed % 7) * 1.5f);
        break;
    default: {
        std::vector<int> list{static_cast<int>(seed % 4), 1, 5, 6};
        p.SetValue(static_cast<int>(seed % 3), list);
        break;
    }
    }
    return p;
}

inline CObject MakeObject(unsigned long long id, PI::_OBJECT_TYPE type, unsigned long long parent,
                          int firstPropertyId, int properties) {
    CObject object(id, type);
    if (parent != 0)
        object.AddParent(parent);
    for (int i = 0; i < properties; ++i)
        object.Properties.push_back(MakeProperty(firstPropertyId + i, i, id * 64 + i));
    return object;
}

struct Inventory {
    COperation operation;
    unsigned long long properties = 0;
    unsigned long long blockBytes = 0;
};

inline void Count(const std::vector<CProperty>& list, Inventory& inventory) {
    for (const CProperty& p : list) {
        ++inventory.properties;
        inventory.blockBytes += p.DataSize;
    }
}

// One adapter, 8 enclosures of 32 drives, 256 physical drives with 40
// properties each, 32 logical drives of 2 containers x 4 drives with their
// spares.
inline const Inventory& TheInventory() {
    static const Inventory inventory = [] {
        Inventory inv;
        COperation& op = inv.operation;
        const unsigned long long adapterId = 1;
        op.AddObject(MakeObject(adapterId, PI::OBJECT_TYPE_ADAPTER_1, 0,
                                PI::ADAPTER_ABORT_MDC_ON_ERROR, 40));
        for (unsigned long long e = 0; e < 8; ++e)
            op.AddObject(MakeObject(0x100 + e, PI::OBJECT_TYPE_ENCLOSURE, adapterId,
                                    PI::ENCLOSURE_ENCL_NUMBER, 8));
        for (unsigned long long d = 0; d < 256; ++d)
            op.AddObject(MakeObject(0x1000 + d, kPhysicalDriveType, 0x100 + d / 32,
                                    PI::PHYSICAL_DRIVE_ACTIVITY, 40));
        for (unsigned long long l = 0; l < 32; ++l) {
            CLogicalDrive ld;
            ld.Size = 4 * 500107862016ull;
            for (int i = 0; i < 12; ++i)
                ld.AddProperty(MakeProperty(23180 + i, i, 0x10000 + l * 64 + i));
            for (int c = 0; c < 2; ++c) {
                CContainer container;
                for (int m = 0; m < 4; ++m) {
                    CDrive drive;
                    drive.ObjectID = 0x1000 + l * 8 + c * 4 + m;
                    drive.StartAddress = 0;
                    drive.UsedSize = 500107862016ull;
                    container.AddDrive(drive);
                }
                ld.AddContainer(container);
            }
            ld.AddGHS(0x1000 + 255);
            ld.AddGHS(0x1000 + 254);
            ld.AddDHS(0x1000 + (l * 8 + 8) % 256);
            op.AddLogicalDrive(ld);
        }
        for (const CObject& object : op.Objects)
            Count(object.Properties, inv);
        for (const CLogicalDrive& ld : op.LogicalDrives)
            Count(ld.Properties, inv);
        return inv;
    }();
    return inventory;
}

} // namespace bench
