#pragma once

// Event placeholders on arbitrary stored text. The input, cut at line
// breaks, gives the stored form of the six placeholders (as events carried
// in their stored form arrive). Each getter gives the language string of an
// "I:" number, the text after "T:", or the stored text itself; a number
// that is not one throws boost::bad_lexical_cast and leaves the resolved
// text as it was. Copies resolve alike; the setters store what they say.

#include "Check.h"
#include "EventRawAccess.h"

#include <PI/Event.h>
#include <RVX/Language.h>
#include <RVX/Strings.h>

#include <boost/lexical_cast.hpp>

#include <climits>
#include <cstring>
#include <string>

namespace pi_fuzz {

// Each slot through its own public getter and setters (slots past the sixth
// go to the sixth).
template <class Value> using Setter = void (PI::CEvent::*)(Value);

inline const RVX::Strings::TString<16>& GetPlaceHolder(PI::CEvent& event, unsigned int slot) {
    static constexpr const RVX::Strings::TString<16>& (PI::CEvent::*getters[])() = {
        &PI::CEvent::GetPlaceHolder1, &PI::CEvent::GetPlaceHolder2, &PI::CEvent::GetPlaceHolder3,
        &PI::CEvent::GetPlaceHolder4, &PI::CEvent::GetPlaceHolder5, &PI::CEvent::GetPlaceHolder6};
    return (event.*getters[slot < 6 ? slot : 5])();
}

template <class Value> void SetPlaceHolder(PI::CEvent& event, unsigned int slot, Value value) {
    static constexpr Setter<Value> setters[] = {
        &PI::CEvent::SetPlaceHolder1, &PI::CEvent::SetPlaceHolder2, &PI::CEvent::SetPlaceHolder3,
        &PI::CEvent::SetPlaceHolder4, &PI::CEvent::SetPlaceHolder5, &PI::CEvent::SetPlaceHolder6};
    (event.*setters[slot < 6 ? slot : 5])(value);
}

// A decimal number with an optional sign, "-" negating in unsigned 32-bit
// arithmetic; false for anything else, also for a magnitude above 32 bits.
inline bool ParseId(const std::string& text, unsigned int& id) {
    size_t i = 0;
    const bool negative = !text.empty() && text[0] == '-';
    if (!text.empty() && (text[0] == '-' || text[0] == '+'))
        i = 1;
    if (i == text.size())
        return false;
    unsigned long long magnitude = 0;
    for (; i < text.size(); ++i) {
        if (text[i] < '0' || text[i] > '9')
            return false;
        magnitude = magnitude * 10 + static_cast<unsigned int>(text[i] - '0');
        if (magnitude > UINT_MAX)
            return false;
    }
    id =
        negative ? 0u - static_cast<unsigned int>(magnitude) : static_cast<unsigned int>(magnitude);
    return true;
}

// What the getter of a placeholder stored as `stored` gives; false when it
// must throw.
inline bool ExpectedPlaceHolder(const std::string& stored, std::string& expected) {
    if (stored.size() >= 3 && stored.compare(0, 2, "I:") == 0) {
        unsigned int id = 0;
        if (!ParseId(stored.substr(2), id))
            return false;
        RVX::Strings::CStringVar text;
        RVX::Language_Support::CLanguageSupport::ResolveString(id, text);
        expected = text.Str();
        return true;
    }
    if (stored.size() >= 3 && stored.compare(0, 2, "T:") == 0) {
        expected = stored.substr(2);
        return true;
    }
    expected = stored;
    return true;
}

// Reads every placeholder of `event` and checks it against its stored form.
inline void CheckResolved(PI::CEvent& event, const std::string& where) {
    for (unsigned int slot = 0; slot < 6; ++slot) {
        const std::string stored = PI::CEventRawAccess::Stored(event, slot).Str();
        const std::string previous = PI::CEventRawAccess::Resolved(event, slot).Str();
        std::string expected;
        const bool resolves = ExpectedPlaceHolder(stored, expected);
        const std::string at =
            " placeholder " + std::to_string(slot + 1) + " stored as " + Printable(stored) + where;
        try {
            const RVX::Strings::TString<16>& got = GetPlaceHolder(event, slot);
            PI_FUZZ_CHECK(resolves, "no exception for" + at);
            PI_FUZZ_CHECK(got.Str() == expected, "got " + Printable(got.Str()) + " for" + at);
            PI_FUZZ_CHECK(&got == &PI::CEventRawAccess::Resolved(event, slot),
                          "not the event's text" + at);
        } catch (const boost::bad_lexical_cast&) {
            PI_FUZZ_CHECK(!resolves, "bad_lexical_cast for" + at);
            PI_FUZZ_CHECK(PI::CEventRawAccess::Resolved(event, slot).Str() == previous,
                          "a failed read changed the resolved text of" + at);
        }
    }
}

inline void CheckEventPlaceholders(const std::uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::string where = " in " + Printable(input);
    const std::vector<std::string> fields = Fields(data, size, '\n');

    PI::CEvent event;
    event.Scalar1 = static_cast<long long>(size);
    for (unsigned int slot = 0; slot < 6; ++slot)
        PI::CEventRawAccess::Stored(event, slot) = fields[slot % fields.size()];
    CheckResolved(event, where);
    CheckResolved(event, where); // again, over the texts of the first reads

    // A copy starts with nothing resolved and resolves alike.
    PI::CEvent copy(event);
    PI_FUZZ_CHECK(copy == event, "a copy is unequal" + where);
    for (unsigned int slot = 0; slot < 6; ++slot) {
        PI_FUZZ_CHECK(PI::CEventRawAccess::Resolved(copy, slot).IsEmpty(),
                      "copied resolved text" + where);
        PI_FUZZ_CHECK(PI::CEventRawAccess::Stored(copy, slot).Str() ==
                          PI::CEventRawAccess::Stored(event, slot).Str(),
                      "copied stored text" + where);
    }
    CheckResolved(copy, where);

    // Assignment copies the stored texts and keeps the target's resolved ones.
    PI::CEvent target;
    target.SetPlaceHolder1("kept");
    target.GetPlaceHolder1();
    target = event;
    PI_FUZZ_CHECK(PI::CEventRawAccess::Resolved(target, 0).Str() == "kept",
                  "assignment replaced a resolved text" + where);
    CheckResolved(target, where);

    // The setters: a text is stored as "T:" + text, a number as "I:" + number.
    Random random(data, size);
    for (unsigned int slot = 0; slot < 6; ++slot) {
        if (random.Below(2) == 0) {
            const std::string& text =
                fields[random.Below(static_cast<std::uint32_t>(fields.size()))];
            SetPlaceHolder<const std::string&>(event, slot, text);
            PI_FUZZ_CHECK(PI::CEventRawAccess::Stored(event, slot).Str() == "T:" + text,
                          "stored text of " + Printable(text) + where);
            std::string expected;
            ExpectedPlaceHolder("T:" + text, expected); // a bare "T:" reads as itself
            PI_FUZZ_CHECK(GetPlaceHolder(event, slot).Str() == expected, "text read back" + where);
        } else {
            const int id = static_cast<int>(random.Next() ^ (random.Next() << 16));
            SetPlaceHolder<int>(event, slot, id);
            PI_FUZZ_CHECK(PI::CEventRawAccess::Stored(event, slot).Str() ==
                              "I:" + std::to_string(id),
                          "stored id " + std::to_string(id) + where);
            RVX::Strings::CStringVar expected;
            RVX::Language_Support::CLanguageSupport::ResolveString(static_cast<unsigned int>(id),
                                                                   expected);
            PI_FUZZ_CHECK(GetPlaceHolder(event, slot).Str() == expected.Str(),
                          "id read back" + where);
        }
    }
}

} // namespace pi_fuzz
