#pragma once

// Reaches the stored and resolved placeholders that an event keeps to
// itself (the event names this class its friend). Code of this tree that
// carries events in their stored form uses it: the record description and
// its views, tests and fuzz checks. Not installed: it is no part of the API.
#include "PI/Event.h"

#include <RVX/Strings.h>

#include <boost/lexical_cast.hpp>

#include <string_view>

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

// How a stored placeholder reads, the one rule for the event's getters and
// every view: "T:" and a text gives the text, "I:" and a number the language
// string of that number; anything else, also a bare "T:" or "I:", reads as
// stored.
struct CStoredPlaceholder {
    char Tag;                 // 'T', 'I', or 0 for a placeholder read as stored
    std::string_view Payload; // what follows the tag, or all of it
};
inline CStoredPlaceholder SplitPlaceholder(std::string_view stored) noexcept {
    if (stored.size() >= 3 && stored[1] == ':' && (stored[0] == 'T' || stored[0] == 'I'))
        return {stored[0], stored.substr(2)};
    return {0, stored};
}
// The language-string number of an 'I' placeholder's payload; throws
// boost::bad_lexical_cast when it is not one.
inline unsigned int PlaceholderStringId(std::string_view payload) {
    return boost::lexical_cast<unsigned int>(payload.data(), payload.size());
}
} // namespace PI
