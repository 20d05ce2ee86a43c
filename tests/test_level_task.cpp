// RAID levels, migrations, tasks and partitions.
#include "RecordTestSupport.h"

#include "PI/ObjectModel.h"

#include <RVX/Exceptions.h>
#include <RVX/SystemTime.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

using PI::CLevel;
using PI::CMigration;
using PI::CTask;

namespace {

PI::CProperty Prop(int id) {
    return PI::CProperty(static_cast<PI::_PROPERTY_ID>(id), false);
}

CLevel SampleLevel() {
    CLevel level;
    level.Attribute0 = 5;
    level.AddStripeSize(64);
    level.AddStripeSize(128);
    level.AddProperty(Prop(23100));
    level.Attribute1 = level.Attribute2 = level.Attribute3 = level.Attribute4 = 1;
    level.Attribute5 = level.Attribute6 = level.Attribute7 = level.Attribute8 = 1;
    level.Size1 = 1ULL << 33;
    level.Size2 = 1ULL << 34;
    return level;
}

CTask SampleTask() {
    CTask task;
    task.ObjectID = 70;
    task.AddParent(1);
    task.Text1 = "nightly";
    task.Text2 = "check";
    task.Text3 = "a text that is longer than sixteen characters";
    task.Attribute1 = task.Attribute3 = 11;
    task.Attribute2 = task.Attribute4 = task.Attribute5 = task.Attribute7 = 12;
    task.Time1 = 1700000000000ULL; // fixed, so that samples compare equal
    task.Time2 = task.Time3 = 13;
    task.Flag = true;
    return task;
}

} // namespace

TEST(Level, ListsAndIndexErrors) {
    CLevel source = SampleLevel();
    source.AddStripeSize(64); // duplicates are kept
    EXPECT_EQ(source.StripeSizes, (std::vector<int>{64, 128, 64}));
    const size_t capacity = source.StripeSizes.capacity();
    source.ClearStripeSizes();
    EXPECT_EQ(source.GetStripeSizeCount(), 0u);
    EXPECT_EQ(source.StripeSizes.capacity(), capacity);

    CLevel level = SampleLevel();
    CMigration migration;
    ExpectIndexError([&] { level.GetStripeSize(level.GetStripeSizeCount()); });
    ExpectIndexError([&] { level.GetProperty(1); });
    ExpectIndexError([&] { migration.GetProperty(0xFFFFFFFFu); });
    RVX::Threading::CDisableThrow quiet;
    level.GetStripeSize(2) = 99;
    EXPECT_EQ(level.GetStripeSize(7), 0);
    EXPECT_TRUE(level == SampleLevel());
}

TEST(Task, ANewTaskIsStampedWithItsMoment) {
    const unsigned long long before = RVXX::CSystemTime_Lx::Now();
    const CTask task;
    EXPECT_GE(task.Time1, before);
    EXPECT_LE(task.Time1, RVXX::CSystemTime_Lx::Now());
}

TEST(Task, CopiesCarryTheStampAndOwnTheirTexts) {
    CTask first;
    // Wait for the clock to move on rather than guess how long that takes.
    while (RVXX::CSystemTime_Lx::Now() == first.Time1)
        std::this_thread::yield();
    CTask second;
    EXPECT_FALSE(first == second) << "made at different moments";
    second = first;
    EXPECT_TRUE(first == second);

    // Destroyed through its object part; the sanitizer build checks the match.
    std::unique_ptr<PI::CObject> node(new CTask(SampleTask()));
    node.reset();
}
