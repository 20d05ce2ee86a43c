// Diff of two inventories against operator== over the same records, at the
// benchmarks' inventory size and at 10x and 100x of it.
#include "Compare.h"
#include "Inventory.h"

#include <PI/Diff.h>

#include <benchmark/benchmark.h>

#include <map>
#include <memory>

namespace {

using PI::CObject;
using PI::COperation;

// The inventory `scale` times over, each copy with object ids of its own.
COperation ScaledInventory(unsigned long long scale) {
    const COperation& one = bench::TheInventory().operation;
    COperation op(one);
    for (unsigned long long k = 1; k < scale; ++k) {
        const unsigned long long offset = k << 32;
        for (CObject object : one.Objects) {
            object.ObjectID += offset;
            for (auto& parent : object.Parents)
                parent += offset;
            op.Objects.push_back(std::move(object));
        }
        for (PI::CLogicalDrive ld : one.LogicalDrives) {
            for (auto& container : ld.Containers)
                for (auto& drive : container.Drives)
                    drive.ObjectID += offset;
            op.LogicalDrives.push_back(std::move(ld));
        }
    }
    return op;
}

// The next answer of the agent: 1% of the properties with new values, and per
// inventory copy three objects added, three removed and three moved.
COperation NextAnswer(const COperation& before, unsigned long long scale) {
    COperation after(before);
    size_t n = 0;
    const auto touch = [&n](std::vector<PI::CProperty>& list) {
        for (auto& p : list)
            if (++n % 100 == 0)
                p = bench::MakeProperty(p.PropertyID, 1, n);
    };
    for (CObject& object : after.Objects)
        touch(object.Properties);
    for (auto& ld : after.LogicalDrives)
        touch(ld.Properties);
    const size_t per = after.Objects.size() / scale;
    std::vector<CObject> objects;
    objects.reserve(after.Objects.size() + 3 * scale);
    for (unsigned long long k = 0; k < scale; ++k) {
        auto first = after.Objects.begin() + static_cast<long>(k * per);
        std::vector<CObject> part(first, first + static_cast<long>(per));
        part.erase(part.begin() + 20, part.begin() + 23);                      // removed
        std::rotate(part.begin() + 40, part.begin() + 41, part.begin() + 200); // one moved
        std::rotate(part.begin() + 100, part.begin() + 101, part.end());       // one moved
        std::swap(part[150], part[151]);                                       // one moved
        for (unsigned long long a = 0; a < 3; ++a)                             // added
            part.push_back(bench::MakeObject((k << 32) + 0x9000 + a, bench::kPhysicalDriveType,
                                             0x100, PI::PHYSICAL_DRIVE_ACTIVITY, 40));
        for (auto& object : part)
            objects.push_back(std::move(object));
    }
    after.Objects = std::move(objects);
    return after;
}

struct Pair {
    COperation before, copy, after;
    size_t properties = 0;
    size_t changes = 0;
};

const Pair& ThePair(unsigned long long scale) {
    static std::map<unsigned long long, std::unique_ptr<Pair>> pairs;
    auto& slot = pairs[scale];
    if (!slot) {
        slot = std::make_unique<Pair>();
        slot->before = ScaledInventory(scale);
        slot->copy = slot->before;
        slot->after = NextAnswer(slot->before, scale);
        slot->properties = bench::TheInventory().properties * scale;
        PI::ChangeList changes;
        PI::Diff(slot->before, slot->after, changes);
        slot->changes = changes.size();
    }
    return *slot;
}

void Counters(benchmark::State& state, const Pair& pair) {
    state.counters["properties/s"] = benchmark::Counter(
        static_cast<double>(pair.properties), benchmark::Counter::kIsIterationInvariantRate);
    state.counters["changes"] = static_cast<double>(pair.changes);
}

void DiffInventory(benchmark::State& state) {
    const Pair& pair = ThePair(static_cast<unsigned long long>(state.range(0)));
    PI::ChangeList changes;
    for (auto _ : state) {
        changes.clear();
        if (PI::Diff(pair.before, pair.after, changes) != 0)
            state.SkipWithError("Diff failed");
        benchmark::DoNotOptimize(changes.data());
    }
    Counters(state, pair);
}

// The walk alone: Diff of the first record and its equal copy finds nothing
// and encodes nothing.
void DiffEqualInventory(benchmark::State& state) {
    const Pair& pair = ThePair(static_cast<unsigned long long>(state.range(0)));
    PI::ChangeList changes;
    for (auto _ : state) {
        changes.clear();
        PI::Diff(pair.before, pair.copy, changes);
        benchmark::DoNotOptimize(changes.data());
    }
    if (!changes.empty())
        state.SkipWithError("the diff of equal records is not empty");
    Counters(state, pair);
}

// operator== stops at the first difference of the changed pair, so its full
// cost is measured on the first record and an equal copy: the same walk over
// the same number of properties that it takes to answer "equal".
void CompareInventory(benchmark::State& state) {
    const Pair& pair = ThePair(static_cast<unsigned long long>(state.range(0)));
    bool equal = false;
    for (auto _ : state) {
        equal = pair.before == pair.copy;
        benchmark::DoNotOptimize(equal);
    }
    if (!equal)
        state.SkipWithError("the copy does not compare equal");
    Counters(state, pair);
}

BENCHMARK(DiffInventory)->Name("diff/inventory_x1")->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(CompareInventory)->Name("diff/compare_x1")->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(DiffEqualInventory)->Name("diff/equal_x1")->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(DiffInventory)->Name("diff/inventory_x10")->Arg(10)->Unit(benchmark::kMicrosecond);
BENCHMARK(CompareInventory)->Name("diff/compare_x10")->Arg(10)->Unit(benchmark::kMicrosecond);
BENCHMARK(DiffInventory)->Name("diff/inventory_x100")->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(CompareInventory)->Name("diff/compare_x100")->Arg(100)->Unit(benchmark::kMillisecond);

[[maybe_unused]] const int kDiffRows[] = {
    bench::AddComparison({"diff", "Diff vs operator== (equal copy), inventory", "diff/inventory_x1",
                          "diff/compare_x1", 3.0}),
    bench::AddComparison({"diff", "Diff vs operator== (equal copy), 10x inventory",
                          "diff/inventory_x10", "diff/compare_x10", 3.0}),
    bench::AddComparison({"diff", "Diff vs operator== (equal copy), 100x inventory",
                          "diff/inventory_x100", "diff/compare_x100", 3.0}),
    bench::AddComparison({"diff", "Diff 10x vs 1x inventory (linear: 10)", "diff/inventory_x10",
                          "diff/inventory_x1", 0}),
    bench::AddComparison({"diff", "Diff 100x vs 1x inventory (linear: 100)", "diff/inventory_x100",
                          "diff/inventory_x1", 0}),
    bench::AddMetric(
        {"diff", "changes in the inventory pair", "diff/inventory_x1", "changes", "", 0, false}),
    bench::AddMetric(
        {"diff", "Diff, inventory", "diff/inventory_x1", "properties/s", "prop/s", 0, false}),
    bench::AddMetric({"diff", "Diff, 100x inventory", "diff/inventory_x100", "properties/s",
                      "prop/s", 0, false}),
};

} // namespace
