#include "PI/Level.h"
#include "PI/Internal/RecordDescription.h"

#include "RecordList.h"

namespace PI {

using Internal::CheckedGet;
using Internal::ListCount;

CLevel::CLevel()
    : Attribute0(0), Attribute1(0), Attribute2(0), Attribute3(0), Attribute4(0), Attribute5(0),
      Size1(0), Size2(0), Units(UNITS_LOGICAL_DRIVE_DEFAULT), Attribute6(0), Attribute7(0),
      Flag(true), Attribute8(0) {}

CLevel::CLevel(const CLevel& other) = default;
CLevel::CLevel(CLevel&& other) noexcept = default;
CLevel& CLevel::operator=(const CLevel& other) = default;
CLevel& CLevel::operator=(CLevel&& other) noexcept = default;
CLevel::~CLevel() = default;

bool CLevel::operator==(const CLevel& other) const {
    return Records::EqualByDescription(*this, other);
}

void CLevel::AddStripeSize(int size) {
    StripeSizes.push_back(size);
}

int& CLevel::GetStripeSize(unsigned int index) {
    return CheckedGet(StripeSizes, index, __LINE__);
}

unsigned int CLevel::GetStripeSizeCount() const {
    return ListCount(StripeSizes);
}

void CLevel::ClearStripeSizes() {
    StripeSizes.clear();
}

void CLevel::AddProperty(const CProperty& property) {
    Properties.push_back(property);
}

CProperty& CLevel::GetProperty(unsigned int index) {
    return CheckedGet(Properties, index, __LINE__);
}

unsigned int CLevel::GetPropertyCount() const {
    return ListCount(Properties);
}

void CLevel::ClearProperties() {
    Properties.clear();
}

CMigration::CMigration() : Attribute1(0), Attribute2(0), Attribute3(0) {}

CMigration::CMigration(const CMigration& other) = default;
CMigration::CMigration(CMigration&& other) noexcept = default;
CMigration& CMigration::operator=(const CMigration& other) = default;
CMigration& CMigration::operator=(CMigration&& other) noexcept = default;
CMigration::~CMigration() = default;

bool CMigration::operator==(const CMigration& other) const {
    return Records::EqualByDescription(*this, other);
}

void CMigration::AddProperty(const CProperty& property) {
    Properties.push_back(property);
}

CProperty& CMigration::GetProperty(unsigned int index) {
    return CheckedGet(Properties, index, __LINE__);
}

unsigned int CMigration::GetPropertyCount() const {
    return ListCount(Properties);
}

void CMigration::ClearProperties() {
    Properties.clear();
}

} // namespace PI
