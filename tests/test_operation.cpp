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
