#pragma once

// Reaches the stored and resolved placeholders that the event keeps to
// itself (the event names this class its friend).
#include <PI/Event.h>
#include <RVX/Strings.h>

namespace PI {
class CEventRawAccess {
public:
    static RVX::Strings::CStringVar& Stored(CEvent& event, unsigned int slot) {
        return event.m_PlaceHolders[slot];
    }
    static const RVX::Strings::CStringVar& Resolved(const CEvent& event, unsigned int slot) {
        return event.m_Resolved[slot];
    }
};
} // namespace PI
