// The Redfish view of the benchmarks' inventory, against the JSON encode of
// the same operation in the same run.
#include "Compare.h"
#include "Inventory.h"

#include <PI/Redfish.h>

#include <benchmark/benchmark.h>

namespace {

void RedfishView(benchmark::State& state) {
    const PI::COperation& operation = bench::TheInventory().operation;
    size_t bytes = 0;
    for (auto _ : state) {
        const std::vector<PI::CRedfishResource> view = PI::MakeRedfishView(operation);
        bytes = 0;
        for (const PI::CRedfishResource& r : view)
            bytes += r.Body.size();
        benchmark::DoNotOptimize(bytes);
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}

} // namespace

BENCHMARK(RedfishView)->Name("redfish/view")->Unit(benchmark::kMicrosecond);

[[maybe_unused]] const int kRedfishRows[] = {
    bench::AddComparison({"interchange", "Redfish view vs JSON encode of the inventory",
                          "redfish/view", "interchange/json_encode", 2.0}),
    bench::AddMetric(
        {"interchange", "Redfish view, all resources", "redfish/view", "bytes", "B", 0, false}),
};
