// Managed object nodes: id lists and the index exception.
#include "RecordTestSupport.h"

#include "PI/ObjectModel.h"

#include <RVX/Exceptions.h>

#include <gtest/gtest.h>

using PI::CObject;

TEST(Object, ListsKeepOrderAndDuplicatesClearApartAndStopAtTheirEnd) {
    CObject node;
    node.AddParent(5);
    node.AddParent(5);
    node.AddParent(0xFFFFFFFF00000001ULL);
    node.AddChild(9);
    ASSERT_EQ(node.GetParentCount(), 3u);
    EXPECT_EQ(node.GetParent(2), 0xFFFFFFFF00000001ULL);
    EXPECT_EQ(node.GetChild(0), 9u);
    node.ClearParents();
    EXPECT_EQ(node.GetParentCount(), 0u);
    EXPECT_EQ(node.GetChildCount(), 1u) << "clearing parents leaves the children";
    node.AddParent(7);
    node.ClearChildren();
    EXPECT_EQ(node.GetChildCount(), 0u);
    EXPECT_EQ(node.GetParent(0), 7u);
    node.AddChild(8);
    ExpectIndexError([&] { node.GetParent(1); });
    ExpectIndexError([&] { node.GetParent(0xFFFFFFFFu); });
    ExpectIndexError([&] { node.GetChild(1); });
    RVX::Threading::CDisableThrow quiet;
    EXPECT_EQ(node.GetChild(1), 0u);
    EXPECT_EQ(RVX::Threading::CThrowState::PendingCode(), 0x21130001u);
    EXPECT_EQ(node.GetChild(0), 8u);
}
