#pragma once

// What the summary table of pi_bench shows: pairs of benchmarks (ours against
// a peer library or a baseline, measured in the same run) with the ratio we
// aim for, and single measurements taken from a benchmark's counters.

#include <string>

namespace bench {

// A row "ours / peer": the median real time of `ours` divided by that of
// `peer`. `target` is the highest acceptable ratio; 0 means none is set and
// the row is for information only.
struct Comparison {
    std::string group;
    std::string label;
    std::string ours;
    std::string peer;
    double target;
};

// A row showing counter `counter` of benchmark `benchmark`. With `exact`,
// the value must equal `target`; otherwise a non-zero `target` is the
// highest acceptable value.
struct Metric {
    std::string group;
    std::string label;
    std::string benchmark;
    std::string counter;
    std::string unit;
    double target;
    bool exact;
};

// Both return a dummy so that they can run from a static initialiser next to
// the benchmarks they describe.
int AddComparison(const Comparison& row);
int AddMetric(const Metric& row);

// The directory for files the benchmarks write: $PI_BENCH_DIR, created if
// needed, or a fresh directory under $TMPDIR (or /tmp).
const std::string& ScratchDirectory();

} // namespace bench
