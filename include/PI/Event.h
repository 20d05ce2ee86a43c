#pragma once

#include "PI/Export.h"

#include <RVX/Strings.h>

#include <string>

namespace PI {

// One event: five numbers by which events are compared, three texts, a
// further number and six message placeholders. A placeholder holds a
// literal text ("T:text") or a language-string id ("I:number"); ids are
// turned into text only when read, in the language current at that moment.
class PI_API CEvent {
public:
    long long Scalar1;
    int Scalar2;
    int Scalar3;
    int Scalar4;
    long long Scalar5;

private:
    static constexpr unsigned int PLACEHOLDER_COUNT = 6;
    RVX::Strings::TString<16> m_PlaceHolders[PLACEHOLDER_COUNT];

public:
    RVX::Strings::TString<16> Text1;
    RVX::Strings::TString<16> Text2;
    RVX::Strings::TString<16> Text3;
    int Scalar6;

private:
    // What the getters last produced; owned by this event and never copied.
    RVX::Strings::TString<16> m_Resolved[PLACEHOLDER_COUNT];

public:
    CEvent();
    // A copy starts with empty resolved texts; assignment keeps the target's.
    CEvent(const CEvent& other);
    CEvent(CEvent&& other) noexcept;
    CEvent& operator=(const CEvent& other);
    CEvent& operator=(CEvent&& other) noexcept;
    virtual ~CEvent();

    // Only Scalar1 to Scalar5 take part.
    bool operator==(const CEvent& other) const;
    bool operator!=(const CEvent& other) const { return !(*this == other); }

    // Texts are stored as "T:%s", language-string ids as "I:%d". The
    // const char* forms only save callers from choosing a text type.
    void SetPlaceHolder1(const RVX::Strings::CStringRef& text) { SetText(0, text); }
    void SetPlaceHolder1(const std::string& text) { SetText(0, text); }
    void SetPlaceHolder1(const char* text) { SetText(0, text); }
    void SetPlaceHolder1(int id) { SetId(0, id); }
    void SetPlaceHolder2(const RVX::Strings::CStringRef& text) { SetText(1, text); }
    void SetPlaceHolder2(const std::string& text) { SetText(1, text); }
    void SetPlaceHolder2(const char* text) { SetText(1, text); }
    void SetPlaceHolder2(int id) { SetId(1, id); }
    void SetPlaceHolder3(const RVX::Strings::CStringRef& text) { SetText(2, text); }
    void SetPlaceHolder3(const std::string& text) { SetText(2, text); }
    void SetPlaceHolder3(const char* text) { SetText(2, text); }
    void SetPlaceHolder3(int id) { SetId(2, id); }
    void SetPlaceHolder4(const RVX::Strings::CStringRef& text) { SetText(3, text); }
    void SetPlaceHolder4(const std::string& text) { SetText(3, text); }
    void SetPlaceHolder4(const char* text) { SetText(3, text); }
    void SetPlaceHolder4(int id) { SetId(3, id); }
    void SetPlaceHolder5(const RVX::Strings::CStringRef& text) { SetText(4, text); }
    void SetPlaceHolder5(const std::string& text) { SetText(4, text); }
    void SetPlaceHolder5(const char* text) { SetText(4, text); }
    void SetPlaceHolder5(int id) { SetId(4, id); }
    void SetPlaceHolder6(const RVX::Strings::CStringRef& text) { SetText(5, text); }
    void SetPlaceHolder6(const std::string& text) { SetText(5, text); }
    void SetPlaceHolder6(const char* text) { SetText(5, text); }
    void SetPlaceHolder6(int id) { SetId(5, id); }

    // Resolves the stored placeholder into this event's resolved text and
    // returns it: "I:n" gives language string n, "T:text" gives the text,
    // anything else (also a bare "T:" or "I:") comes back as stored. A
    // non-numeric id throws boost::bad_lexical_cast and leaves the resolved
    // text as it was.
    const RVX::Strings::TString<16>& GetPlaceHolder1() { return Resolve(0); }
    const RVX::Strings::TString<16>& GetPlaceHolder2() { return Resolve(1); }
    const RVX::Strings::TString<16>& GetPlaceHolder3() { return Resolve(2); }
    const RVX::Strings::TString<16>& GetPlaceHolder4() { return Resolve(3); }
    const RVX::Strings::TString<16>& GetPlaceHolder5() { return Resolve(4); }
    const RVX::Strings::TString<16>& GetPlaceHolder6() { return Resolve(5); }

private:
    // Code that carries events in their stored form (and the tests) reaches
    // the raw placeholders through this class; the library defines none.
    friend class CEventRawAccess;

    void SetText(unsigned int slot, const RVX::Strings::CStringRef& text);
    void SetId(unsigned int slot, int id);
    const RVX::Strings::TString<16>& Resolve(unsigned int slot);
};

} // namespace PI
