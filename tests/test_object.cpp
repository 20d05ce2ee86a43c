// Managed object nodes: defaults, the parent and child lists, comparison and
// the index exception.
#include "PI/ObjectModel.h"

#include <RVX/Exceptions.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>

using PI::CObject;
using PI::CProperty;

namespace {

CProperty Prop(int id) {
    CProperty property;
    property.PropertyID = static_cast<PI::_PROPERTY_ID>(id);
    return property;
}

void ExpectIndexError(const std::function<void()>& get) {
    try {
        get();
        ADD_FAILURE() << "no exception";
    } catch (const RVX::Exceptions::CException& e) {
        EXPECT_EQ(e.GetCode(), 0x21130001u);
        const std::string what = e.what();
        EXPECT_NE(what.find("Src/Objects"), std::string::npos) << what;
        EXPECT_NE(what.find("21130001"), std::string::npos) << what;
    }
}

CObject Sample() {
    CObject node(0x1122334455667788ULL, PI::OBJECT_TYPE_ADAPTER_1);
    node.AddParent(1);
    node.AddParent(2);
    node.AddChild(10);
    node.AddChild(11);
    node.Value64 = 77;
    node.Flag = true;
    node.Properties.push_back(Prop(23010));
    return node;
}

} // namespace

TEST(Object, DefaultsAndIdConstructor) {
    const CObject node;
    EXPECT_EQ(node.ObjectID, 0u);
    EXPECT_EQ(static_cast<int>(node.ObjectType), 1);
    EXPECT_EQ(node.GetParentCount(), 0u);
    EXPECT_EQ(node.GetChildCount(), 0u);
    EXPECT_EQ(node.Value64, 0u);
    EXPECT_FALSE(node.Flag);
    EXPECT_TRUE(node.Properties.empty());
    EXPECT_TRUE(node == CObject(0, static_cast<PI::_OBJECT_TYPE>(1)));

    const CObject typed(~0ULL, PI::OBJECT_TYPE_TASK);
    EXPECT_EQ(typed.ObjectID, ~0ULL);
    EXPECT_EQ(typed.ObjectType, PI::OBJECT_TYPE_TASK);
    EXPECT_FALSE(typed == node);
}

TEST(Object, ListsKeepOrderAndDuplicates) {
    CObject node;
    node.AddParent(5);
    node.AddParent(5);
    node.AddParent(0xFFFFFFFF00000001ULL);
    ASSERT_EQ(node.GetParentCount(), 3u);
    EXPECT_EQ(node.GetParent(0), 5u);
    EXPECT_EQ(node.GetParent(1), 5u);
    EXPECT_EQ(node.GetParent(2), 0xFFFFFFFF00000001ULL);

    node.AddChild(9);
    node.ClearParents();
    EXPECT_EQ(node.GetParentCount(), 0u);
    EXPECT_EQ(node.GetChildCount(), 1u) << "clearing parents must leave the children";
    node.AddParent(7);
    EXPECT_EQ(node.GetParentCount(), 1u);
    EXPECT_EQ(node.GetParent(0), 7u);
    node.ClearChildren();
    EXPECT_EQ(node.GetChildCount(), 0u);
    EXPECT_EQ(node.GetParentCount(), 1u);
}

TEST(Object, ClearKeepsCapacity) {
    CObject node;
    for (unsigned long long id = 0; id < 100; ++id) {
        node.AddParent(id);
        node.AddChild(id);
    }
    const size_t parents = node.Parents.capacity();
    const size_t children = node.Children.capacity();
    node.ClearParents();
    node.ClearChildren();
    EXPECT_EQ(node.Parents.capacity(), parents);
    EXPECT_EQ(node.Children.capacity(), children);
}

TEST(Object, EveryFieldTakesPartInComparison) {
    const CObject base = Sample();
    EXPECT_TRUE(base == Sample());

    std::vector<std::function<void(CObject&)>> changes = {
        [](CObject& o) { o.ObjectID ^= 1ULL << 63; },
        [](CObject& o) { o.ObjectType = PI::OBJECT_TYPE_ADAPTER_2; },
        [](CObject& o) { o.AddParent(3); },
        [](CObject& o) { o.Parents[1] = 3; },
        [](CObject& o) { o.AddChild(12); },
        [](CObject& o) { o.Children[0] = 12; },
        [](CObject& o) { o.Value64 = 78; },
        [](CObject& o) { o.Flag = false; },
        [](CObject& o) { o.Properties.push_back(Prop(23011)); },
        [](CObject& o) { o.Properties[0].PropertyID = static_cast<PI::_PROPERTY_ID>(23011); },
    };
    for (size_t i = 0; i < changes.size(); ++i) {
        CObject changed = Sample();
        changes[i](changed);
        EXPECT_FALSE(changed == base) << "change " << i;
        EXPECT_FALSE(base == changed) << "change " << i;
        EXPECT_TRUE(changed != base) << "change " << i;
    }
}

TEST(Object, ListOrderMatters) {
    CObject a;
    CObject b;
    a.AddChild(1);
    a.AddChild(2);
    b.AddChild(2);
    b.AddChild(1);
    EXPECT_FALSE(a == b);
    a.ClearChildren();
    b.ClearChildren();
    a.AddParent(1);
    a.AddParent(2);
    b.AddParent(2);
    b.AddParent(1);
    EXPECT_FALSE(a == b);
    // The same ids as parents in one node and as children in the other differ.
    CObject c;
    CObject d;
    c.AddParent(4);
    d.AddChild(4);
    EXPECT_FALSE(c == d);
}

TEST(Object, CopiesOwnTheirLists) {
    CObject source = Sample();
    CObject copy(source);
    EXPECT_TRUE(copy == source);
    source.Parents[0] = 99;
    source.Children.clear();
    source.Properties[0].PropertyID = static_cast<PI::_PROPERTY_ID>(23099);
    EXPECT_EQ(copy.GetParent(0), 1u);
    EXPECT_EQ(copy.GetChildCount(), 2u);
    EXPECT_EQ(copy.Properties[0].PropertyID, static_cast<PI::_PROPERTY_ID>(23010));

    CObject assigned;
    assigned.AddParent(42);
    assigned = copy;
    EXPECT_TRUE(assigned == copy);
    EXPECT_EQ(assigned.GetParentCount(), 2u);
    const CObject& alias = assigned;
    assigned = alias; // self-assignment keeps the node
    EXPECT_TRUE(assigned == copy);

    CObject moved(std::move(assigned));
    EXPECT_TRUE(moved == copy);
}

TEST(Object, OutOfRangeRaisesTheIndexException) {
    CObject node;
    node.AddParent(1);
    ExpectIndexError([&] { node.GetParent(node.GetParentCount()); });
    ExpectIndexError([&] { node.GetParent(0xFFFFFFFFu); });
    ExpectIndexError([&] { node.GetChild(0); });
    EXPECT_EQ(node.GetParentCount(), 1u) << "a failed get leaves the node alone";
    EXPECT_EQ(node.GetParent(0), 1u);
}

TEST(Object, OutOfRangeWithThrowingDisabledGivesZero) {
    CObject node;
    node.AddChild(8);
    {
        RVX::Threading::CDisableThrow quiet;
        EXPECT_EQ(node.GetChild(1), 0u);
        EXPECT_EQ(RVX::Threading::CThrowState::PendingCode(), 0x21130001u);
        EXPECT_EQ(node.GetParent(0xFFFFFFFFu), 0u);
        EXPECT_EQ(node.GetChild(0), 8u);
    }
    // Throwing again once the scope ends.
    ExpectIndexError([&] { node.GetChild(1); });
}
