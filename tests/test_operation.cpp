// Operation records: defaults, the eight lists, comparison and copies.
#include "PI/ObjectModel.h"

#include <RVX/Exceptions.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <typeinfo>
#include <vector>

using PI::COperation;

namespace {

PI::CProperty Prop(int id) {
    PI::CProperty property;
    property.PropertyID = static_cast<PI::_PROPERTY_ID>(id);
    return property;
}

void ExpectIndexError(const std::function<void()>& get) {
    try {
        get();
        ADD_FAILURE() << "no exception";
    } catch (const RVX::Exceptions::CException& e) {
        EXPECT_EQ(e.GetCode(), 0x21130001u);
        EXPECT_NE(std::string(e.what()).find("Src/Objects"), std::string::npos) << e.what();
    }
}

COperation Sample() {
    COperation op;
    op.Attribute1 = 23400;
    op.Attribute2 = 2;
    op.Attribute3 = 3;
    op.AddProperty(Prop(23050));
    PI::CLogicalDrive drive;
    drive.Size = 100;
    drive.AddGHS(1);
    PI::CContainer span;
    PI::CDrive piece;
    piece.ObjectID = 9;
    span.AddDrive(piece);
    drive.AddContainer(span);
    op.AddLogicalDrive(drive);
    PI::CLevel level;
    level.AddStripeSize(64);
    op.AddLevel(level);
    PI::CMigration migration;
    migration.Attribute1 = 1;
    op.AddMigration(migration);
    PI::CEvent event;
    event.Scalar1 = 77;
    event.SetPlaceHolder1("text");
    op.AddEvent(event);
    PI::CPassThrough pass;
    pass.Value = 0xABCDEF;
    op.AddPassThrough(pass);
    PI::CPartition partition;
    partition.Text1 = "p1";
    op.AddPartition(partition);
    op.AddObject(PI::CObject(55, PI::OBJECT_TYPE_ADAPTER_3));
    op.Setting3 = 30;
    op.Flag = true;
    return op;
}

} // namespace

TEST(Operation, Defaults) {
    const COperation op;
    EXPECT_EQ(op.Attribute1, 1);
    EXPECT_EQ(op.Attribute2, 1);
    EXPECT_EQ(op.Attribute3, 0);
    EXPECT_EQ(op.GetPropertyCount() + op.GetLogicalDriveCount() + op.GetLevelCount() +
                  op.GetMigrationCount() + op.GetEventCount() + op.GetPassThroughCount() +
                  op.GetPartitionCount() + op.GetObjectCount(),
              0u);
    const int settings[] = {op.Setting1, op.Setting2, op.Setting3, op.Setting4, op.Setting5,
                            op.Setting6, op.Setting7, op.Setting8, op.Setting9};
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(settings[i], i == 4 ? -1 : 1) << "Setting" << i + 1;
    EXPECT_FALSE(op.Flag);
    EXPECT_TRUE(COperation() == op);
}

TEST(Operation, EveryPartTakesPartInComparison) {
    const COperation base = Sample();
    EXPECT_TRUE(Sample() == base);
    std::vector<std::function<void(COperation&)>> changes = {
        [](COperation& o) { o.Attribute1 = 1; },
        [](COperation& o) { o.Attribute2 = 1; },
        [](COperation& o) { o.Attribute3 = 0; },
        [](COperation& o) { o.GetProperty(0).Attribute2 = 0xBEEF; },
        [](COperation& o) { o.AddProperty(Prop(23051)); },
        [](COperation& o) { o.GetLogicalDrive(0).Size = 101; },
        [](COperation& o) { o.GetLogicalDrive(0).GetContainer(0).GetDrive(0).ObjectID = 8; },
        [](COperation& o) { o.AddLogicalDrive(PI::CLogicalDrive()); },
        [](COperation& o) { o.GetLevel(0).GetStripeSize(0) = 128; },
        [](COperation& o) { o.ClearLevels(); },
        [](COperation& o) { o.GetMigration(0).Attribute3 = 1; },
        [](COperation& o) { o.GetEvent(0).Scalar4 = 0; },
        [](COperation& o) { o.AddEvent(PI::CEvent()); },
        [](COperation& o) { o.GetPassThrough(0).Value = 0; },
        [](COperation& o) { o.AddPassThrough(PI::CPassThrough()); },
        [](COperation& o) { o.GetPartition(0).Text1 = "P1"; },
        [](COperation& o) { o.GetObject(0).AddChild(1); },
        [](COperation& o) { o.ClearObjects(); },
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
}

TEST(Operation, ElementComparisonsKeepTheirOwnRules) {
    const COperation base = Sample();
    COperation same = Sample();
    // Spares of a logical drive, used sizes of pieces, event placeholders
    // and texts are not part of their elements' comparisons.
    same.GetLogicalDrive(0).GetGHS(0) = 2;
    same.GetLogicalDrive(0).AddALD(3);
    same.GetLogicalDrive(0).GetContainer(0).GetDrive(0).UsedSize = 5;
    same.GetEvent(0).SetPlaceHolder1(5);
    same.GetEvent(0).Text1 = "other";
    EXPECT_TRUE(same == base);
}

TEST(Operation, ListOrderMatters) {
    COperation a;
    COperation b;
    PI::CPassThrough one;
    one.Value = 1;
    PI::CPassThrough two;
    two.Value = 2;
    a.AddPassThrough(one);
    a.AddPassThrough(two);
    b.AddPassThrough(two);
    b.AddPassThrough(one);
    EXPECT_FALSE(a == b);
    b.ClearPassThroughs();
    b.AddPassThrough(one);
    b.AddPassThrough(two);
    EXPECT_TRUE(a == b);

    a.AddObject(PI::CObject(1, PI::OBJECT_TYPE_TASK));
    a.AddObject(PI::CObject(2, PI::OBJECT_TYPE_TASK));
    b.AddObject(PI::CObject(2, PI::OBJECT_TYPE_TASK));
    b.AddObject(PI::CObject(1, PI::OBJECT_TYPE_TASK));
    EXPECT_FALSE(a == b);
}

TEST(Operation, CopiesAreDeepAndIncludeAttribute3) {
    COperation source = Sample();
    source.Attribute3 = -12345;
    const COperation copy(source);
    EXPECT_TRUE(copy == source);
    EXPECT_EQ(copy.Attribute3, -12345);

    // A change through a getter of the source leaves the copy alone.
    source.GetLogicalDrive(0).GetContainer(0).GetDrive(0).ObjectID = 1;
    source.GetEvent(0).SetPlaceHolder1("changed");
    source.GetObject(0).ObjectID = 1;
    source.GetProperty(0).PropertyID = static_cast<PI::_PROPERTY_ID>(1);
    COperation again = copy;
    EXPECT_EQ(again.GetLogicalDrive(0).GetContainer(0).GetDrive(0).ObjectID, 9u);
    EXPECT_EQ(again.GetEvent(0).GetPlaceHolder1(), "text");
    EXPECT_EQ(again.GetObject(0).ObjectID, 55u);
    EXPECT_EQ(again.GetProperty(0).PropertyID, static_cast<PI::_PROPERTY_ID>(23050));
    EXPECT_EQ(again.GetLogicalDrive(0).GHS, std::vector<unsigned long long>{1});

    COperation assigned;
    assigned = copy;
    EXPECT_TRUE(assigned == copy);
    COperation moved(std::move(assigned));
    EXPECT_TRUE(moved == copy);
    COperation movedInto;
    movedInto = std::move(moved);
    EXPECT_TRUE(movedInto == copy);
}

TEST(Operation, SpareChangeThroughGetterKeepsEquality) {
    COperation op;
    PI::CLogicalDrive drive;
    drive.AddGHS(10);
    op.AddLogicalDrive(drive);
    const COperation before = op;
    op.GetLogicalDrive(0).GetGHS(0) = 11;
    EXPECT_EQ(op.LogicalDrives[0].GHS[0], 11u);
    EXPECT_TRUE(op == before);
}

TEST(Operation, ObjectsAreStoredAsPlainObjects) {
    COperation op;
    PI::CTask task;
    task.ObjectID = 5;
    task.Text1 = "a task text of some length";
    op.AddObject(task);
    ASSERT_EQ(op.GetObjectCount(), 1u);
    PI::CObject& stored = op.GetObject(0);
    EXPECT_TRUE(typeid(stored) == typeid(PI::CObject));
    EXPECT_EQ(stored.ObjectID, 5u);
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
    ExpectIndexError([&] { op.GetPassThrough(1); });
    ExpectIndexError([&] { op.GetPartition(1); });
    ExpectIndexError([&] { op.GetObject(0xFFFFFFFFu); });
    ExpectIndexError([] { COperation().GetEvent(0); });
    EXPECT_TRUE(op == Sample());
}

TEST(Operation, WithThrowingDisabledGettersGiveFreshStandIns) {
    COperation op = Sample();
    RVX::Threading::CDisableThrow quiet;
    PI::CEvent& event = op.GetEvent(3);
    EXPECT_TRUE(event == PI::CEvent());
    event.Scalar1 = 1;
    EXPECT_EQ(op.GetEvent(4).Scalar1, 0);
    EXPECT_EQ(op.GetLogicalDrive(2).GetContainerCount(), 0u);
    EXPECT_EQ(op.GetObject(1).ObjectType, static_cast<PI::_OBJECT_TYPE>(1));
    EXPECT_EQ(op.GetPassThrough(1).Value, 0u);
    op.GetPartition(1).Text1 = "scratch";
    EXPECT_TRUE(op.GetPartition(2).Text1.empty());
    EXPECT_TRUE(op == Sample());
}

TEST(Operation, ClearingOneListLeavesTheRest) {
    const std::vector<std::function<void(COperation&)>> clears = {
        [](COperation& o) { o.ClearProperties(); }, [](COperation& o) { o.ClearLogicalDrives(); },
        [](COperation& o) { o.ClearLevels(); },     [](COperation& o) { o.ClearMigrations(); },
        [](COperation& o) { o.ClearEvents(); },     [](COperation& o) { o.ClearPassThroughs(); },
        [](COperation& o) { o.ClearPartitions(); }, [](COperation& o) { o.ClearObjects(); },
    };
    for (size_t i = 0; i < clears.size(); ++i) {
        COperation op = Sample();
        clears[i](op);
        const unsigned int counts[] = {op.GetPropertyCount(),  op.GetLogicalDriveCount(),
                                       op.GetLevelCount(),     op.GetMigrationCount(),
                                       op.GetEventCount(),     op.GetPassThroughCount(),
                                       op.GetPartitionCount(), op.GetObjectCount()};
        for (size_t j = 0; j < 8; ++j)
            EXPECT_EQ(counts[j], i == j ? 0u : 1u) << "clear " << i << " list " << j;
        EXPECT_EQ(op.Attribute1, 23400);
        EXPECT_EQ(op.Attribute3, 3);
        EXPECT_EQ(op.Setting3, 30);
        EXPECT_EQ(op.Setting5, -1);
        EXPECT_TRUE(op.Flag);
    }
}
