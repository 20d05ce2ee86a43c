// Managed object nodes: id lists, comparison and the index exception.
#include "RecordTestSupport.h"

#include "PI/ObjectModel.h"

#include <RVX/Exceptions.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using PI::CObject;

namespace {} // namespace

TEST(Object, ListsKeepOrderDuplicatesAndCapacity) {
    const CObject typed(~0ULL, PI::OBJECT_TYPE_TASK);
    EXPECT_EQ(typed.ObjectID, ~0ULL);
    EXPECT_EQ(typed.ObjectType, PI::OBJECT_TYPE_TASK);
    CObject node;
    node.AddParent(5);
    node.AddParent(5);
    node.AddParent(0xFFFFFFFF00000001ULL);
    node.AddChild(9);
    ASSERT_EQ(node.GetParentCount(), 3u);
    EXPECT_EQ(node.GetParent(1), 5u);
    EXPECT_EQ(node.GetParent(2), 0xFFFFFFFF00000001ULL);

    const size_t capacity = node.Parents.capacity();
    node.ClearParents();
    EXPECT_EQ(node.GetParentCount(), 0u);
    EXPECT_EQ(node.Parents.capacity(), capacity);
    EXPECT_EQ(node.GetChildCount(), 1u) << "clearing parents leaves the children";
    node.AddParent(7);
    EXPECT_EQ(node.GetParent(0), 7u);
    node.ClearChildren();
    EXPECT_EQ(node.GetChildCount(), 0u);
    EXPECT_EQ(node.GetParentCount(), 1u);
}

TEST(Object, OutOfRangeRaisesOrGivesZero) {
    CObject node;
    node.AddParent(1);
    node.AddChild(8);
    ExpectIndexError([&] { node.GetParent(node.GetParentCount()); });
    ExpectIndexError([&] { node.GetParent(0xFFFFFFFFu); });
    ExpectIndexError([&] { node.GetChild(1); });
    EXPECT_EQ(node.GetParent(0), 1u);
    {
        RVX::Threading::CDisableThrow quiet;
        EXPECT_EQ(node.GetChild(1), 0u);
        EXPECT_EQ(RVX::Threading::CThrowState::PendingCode(), 0x21130001u);
        EXPECT_EQ(node.GetParent(0xFFFFFFFFu), 0u);
        EXPECT_EQ(node.GetChild(0), 8u);
    }
    ExpectIndexError([&] { node.GetChild(1); });
}
