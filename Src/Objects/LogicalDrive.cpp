#include "PI/LogicalDrive.h"
#include "PI/Internal/RecordDescription.h"

#if defined(PI_WITH_TEST_HOOKS)
#include "PI/ScanHook.h"
#endif

#include "LogicalDriveScan.h"
#include "RecordList.h"

#include <RVX/Markup.h>

#include <boost/lexical_cast.hpp>

#include <string>
#include <vector>

namespace PI {

using Internal::CheckedGet;
using Internal::ListCount;

// ---- CDrive ----

CDrive::CDrive()
    : ObjectID(0), StartAddress(0), UsedSize(0), Attribute1(0), Attribute2(0), Flag(true) {}

CDrive::CDrive(const CDrive& other) = default;
CDrive::CDrive(CDrive&& other) noexcept = default;
CDrive& CDrive::operator=(const CDrive& other) = default;
CDrive& CDrive::operator=(CDrive&& other) noexcept = default;
CDrive::~CDrive() = default;

bool CDrive::operator<(const CDrive& other) const {
    if (ObjectID != other.ObjectID)
        return ObjectID < other.ObjectID;
    return StartAddress < other.StartAddress;
}

bool CDrive::operator==(const CDrive& other) const {
    return Records::EqualByDescription(*this, other);
}

void CDrive::AddProperty(const CProperty& property) {
    Properties.push_back(property);
}

CProperty& CDrive::GetProperty(unsigned int index) {
    return CheckedGet(Properties, index, __LINE__);
}

unsigned int CDrive::GetPropertyCount() const {
    return ListCount(Properties);
}

void CDrive::ClearProperties() {
    Properties.clear();
}

// ---- CContainer ----

CContainer::CContainer() = default;
CContainer::CContainer(const CContainer& other) = default;
CContainer::CContainer(CContainer&& other) noexcept = default;
CContainer& CContainer::operator=(const CContainer& other) = default;
CContainer& CContainer::operator=(CContainer&& other) noexcept = default;
CContainer::~CContainer() = default;

bool CContainer::operator==(const CContainer& other) const {
    return Records::EqualByDescription(*this, other);
}

void CContainer::AddDrive(const CDrive& drive) {
    Drives.push_back(drive);
}

CDrive& CContainer::GetDrive(unsigned int index) {
    return CheckedGet(Drives, index, __LINE__);
}

unsigned int CContainer::GetDriveCount() const {
    return ListCount(Drives);
}

void CContainer::ClearDrives() {
    Drives.clear();
}

// ---- CLogicalDrive ----

namespace {

// boost::lexical_cast<unsigned long long> of `text`, with the common case
// done here: an optional sign and the plain decimal number that the direct
// reading takes too, which the cast takes alike in every locale (it checks
// digit grouping only at separators). A minus wraps the value round, as the
// cast does. Everything else (empty, blanks, separators, more digits or a
// larger value, any other character) goes to the cast itself, so what is
// refused and the bad_lexical_cast thrown stay exactly the cast's.
[[gnu::noinline]] unsigned long long CastToNumber(const char* text) {
    return boost::lexical_cast<unsigned long long>(std::string(text));
}

unsigned long long ToNumber(const char* text) {
    const char* p = text + (*text == '-' || *text == '+');
    unsigned long long value;
    if (!Internal::ReadDecimal(p, value) || *p != '\0')
        return CastToNumber(text);
    return *text == '-' ? 0ull - value : value;
}

unsigned long long NumberAttribute(const RVX::XML::CMarkup& markup, const char* name) {
    return ToNumber(markup.GetAttribText(name));
}

// Appends the "ObjectID" of every `item` child of the top-level element
// `list`, when the document has one.
void ReadIdList(RVX::XML::CMarkup& markup, const char* list, const char* item,
                std::vector<unsigned long long>& ids) {
    markup.x_SetPos(0, 0, 0);
    if (!markup.FindElem(list))
        return;
    markup.IntoElem();
    static const char* const kObjectID[] = {"ObjectID"};
    std::vector<const char*> texts;
    markup.FindElemAttribTexts(item, kObjectID, 1, texts);
    for (const char* text : texts) // in document order: the first refused one throws
        ids.push_back(ToNumber(text));
    markup.OutOfElem();
}

#if defined(PI_WITH_TEST_HOOKS)
thread_local bool t_ScanAllowed = true;
thread_local unsigned long long t_Scans = 0;
#endif

// The direct reading of the usual shape, where the tests allow it.
bool Scanned(const std::string& xml, CLogicalDrive& drive) {
#if defined(PI_WITH_TEST_HOOKS)
    if (!t_ScanAllowed || !Internal::ScanLogicalDrive(xml, drive))
        return false;
    ++t_Scans;
    return true;
#else
    return Internal::ScanLogicalDrive(xml, drive);
#endif
}

} // namespace

#if defined(PI_WITH_TEST_HOOKS)
namespace Test {

bool SetLogicalDriveScan(bool allowed) noexcept {
    t_ScanAllowed = allowed;
    return true;
}

unsigned long long LogicalDriveScanCount() noexcept {
    return t_Scans;
}
} // namespace Test
#endif

CLogicalDrive::CLogicalDrive()
    : Attribute1(0), Attribute2(0), Size(0), Units(UNITS_LOGICAL_DRIVE_DEFAULT) {}

CLogicalDrive::CLogicalDrive(const std::string& xml) : CLogicalDrive() {
    // A document of the usual shape is read straight from its text; any
    // other goes through the markup parser, which decides what it means.
    if (Scanned(xml, *this))
        return;
    // A container's drives are read as texts, three per drive, and then
    // made at their full number at once. (Made while the document is open,
    // the record stands below the document's memory in the heap, which then
    // stays in use from one document to the next rather than being given
    // back and faulted in again.)
    std::vector<const char*> texts; // a container's, reused
    {
        RVX::XML::CMarkup markup;
        if (!markup.ReadDoc(xml)) // the text itself is not needed again
            return;

        // The root's attributes are read wherever the search left the
        // position: without a root they are missing and the conversion
        // refuses them.
        markup.FindElem("LogicalDriveConfiguration");
        Size = NumberAttribute(markup, "Size");
        // Units travel as a 64-bit number; the unit itself is 32 bits wide.
        Units = static_cast<_UNITS>(
            static_cast<int>(static_cast<unsigned int>(NumberAttribute(markup, "Units"))));

        markup.IntoElem();
        if (markup.FindElem("Containers")) {
            markup.IntoElem();
            static const char* const kDriveNumbers[] = {"ObjectID", "StartAddress", "UsedSize"};
            while (markup.FindElem("Container")) {
                markup.IntoElem();
                texts.clear();
                markup.FindElemAttribTexts("Drive", kDriveNumbers, 3, texts);
                markup.OutOfElem();
                // In document order, a drive's in the order above: the first
                // refused one throws.
                Containers.emplace_back();
                std::vector<CDrive>& drives = Containers.back().Drives;
                drives.resize(texts.size() / 3);
                const char* const* text = texts.data();
                for (CDrive& drive : drives) {
                    drive.ObjectID = ToNumber(text[0]);
                    drive.StartAddress = ToNumber(text[1]);
                    drive.UsedSize = ToNumber(text[2]);
                    text += 3;
                }
            }
            markup.OutOfElem();
        }

        // Spares and associations are looked up afresh from the top of the
        // document, so they may stand anywhere among the top-level elements.
        ReadIdList(markup, "GlobalHotSpares", "Drive", GHS);
        ReadIdList(markup, "DedicatedHotSpares", "Drive", DHS);
        ReadIdList(markup, "AssociatedLogicalDrives", "LogicalDrive", ALD);
        markup.OutOfElem();
    }
}

CLogicalDrive::CLogicalDrive(const CLogicalDrive& other) = default;
CLogicalDrive::CLogicalDrive(CLogicalDrive&& other) noexcept = default;
CLogicalDrive& CLogicalDrive::operator=(const CLogicalDrive& other) = default;
CLogicalDrive& CLogicalDrive::operator=(CLogicalDrive&& other) noexcept = default;
CLogicalDrive::~CLogicalDrive() = default;

// Spares and associated drives stay out on purpose: a drive whose spares
// changed is still the same drive.
bool CLogicalDrive::operator==(const CLogicalDrive& other) const {
    return Records::EqualByDescription(*this, other);
}

void CLogicalDrive::AddProperty(const CProperty& property) {
    Properties.push_back(property);
}

CProperty& CLogicalDrive::GetProperty(unsigned int index) {
    return CheckedGet(Properties, index, __LINE__);
}

unsigned int CLogicalDrive::GetPropertyCount() const {
    return ListCount(Properties);
}

void CLogicalDrive::ClearProperties() {
    Properties.clear();
}

void CLogicalDrive::AddContainer(const CContainer& container) {
    Containers.push_back(container);
}

CContainer& CLogicalDrive::GetContainer(unsigned int index) {
    return CheckedGet(Containers, index, __LINE__);
}

unsigned int CLogicalDrive::GetContainerCount() const {
    return ListCount(Containers);
}

void CLogicalDrive::ClearContainers() {
    Containers.clear();
}

void CLogicalDrive::AddGHS(unsigned long long id) {
    GHS.push_back(id);
}

unsigned long long& CLogicalDrive::GetGHS(unsigned int index) {
    return CheckedGet(GHS, index, __LINE__);
}

unsigned int CLogicalDrive::GetGHSCount() const {
    return ListCount(GHS);
}

void CLogicalDrive::ClearGHS() {
    GHS.clear();
}

void CLogicalDrive::AddDHS(unsigned long long id) {
    DHS.push_back(id);
}

unsigned long long& CLogicalDrive::GetDHS(unsigned int index) {
    return CheckedGet(DHS, index, __LINE__);
}

unsigned int CLogicalDrive::GetDHSCount() const {
    return ListCount(DHS);
}

void CLogicalDrive::ClearDHS() {
    DHS.clear();
}

void CLogicalDrive::AddALD(unsigned long long id) {
    ALD.push_back(id);
}

unsigned long long& CLogicalDrive::GetALD(unsigned int index) {
    return CheckedGet(ALD, index, __LINE__);
}

unsigned int CLogicalDrive::GetALDCount() const {
    return ListCount(ALD);
}

void CLogicalDrive::ClearALD() {
    ALD.clear();
}

} // namespace PI
