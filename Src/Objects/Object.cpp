#include "PI/Object.h"
#include "PI/Internal/RecordDescription.h"

#include "RecordList.h"

namespace PI {

using Internal::CheckedGetValue;
using Internal::ListCount;

CObject::CObject() : CObject(0, static_cast<_OBJECT_TYPE>(1)) {}

CObject::CObject(unsigned long long id, _OBJECT_TYPE type)
    : ObjectID(id), ObjectType(type), Value64(0), Flag(false) {}

CObject::CObject(const CObject& other) = default;
CObject::CObject(CObject&& other) noexcept = default;
CObject& CObject::operator=(const CObject& other) = default;
CObject& CObject::operator=(CObject&& other) noexcept = default;
CObject::~CObject() = default;

bool CObject::operator==(const CObject& other) const {
    return Records::EqualByDescription(*this, other);
}

void CObject::AddParent(unsigned long long id) {
    Parents.push_back(id);
}

unsigned long long CObject::GetParent(unsigned int index) const {
    return CheckedGetValue(Parents, index, __LINE__);
}

unsigned int CObject::GetParentCount() const {
    return ListCount(Parents);
}

void CObject::ClearParents() {
    Parents.clear();
}

void CObject::AddChild(unsigned long long id) {
    Children.push_back(id);
}

unsigned long long CObject::GetChild(unsigned int index) const {
    return CheckedGetValue(Children, index, __LINE__);
}

unsigned int CObject::GetChildCount() const {
    return ListCount(Children);
}

void CObject::ClearChildren() {
    Children.clear();
}

} // namespace PI
