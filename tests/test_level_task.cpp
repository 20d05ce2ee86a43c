// RAID levels, migrations, tasks and partitions.
#include "RecordTestSupport.h"

#include "PI/ObjectModel.h"

#include <RVX/Exceptions.h>
#include <RVX/SystemTime.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using PI::CLevel;
using PI::CMigration;
using PI::CPartition;
using PI::CTask;

namespace {

PI::CProperty Prop(int id) {
    return PI::CProperty(static_cast<PI::_PROPERTY_ID>(id), false);
}

// Each change made to a fresh sample must make it unequal to the sample.
template <typename T>
void ExpectEachChangeNoticed(T (*sample)(), const std::vector<std::function<void(T&)>>& changes) {
    const T base = sample();
    EXPECT_TRUE(sample() == base);
    for (size_t i = 0; i < changes.size(); ++i) {
        T changed = sample();
        changes[i](changed);
        EXPECT_FALSE(changed == base) << "change " << i;
        EXPECT_TRUE(base != changed) << "change " << i;
    }
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

CMigration SampleMigration() {
    CMigration migration;
    migration.Attribute1 = migration.Attribute2 = migration.Attribute3 = 1;
    migration.AddProperty(Prop(23200));
    migration.AddProperty(Prop(23201));
    return migration;
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

CPartition SamplePartition() {
    CPartition partition;
    partition.Attribute1 = 1ULL << 40;
    partition.Attribute2 = 2;
    partition.Attribute3 = -3;
    partition.Text1 = "/dev/sda1";
    partition.Text2 = "ext4";
    return partition;
}

} // namespace

TEST(Level, Comparison) {
    ExpectEachChangeNoticed<CLevel>(
        SampleLevel, {
                         [](CLevel& l) { l.Attribute0 = 0; },
                         [](CLevel& l) { std::swap(l.StripeSizes[0], l.StripeSizes[1]); },
                         [](CLevel& l) { l.AddStripeSize(64); },
                         [](CLevel& l) { l.Attribute1 = 0; },
                         [](CLevel& l) { l.GetProperty(0).Attribute1 = 0xBEEF; },
                         [](CLevel& l) { l.Attribute2 = 0; },
                         [](CLevel& l) { l.Attribute3 = 0; },
                         [](CLevel& l) { l.Attribute4 = 0; },
                         [](CLevel& l) { l.Attribute5 = 0; },
                         [](CLevel& l) { l.Size1 ^= 1ULL << 63; },
                         [](CLevel& l) { l.Size2 = 0; },
                         [](CLevel& l) { l.Units = PI::UNITS_BYTES; },
                         [](CLevel& l) { l.Attribute6 = 0; },
                         [](CLevel& l) { l.Attribute7 = 0; },
                         [](CLevel& l) { l.Flag = false; },
                         [](CLevel& l) { l.Attribute8 = 0; },
                     });
}

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

TEST(Migration, Comparison) {
    ExpectEachChangeNoticed<CMigration>(
        SampleMigration, {
                             [](CMigration& m) { m.Attribute1 = 0; },
                             [](CMigration& m) { m.Attribute2 = 0; },
                             [](CMigration& m) { m.Attribute3 = 0; },
                             [](CMigration& m) { m.GetProperty(1).SecondaryID = 0xBEEF; },
                             [](CMigration& m) { std::swap(m.Properties[0], m.Properties[1]); },
                         });
}

TEST(Task, ANewTaskIsStampedWithItsMoment) {
    const unsigned long long before = RVXX::CSystemTime_Lx::Now();
    const CTask task;
    EXPECT_GE(task.Time1, before);
    EXPECT_LE(task.Time1, RVXX::CSystemTime_Lx::Now());
}

TEST(Task, OwnFieldsAndTheObjectPartTakePart) {
    ExpectEachChangeNoticed<CTask>(SampleTask,
                                   {
                                       [](CTask& t) { t.Attribute1 = 0; },
                                       [](CTask& t) { t.Attribute2 = 0; },
                                       [](CTask& t) { t.Text1 = "Nightly"; },
                                       [](CTask& t) { t.Text2.AllocCopy("check\0", 6); },
                                       [](CTask& t) { t.Text3.Empty(); },
                                       [](CTask& t) { t.Time1 += 1; },
                                       [](CTask& t) { t.Time2 = 0; },
                                       [](CTask& t) { t.Time3 = ~0ULL; },
                                       [](CTask& t) { t.Attribute3 = 0; },
                                       [](CTask& t) { t.Attribute4 = 0; },
                                       [](CTask& t) { t.Attribute5 = 0; },
                                       [](CTask& t) { t.Flag = false; },
                                       [](CTask& t) { t.Attribute6 = 0; },
                                       [](CTask& t) { t.Attribute7 = 0; },
                                       [](CTask& t) { t.Parents[0] = 2; },
                                       [](CTask& t) { t.Value64 = 1; },
                                   });
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

TEST(Partition, Comparison) {
    ExpectEachChangeNoticed<CPartition>(SamplePartition,
                                        {
                                            [](CPartition& p) { p.Attribute1 = 0; },
                                            [](CPartition& p) { p.Attribute2 = 0; },
                                            [](CPartition& p) { p.Attribute3 = 3; },
                                            [](CPartition& p) { p.Text1 += " "; },
                                            [](CPartition& p) { p.Text2 = "EXT4"; },
                                        });
}
