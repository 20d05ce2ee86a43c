#include "PI/Operation.h"
#include "PI/Internal/RecordDescription.h"

#include "RecordList.h"

namespace PI {

using Internal::CheckedGet;
using Internal::ListCount;

COperation::COperation()
    : Attribute1(1), Attribute2(1), Attribute3(0), Setting1(1), Setting2(1), Setting3(1),
      Setting4(1), Setting5(-1), Setting6(1), Setting7(1), Setting8(1), Flag(false), Setting9(1) {}

COperation::COperation(const COperation& other) = default;
COperation::COperation(COperation&& other) noexcept = default;
COperation& COperation::operator=(const COperation& other) = default;
COperation& COperation::operator=(COperation&& other) noexcept = default;
COperation::~COperation() = default;

bool COperation::operator==(const COperation& other) const {
    return Records::EqualByDescription(*this, other);
}

void COperation::AddProperty(const CProperty& property) {
    Properties.push_back(property);
}
CProperty& COperation::GetProperty(unsigned int index) {
    return CheckedGet(Properties, index, __LINE__);
}
unsigned int COperation::GetPropertyCount() const {
    return ListCount(Properties);
}
void COperation::ClearProperties() {
    Properties.clear();
}

void COperation::AddLogicalDrive(const CLogicalDrive& drive) {
    LogicalDrives.push_back(drive);
}
CLogicalDrive& COperation::GetLogicalDrive(unsigned int index) {
    return CheckedGet(LogicalDrives, index, __LINE__);
}
unsigned int COperation::GetLogicalDriveCount() const {
    return ListCount(LogicalDrives);
}
void COperation::ClearLogicalDrives() {
    LogicalDrives.clear();
}

void COperation::AddLevel(const CLevel& level) {
    Levels.push_back(level);
}
CLevel& COperation::GetLevel(unsigned int index) {
    return CheckedGet(Levels, index, __LINE__);
}
unsigned int COperation::GetLevelCount() const {
    return ListCount(Levels);
}
void COperation::ClearLevels() {
    Levels.clear();
}

void COperation::AddMigration(const CMigration& migration) {
    Migrations.push_back(migration);
}
CMigration& COperation::GetMigration(unsigned int index) {
    return CheckedGet(Migrations, index, __LINE__);
}
unsigned int COperation::GetMigrationCount() const {
    return ListCount(Migrations);
}
void COperation::ClearMigrations() {
    Migrations.clear();
}

void COperation::AddEvent(const CEvent& event) {
    Events.push_back(event);
}
CEvent& COperation::GetEvent(unsigned int index) {
    return CheckedGet(Events, index, __LINE__);
}
unsigned int COperation::GetEventCount() const {
    return ListCount(Events);
}
void COperation::ClearEvents() {
    Events.clear();
}

void COperation::AddPassThrough(const CPassThrough& passThrough) {
    PassThroughs.push_back(passThrough);
}
CPassThrough& COperation::GetPassThrough(unsigned int index) {
    return CheckedGet(PassThroughs, index, __LINE__);
}
unsigned int COperation::GetPassThroughCount() const {
    return ListCount(PassThroughs);
}
void COperation::ClearPassThroughs() {
    PassThroughs.clear();
}

void COperation::AddPartition(const CPartition& partition) {
    Partitions.push_back(partition);
}
CPartition& COperation::GetPartition(unsigned int index) {
    return CheckedGet(Partitions, index, __LINE__);
}
unsigned int COperation::GetPartitionCount() const {
    return ListCount(Partitions);
}
void COperation::ClearPartitions() {
    Partitions.clear();
}

// Only the object part is kept: a task added here is stored as a plain object.
void COperation::AddObject(const CObject& object) {
    Objects.push_back(object);
}
CObject& COperation::GetObject(unsigned int index) {
    return CheckedGet(Objects, index, __LINE__);
}
unsigned int COperation::GetObjectCount() const {
    return ListCount(Objects);
}
void COperation::ClearObjects() {
    Objects.clear();
}

} // namespace PI
