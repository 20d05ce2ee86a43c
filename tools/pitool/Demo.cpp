// pitool demo: a short tour over the sample files, one subcommand at a time.
#include "Commands.h"

#include <RVX/Application.h>
#include <algorithm>

#include <CLI/CLI.hpp>

#include <boost/filesystem.hpp>

#include <cstdlib>
#include <memory>

namespace pitool {

namespace fs = boost::filesystem;

namespace {

struct DemoArgs {
    std::string examples;
};

struct Step {
    std::string title; // starts a new section when not empty
    std::vector<std::string> args;
    int expected = EXIT_OK;
    // For a long page: only its lines that contain one of these are shown.
    std::vector<std::string> excerpt = {};
};

// The lines of `page` that contain one of `keys`, with a mark where lines
// were left out.
std::string Excerpt(const std::string& page, const std::vector<std::string>& keys) {
    std::string shown;
    bool skipped = false;
    for (size_t start = 0; start < page.size();) {
        const size_t end = std::min(page.find('\n', start), page.size());
        const std::string line = page.substr(start, end - start);
        start = end + 1;
        const bool keep = std::any_of(keys.begin(), keys.end(), [&](const std::string& key) {
            return line.find(key) != std::string::npos;
        });
        if (keep) {
            shown += (skipped ? "...\n" : "") + line + "\n";
            skipped = false;
        } else {
            skipped = true;
        }
    }
    return shown + (skipped ? "...\n" : "");
}

bool IsExamplesDir(const fs::path& dir) {
    boost::system::error_code error;
    return fs::is_directory(dir, error) && fs::exists(dir / "ld-raid5.xml", error);
}

// --examples, else $PI_EXAMPLES_DIR, else the installed share/pi/examples
// beside the program, else the examples/ of the source tree it was built from.
fs::path FindExamples(const std::string& option) {
    if (!option.empty()) {
        if (!IsExamplesDir(option)) {
            Fail("'" + option + "' is not an examples directory (no ld-raid5.xml in it)");
        }
        return option;
    }
    if (const char* env = std::getenv("PI_EXAMPLES_DIR"); env && *env) {
        if (!IsExamplesDir(env)) {
            Fail(std::string("PI_EXAMPLES_DIR '") + env +
                 "' is not an examples directory (no ld-raid5.xml in it)");
        }
        return env;
    }
    std::string program;
    if (RVX::Misc::CRvxApplication::GetProcessPath(program)) {
        const fs::path installed =
            fs::path(program).parent_path().parent_path() / "share/pi/examples";
        if (IsExamplesDir(installed)) {
            return installed;
        }
    }
#ifdef PI_SOURCE_EXAMPLES_DIR
    if (IsExamplesDir(PI_SOURCE_EXAMPLES_DIR)) {
        return PI_SOURCE_EXAMPLES_DIR;
    }
#endif
    Fail("cannot find the examples directory; give --examples DIR or set PI_EXAMPLES_DIR");
}

// Shorter paths in the transcript when the examples lie below the current
// directory, so that the shown commands can be pasted as they are.
std::string Shown(const fs::path& path) {
    boost::system::error_code error;
    const fs::path here = fs::current_path(error);
    if (!error) {
        const fs::path relative = path.lexically_relative(here);
        if (!relative.empty() && *relative.begin() != "..") {
            return relative.string();
        }
    }
    return path.string();
}

// A scratch copy of the sample configuration file, removed again at the end.
class ScratchDir {
public:
    ScratchDir() {
        boost::system::error_code error;
        m_Path = fs::temp_directory_path(error) / fs::unique_path("pitool-demo-%%%%-%%%%");
        if (error || !fs::create_directories(m_Path, error)) {
            Fail("cannot create a scratch directory for the configuration demo");
        }
    }
    ~ScratchDir() {
        boost::system::error_code error;
        fs::remove_all(m_Path, error);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;
    const fs::path& Path() const { return m_Path; }

private:
    fs::path m_Path;
};

std::vector<Step> Tour(const fs::path& examples, const std::string& ini) {
    const auto at = [&](const char* name) { return Shown(examples / name); };
    return {
        {"Sense data: a key with its ASC/ASCQ, then raw buffers in both formats",
         {"sense", "5", "24", "00"}},
        {"", {"sense", "--file", at("sense-medium-error.hex")}},
        {"", {"sense", "--file", at("sense-not-ready-descriptor.hex")}},
        {"", {"sense", "--file", at("sense-not-ready-progress.hex")}},
        {"", {"sense", "--file", at("sense-ata-status-return.hex")}},
        {"", {"sense", "4", "80", "0D"}, EXIT_NOT_FOUND},
        {"Drive identity of SATA drives",
         {"drive", "WDC WD3000HLFS-01G6U0", "--serial", "WD-WCAV12345678"}},
        {"", {"drive", "ST9500325AS", "--serial", "5VP12345ABCD", "--rpm", "5412"}},
        {"", {"drive", "HDS721010CLA332"}},
        {"Help anchors of properties and operations", {"help", "OP_START_REBUILD"}},
        {"", {"help", "23001"}},
        {"", {"help", "--list", "--kind", "POWER_SUPPLY"}},
        {"Icons: an icon file, and the status icon of a physical drive", {"icon", "24078"}},
        {"",
         {"icon", "--state", "PD_STATE_REBUILD_WARNING_1", "--media", "MEDIA_TYPE_SSD",
          "--overlay"}},
        {"",
         {"icon", "--state", "PD_STATE_MISSING", "--foreign", "--power", "POWER_STATE_POWER_SAVE"}},
        {"Byte counts and hex dumps", {"units", "1649267441664"}},
        {"", {"hexdump", at("ld-raid5.xml"), "--first", "0", "--end", "40"}},
        {"Logical drive documents", {"ld", at("ld-raid5.xml")}},
        {"", {"ld", at("ld-raid10.xml")}},
        {"The configuration file (a scratch copy of pi.ini): scopes and the fallback",
         {"config", "--file", ini, "get", "PollInterval"}},
        {"", {"config", "--file", ini, "get", "PollInterval", "--adapter", "0"}},
        {"", {"config", "--file", ini, "get", "WriteCache", "--adapter", "0", "--unit", "1"}},
        {"", {"config", "--file", ini, "get", "PollInterval", "--adapter", "0", "--unit", "1"}},
        {"", {"config", "--file", ini, "get", "Role", "--name", "Host=1"}},
        {"", {"config", "--file", ini, "list", "Server", "Port", "Subject", "--name", "Mail"}},
        {"", {"config", "--file", ini, "set", "PollInterval", "5", "--adapter", "1"}},
        {"", {"config", "--file", ini, "get", "PollInterval", "--adapter", "1"}},
        {"", {"config", "--file", ini, "delete", "--adapter", "0"}},
        {"", {"config", "--file", ini, "get", "Alias", "--adapter", "0"}, EXIT_NOT_FOUND},
        {"Records: what changed between two inventories (a drive failed, the hot spare "
         "rebuilds, the logical drive is degraded); exit status 1 means different",
         {"record", "diff", at("inventory-before.json"), at("inventory-after.json")},
         EXIT_NOT_FOUND},
        {"",
         {"record", "diff", "--all", at("inventory-before.json"), at("inventory-after.json")},
         EXIT_NOT_FOUND},
        {"Monitoring: the failed drive in the Prometheus metrics (an excerpt), and the check "
         "plugin's line; exit status 2 is CRITICAL",
         {"metrics", at("inventory-after.json")},
         EXIT_OK,
         {"# TYPE pi_health", "id=\"4098\",slot=\"2\",serial=\"ZC100019\",health=\"critical\"",
          "# TYPE pi_physical_drive_state", "serial=\"ZC100019\",state=\"PD_STATE_FAILED\"",
          "# TYPE pi_logical_drive_spares", "pi_logical_drive_spares{"}},
        {"", {"check", "-v", at("inventory-after.json")}, 2},
    };
}

std::string Quote(const std::string& arg) {
    if (!arg.empty() && arg.find_first_of(" \t'\"$\\*?;&|<>()") == std::string::npos) {
        return arg;
    }
    std::string quoted = "'";
    for (const char c : arg) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

Result RunDemo(const DemoArgs& args) {
    const fs::path examples = FindExamples(args.examples);
    ScratchDir scratch;
    const fs::path ini = scratch.Path() / "pi.ini";
    boost::system::error_code error;
    fs::copy_file(examples / "pi.ini", ini, error);
    if (error) {
        Fail("cannot copy " + (examples / "pi.ini").string() + " to " + ini.string() + ": " +
             error.message());
    }

    Result result;
    result.json = Json::Array();
    int failures = 0;
    for (const Step& step : Tour(examples, ini.string())) {
        std::string line = "$ pitool";
        for (const auto& arg : step.args) {
            line += " " + Quote(arg);
        }
        if (!step.title.empty()) {
            result.text += (result.text.empty() ? "== " : "\n== ") + step.title + " ==\n";
        }
        result.text += line + "\n";

        Invocation call;
        std::string help;
        Json entry = Json::Object();
        Json command = Json::Array();
        for (const auto& arg : step.args) {
            command.Push(arg);
        }
        entry.Set("command", std::move(command));
        int status = EXIT_OK;
        try {
            Result step_result = Dispatch(step.args, call, help);
            status = step_result.status;
            result.text += step.excerpt.empty() ? step_result.text + step_result.raw
                                                : Excerpt(step_result.raw, step.excerpt);
            if (!step_result.note.empty()) {
                result.text += "(" + step_result.note + ")\n";
            }
            entry.Set("status", status).Set("result", std::move(step_result.json));
        } catch (const ToolError& e) {
            status = e.Status();
            result.text += "(" + std::string(e.what()) + ")\n";
            entry.Set("status", status).Set("error", e.what());
        }
        if (status != EXIT_OK) {
            result.text += "(exit status " + std::to_string(status) + ")\n";
        }
        if (status != step.expected) {
            ++failures;
        }
        result.json.Push(std::move(entry));
    }
    if (failures > 0) {
        result.status = EXIT_USAGE;
        result.note = std::to_string(failures) + " step(s) of the tour did not go as expected";
    }
    return result;
}

} // namespace

void AddDemoCommand(CLI::App& app, Invocation& call) {
    auto args = std::make_shared<DemoArgs>();
    CLI::App* sub = AddSubcommand(
        app, call, "demo", "A short tour of every subcommand on the sample files",
        "Runs each subcommand on the files of the examples directory and shows the command "
        "line before its output. The configuration steps work on a scratch copy of pi.ini.");
    sub->add_option("--examples", args->examples,
                    "The examples directory (default: $PI_EXAMPLES_DIR, the installed "
                    "share/pi/examples, or the source tree's examples/)");
    sub->callback([&call, args] { call.run = [args] { return RunDemo(*args); }; });
}

} // namespace pitool
