// The matching rules of the diff, the paths it writes, and the patches it
// refuses, on small records written out by hand. (That every diff patches
// back: test_diff_random.)
#include "RecordFieldsEqual.h"

#include <PI/AllocHook.h>
#include <PI/Diff.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace PI;
using PI::Testing::FirstDifference;

CProperty Text(int id, const std::string& text, unsigned int secondary = 0) {
    CProperty p(static_cast<_PROPERTY_ID>(id), false);
    if (secondary != 0)
        p.SecondaryID = secondary;
    p.SetValue(text);
    return p;
}
CProperty Number(int id, unsigned long long value) {
    CProperty p(static_cast<_PROPERTY_ID>(id), false);
    p.SetValue(value);
    return p;
}
CObject Object(unsigned long long id, std::vector<CProperty> properties = {}) {
    CObject o(id, static_cast<_OBJECT_TYPE>(19020));
    o.Properties = std::move(properties);
    return o;
}

// "kind path" for each change, plus " from" for moves: the shape of a diff.
std::vector<std::string> Shape(const ChangeList& changes) {
    std::vector<std::string> shape;
    for (const CChange& c : changes)
        shape.push_back(std::string(ChangeKindName(c.Kind)) + " " + c.Path +
                        (c.Kind == EChangeKind::Moved ? " " + c.From : ""));
    return shape;
}

template <class Record>
ChangeList DiffOf(const Record& a, const Record& b, EDiffFields fields = EDiffFields::Compared) {
    ChangeList changes;
    CInterchangeError error;
    EXPECT_EQ(Diff(a, b, changes, fields, &error), 0u) << error.Text();
    return changes;
}

using Strings = std::vector<std::string>;

TEST(DiffMatching, PropertiesPairByIdentityAndOccurrence) {
    COperation a, b;
    // Two properties with the same identifiers: the first of b is the first of
    // a, so dropping the first one reads as a change and a removal at the end.
    a.Properties = {Text(23003, "x"), Text(23003, "y"), Number(23004, 1)};
    b.Properties = {Text(23003, "y"), Number(23004, 1)};
    const ChangeList changes = DiffOf(a, b);
    EXPECT_EQ(Shape(changes), (Strings{"changed /Properties/0", "removed /Properties/1"}));
    EXPECT_EQ(changes[0].Old, R"({"PropertyID":23003,"Type":2,"Value":"x"})");
    EXPECT_EQ(changes[0].New, R"({"PropertyID":23003,"Type":2,"Value":"y"})");
    EXPECT_EQ(changes[1].Old, R"({"PropertyID":23003,"Type":2,"Value":"y"})");

    // The secondary id is part of the identity.
    COperation c, d;
    c.Properties = {Text(23003, "x", 1), Text(23003, "x", 2)};
    d.Properties = {Text(23003, "x", 2), Text(23003, "x", 1)};
    EXPECT_EQ(Shape(DiffOf(c, d)), (Strings{"moved /Properties/0 /Properties/1"}));
}

TEST(DiffMatching, ObjectsMoveAndChangeAtOnce) {
    COperation a, b;
    a.Objects = {Object(1), Object(2), Object(3, {Number(23004, 5)})};
    b.Objects = {Object(3, {Number(23004, 6)}), Object(1), Object(2)};
    b.Objects[0].Flag = true;
    EXPECT_EQ(Shape(DiffOf(a, b)),
              (Strings{"moved /Objects/0 /Objects/2", "changed /Objects/0/Flag",
                       "changed /Objects/0/Properties/0"}));

    // Insertions and removals are not moves; reversing four objects keeps one
    // in place and moves three.
    a.Objects = {Object(1), Object(2), Object(3), Object(4)};
    b.Objects = {Object(9), Object(1), Object(3), Object(4), Object(8)};
    EXPECT_EQ(Shape(DiffOf(a, b)),
              (Strings{"removed /Objects/1", "added /Objects/0", "added /Objects/4"}));
    b.Objects = {Object(4), Object(3), Object(2), Object(1)};
    EXPECT_EQ(Shape(DiffOf(a, b)),
              (Strings{"moved /Objects/0 /Objects/3", "moved /Objects/1 /Objects/2",
                       "moved /Objects/2 /Objects/1"}));
}

TEST(DiffMatching, MemberDrivesPairByObjectAndStartOtherListsByPosition) {
    CContainer a, b;
    a.Drives.resize(3);
    a.Drives[0].ObjectID = 10;
    a.Drives[1].ObjectID = 10;
    a.Drives[1].StartAddress = 4096;
    a.Drives[2].ObjectID = 11;
    b.Drives = {a.Drives[1], a.Drives[0], a.Drives[2]};
    b.Drives[2].UsedSize = 77; // operator== leaves the size out
    EXPECT_EQ(Shape(DiffOf(a, b)), (Strings{"moved /Drives/0 /Drives/1"}));
    EXPECT_EQ(Shape(DiffOf(a, b, EDiffFields::All)),
              (Strings{"moved /Drives/0 /Drives/1", "changed /Drives/2/UsedSize"}));
    // Lists of numbers go by position.
    CLevel c, d;
    c.StripeSizes = {64, 128, 256};
    d.StripeSizes = {128, 256};
    EXPECT_EQ(Shape(DiffOf(c, d)), (Strings{"changed /StripeSizes/0", "changed /StripeSizes/1",
                                            "removed /StripeSizes/2"}));
}

TEST(DiffFields, IgnoredFieldsOnlyInTheSecondMode) {
    COperation a, b;
    a.Events.resize(1);
    b.Events.resize(1);
    b.Events[0].Text1 = "controller 0";
    CEventRawAccess::Stored(b.Events[0], 2) = "T:drive 3";
    CLogicalDrive ld;
    a.LogicalDrives = {ld};
    ld.GHS = {0x1000};
    b.LogicalDrives = {ld};
    ASSERT_TRUE(a == b);
    EXPECT_TRUE(DiffOf(a, b).empty());
    const ChangeList all = DiffOf(a, b, EDiffFields::All);
    EXPECT_EQ(Shape(all), (Strings{"added /LogicalDrives/0/GHS/0", "changed /Events/0/PlaceHolder3",
                                   "changed /Events/0/Text1"}));
    EXPECT_EQ(all[1].Old, R"("")");
    EXPECT_EQ(all[1].New, R"("T:drive 3")");
}

// Each Diff keeps its writer to itself: diffs on several threads at once give
// what one thread gives.
TEST(DiffFields, DiffsOnSeveralThreadsAtOnce) {
    COperation a, b;
    for (unsigned long long id = 1; id <= 40; ++id) {
        a.Objects.push_back(
            Object(id, {Text(23001, "drive " + std::to_string(id)), Number(23004, id)}));
        b.Objects.push_back(
            Object(id, {Text(23001, std::string(id * 7, 'n')), Number(23004, id + 1)}));
    }
    std::rotate(b.Objects.begin(), b.Objects.begin() + 3, b.Objects.end());
    const ChangeList expected = DiffOf(a, b);
    ASSERT_GT(expected.size(), 80u);
    std::vector<std::thread> threads;
    std::vector<int> wrong(4, 0);
    for (size_t t = 0; t < wrong.size(); ++t)
        threads.emplace_back([&, t] {
            for (int round = 0; round < 100; ++round) {
                ChangeList changes;
                if (Diff(a, b, changes) != 0 || changes != expected)
                    ++wrong[t];
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, std::vector<int>(4, 0));
}

// ---- Patches that are refused leave the record as it was ----

class PatchRefusal : public ::testing::Test {
protected:
    void SetUp() override {
        before.Objects = {Object(1, {Number(23004, 5)}), Object(2)};
        after = before;
        after.Objects[0].Properties[0] = Number(23004, 6);
        after.Objects.push_back(Object(3));
        changes = DiffOf(before, after);
        ASSERT_EQ(changes.size(), 2u);
    }
    void ExpectRefused(const ChangeList& list, unsigned int code, const std::string& pointer) {
        COperation target = before;
        CInterchangeError error;
        EXPECT_EQ(Patch(target, list, &error), code) << error.Text();
        EXPECT_EQ(error.Pointer, pointer);
        EXPECT_EQ(FirstDifference(target, before), "") << "a refused patch changed the record";
    }
    COperation before, after;
    ChangeList changes;
};

TEST_F(PatchRefusal, OldValueThatTheRecordDoesNotHold) {
    COperation other = before;
    other.Objects[0].Properties[0] = Number(23004, 7);
    CInterchangeError error;
    COperation target = other;
    EXPECT_EQ(Patch(target, changes, &error), DIFF_MISMATCH);
    EXPECT_EQ(error.Pointer, "/Objects/0/Properties/0");
    EXPECT_NE(error.Text().find("\"Value\":7"), std::string::npos) << error.Text();
    EXPECT_EQ(FirstDifference(target, other), "");
    // Applying the same list twice is refused the second time.
    COperation twice = before;
    ASSERT_EQ(Patch(twice, changes), 0u);
    EXPECT_EQ(Patch(twice, changes), DIFF_MISMATCH);
    EXPECT_EQ(FirstDifference(twice, after), "");
}

TEST_F(PatchRefusal, PathsThatNameNothing) {
    for (const char* path : {"/Objects/0/Nothing", "/Objects/x/Properties/0", "Objects/0",
                             "/Objects/5/Properties/0", "/Objects/0/Properties/0/Value",
                             "/Objects/00/Properties/0", "/Objects/0~2/Properties/0"}) {
        ChangeList list = changes;
        list[0].Path = path;
        ExpectRefused(list, DIFF_BAD_PATH, path);
    }
    CChange removal{EChangeKind::Removed, "/Objects/2", "", "{}", ""};
    ExpectRefused({removal}, DIFF_BAD_PATH, "/Objects/2");
}

TEST_F(PatchRefusal, ConflictsAndValuesThatDoNotDecode) {
    std::string one;
    ASSERT_EQ(WriteJsonValue(before.Objects[1], one), 0u);
    const CChange removal{EChangeKind::Removed, "/Objects/1", "", one, ""};
    ExpectRefused({removal, removal}, DIFF_CONFLICT, "/Objects/1");
    // An added element beyond the end of the new list leaves a gap.
    CChange added = changes[1];
    added.Path = "/Objects/3"; // one past the end of the new list
    ExpectRefused({added}, DIFF_CONFLICT, "/Objects/3");
    const CChange moved{EChangeKind::Moved, "/Objects/0", "/Objects/1", "", ""};
    ExpectRefused({moved, moved}, DIFF_CONFLICT, "/Objects/0");
    const CChange elsewhere{EChangeKind::Moved, "/Objects/0", "/Events/1", "", ""};
    ExpectRefused({elsewhere}, DIFF_BAD_PATH, "/Objects/0");
    // Values that do not decode.
    ChangeList list = changes;
    list[0].New = R"({"PropertyID":23004,"Type":5,"Value":-1})";
    ExpectRefused(list, INTERCHANGE_SCHEMA, "/Objects/0/Properties/0");
    const CChange flag{EChangeKind::Changed, "/Flag", "", "false", "1"};
    ExpectRefused({flag}, INTERCHANGE_SCHEMA, "/Flag");
    const CChange wide{EChangeKind::Changed, "/Setting1", "", "1", "2147483648"};
    ExpectRefused({wide}, INTERCHANGE_SCHEMA, "/Setting1");
}

// Memory that runs out anywhere in a patch (the working copy, an old value
// decoded to be compared, a new value decoded to be stored) is reported as
// out of memory, not as a value that does not decode, and changes nothing.
TEST_F(PatchRefusal, OutOfMemoryAnywhereIsReportedAsSuch) {
    if (!PI::Test::AllocHooksAvailable())
        GTEST_SKIP() << "library built without the allocation hook";
    unsigned long long blocks = 0;
    {
        COperation target = before;
        PI::Test::CAllocHookScope scope;
        ASSERT_EQ(Patch(target, changes), 0u);
        blocks = PI::Test::AllocationCount();
    }
    // The copy's property, the old and the new value of the changed one.
    ASSERT_GE(blocks, 3u);
    for (unsigned int skip = 0; skip < blocks; ++skip) {
        COperation target = before;
        CInterchangeError error;
        unsigned int result = 0;
        {
            PI::Test::CAllocHookScope scope;
            PI::Test::FailAllocations(skip);
            result = Patch(target, changes, &error);
        }
        EXPECT_EQ(result, RESULT_OUT_OF_MEMORY) << "block " << skip << ": " << error.Text();
        EXPECT_EQ(error.Code, RESULT_OUT_OF_MEMORY);
        EXPECT_EQ(FirstDifference(target, before), "") << "block " << skip;
    }
}

// ---- The change list document ----

TEST(ChangeListDocument, WritesKindsAndMembersAndReadsThemBack) {
    COperation a, b;
    a.Objects = {Object(1), Object(2)};
    b.Objects = {Object(2), Object(1, {Number(23004, 1)})};
    b.Setting1 = 5;
    const ChangeList changes = DiffOf(a, b);
    std::string text;
    ASSERT_EQ(WriteChangeList(changes, ERecordClass::Operation, text), 0u);
    EXPECT_EQ(text, R"({"Version":1,"Class":"COperation","Changes":[)"
                    R"({"Kind":"moved","Path":"/Objects/0","From":"/Objects/1"},)"
                    R"({"Kind":"added","Path":"/Objects/1/Properties/0",)"
                    R"("New":{"PropertyID":23004,"Type":5,"Value":1}},)"
                    R"({"Kind":"changed","Path":"/Setting1","Old":1,"New":5}]})");
    ChangeList read;
    ERecordClass cls = ERecordClass::Property;
    ASSERT_EQ(ReadChangeList(text.data(), text.size(), cls, read), 0u);
    EXPECT_EQ(cls, ERecordClass::Operation);
    EXPECT_EQ(read, changes);
    // A change that does not apply is blamed on its place in the text.
    COperation other = a;
    other.Setting1 = 2;
    CInterchangeError error;
    EXPECT_EQ(Patch(other, read, &error), DIFF_MISMATCH);
    EXPECT_EQ(error.Pointer, "/Setting1");
    EXPECT_EQ(error.Offset, text.find(R"("Kind":"changed")"));
}

// Each refusal names the offending member and points at it in the text ('@'
// marks the place and is taken out); the outputs stay as they were.
TEST(ChangeListDocument, RefusesMalformedDocumentsWithTheirPointer) {
    const std::string head = R"({"Version":1,"Class":"COperation",)";
    const std::string added = R"({"Kind":"added","Path":"/Objects/0","New":{}},)";
    const struct {
        std::string text;
        unsigned int code;
        const char* pointer;
    } cases[] = {
        {head + R"("Changes":[)", INTERCHANGE_SYNTAX, ""},
        {R"({@"Version":2,"Class":"COperation","Changes":[]})", INTERCHANGE_VERSION_UNKNOWN,
         "/Version"},
        {R"({"Version":1,@"Class":"CThing","Changes":[]})", INTERCHANGE_SCHEMA, "/Class"},
        {head + R"("Changes":[],@"More":1})", INTERCHANGE_SCHEMA, "/More"},
        {head + R"(@"Changes":{}})", INTERCHANGE_SCHEMA, "/Changes"},
        {head + R"("Changes":[{"Kind":"renamed","Path":""}]})", INTERCHANGE_SCHEMA,
         "/Changes/0/Kind"},
        {head + R"("Changes":[{"Kind":"changed",@"Path":7}]})", INTERCHANGE_SCHEMA,
         "/Changes/0/Path"},
        {head + R"("Changes":[)" + added + R"( {@"Kind":"changed","Path":"/Flag","New":true}]})",
         INTERCHANGE_SCHEMA, "/Changes/1/Old"},
        {head + R"("Changes":[)" + added + R"({"Kind":"removed","Path":"/Objects/1",@"New":{}}]})",
         INTERCHANGE_SCHEMA, "/Changes/1/New"},
        {head + R"("Changes":[{"Kind":"moved","Path":"/Objects/0"}]})", INTERCHANGE_SCHEMA,
         "/Changes/0/From"},
        {head + "\"Changes\":[{\"Kind\":\"changed\",\"Path\":\"/\xff\"}]}", INTERCHANGE_BAD_TEXT,
         ""},
        {head + R"("Changes":[{"Kind":"changed","Path":"/Flag","Old":)" + std::string(100000, '[') +
             std::string(100000, ']') + R"(,"New":1}]})",
         INTERCHANGE_LIMIT, ""},
        // A NUL byte ends RapidJSON's input; what follows it is still refused.
        {head + R"("Changes":[]}@)" + std::string(1, '\0') + R"("x")", INTERCHANGE_SYNTAX, ""},
    };
    for (const auto& c : cases) {
        std::string text = c.text;
        const size_t at = text.find('@');
        if (at != std::string::npos)
            text.erase(at, 1);
        ChangeList changes{CChange{}};
        ERecordClass cls = ERecordClass::Level;
        CInterchangeError error;
        EXPECT_EQ(ReadChangeList(text.data(), text.size(), cls, changes, &error), c.code)
            << text << "\n"
            << error.Text();
        EXPECT_EQ(error.Pointer, c.pointer) << text;
        EXPECT_TRUE(at == std::string::npos || error.Offset == at) << text << ": " << error.Offset;
        EXPECT_EQ(changes.size(), 1u) << "a refused document changed the output";
        EXPECT_EQ(cls, ERecordClass::Level);
    }
}

} // namespace
