// RAID levels, migrations and tasks.
#include "RecordTestSupport.h"

#include "PI/ObjectModel.h"

#include <RVX/Exceptions.h>
#include <RVX/SystemTime.h>

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

using PI::CLevel;
using PI::CTask;

TEST(Level, ListsAndIndexErrors) {
    CLevel level;
    level.AddStripeSize(64);
    level.AddStripeSize(128);
    level.AddStripeSize(64); // duplicates are kept
    level.AddProperty(PI::CProperty(static_cast<PI::_PROPERTY_ID>(23100), false));
    EXPECT_EQ(level.StripeSizes, (std::vector<int>{64, 128, 64}));
    const CLevel before = level;
    ExpectIndexError([&] { level.GetStripeSize(3); });
    ExpectIndexError([&] { level.GetProperty(1); });
    ExpectIndexError([] { PI::CMigration().GetProperty(0xFFFFFFFFu); });
    {
        RVX::Threading::CDisableThrow quiet;
        level.GetStripeSize(3) = 99;
        EXPECT_EQ(level.GetStripeSize(7), 0);
        EXPECT_TRUE(level == before);
    }
    level.ClearStripeSizes();
    EXPECT_EQ(level.GetStripeSizeCount(), 0u);
}

TEST(Task, ANewTaskIsStampedWithItsMomentAndCopiesCarryIt) {
    const unsigned long long before = RVXX::CSystemTime_Lx::Now();
    CTask first;
    EXPECT_GE(first.Time1, before);
    EXPECT_LE(first.Time1, RVXX::CSystemTime_Lx::Now());
    // Wait for the clock to move on rather than guess how long that takes.
    while (RVXX::CSystemTime_Lx::Now() == first.Time1)
        std::this_thread::yield();
    CTask second;
    EXPECT_FALSE(first == second) << "made at different moments";
    second = first;
    EXPECT_TRUE(first == second);

    // Destroyed through its object part; the sanitizer build checks the match.
    first.Text3 = "a text that is longer than sixteen characters";
    std::unique_ptr<PI::CObject> node(new CTask(first));
    node.reset();
}
