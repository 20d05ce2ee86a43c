#pragma once

#include "PI/Event.h"
#include "PI/Export.h"
#include "PI/Level.h"
#include "PI/LogicalDrive.h"
#include "PI/Object.h"
#include "PI/Property.h"
#include "PI/Task.h"

#include <vector>

namespace PI {

// The record that asks for or reports an action: a few numbers that say
// what and how, and eight lists with the data of the action. List getters
// return a reference to the stored element and raise 0x21130001 for an
// index not below the count.
class PI_API COperation {
public:
    int Attribute1;
    int Attribute2;
    int Attribute3;
    std::vector<CProperty> Properties;
    std::vector<CLogicalDrive> LogicalDrives;
    std::vector<CLevel> Levels;
    std::vector<CMigration> Migrations;
    std::vector<CEvent> Events;
    std::vector<CPassThrough> PassThroughs;
    std::vector<CPartition> Partitions;
    std::vector<CObject> Objects; // plain objects: a task added here keeps only its object part
    int Setting1;
    int Setting2;
    int Setting3;
    int Setting4;
    int Setting5;
    int Setting6;
    int Setting7;
    int Setting8;
    bool Flag;
    int Setting9;

    COperation();
    COperation(const COperation& other);
    COperation(COperation&& other) noexcept;
    COperation& operator=(const COperation& other);
    COperation& operator=(COperation&& other) noexcept;
    virtual ~COperation();

    bool operator==(const COperation& other) const;
    bool operator!=(const COperation& other) const { return !(*this == other); }

    void AddProperty(const CProperty& property);
    CProperty& GetProperty(unsigned int index);
    unsigned int GetPropertyCount() const;
    void ClearProperties();

    void AddLogicalDrive(const CLogicalDrive& drive);
    CLogicalDrive& GetLogicalDrive(unsigned int index);
    unsigned int GetLogicalDriveCount() const;
    void ClearLogicalDrives();

    void AddLevel(const CLevel& level);
    CLevel& GetLevel(unsigned int index);
    unsigned int GetLevelCount() const;
    void ClearLevels();

    void AddMigration(const CMigration& migration);
    CMigration& GetMigration(unsigned int index);
    unsigned int GetMigrationCount() const;
    void ClearMigrations();

    void AddEvent(const CEvent& event);
    CEvent& GetEvent(unsigned int index);
    unsigned int GetEventCount() const;
    void ClearEvents();

    void AddPassThrough(const CPassThrough& passThrough);
    CPassThrough& GetPassThrough(unsigned int index);
    unsigned int GetPassThroughCount() const;
    void ClearPassThroughs();

    void AddPartition(const CPartition& partition);
    CPartition& GetPartition(unsigned int index);
    unsigned int GetPartitionCount() const;
    void ClearPartitions();

    void AddObject(const CObject& object);
    CObject& GetObject(unsigned int index);
    unsigned int GetObjectCount() const;
    void ClearObjects();
};

} // namespace PI
