// Managed object nodes: id lists, comparison and the index exception.
#include "RecordTestSupport.h"

#include "PI/ObjectModel.h"

#include <RVX/Exceptions.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using PI::CObject;

namespace {

CObject Sample() {
    CObject node(0x1122334455667788ULL, PI::OBJECT_TYPE_ADAPTER_1);
    node.AddParent(1);
    node.AddParent(2);
    node.AddChild(10);
    node.Value64 = 77;
    node.Flag = true;
    node.Properties.emplace_back(static_cast<PI::_PROPERTY_ID>(23010), false);
    return node;
}

} // namespace

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

TEST(Object, EveryFieldAndListOrderTakePartInComparison) {
    const CObject base = Sample();
    EXPECT_TRUE(base == Sample());
    const std::vector<std::function<void(CObject&)>> changes = {
        [](CObject& o) { o.ObjectID ^= 1ULL << 63; },
        [](CObject& o) { o.ObjectType = PI::OBJECT_TYPE_ADAPTER_2; },
        [](CObject& o) { std::swap(o.Parents[0], o.Parents[1]); },
        [](CObject& o) { o.AddParent(3); },
        [](CObject& o) { o.Children[0] = 12; },
        [](CObject& o) { o.Value64 = 78; },
        [](CObject& o) { o.Flag = false; },
        [](CObject& o) { o.Properties[0].PropertyID = static_cast<PI::_PROPERTY_ID>(23011); },
    };
    for (size_t i = 0; i < changes.size(); ++i) {
        CObject changed = Sample();
        changes[i](changed);
        EXPECT_FALSE(changed == base) << "change " << i;
        EXPECT_TRUE(base != changed) << "change " << i;
    }
    // The same id as a parent in one node and as a child in the other.
    CObject parent, child;
    parent.AddParent(4);
    child.AddChild(4);
    EXPECT_FALSE(parent == child);
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
