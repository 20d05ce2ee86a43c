#pragma once

// Reaches the stored and resolved placeholders that an event keeps to
// itself (the event names this class its friend). Code that carries events
// in their stored form uses it: the interchange form, tests, fuzz checks.
#include "PI/Event.h"

#include <RVX/Strings.h>

namespace PI {
class CEventRawAccess {
public:
    static constexpr unsigned int SLOTS = 6;

    static RVX::Strings::CStringVar& Stored(CEvent& event, unsigned int slot) {
        return event.m_PlaceHolders[slot];
    }
    static const RVX::Strings::CStringVar& Stored(const CEvent& event, unsigned int slot) {
        return event.m_PlaceHolders[slot];
    }
    static const RVX::Strings::CStringVar& Resolved(const CEvent& event, unsigned int slot) {
        return event.m_Resolved[slot];
    }
};
} // namespace PI
