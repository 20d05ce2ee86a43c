// pitool help: help anchors of property and operation identifiers.
#include "Commands.h"
#include "Names.h"

#include <PI/Helpers.h>
#include <PI/Tables.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <climits>
#include <memory>

namespace pitool {

namespace {

struct HelpArgs {
    std::string id;
    bool list = false;
    std::string kind;
};

const char* const kIdGroup = "_PROPERTY_ID";

std::string NameOf(int id) {
    const NamedValue* row = FindByValue(kIdGroup, "", id);
    return row ? row->name : "";
}

Json RowJson(int id, const std::string& name, const std::string& path) {
    return Json::Object()
        .Set("id", id)
        .Set("name", name.empty() ? Json() : Json(name))
        .Set("path", path);
}

Result RunList(const std::string& kindText) {
    std::string kind = kindText;
    std::transform(kind.begin(), kind.end(), kind.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    const std::string prefix = kind.empty() ? "" : kind + "_";

    size_t count = 0;
    const PI::HelpRow* rows = PI::HelpRows(count);
    Result result;
    result.json = Json::Array();
    Rows lines;
    for (size_t i = 0; i < count; ++i) {
        const std::string name = NameOf(rows[i].id);
        if (!prefix.empty() && name.compare(0, prefix.size(), prefix) != 0) {
            continue;
        }
        lines.emplace_back(std::to_string(rows[i].id) + "  " + (name.empty() ? "-" : name),
                           rows[i].path);
        result.json.Push(RowJson(rows[i].id, name, rows[i].path));
    }
    result.text = FormatRows(lines);
    if (lines.empty()) {
        NotFound("no identifiers of kind '" + kindText +
                 "' (kinds are name prefixes such as ADAPTER, PHYSICAL_DRIVE, OP)");
    }
    return result;
}

Result RunHelp(const HelpArgs& args) {
    if (args.list) {
        if (!args.id.empty()) {
            Fail("give either an identifier or --list, not both");
        }
        return RunList(args.kind);
    }
    if (!args.kind.empty()) {
        Fail("--kind only filters --list");
    }
    if (args.id.empty()) {
        Fail("give an identifier (number or name) or --list");
    }
    int id = 0;
    const char first = args.id[0];
    if (std::isdigit(static_cast<unsigned char>(first)) || first == '-' || first == '+') {
        id = static_cast<int>(ParseSigned(args.id, "identifier", INT_MIN, INT_MAX));
    } else if (const NamedValue* row = FindByName(kIdGroup, "", args.id)) {
        id = row->value;
    } else {
        NotFound("no property or operation is named '" + args.id + "'");
    }
    RVX::Strings::CStringVar path;
    if (PI::GetHelpPath(id, path) != 0) {
        NotFound("identifier " + std::to_string(id) + " has no help entry");
    }
    const std::string name = NameOf(id);
    Result result;
    result.text = FormatRows(
        {{"id", std::to_string(id)}, {"name", name.empty() ? "-" : name}, {"help", path.Str()}});
    result.json = RowJson(id, name, path.Str());
    return result;
}

} // namespace

void AddHelpCommand(CLI::App& app, Invocation& call) {
    auto args = std::make_shared<HelpArgs>();
    CLI::App* sub = AddSubcommand(
        app, call, "help", "Help page and anchor of a property or operation identifier",
        "The identifier is given by number (23463) or by name (OP_START_REBUILD, any case). "
        "--list prints the whole help table; --kind keeps the names that begin with a kind.");
    sub->add_option("id", args->id, "Identifier number or name");
    sub->add_flag("--list", args->list, "List every help entry: number, name, help path");
    sub->add_option("--kind", args->kind,
                    "With --list: only names that begin with this kind, e.g. ADAPTER, "
                    "PHYSICAL_DRIVE, LOGICAL_DRIVE, BATTERY, OP");
    sub->callback([&call, args] { call.run = [args] { return RunHelp(*args); }; });
}

} // namespace pitool
