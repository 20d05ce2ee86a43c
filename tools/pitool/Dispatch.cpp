#include "Commands.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>

namespace pitool {

CLI::App* AddSubcommand(CLI::App& app, Invocation& call, const std::string& name,
                        const std::string& summary, const std::string& details) {
    CLI::App* sub = app.add_subcommand(name, summary);
    sub->footer(details + "\n\nExit status: 0 success, 1 the lookup found nothing, 2 bad usage or "
                          "input.\n");
    sub->add_flag("--json", call.json, "Print the result as JSON");
    sub->preparse_callback([&call, name](size_t) { call.command = name; });
    return sub;
}

Result Dispatch(const std::vector<std::string>& args, Invocation& call, std::string& helpText) {
    CLI::App app("pitool: looks up what the PI library knows about RAID storage: sense codes, "
                 "drive identities, help anchors, icons, logical drive documents and the "
                 "configuration file.",
                 "pitool");
    app.require_subcommand(1);
    app.footer("Exit status: 0 success, 1 the lookup found nothing, 2 bad usage or input.\n");
    // --json may also stand before the subcommand.
    app.add_flag("--json", call.json, "Print the result as JSON");
    AddSenseCommand(app, call);
    AddDriveCommand(app, call);
    AddHelpCommand(app, call);
    AddIconCommand(app, call);
    AddUnitsCommand(app, call);
    AddHexdumpCommand(app, call);
    AddLdCommand(app, call);
    AddConfigCommand(app, call);
    AddRecordCommand(app, call);
    AddMetricsCommand(app, call);
    AddCheckCommand(app, call);
    AddRedfishCommand(app, call);
    AddDemoCommand(app, call);

    // CLI11 takes the arguments last first.
    std::vector<std::string> reversed(args.rbegin(), args.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::CallForHelp& e) {
        std::ostringstream out, err;
        app.exit(e, out, err);
        helpText = out.str();
        return Result{};
    } catch (const CLI::CallForAllHelp& e) {
        std::ostringstream out, err;
        app.exit(e, out, err);
        helpText = out.str();
        return Result{};
    } catch (const CLI::ParseError& e) {
        std::string message = e.what();
        if (message.empty()) {
            message = "bad command line";
        }
        if (call.command.empty() && !args.empty() && args[0].rfind('-', 0) != 0) {
            throw ToolError(EXIT_USAGE, "unknown subcommand '" + args[0] + "' (see pitool --help)");
        }
        // Arguments left over before the subcommand are pitool's own
        // mistake, not the subcommand's.
        if (!app.remaining(false).empty()) {
            call.command.clear();
        }
        // An unknown option makes the parser take what follows for missing;
        // the option is the mistake to name.
        const std::vector<std::string> unknown = app.remaining(true);
        if (dynamic_cast<const CLI::RequiredError*>(&e) != nullptr && !unknown.empty()) {
            message = "The following argument was not expected: " + unknown.front();
        }
        const std::string where = call.command.empty() ? "pitool" : "pitool " + call.command;
        throw ToolError(EXIT_USAGE, message + " (see " + where + " --help)");
    }
    if (!call.run) {
        throw ToolError(EXIT_USAGE, "nothing to do (see pitool --help)");
    }
    return call.run();
}

} // namespace pitool
