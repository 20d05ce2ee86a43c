// Operation records: the eight lists and their index exception.
#include "RecordTestSupport.h"

#include "PI/ObjectModel.h"

#include <RVX/Exceptions.h>

#include <gtest/gtest.h>

#include <typeinfo>
#include <vector>

using PI::COperation;

namespace {

// One element in every list, two pass-throughs.
COperation Sample() {
    COperation op;
    op.Attribute3 = 3;
    op.AddProperty(PI::CProperty(static_cast<PI::_PROPERTY_ID>(23050), false));
    op.AddLogicalDrive(PI::CLogicalDrive());
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
    return op;
}

} // namespace

TEST(Operation, ObjectsAreStoredPlainAndEveryListRaisesTheIndexException) {
    COperation op;
    PI::CTask task;
    task.Text1 = "a task text of some length";
    op.AddObject(task);
    const PI::CObject& stored = op.GetObject(0);
    EXPECT_TRUE(typeid(stored) == typeid(PI::CObject));
    EXPECT_EQ(stored.ObjectType, PI::OBJECT_TYPE_TASK);
    op = Sample();
    ExpectIndexError([&] { op.GetProperty(1); });
    ExpectIndexError([&] { op.GetLogicalDrive(1); });
    ExpectIndexError([&] { op.GetLevel(1); });
    ExpectIndexError([&] { op.GetMigration(1); });
    ExpectIndexError([&] { op.GetEvent(1); });
    ExpectIndexError([&] { op.GetPassThrough(2); });
    ExpectIndexError([&] { op.GetPartition(1); });
    ExpectIndexError([&] { op.GetObject(0xFFFFFFFFu); });
    RVX::Threading::CDisableThrow quiet;
    op.GetEvent(3).Scalar1 = 1;
    EXPECT_TRUE(op.GetEvent(4) == PI::CEvent()) << "a fresh stand-in on every miss";
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
    }
}
