// Random pairs: a generated record and a copy changed by random edits. The
// change list must turn the first into the second, and be empty exactly
// when the two compare equal.
#include "RecordFieldsEqual.h"
#include "RecordGenerator.h"

#include <PI/Diff.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using namespace PI;
using PI::Testing::FirstDifference;
using PI::Testing::RecordGenerator;

// Random edits of every kind the diff must see: a changed field, an element
// added, removed or moved, a property whose kind changes, and changes to the
// fields that operator== ignores.
class Mutator {
public:
    explicit Mutator(RecordGenerator& g) : g(g) {}

    void Edit(COperation& op) {
        switch (g.Below(12)) {
        case 0:
            op.Setting3 = g.I32();
            break;
        case 1:
            EditList(op.Objects, [&] { return g.Object(); });
            break;
        case 2:
        case 3:
        case 4:
            EditProperties(PickHolder(op));
            break;
        case 5:
            if (!op.Objects.empty()) {
                CObject& o = op.Objects[g.Below(op.Objects.size())];
                o.Flag = !o.Flag;
                if (g.Bool())
                    o.Parents.push_back(g.U64());
            }
            break;
        case 6:
            EditList(op.Events, [&] { return g.Event(); });
            break;
        case 7:
            if (!op.Events.empty()) // ignored by operator==
                op.Events[g.Below(op.Events.size())].Text2 = g.Text();
            break;
        case 8:
            EditDrives(op);
            break;
        case 9:
            if (!op.LogicalDrives.empty()) {
                CLogicalDrive& ld = op.LogicalDrives[g.Below(op.LogicalDrives.size())];
                ld.GHS.push_back(g.U64()); // ignored by operator==
                if (g.Bool())
                    ld.Size = g.U64();
            }
            break;
        case 10:
            EditList(op.Levels, [&] { return g.Level(); });
            EditList(op.Partitions, [&] { return g.Partition(); });
            break;
        default:
            EditList(op.PassThroughs, [&] { return g.PassThrough(); });
            EditList(op.LogicalDrives, [&] { return g.LogicalDrive(); });
            break;
        }
    }

private:
    template <class T, class Make> void EditList(std::vector<T>& list, Make make) {
        const size_t n = list.size();
        switch (n == 0 ? 0 : g.Below(4)) {
        case 0:
            list.insert(list.begin() + static_cast<long>(g.Below(n + 1)), make());
            break;
        case 1:
            list.erase(list.begin() + static_cast<long>(g.Below(n)));
            break;
        case 2: { // reorder: one element to another place
            const size_t from = g.Below(n);
            T taken = std::move(list[from]);
            list.erase(list.begin() + static_cast<long>(from));
            list.insert(list.begin() + static_cast<long>(g.Below(n)), std::move(taken));
            break;
        }
        default:
            list[g.Below(n)] = make();
            break;
        }
    }

    // Keeps the identity, changes the value and maybe the kind.
    void EditProperties(std::vector<CProperty>& list) {
        if (!list.empty() && g.Below(3) == 0) {
            CProperty& p = list[g.Below(list.size())];
            CProperty fresh = g.Property();
            fresh.PropertyID = p.PropertyID;
            fresh.SecondaryID = p.SecondaryID;
            p = fresh;
            return;
        }
        if (list.size() >= 2 && g.Below(3) == 0) // a second property with the same identity
            list.push_back(list[g.Below(list.size())]);
        EditList(list, [&] { return g.Property(); });
    }

    void EditDrives(COperation& op) {
        for (CLogicalDrive& ld : op.LogicalDrives)
            for (CContainer& c : ld.Containers)
                if (g.Bool()) {
                    EditList(c.Drives, [&] { return g.Drive(); });
                    if (!c.Drives.empty()) // ignored by operator==
                        c.Drives[g.Below(c.Drives.size())].UsedSize = g.U64();
                    return;
                }
    }

    std::vector<CProperty>& PickHolder(COperation& op) {
        std::vector<std::vector<CProperty>*> holders{&op.Properties};
        for (CObject& o : op.Objects)
            holders.push_back(&o.Properties);
        for (CLogicalDrive& ld : op.LogicalDrives) {
            holders.push_back(&ld.Properties);
            for (CContainer& c : ld.Containers)
                for (CDrive& d : c.Drives)
                    holders.push_back(&d.Properties);
        }
        for (CLevel& l : op.Levels)
            holders.push_back(&l.Properties);
        for (CMigration& m : op.Migrations)
            holders.push_back(&m.Properties);
        return *holders[g.Below(holders.size())];
    }

    RecordGenerator& g;
};

// A copy that keeps what the copy constructor drops (a size left without a
// block), through the lossless interchange form.
template <class Record> Record ExactCopy(const Record& record) {
    std::string json;
    Record copy;
    EXPECT_EQ(WriteJsonValue(record, json), 0u);
    EXPECT_EQ(ReadJsonValue(json, copy), 0u);
    return copy;
}

std::string Describe(const ChangeList& changes) {
    std::string text;
    WriteChangeList(changes, ERecordClass::Operation, text);
    return text;
}

// Every field: the patch gives the second record back exactly, also after the
// change list went through its JSON document.
void ExpectPatchGivesAfter(const COperation& before, const COperation& after,
                           const std::string& label, size_t (&kinds)[4]) {
    ChangeList all;
    CInterchangeError error;
    ASSERT_EQ(Diff(before, after, all, EDiffFields::All, &error), 0u) << label << error.Text();
    for (const CChange& change : all)
        ++kinds[static_cast<unsigned int>(change.Kind)];
    COperation patched = ExactCopy(before);
    ASSERT_EQ(Patch(patched, all, &error), 0u) << label << ": " << error.Text() << "\n"
                                               << Describe(all);
    ASSERT_EQ(FirstDifference(patched, after), "") << label << "\n" << Describe(all);

    std::string document;
    ASSERT_EQ(WriteChangeList(all, ERecordClass::Operation, document), 0u);
    ChangeList read;
    ERecordClass cls = ERecordClass::Property;
    ASSERT_EQ(ReadChangeList(document.data(), document.size(), cls, read, &error), 0u)
        << label << ": " << error.Text();
    EXPECT_EQ(cls, ERecordClass::Operation);
    COperation fromDocument = ExactCopy(before);
    ASSERT_EQ(Patch(fromDocument, read, &error), 0u) << label << ": " << error.Text();
    EXPECT_EQ(FirstDifference(fromDocument, after), "") << label;

    // A diff of a record with itself is empty in both modes.
    ChangeList none;
    ASSERT_EQ(Diff(after, after, none, EDiffFields::All), 0u);
    EXPECT_TRUE(none.empty()) << label << "\n" << Describe(none);
}

TEST(DiffRandom, PatchOfDiffGivesTheSecondRecordFieldByField) {
    size_t kinds[4] = {};
    for (std::uint64_t seed = 1; seed <= 400; ++seed) {
        RecordGenerator g(seed);
        g.MaxRecords = 4;
        const COperation before = g.Operation();
        COperation after = ExactCopy(before);
        Mutator mutate(g);
        for (size_t edits = g.Below(6); edits > 0; --edits)
            mutate.Edit(after);
        ExpectPatchGivesAfter(before, after, "seed " + std::to_string(seed), kinds);
        if (HasFailure())
            return;
    }
    // The edits made every kind of change many times over.
    for (size_t count : kinds)
        EXPECT_GT(count, 20u);
}

TEST(DiffRandom, ComparedDiffIsEmptyExactlyWhenEqualAndPatchesToAnEqualRecord) {
    size_t equalPairs = 0, differentPairs = 0;
    for (std::uint64_t seed = 1000; seed < 1400; ++seed) {
        RecordGenerator g(seed);
        g.MaxRecords = 4;
        const COperation before = g.Operation();
        COperation after = ExactCopy(before);
        Mutator mutate(g);
        for (size_t edits = g.Below(3); edits > 0; --edits)
            mutate.Edit(after);
        ChangeList compared;
        ASSERT_EQ(Diff(before, after, compared), 0u);
        const std::string label = "seed " + std::to_string(seed) + "\n" + Describe(compared);
        ASSERT_EQ(compared.empty(), before == after) << label;
        (before == after ? equalPairs : differentPairs) += 1;
        COperation patched = ExactCopy(before);
        CInterchangeError error;
        ASSERT_EQ(Patch(patched, compared, &error), 0u) << label << error.Text();
        EXPECT_TRUE(patched == after) << label;
    }
    // Both sides of "exactly when" were exercised.
    EXPECT_GT(equalPairs, 20u);
    EXPECT_GT(differentPairs, 100u);
}

template <class Record> bool Equal(const Record& a, const Record& b) {
    return a == b;
}
// A pass-through compares only inside an operation, by its value.
bool Equal(const CPassThrough& a, const CPassThrough& b) {
    return a.Value == b.Value;
}

// Every class an operation holds, diffed on its own.
template <class Record, class Make> void ExpectClassRoundTrip(Make make) {
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        RecordGenerator g(seed);
        const Record a = make(g);
        const Record b = make(g);
        ChangeList changes;
        CInterchangeError error;
        ASSERT_EQ(Diff(a, b, changes, EDiffFields::All, &error), 0u) << error.Text();
        Record patched = ExactCopy(a);
        ASSERT_EQ(Patch(patched, changes, &error), 0u) << error.Text();
        ASSERT_EQ(FirstDifference(patched, b), "") << "seed " << seed;
        ChangeList compared;
        ASSERT_EQ(Diff(a, b, compared), 0u);
        EXPECT_EQ(compared.empty(), Equal(a, b)) << "seed " << seed;
    }
}

TEST(DiffRandom, EveryRecordClassPatchesToTheOther) {
    ExpectClassRoundTrip<CProperty>([](RecordGenerator& g) { return g.Property(); });
    ExpectClassRoundTrip<CObject>([](RecordGenerator& g) { return g.Object(); });
    ExpectClassRoundTrip<CTask>([](RecordGenerator& g) { return g.Task(); });
    ExpectClassRoundTrip<CDrive>([](RecordGenerator& g) { return g.Drive(); });
    ExpectClassRoundTrip<CContainer>([](RecordGenerator& g) { return g.Container(); });
    ExpectClassRoundTrip<CLogicalDrive>([](RecordGenerator& g) { return g.LogicalDrive(); });
    ExpectClassRoundTrip<CLevel>([](RecordGenerator& g) { return g.Level(); });
    ExpectClassRoundTrip<CMigration>([](RecordGenerator& g) { return g.Migration(); });
    ExpectClassRoundTrip<CPartition>([](RecordGenerator& g) { return g.Partition(); });
    ExpectClassRoundTrip<CEvent>([](RecordGenerator& g) { return g.Event(); });
    ExpectClassRoundTrip<CPassThrough>([](RecordGenerator& g) { return g.PassThrough(); });
}

} // namespace
