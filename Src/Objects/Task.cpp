#include "PI/Task.h"

#include <RVX/SystemTime.h>

namespace PI {

CTask::CTask()
    : CObject(0, OBJECT_TYPE_TASK), Attribute1(0), Attribute2(0),
      Time1(RVXX::CSystemTime_Lx::Now()), Time2(0), Time3(~0ULL), Attribute3(0), Attribute4(0),
      Attribute5(0), Flag(false), Attribute6(TASK_ATTRIBUTE_DEFAULT), Attribute7(0) {}

CTask::CTask(const CTask& other) = default;
CTask::CTask(CTask&& other) noexcept = default;
CTask& CTask::operator=(const CTask& other) = default;
CTask& CTask::operator=(CTask&& other) noexcept = default;
CTask::~CTask() = default;

bool CTask::operator==(const CTask& other) const {
    return Attribute1 == other.Attribute1 && Attribute2 == other.Attribute2 &&
           Text1 == other.Text1 && Text2 == other.Text2 && Text3 == other.Text3 &&
           Time1 == other.Time1 && Time2 == other.Time2 && Time3 == other.Time3 &&
           Attribute3 == other.Attribute3 && Attribute4 == other.Attribute4 &&
           Attribute5 == other.Attribute5 && Flag == other.Flag && Attribute7 == other.Attribute7 &&
           Attribute6 == other.Attribute6 && CObject::operator==(other);
}

CPartition::CPartition() : Attribute1(0), Attribute2(0), Attribute3(0) {}

CPartition::CPartition(const CPartition& other) = default;
CPartition::CPartition(CPartition&& other) noexcept = default;
CPartition& CPartition::operator=(const CPartition& other) = default;
CPartition& CPartition::operator=(CPartition&& other) noexcept = default;
CPartition::~CPartition() = default;

bool CPartition::operator==(const CPartition& other) const {
    return Attribute1 == other.Attribute1 && Attribute2 == other.Attribute2 &&
           Attribute3 == other.Attribute3 && Text1 == other.Text1 && Text2 == other.Text2;
}

CPassThrough::~CPassThrough() = default;

} // namespace PI
