// Event records: comparison, copies and the six message placeholders.
#include "PI/ObjectModel.h"
#include "checks/EventRawAccess.h"

#include <RVX/Language.h>
#include <RVX/Strings.h>

#include <boost/lexical_cast.hpp>
#include <gtest/gtest.h>

#include <string>

using PI::CEvent;
using PI::CEventRawAccess;
using RVX::Language_Support::CLanguageSupport;

namespace {

std::string Stored(CEvent& event, unsigned int slot) {
    return CEventRawAccess::Stored(event, slot).Str();
}

std::string Get(CEvent& event, unsigned int slot) {
    const RVX::Strings::TString<16>& (CEvent::*const getters[])() = {
        &CEvent::GetPlaceHolder1, &CEvent::GetPlaceHolder2, &CEvent::GetPlaceHolder3,
        &CEvent::GetPlaceHolder4, &CEvent::GetPlaceHolder5, &CEvent::GetPlaceHolder6};
    return (event.*getters[slot])().Str();
}

class Event : public ::testing::Test {
protected:
    void SetUp() override {
        CLanguageSupport::Clear();
        CLanguageSupport::SetString(1234, "Rebuild of %s finished");
        CLanguageSupport::SetString(7, "seven");
    }
    void TearDown() override { CLanguageSupport::Clear(); }
};

} // namespace

TEST_F(Event, NumberPlaceholdersResolveThroughTheLanguage) {
    CEvent event;
    event.SetPlaceHolder2(1234);
    EXPECT_EQ(Stored(event, 1), "I:1234");
    EXPECT_EQ(event.GetPlaceHolder2(), "Rebuild of %s finished");
    CLanguageSupport::SetString(1234, "Neuaufbau beendet"); // the language at reading time counts
    EXPECT_EQ(event.GetPlaceHolder2(), "Neuaufbau beendet");
    event.SetPlaceHolder3(99999);
    EXPECT_EQ(event.GetPlaceHolder3(), "99999") << "unknown ids fall back to the number";
    event.SetPlaceHolder4(-1);
    EXPECT_EQ(Stored(event, 3), "I:-1");
    EXPECT_EQ(event.GetPlaceHolder4(), "4294967295") << "a minus wraps as unsigned";
    // The whole unsigned range is read, beyond what the number setter writes.
    CLanguageSupport::SetString(3000000000u, "high");
    CEventRawAccess::Stored(event, 0) = "I:3000000000";
    EXPECT_EQ(event.GetPlaceHolder1(), "high");
    CEventRawAccess::Stored(event, 0) = "I:+7";
    EXPECT_EQ(event.GetPlaceHolder1(), "seven");
}

TEST_F(Event, TextPlaceholdersComeBackUnchanged) {
    CEvent event;
    event.SetPlaceHolder5(RVX::Strings::CStringRef("abc"));
    EXPECT_EQ(Stored(event, 4), "T:abc");
    EXPECT_EQ(event.GetPlaceHolder5(), "abc");
    event.SetPlaceHolder1(std::string("100%s %d done"));
    EXPECT_EQ(event.GetPlaceHolder1(), "100%s %d done");
    event.SetPlaceHolder1("I:7");
    EXPECT_EQ(Stored(event, 0), "T:I:7");
    EXPECT_EQ(event.GetPlaceHolder1(), "I:7");
    const std::string withNul("a\0b", 3);
    event.SetPlaceHolder6(RVX::Strings::CStringRef(withNul));
    EXPECT_EQ(event.GetPlaceHolder6().Str(), withNul);
    event.SetPlaceHolder6(7); // replaces the text
    EXPECT_EQ(Stored(event, 5), "I:7");

    // An empty text is stored as the bare tag and reads back as it.
    event.SetPlaceHolder1(std::string());
    EXPECT_EQ(Stored(event, 0), "T:");
    EXPECT_EQ(event.GetPlaceHolder1(), "T:");
    // Other stored forms read back as they are.
    const char* const raw[] = {"I:", "T", "", "X:abc", "i:12", "t:ab"};
    for (unsigned int slot = 0; slot < 6; ++slot) {
        CEventRawAccess::Stored(event, slot) = raw[slot];
        EXPECT_EQ(Get(event, slot), raw[slot]) << slot;
    }
}

TEST_F(Event, SixPlaceholdersAreIndependent) {
    CEvent event;
    event.SetPlaceHolder1("one");
    event.SetPlaceHolder2(std::string("two"));
    event.SetPlaceHolder3(RVX::Strings::CStringRef("three"));
    event.SetPlaceHolder4(7);
    event.SetPlaceHolder5("five");
    event.SetPlaceHolder6(1234);
    const char* const expected[] = {"one",   "two",  "three",
                                    "seven", "five", "Rebuild of %s finished"};
    for (unsigned int slot = 0; slot < 6; ++slot)
        EXPECT_EQ(Get(event, slot), expected[slot]) << slot;
    CEvent fresh = event;
    fresh.GetPlaceHolder3();
    for (unsigned int slot = 0; slot < 6; ++slot)
        EXPECT_EQ(CEventRawAccess::Resolved(fresh, slot).Str(), slot == 2 ? "three" : "") << slot;
}

TEST_F(Event, NonNumericIdsThrowAndKeepTheLastText) {
    CEvent event;
    event.SetPlaceHolder2("kept");
    const RVX::Strings::TString<16>& resolved = event.GetPlaceHolder2();
    for (const char* bad : {"I:x", "I:12x", "I: 12", "I:4294967296", "I:-", "I:0x10"}) {
        CEventRawAccess::Stored(event, 1) = bad;
        EXPECT_THROW(event.GetPlaceHolder2(), boost::bad_lexical_cast) << bad;
        EXPECT_EQ(resolved, "kept") << bad;
    }
    event.SetPlaceHolder2(7);
    event.GetPlaceHolder2();
    EXPECT_EQ(resolved, "seven") << "earlier references see the new text";
}

TEST_F(Event, CopiesCarryStoredFormsButNotResolvedTexts) {
    CEvent source;
    source.Scalar5 = 5;
    source.Scalar6 = 6;
    source.Text2 = "a text of more than sixteen characters";
    source.SetPlaceHolder1("abc");
    source.SetPlaceHolder6(1234);
    source.GetPlaceHolder1();
    source.GetPlaceHolder6();

    CEvent copy(source);
    EXPECT_TRUE(copy == source);
    EXPECT_EQ(copy.Scalar6, 6);
    for (unsigned int slot = 0; slot < 6; ++slot)
        EXPECT_TRUE(CEventRawAccess::Resolved(copy, slot).IsEmpty()) << slot;
    source.SetPlaceHolder1("changed");
    source.Text2 = "changed";
    EXPECT_EQ(copy.GetPlaceHolder1(), "abc");
    EXPECT_EQ(copy.GetPlaceHolder6(), "Rebuild of %s finished");
    EXPECT_EQ(copy.Text2, "a text of more than sixteen characters");

    // Assignment takes the stored forms and keeps the target's resolved texts.
    CEvent target;
    target.SetPlaceHolder1("old");
    const RVX::Strings::TString<16>& resolved = target.GetPlaceHolder1();
    target = source;
    EXPECT_EQ(target.Scalar5, 5);
    EXPECT_EQ(target.Text2, "changed");
    EXPECT_EQ(resolved, "old");
    EXPECT_EQ(target.GetPlaceHolder1(), "changed");

    CEvent moved(std::move(copy));
    EXPECT_EQ(moved.GetPlaceHolder1(), "abc");
    CEvent movedInto;
    const RVX::Strings::TString<16>& mine = movedInto.GetPlaceHolder2();
    movedInto.SetPlaceHolder2("mine");
    movedInto.GetPlaceHolder2();
    movedInto = std::move(moved);
    EXPECT_EQ(mine, "mine");
    EXPECT_EQ(movedInto.GetPlaceHolder6(), "Rebuild of %s finished");
}
