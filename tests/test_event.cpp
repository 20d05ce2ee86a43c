// Event records: comparison, copies and the six message placeholders.
#include "PI/ObjectModel.h"

#include <RVX/Language.h>
#include <RVX/Strings.h>

#include <boost/lexical_cast.hpp>
#include <gtest/gtest.h>

#include <string>

namespace PI {
// Reaches the stored and resolved placeholders that the public interface
// keeps to itself.
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

using PI::CEvent;
using PI::CEventRawAccess;
using RVX::Language_Support::CLanguageSupport;

namespace {

std::string Stored(CEvent& event, unsigned int slot) {
    return CEventRawAccess::Stored(event, slot).Str();
}

std::string Get(CEvent& event, unsigned int slot) {
    switch (slot) {
    case 0:
        return event.GetPlaceHolder1().Str();
    case 1:
        return event.GetPlaceHolder2().Str();
    case 2:
        return event.GetPlaceHolder3().Str();
    case 3:
        return event.GetPlaceHolder4().Str();
    case 4:
        return event.GetPlaceHolder5().Str();
    default:
        return event.GetPlaceHolder6().Str();
    }
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

TEST_F(Event, Defaults) {
    CEvent event;
    EXPECT_EQ(event.Scalar1, 0);
    EXPECT_EQ(event.Scalar2, 10000);
    EXPECT_EQ(event.Scalar3, 2);
    EXPECT_EQ(event.Scalar4, 1);
    EXPECT_EQ(event.Scalar5, 0);
    EXPECT_EQ(event.Scalar6, 0);
    EXPECT_TRUE(event.Text1.IsEmpty() && event.Text2.IsEmpty() && event.Text3.IsEmpty());
    for (unsigned int slot = 0; slot < 6; ++slot) {
        EXPECT_EQ(Stored(event, slot), "");
        EXPECT_EQ(Get(event, slot), "");
    }
}

TEST_F(Event, OnlyTheFiveLeadingScalarsAreCompared) {
    EXPECT_TRUE(CEvent() == CEvent());
    CEvent loaded;
    loaded.SetPlaceHolder1(5);
    loaded.SetPlaceHolder6("x");
    loaded.Text1 = "text";
    loaded.Text3 = "more";
    loaded.Scalar6 = 9;
    EXPECT_TRUE(loaded == CEvent());

    CEvent changed[5];
    changed[0].Scalar1 = -1;
    changed[1].Scalar2 = 10001;
    changed[2].Scalar3 = 0;
    changed[3].Scalar4 = 0;
    changed[4].Scalar5 = 1LL << 40;
    for (int i = 0; i < 5; ++i) {
        EXPECT_FALSE(changed[i] == CEvent()) << "scalar " << i + 1;
        EXPECT_TRUE(changed[i] != CEvent()) << "scalar " << i + 1;
    }
    // All 64 bits of the wide scalars count.
    CEvent high;
    high.Scalar1 = 1LL << 62;
    EXPECT_FALSE(high == CEvent());
}

TEST_F(Event, NumberPlaceholdersResolveThroughTheLanguage) {
    CEvent event;
    event.SetPlaceHolder2(1234);
    EXPECT_EQ(Stored(event, 1), "I:1234");
    EXPECT_EQ(event.GetPlaceHolder2(), "Rebuild of %s finished");
    // The language current at reading time counts, not the one at setting time.
    CLanguageSupport::SetString(1234, "Neuaufbau beendet");
    EXPECT_EQ(event.GetPlaceHolder2(), "Neuaufbau beendet");
    // An unknown id falls back to the number.
    event.SetPlaceHolder3(99999);
    EXPECT_EQ(event.GetPlaceHolder3(), "99999");
    // Negative ids are stored signed and read back wrapped to unsigned.
    event.SetPlaceHolder4(-1);
    EXPECT_EQ(Stored(event, 3), "I:-1");
    EXPECT_EQ(event.GetPlaceHolder4(), "4294967295");
    CLanguageSupport::SetString(4294967295u, "all ones");
    EXPECT_EQ(event.GetPlaceHolder4(), "all ones");
}

TEST_F(Event, TextPlaceholdersComeBackUnchanged) {
    CEvent event;
    event.SetPlaceHolder5(RVX::Strings::CStringRef("abc"));
    EXPECT_EQ(Stored(event, 4), "T:abc");
    EXPECT_EQ(event.GetPlaceHolder5(), "abc");

    // Format characters and texts that look like placeholders stay literal.
    event.SetPlaceHolder1(std::string("100%s %d done"));
    EXPECT_EQ(event.GetPlaceHolder1(), "100%s %d done");
    event.SetPlaceHolder1(std::string("I:7"));
    EXPECT_EQ(Stored(event, 0), "T:I:7");
    EXPECT_EQ(event.GetPlaceHolder1(), "I:7");
    event.SetPlaceHolder1("7");
    EXPECT_EQ(event.GetPlaceHolder1(), "7");
    const std::string withNul("a\0b", 3);
    event.SetPlaceHolder6(RVX::Strings::CStringRef(withNul));
    EXPECT_EQ(event.GetPlaceHolder6().Str(), withNul);
    const std::string longText(1000, 'x');
    event.SetPlaceHolder6(longText);
    EXPECT_EQ(event.GetPlaceHolder6(), longText);
}

TEST_F(Event, EmptyTextReadsBackAsTheBareTag) {
    CEvent event;
    event.SetPlaceHolder1(std::string());
    EXPECT_EQ(Stored(event, 0), "T:");
    EXPECT_EQ(event.GetPlaceHolder1(), "T:");
    event.SetPlaceHolder1(RVX::Strings::CStringRef());
    EXPECT_EQ(event.GetPlaceHolder1(), "T:");
    event.SetPlaceHolder1("x");
    EXPECT_EQ(event.GetPlaceHolder1(), "x");
}

TEST_F(Event, SettingReplacesWhateverWasStored) {
    CEvent event;
    event.SetPlaceHolder3("a long literal text of some length");
    event.SetPlaceHolder3(7);
    EXPECT_EQ(Stored(event, 2), "I:7");
    EXPECT_EQ(event.GetPlaceHolder3(), "seven");
    event.SetPlaceHolder3("t");
    EXPECT_EQ(Stored(event, 2), "T:t");
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
    const char* const stored[] = {"T:one", "T:two", "T:three", "I:7", "T:five", "I:1234"};
    for (unsigned int slot = 0; slot < 6; ++slot) {
        EXPECT_EQ(Stored(event, slot), stored[slot]) << slot;
        EXPECT_EQ(Get(event, slot), expected[slot]) << slot;
    }
    // Each getter fills only its own resolved text.
    CEvent fresh = event;
    fresh.GetPlaceHolder3();
    for (unsigned int slot = 0; slot < 6; ++slot)
        EXPECT_EQ(CEventRawAccess::Resolved(fresh, slot).Str(), slot == 2 ? "three" : "") << slot;
}

TEST_F(Event, RawStoredFormsReadBackAsStored) {
    CEvent event;
    const char* const raw[] = {"I:", "T", "", "X:abc", "i:12", "t:ab"};
    for (unsigned int slot = 0; slot < 6; ++slot)
        CEventRawAccess::Stored(event, slot) = raw[slot];
    for (unsigned int slot = 0; slot < 6; ++slot)
        EXPECT_EQ(Get(event, slot), raw[slot]) << slot;

    CEventRawAccess::Stored(event, 0) = "I:+7";
    EXPECT_EQ(event.GetPlaceHolder1(), "seven");
    // The whole unsigned range is accepted, beyond what the number setter writes.
    CEventRawAccess::Stored(event, 0) = "I:4294967295";
    EXPECT_EQ(event.GetPlaceHolder1(), "4294967295");
    CLanguageSupport::SetString(3000000000u, "high");
    CEventRawAccess::Stored(event, 0) = "I:3000000000";
    EXPECT_EQ(event.GetPlaceHolder1(), "high");
}

TEST_F(Event, NonNumericIdsThrowAndKeepTheLastText) {
    CEvent event;
    event.SetPlaceHolder2("kept");
    const RVX::Strings::TString<16>& resolved = event.GetPlaceHolder2();
    ASSERT_EQ(resolved, "kept");
    for (const char* bad : {"I:x", "I:12x", "I: 12", "I:4294967296", "I:-", "I:1.0", "I:0x10"}) {
        CEventRawAccess::Stored(event, 1) = bad;
        EXPECT_THROW(event.GetPlaceHolder2(), boost::bad_lexical_cast) << bad;
        EXPECT_EQ(resolved, "kept") << bad;
    }
}

TEST_F(Event, EarlierReferencesSeeTheNewText) {
    CEvent event;
    event.SetPlaceHolder4("first");
    const RVX::Strings::TString<16>& text = event.GetPlaceHolder4();
    event.SetPlaceHolder4(7);
    EXPECT_EQ(text, "first") << "setting alone does not resolve";
    event.GetPlaceHolder4();
    EXPECT_EQ(text, "seven");
}

TEST_F(Event, CopiesCarryStoredFormsButNotResolvedTexts) {
    CEvent source;
    source.Scalar1 = 1;
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
    EXPECT_EQ(copy.Text2, "a text of more than sixteen characters");
    for (unsigned int slot = 0; slot < 6; ++slot)
        EXPECT_TRUE(CEventRawAccess::Resolved(copy, slot).IsEmpty()) << slot;
    EXPECT_EQ(copy.GetPlaceHolder1(), "abc");
    EXPECT_EQ(copy.GetPlaceHolder6(), "Rebuild of %s finished");

    // The copy owns its texts.
    source.SetPlaceHolder1("changed");
    source.Text2 = "changed";
    EXPECT_EQ(copy.GetPlaceHolder1(), "abc");
    EXPECT_EQ(copy.Text2, "a text of more than sixteen characters");

    // Assignment takes the stored forms and keeps the target's resolved texts.
    CEvent target;
    target.SetPlaceHolder1("old");
    const RVX::Strings::TString<16>& resolved = target.GetPlaceHolder1();
    target = source;
    EXPECT_EQ(target.Scalar1, 1);
    EXPECT_EQ(target.Text2, "changed");
    EXPECT_EQ(resolved, "old");
    EXPECT_EQ(CEventRawAccess::Resolved(target, 5).Str(), "");
    EXPECT_EQ(target.GetPlaceHolder1(), "changed");
    EXPECT_EQ(target.GetPlaceHolder6(), "Rebuild of %s finished");

    CEvent moved(std::move(copy));
    EXPECT_EQ(moved.GetPlaceHolder1(), "abc");
    EXPECT_EQ(moved.Scalar5, 5);
    CEvent movedInto;
    movedInto.SetPlaceHolder2("mine");
    const RVX::Strings::TString<16>& mine = movedInto.GetPlaceHolder2();
    movedInto = std::move(moved);
    EXPECT_EQ(mine, "mine");
    EXPECT_EQ(movedInto.GetPlaceHolder6(), "Rebuild of %s finished");
}
