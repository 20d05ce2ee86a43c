#include "PI/Event.h"
#include "PI/Internal/EventRawAccess.h"
#include "PI/Internal/RecordDescription.h"

#include <RVX/FormatStream.h>
#include <RVX/Language.h>

#include <utility>

namespace PI {

CEvent::CEvent() : Scalar1(0), Scalar2(10000), Scalar3(2), Scalar4(1), Scalar5(0), Scalar6(0) {}

CEvent::CEvent(const CEvent& other)
    : Scalar1(other.Scalar1), Scalar2(other.Scalar2), Scalar3(other.Scalar3),
      Scalar4(other.Scalar4), Scalar5(other.Scalar5), Text1(other.Text1), Text2(other.Text2),
      Text3(other.Text3), Scalar6(other.Scalar6) {
    for (unsigned int slot = 0; slot < PLACEHOLDER_COUNT; ++slot)
        m_PlaceHolders[slot] = other.m_PlaceHolders[slot];
}

CEvent::CEvent(CEvent&& other) noexcept
    : Scalar1(other.Scalar1), Scalar2(other.Scalar2), Scalar3(other.Scalar3),
      Scalar4(other.Scalar4), Scalar5(other.Scalar5), Text1(std::move(other.Text1)),
      Text2(std::move(other.Text2)), Text3(std::move(other.Text3)), Scalar6(other.Scalar6) {
    for (unsigned int slot = 0; slot < PLACEHOLDER_COUNT; ++slot)
        m_PlaceHolders[slot] = std::move(other.m_PlaceHolders[slot]);
}

// The resolved texts belong to the event that produced them; assignment
// leaves the target's own.
CEvent& CEvent::operator=(const CEvent& other) {
    if (this == &other)
        return *this;
    Scalar1 = other.Scalar1;
    Scalar2 = other.Scalar2;
    Scalar3 = other.Scalar3;
    Scalar4 = other.Scalar4;
    Scalar5 = other.Scalar5;
    for (unsigned int slot = 0; slot < PLACEHOLDER_COUNT; ++slot)
        m_PlaceHolders[slot] = other.m_PlaceHolders[slot];
    Text1 = other.Text1;
    Text2 = other.Text2;
    Text3 = other.Text3;
    Scalar6 = other.Scalar6;
    return *this;
}

CEvent& CEvent::operator=(CEvent&& other) noexcept {
    if (this == &other)
        return *this;
    Scalar1 = other.Scalar1;
    Scalar2 = other.Scalar2;
    Scalar3 = other.Scalar3;
    Scalar4 = other.Scalar4;
    Scalar5 = other.Scalar5;
    for (unsigned int slot = 0; slot < PLACEHOLDER_COUNT; ++slot)
        m_PlaceHolders[slot] = std::move(other.m_PlaceHolders[slot]);
    Text1 = std::move(other.Text1);
    Text2 = std::move(other.Text2);
    Text3 = std::move(other.Text3);
    Scalar6 = other.Scalar6;
    return *this;
}

CEvent::~CEvent() = default;

bool CEvent::operator==(const CEvent& other) const {
    return Records::EqualByDescription(*this, other);
}

void CEvent::SetText(unsigned int slot, const RVX::Strings::CStringRef& text) {
    m_PlaceHolders[slot].Format("T:%s").FormatStr(text);
}

void CEvent::SetId(unsigned int slot, int id) {
    m_PlaceHolders[slot].Format("I:%d").FormatInt(id);
}

const RVX::Strings::TString<16>& CEvent::Resolve(unsigned int slot) {
    const std::string& stored = m_PlaceHolders[slot].Str();
    RVX::Strings::TString<16>& resolved = m_Resolved[slot];
    const CStoredPlaceholder split = SplitPlaceholder(stored);
    if (split.Tag == 'I') {
        // Converted before anything is written, so a bad id leaves the
        // previous text in place.
        const unsigned int id = PlaceholderStringId(split.Payload);
        RVX::Language_Support::CLanguageSupport::ResolveString(id, resolved);
    } else {
        resolved.Str().assign(split.Payload.data(), split.Payload.size());
    }
    return resolved;
}

} // namespace PI
