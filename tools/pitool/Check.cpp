// pitool check: a check plugin for Nagios-compatible monitoring systems.
#include "Commands.h"

#include <PI/Metrics.h>

#include <CLI/CLI.hpp>

#include <memory>

namespace pitool {

PI::COperation ReadInventory(const std::string& path);

namespace {

struct Args {
    std::string file;
    std::vector<std::string> warning, critical;
    bool verbose = false;
};

// NAME=RANGE pairs into the options; false with the bad one in `bad`.
bool Thresholds(const std::vector<std::string>& given, std::map<std::string, std::string>& into,
                std::string& bad) {
    for (const std::string& pair : given) {
        const size_t equals = pair.find('=');
        if (equals == std::string::npos || equals == 0) {
            bad = pair;
            return false;
        }
        into[pair.substr(0, equals)] = pair.substr(equals + 1);
    }
    return true;
}

Result Run(const Args& args) {
    PI::CCheckResult check;
    PI::CCheckOptions options;
    std::string bad;
    if (!Thresholds(args.warning, options.Warning, bad) ||
        !Thresholds(args.critical, options.Critical, bad)) {
        check = PI::CheckUnknown("a threshold is NAME=RANGE, not '" + bad + "'");
    } else {
        try {
            check = PI::CheckOperation(ReadInventory(args.file), options);
        } catch (const ToolError& e) {
            check = PI::CheckUnknown(e.what());
        }
    }
    Result result;
    result.status = check.Status;
    result.raw = check.Line + '\n';
    if (args.verbose)
        for (const std::string& line : check.Details)
            result.raw += line + '\n';
    return result;
}

} // namespace

void AddCheckCommand(CLI::App& app, Invocation& call) {
    auto args = std::make_shared<Args>();
    CLI::App* sub = AddSubcommand(
        app, call, "check", "A check plugin: the health of an inventory in one status line",
        "FILE is a COperation record document (JSON or MessagePack); - reads standard input. "
        "Prints one line, 'PI <STATUS> - <summary> | <performance data>', and with -v one more "
        "line for every object that is not OK (docs/metrics.md). Thresholds are NAME=RANGE in "
        "the plugins' range syntax ([@]start:end) for the measures of the performance data: "
        "drives_failed, drives_warning, ld_failed, ld_degraded, ld_without_spare, "
        "others_failed, others_warning, media_errors, temperature; NAME= drops a default.");
    sub->footer("Exit status: 0 OK, 1 WARNING, 2 CRITICAL, 3 UNKNOWN (also for a file that "
                "cannot be read and for bad usage).\n");
    sub->add_option("file", args->file, "Inventory record document")->required();
    sub->add_option("-w,--warning", args->warning, "NAME=RANGE: a warning threshold")
        ->allow_extra_args(false);
    sub->add_option("-c,--critical", args->critical, "NAME=RANGE: a critical threshold")
        ->allow_extra_args(false);
    sub->add_flag("-v,--verbose", args->verbose, "List every object that is not OK");
    sub->callback([&call, args] { call.run = [args] { return Run(*args); }; });
}

} // namespace pitool
