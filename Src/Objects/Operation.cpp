#include "PI/Operation.h"

#include "RecordList.h"

#include <algorithm>

namespace PI {

using Internal::CheckedGet;
using Internal::ListCount;

namespace {

bool SameValues(const std::vector<CPassThrough>& a, const std::vector<CPassThrough>& b) {
    return std::equal(
        a.begin(), a.end(), b.begin(), b.end(),
        [](const CPassThrough& x, const CPassThrough& y) { return x.Value == y.Value; });
}

} // namespace

COperation::COperation()
    : Attribute1(1), Attribute2(1), Attribute3(0), Setting1(1), Setting2(1), Setting3(1),
      Setting4(1), Setting5(-1), Setting6(1), Setting7(1), Setting8(1), Flag(false), Setting9(1) {}

COperation::COperation(const COperation& other) = default;
COperation::COperation(COperation&& other) noexcept = default;
COperation& COperation::operator=(const COperation& other) = default;
COperation& COperation::operator=(COperation&& other) noexcept = default;
COperation::~COperation() = default;

bool COperation::operator==(const COperation& other) const {
    return Attribute1 == other.Attribute1 && Attribute2 == other.Attribute2 &&
           Attribute3 == other.Attribute3 && Properties == other.Properties &&
           LogicalDrives == other.LogicalDrives && Levels == other.Levels &&
           Migrations == other.Migrations && Events == other.Events &&
           SameValues(PassThroughs, other.PassThroughs) && Partitions == other.Partitions &&
           Objects == other.Objects && Setting1 == other.Setting1 && Setting2 == other.Setting2 &&
           Setting3 == other.Setting3 && Setting4 == other.Setting4 && Setting5 == other.Setting5 &&
           Setting6 == other.Setting6 && Setting7 == other.Setting7 && Setting8 == other.Setting8 &&
           Flag == other.Flag && Setting9 == other.Setting9;
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
