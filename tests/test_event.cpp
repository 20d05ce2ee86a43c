// Event records: number placeholders through the language, and moves. The
// stored forms, their reading, copies and assignment are the fuzz check's
// (checks/EventPlaceholders.h, over fuzz/corpus/event_placeholders).
#include "PI/ObjectModel.h"
#include "checks/EventRawAccess.h"

#include <RVX/Language.h>
#include <RVX/Strings.h>

#include <gtest/gtest.h>

#include <string>

using PI::CEvent;
using PI::CEventRawAccess;
using RVX::Language_Support::CLanguageSupport;

namespace {

class Event : public ::testing::Test {
protected:
    void SetUp() override {
        CLanguageSupport::Clear();
        CLanguageSupport::SetString(1234, "Rebuild of %s finished");
    }
    void TearDown() override { CLanguageSupport::Clear(); }
};

} // namespace

TEST_F(Event, NumbersResolveAtReadingTimeAndMovesKeepTheTargetsTexts) {
    CEvent event;
    event.SetPlaceHolder2(1234);
    EXPECT_EQ(event.GetPlaceHolder2(), "Rebuild of %s finished");
    CLanguageSupport::SetString(1234, "Neuaufbau beendet");
    EXPECT_EQ(event.GetPlaceHolder2(), "Neuaufbau beendet");
    CLanguageSupport::SetString(3000000000u, "high"); // beyond what the number setter writes
    CEventRawAccess::Stored(event, 0) = "I:3000000000";
    EXPECT_EQ(event.GetPlaceHolder1(), "high");
    // A move takes the stored forms; move assignment keeps the target's resolved texts.
    CEvent source;
    source.Text2 = "a text of more than sixteen characters";
    source.SetPlaceHolder1("abc");
    source.SetPlaceHolder6(1234);
    CEvent moved(std::move(source));
    EXPECT_EQ(moved.GetPlaceHolder1(), "abc");
    EXPECT_EQ(moved.Text2, "a text of more than sixteen characters");
    CEvent target;
    const RVX::Strings::TString<16>& mine = target.GetPlaceHolder2();
    target.SetPlaceHolder2("mine");
    target.GetPlaceHolder2();
    target = std::move(moved);
    EXPECT_EQ(mine, "mine");
    EXPECT_EQ(target.GetPlaceHolder6(), "Neuaufbau beendet");
}
