#include "PI/Task.h"
#include "PI/Internal/RecordDescription.h"

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
    return Records::EqualByDescription(*this, other);
}

CPartition::CPartition() : Attribute1(0), Attribute2(0), Attribute3(0) {}

CPartition::CPartition(const CPartition& other) = default;
CPartition::CPartition(CPartition&& other) noexcept = default;
CPartition& CPartition::operator=(const CPartition& other) = default;
CPartition& CPartition::operator=(CPartition&& other) noexcept = default;
CPartition::~CPartition() = default;

bool CPartition::operator==(const CPartition& other) const {
    return Records::EqualByDescription(*this, other);
}

CPassThrough::~CPassThrough() = default;

} // namespace PI
