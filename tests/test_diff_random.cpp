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
        switch (g.Below(9)) {
        case 0:
            op.Setting3 = g.I32();
            break;
        case 1:
            EditList(op.Objects);
            break;
        case 2:
        case 3:
            EditProperties(PickHolder(op));
            break;
        case 4:
            EditList(op.Events);
            if (!op.Events.empty()) // ignored by operator==
                op.Events[g.Below(op.Events.size())].Text2 = g.Text();
            break;
        case 5:
            EditDrives(op);
            break;
        case 6:
            if (!op.LogicalDrives.empty()) // ignored by operator==
                op.LogicalDrives[g.Below(op.LogicalDrives.size())].GHS.push_back(g.U64());
            break;
        case 7:
            EditList(op.Levels);
            EditList(op.Partitions);
            break;
        default:
            EditList(op.PassThroughs);
            EditList(op.LogicalDrives);
            break;
        }
    }

private:
    template <class T> void EditList(std::vector<T>& list) {
        const size_t n = list.size();
        switch (n == 0 ? 0 : g.Below(4)) {
        case 0:
            list.insert(list.begin() + static_cast<long>(g.Below(n + 1)), g.Record<T>());
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
            list[g.Below(n)] = g.Record<T>();
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
        EditList(list);
    }

    void EditDrives(COperation& op) {
        for (CLogicalDrive& ld : op.LogicalDrives)
            for (CContainer& c : ld.Containers)
                if (g.Bool()) {
                    EditList(c.Drives);
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

template <class Record> Record Patched(const Record& before, const ChangeList& changes) {
    Record patched = ExactCopy(before);
    CInterchangeError error;
    EXPECT_EQ(Patch(patched, changes, &error), 0u) << error.Text() << "\n" << Describe(changes);
    return patched;
}

// Every field: the patch gives the second record back exactly, also after the
// change list went through its JSON document; the compared-fields diff is
// empty exactly when the records compare equal and patches to an equal one.
TEST(DiffRandom, PatchOfDiffGivesTheSecondRecord) {
    size_t kinds[4] = {};
    size_t equalPairs = 0;
    for (std::uint64_t seed = 1; seed <= 600; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RecordGenerator g(seed);
        g.MaxRecords = 4;
        const COperation before = g.Operation();
        COperation after = ExactCopy(before);
        Mutator mutate(g);
        for (size_t edits = g.Below(5); edits > 0; --edits)
            mutate.Edit(after);

        ChangeList all;
        ASSERT_EQ(Diff(before, after, all, EDiffFields::All), 0u);
        for (const CChange& change : all)
            ++kinds[static_cast<unsigned int>(change.Kind)];
        ASSERT_EQ(FirstDifference(Patched(before, all), after), "") << Describe(all);
        std::string document;
        ASSERT_EQ(WriteChangeList(all, ERecordClass::Operation, document), 0u);
        ChangeList read;
        ERecordClass cls = ERecordClass::Property;
        ASSERT_EQ(ReadChangeList(document.data(), document.size(), cls, read), 0u);
        EXPECT_EQ(cls, ERecordClass::Operation);
        ASSERT_EQ(FirstDifference(Patched(before, read), after), "");

        ChangeList compared;
        ASSERT_EQ(Diff(before, after, compared), 0u);
        ASSERT_EQ(compared.empty(), before == after) << Describe(compared);
        equalPairs += before == after ? 1 : 0;
        EXPECT_TRUE(Patched(before, compared) == after);
        ChangeList none;
        ASSERT_EQ(Diff(after, after, none, EDiffFields::All), 0u);
        EXPECT_TRUE(none.empty()) << Describe(none);
    }
    // The edits made every kind of change, and both sides of "exactly when".
    for (size_t count : kinds)
        EXPECT_GT(count, 10u);
    EXPECT_GT(equalPairs, 20u);
}

template <class Record> bool Equal(const Record& a, const Record& b) {
    return a == b;
}
// A pass-through compares only inside an operation, by its value.
bool Equal(const CPassThrough& a, const CPassThrough& b) {
    return a.Value == b.Value;
}

// Every class an operation holds, diffed on its own.
template <class... Record> void ExpectClassRoundTrips() {
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        RecordGenerator g(seed);
        const auto one = [&](auto a, auto b) {
            ChangeList changes;
            ASSERT_EQ(Diff(a, b, changes, EDiffFields::All), 0u);
            ASSERT_EQ(FirstDifference(Patched(a, changes), b), "") << "seed " << seed;
            ChangeList compared;
            ASSERT_EQ(Diff(a, b, compared), 0u);
            EXPECT_EQ(compared.empty(), Equal(a, b)) << "seed " << seed;
        };
        (one(g.Record<Record>(), g.Record<Record>()), ...);
    }
}

TEST(DiffRandom, EveryRecordClassPatchesToTheOther) {
    ExpectClassRoundTrips<CProperty, CObject, CTask, CDrive, CContainer, CLogicalDrive, CLevel,
                          CMigration, CPartition, CEvent, CPassThrough>();
}

} // namespace
