// Operation records: the eight lists and comparison.
#include "RecordTestSupport.h"

#include "PI/ObjectModel.h"

#include <RVX/Exceptions.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <typeinfo>
#include <vector>

using PI::COperation;

namespace {

COperation Sample() {
    COperation op;
    op.Attribute1 = 23400;
    op.Attribute3 = 3;
    op.AddProperty(PI::CProperty(static_cast<PI::_PROPERTY_ID>(23050), false));
    PI::CLogicalDrive drive;
    drive.AddGHS(1);
    PI::CContainer span;
    span.AddDrive(PI::CDrive());
    drive.AddContainer(span);
    op.AddLogicalDrive(drive);
    op.AddLevel(PI::CLevel());
    op.AddMigration(PI::CMigration());
    PI::CEvent event;
    event.SetPlaceHolder1("text");
    op.AddEvent(event);
    PI::CPassThrough pass;
    pass.Value = 0xABCDEF;
    op.AddPassThrough(pass);
    op.AddPassThrough(PI::CPassThrough());
    op.AddPartition(PI::CPartition());
    op.AddObject(PI::CObject(55, PI::OBJECT_TYPE_ADAPTER_3));
    op.Setting3 = 30;
    op.Flag = true;
    return op;
}

} // namespace

TEST(Operation, EveryPartTakesPartInComparison) {
    const COperation base = Sample();
    const std::vector<std::function<void(COperation&)>> changes = {
        [](COperation& o) { o.Attribute1 = 1; },
        [](COperation& o) { o.Attribute2 = 0; },
        [](COperation& o) { o.Attribute3 = 0; },
        [](COperation& o) { o.GetProperty(0).Attribute2 = 0xBEEF; },
        [](COperation& o) { o.GetLogicalDrive(0).GetContainer(0).GetDrive(0).ObjectID = 8; },
        [](COperation& o) { o.AddLogicalDrive(PI::CLogicalDrive()); },
        [](COperation& o) { o.GetLevel(0).AddStripeSize(128); },
        [](COperation& o) { o.GetMigration(0).Attribute3 = 1; },
        [](COperation& o) { o.GetEvent(0).Scalar4 = 0; },
        [](COperation& o) { o.GetPassThrough(0).Value = 0; },
        [](COperation& o) { std::swap(o.PassThroughs[0], o.PassThroughs[1]); },
        [](COperation& o) { o.GetPartition(0).Text1 = "p"; },
        [](COperation& o) { o.GetObject(0).AddChild(1); },
        [](COperation& o) { o.AddObject(PI::CObject()); },
        [](COperation& o) { o.Setting1 = 0; },
        [](COperation& o) { o.Setting2 = 0; },
        [](COperation& o) { o.Setting3 = 1; },
        [](COperation& o) { o.Setting4 = 0; },
        [](COperation& o) { o.Setting5 = 1; },
        [](COperation& o) { o.Setting6 = 0; },
        [](COperation& o) { o.Setting7 = 0; },
        [](COperation& o) { o.Setting8 = 0; },
        [](COperation& o) { o.Flag = false; },
        [](COperation& o) { o.Setting9 = 0; },
    };
    for (size_t i = 0; i < changes.size(); ++i) {
        COperation changed = Sample();
        changes[i](changed);
        EXPECT_FALSE(changed == base) << "change " << i;
        EXPECT_TRUE(changed != base) << "change " << i;
    }
    // Elements keep their own comparison rules: spares, used sizes and event
    // placeholders do not count.
    COperation same = Sample();
    same.GetLogicalDrive(0).GetGHS(0) = 2;
    same.GetLogicalDrive(0).GetContainer(0).GetDrive(0).UsedSize = 5;
    same.GetEvent(0).SetPlaceHolder1(5);
    EXPECT_TRUE(same == base);
    EXPECT_EQ(same.LogicalDrives[0].GHS[0], 2u) << "the getter reached the stored drive";
}

TEST(Operation, ObjectsAreStoredAsPlainObjects) {
    COperation op;
    PI::CTask task;
    task.ObjectID = 5;
    task.Text1 = "a task text of some length";
    op.AddObject(task);
    const PI::CObject& stored = op.GetObject(0);
    EXPECT_TRUE(typeid(stored) == typeid(PI::CObject));
    EXPECT_EQ(stored.ObjectType, PI::OBJECT_TYPE_TASK);
    EXPECT_TRUE(stored == static_cast<const PI::CObject&>(task));
}

TEST(Operation, EveryListRaisesTheIndexException) {
    COperation op = Sample();
    ExpectIndexError([&] { op.GetProperty(1); });
    ExpectIndexError([&] { op.GetLogicalDrive(1); });
    ExpectIndexError([&] { op.GetLevel(1); });
    ExpectIndexError([&] { op.GetMigration(1); });
    ExpectIndexError([&] { op.GetEvent(1); });
    ExpectIndexError([&] { op.GetPassThrough(2); });
    ExpectIndexError([&] { op.GetPartition(1); });
    ExpectIndexError([&] { op.GetObject(0xFFFFFFFFu); });
    ExpectIndexError([] { COperation().GetEvent(0); });
    EXPECT_TRUE(op == Sample());

    RVX::Threading::CDisableThrow quiet;
    op.GetEvent(3).Scalar1 = 1;
    EXPECT_TRUE(op.GetEvent(4) == PI::CEvent()) << "a fresh stand-in on every miss";
    op.GetPartition(1).Text1 = "scratch";
    EXPECT_TRUE(op.GetPartition(2).Text1.empty());
    EXPECT_EQ(op.GetObject(1).ObjectType, static_cast<PI::_OBJECT_TYPE>(1));
    EXPECT_TRUE(op == Sample());
}

TEST(Operation, ClearingOneListLeavesTheRest) {
    const std::vector<void (COperation::*)()> clears = {
        &COperation::ClearProperties, &COperation::ClearLogicalDrives,
        &COperation::ClearLevels,     &COperation::ClearMigrations,
        &COperation::ClearEvents,     &COperation::ClearPassThroughs,
        &COperation::ClearPartitions, &COperation::ClearObjects};
    for (size_t i = 0; i < clears.size(); ++i) {
        COperation op = Sample();
        (op.*clears[i])();
        const unsigned int counts[] = {op.GetPropertyCount(),  op.GetLogicalDriveCount(),
                                       op.GetLevelCount(),     op.GetMigrationCount(),
                                       op.GetEventCount(),     op.GetPassThroughCount(),
                                       op.GetPartitionCount(), op.GetObjectCount()};
        for (size_t j = 0; j < 8; ++j)
            EXPECT_EQ(counts[j], i == j ? 0u : j == 5 ? 2u : 1u) << "clear " << i << " list " << j;
        EXPECT_EQ(op.Attribute3, 3);
        EXPECT_EQ(op.Setting3, 30);
        EXPECT_TRUE(op.Flag);
    }
}
