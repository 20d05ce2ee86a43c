#pragma once

#include "Tool.h"

#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace pitool {

// What the command line asked for, filled in while it is parsed: the chosen
// subcommand's work, to be run after parsing, and the output form.
struct Invocation {
    std::function<Result()> run;
    std::string command;
    bool json = false;
};

// Each subcommand registers its options and, when chosen, sets `call.run`.
void AddSenseCommand(CLI::App& app, Invocation& call);
void AddDriveCommand(CLI::App& app, Invocation& call);
void AddHelpCommand(CLI::App& app, Invocation& call);
void AddIconCommand(CLI::App& app, Invocation& call);
void AddUnitsCommand(CLI::App& app, Invocation& call);
void AddHexdumpCommand(CLI::App& app, Invocation& call);
void AddLdCommand(CLI::App& app, Invocation& call);
void AddConfigCommand(CLI::App& app, Invocation& call);
void AddDemoCommand(CLI::App& app, Invocation& call);
void AddRecordCommand(CLI::App& app, Invocation& call);
void AddMetricsCommand(CLI::App& app, Invocation& call);
void AddCheckCommand(CLI::App& app, Invocation& call);
void AddRedfishCommand(CLI::App& app, Invocation& call);

// Adds a subcommand with a one-line summary (for the list of subcommands) and
// details (for its --help), gives it --json, and records its name when it is
// chosen.
CLI::App* AddSubcommand(CLI::App& app, Invocation& call, const std::string& name,
                        const std::string& summary, const std::string& details);

// Parses `args` (without the program name) and runs the chosen subcommand.
// Throws ToolError for bad usage and lookups that find nothing; returns the
// result otherwise. `call` tells the output form and the subcommand's name,
// also when an exception leaves. Help requested with --help is written to
// `out` and gives an empty result.
Result Dispatch(const std::vector<std::string>& args, Invocation& call, std::string& helpText);

} // namespace pitool
