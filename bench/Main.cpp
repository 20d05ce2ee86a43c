// pi_bench: runs the benchmarks (Google Benchmark's own report goes to
// stderr) and prints one summary table of medians and ratios on stdout.
#include "Compare.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace bench {
namespace {

std::vector<Comparison>& Comparisons() {
    static std::vector<Comparison> rows;
    return rows;
}

std::vector<Metric>& Metrics() {
    static std::vector<Metric> rows;
    return rows;
}

// The groups in the order the table shows them.
const char* const kGroupOrder[] = {"sense",     "help/icons",        "property",
                                   "inventory", "logical drive XML", "configuration"};

size_t GroupRank(const std::string& group) {
    for (size_t i = 0; i < sizeof kGroupOrder / sizeof kGroupOrder[0]; ++i)
        if (group == kGroupOrder[i])
            return i;
    return sizeof kGroupOrder / sizeof kGroupOrder[0];
}

struct Samples {
    std::vector<double> timeNs; // time per iteration, one entry per repetition
    std::map<std::string, std::vector<double>> counters;
    std::string error;
};

double Median(std::vector<double> values) {
    if (values.empty())
        return std::nan("");
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// Keeps every iteration run (not Google Benchmark's aggregates) and passes
// all runs on to the console report.
class CollectingReporter : public benchmark::ConsoleReporter {
public:
    std::map<std::string, Samples> results;

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration)
                continue;
            Samples& samples = results[run.run_name.function_name];
            if (run.error_occurred) {
                samples.error = run.error_message;
                continue;
            }
            // Real time where the benchmark asks for it (those that wait for
            // the disk), CPU time otherwise: on a machine shared with other
            // work it is the steadier measure of code that only computes.
            const double perSecond = benchmark::GetTimeUnitMultiplier(run.time_unit);
            const bool real = !run.run_name.time_type.empty();
            samples.timeNs.push_back((real ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime()) /
                                     perSecond * 1e9);
            for (const auto& counter : run.counters)
                samples.counters[counter.first].push_back(counter.second.value);
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

std::string FormatTime(double ns) {
    char text[32];
    if (std::isnan(ns))
        return "-";
    if (ns < 1e3)
        std::snprintf(text, sizeof text, "%.1f ns", ns);
    else if (ns < 1e6)
        std::snprintf(text, sizeof text, "%.2f us", ns / 1e3);
    else if (ns < 1e9)
        std::snprintf(text, sizeof text, "%.2f ms", ns / 1e6);
    else
        std::snprintf(text, sizeof text, "%.2f s", ns / 1e9);
    return text;
}

std::string FormatNumber(double value, const std::string& unit) {
    char text[48];
    if (std::isnan(value))
        return "-";
    if (std::fabs(value) >= 1e6)
        std::snprintf(text, sizeof text, "%.3g M%s", value / 1e6, unit.c_str());
    else if (value == std::floor(value))
        std::snprintf(text, sizeof text, "%.0f %s", value, unit.c_str());
    else
        std::snprintf(text, sizeof text, "%.2f %s", value, unit.c_str());
    return text;
}

std::string FirstCpuModel() {
    std::ifstream cpuinfo("/proc/cpuinfo");
    std::string line;
    while (std::getline(cpuinfo, line))
        if (line.compare(0, 10, "model name") == 0) {
            const size_t colon = line.find(':');
            return colon == std::string::npos ? line : line.substr(colon + 2);
        }
    return "unknown CPU";
}

void PrintHeader() {
    char date[64];
    const std::time_t now = std::time(nullptr);
    std::strftime(date, sizeof date, "%Y-%m-%d %H:%M %Z", std::localtime(&now));
    char host[256] = "?";
    gethostname(host, sizeof host - 1);
    double load[3] = {0, 0, 0};
    getloadavg(load, 3);
    std::printf("PI benchmarks, %s, host %s\n", date, host);
    std::printf("CPU: %s, %ld logical cores, load average %.2f %.2f %.2f\n",
                FirstCpuModel().c_str(), sysconf(_SC_NPROCESSORS_ONLN), load[0], load[1], load[2]);
#if defined(NDEBUG)
    std::printf("Library built with assertions off (Release).\n");
#else
    std::printf("WARNING: built with assertions on; numbers are not representative.\n");
#endif
    std::printf("Times are medians over the repetitions of the CPU time per iteration (real "
                "time for the configuration store);\nratio = ours / peer, lower is better.\n\n");
}

void PrintTable(const std::map<std::string, Samples>& results) {
    auto find = [&](const std::string& name) -> const Samples* {
        const auto it = results.find(name);
        return it == results.end() ? nullptr : &it->second;
    };

    std::stable_sort(Comparisons().begin(), Comparisons().end(),
                     [](const Comparison& a, const Comparison& b) {
                         return GroupRank(a.group) < GroupRank(b.group);
                     });
    std::stable_sort(Metrics().begin(), Metrics().end(), [](const Metric& a, const Metric& b) {
        return GroupRank(a.group) < GroupRank(b.group);
    });

    const char* rule = "------------------------------------------------------------------------"
                       "--------------------------------------------------";
    std::printf("%-17s %-52s %11s %11s %8s %8s  %s\n", "group", "measurement", "ours", "peer",
                "ratio", "target", "result");
    std::printf("%s\n", rule);
    int missed = 0;
    for (const Comparison& row : Comparisons()) {
        const Samples* ours = find(row.ours);
        const Samples* peer = find(row.peer);
        if (ours == nullptr || peer == nullptr)
            continue; // filtered out of this run
        const double a = Median(ours->timeNs);
        const double b = Median(peer->timeNs);
        const double ratio = a / b;
        std::string result = "-";
        char target[16] = "-";
        if (!ours->error.empty() || !peer->error.empty())
            result = "error: " + (ours->error.empty() ? peer->error : ours->error);
        else if (row.target > 0) {
            std::snprintf(target, sizeof target, "<=%.2f", row.target);
            result = ratio <= row.target ? "met" : "MISSED";
            missed += ratio <= row.target ? 0 : 1;
        }
        std::printf("%-17s %-52s %11s %11s %8.3f %8s  %s\n", row.group.c_str(), row.label.c_str(),
                    FormatTime(a).c_str(), FormatTime(b).c_str(), ratio, target, result.c_str());
    }
    std::printf("%s\n", rule);
    for (const Metric& row : Metrics()) {
        const Samples* samples = find(row.benchmark);
        if (samples == nullptr)
            continue;
        const auto counter = samples->counters.find(row.counter);
        const double value =
            counter == samples->counters.end() ? std::nan("") : Median(counter->second);
        std::string result = "-";
        char target[24] = "-";
        if (!samples->error.empty())
            result = "error: " + samples->error;
        else if (row.exact) {
            std::snprintf(target, sizeof target, "=%g", row.target);
            result = value == row.target ? "met" : "MISSED";
            missed += value == row.target ? 0 : 1;
        } else if (row.target > 0) {
            std::snprintf(target, sizeof target, "<=%g", row.target);
            result = value <= row.target ? "met" : "MISSED";
            missed += value <= row.target ? 0 : 1;
        }
        std::printf("%-17s %-52s %23s %8s %8s  %s\n", row.group.c_str(), row.label.c_str(),
                    FormatNumber(value, row.unit).c_str(), "", target, result.c_str());
    }
    std::printf("%s\n", rule);
    std::printf("%d target(s) missed.\n", missed);
}

} // namespace

int AddComparison(const Comparison& row) {
    Comparisons().push_back(row);
    return 0;
}

int AddMetric(const Metric& row) {
    Metrics().push_back(row);
    return 0;
}

const std::string& ScratchDirectory() {
    static const std::string directory = [] {
        if (const char* given = std::getenv("PI_BENCH_DIR")) {
            ::mkdir(given, 0755);
            return std::string(given);
        }
        const char* tmp = std::getenv("TMPDIR");
        std::string pattern = std::string(tmp != nullptr ? tmp : "/tmp") + "/pi_bench.XXXXXX";
        if (::mkdtemp(&pattern[0]) == nullptr) {
            std::perror("pi_bench: mkdtemp");
            std::exit(2);
        }
        return pattern;
    }();
    return directory;
}

} // namespace bench

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    bench::CollectingReporter reporter;
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    bench::PrintHeader();
    bench::PrintTable(reporter.results);
    return 0;
}
