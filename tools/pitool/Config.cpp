// pitool config: the configuration store on a file given by path.
#include "Commands.h"

#include <PI/ConfigFile.h>

#include <CLI/CLI.hpp>

#include <climits>
#include <exception>
#include <memory>
#include <sys/stat.h>

namespace pitool {

namespace {

enum class Action { Get, Set, Delete, List };

struct ConfigArgs {
    Action action = Action::Get;
    std::string file;
    std::string adapter;
    std::string unit;
    std::string name;
    std::string section;
    bool hasName = false;
    bool hasSection = false;
    std::string key;
    std::string value;
    std::vector<std::string> keys;
};

// The scope of a call: which overload of the store serves it, and the
// section that it addresses, for the output.
struct Scope {
    enum class Kind { Default, Numbers, Name, Section } kind = Kind::Default;
    int first = -1;
    int second = -1;
    std::string name;
    std::string section;
};

Scope ScopeOf(const ConfigArgs& args) {
    const int forms = !args.adapter.empty() + args.hasName + args.hasSection;
    if (forms > 1) {
        Fail("give at most one scope: --adapter N [--unit M], --name NAME or --section NAME");
    }
    if (!args.unit.empty() && args.adapter.empty()) {
        Fail("--unit needs --adapter");
    }
    Scope scope;
    if (!args.adapter.empty()) {
        scope.kind = Scope::Kind::Numbers;
        scope.first = static_cast<int>(ParseSigned(args.adapter, "--adapter", 0, INT_MAX));
        scope.section = "Config." + std::to_string(scope.first);
        if (!args.unit.empty()) {
            scope.second = static_cast<int>(ParseSigned(args.unit, "--unit", 0, INT_MAX));
            scope.section += "." + std::to_string(scope.second);
        }
    } else if (args.hasName) {
        if (args.name.empty()) {
            Fail("--name is empty");
        }
        scope.kind = Scope::Kind::Name;
        scope.name = args.name;
        scope.section = "Config." + args.name;
        for (char& c : scope.section) {
            c = c == '=' ? '_' : c;
        }
    } else if (args.hasSection) {
        if (args.section.empty()) {
            Fail("--section is empty");
        }
        scope.kind = Scope::Kind::Section;
        scope.section = args.section;
    } else {
        scope.section = "DefaultConfig";
    }
    return scope;
}

void RequireFile(const std::string& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) {
        Fail("cannot open '" + path + "': no such file");
    }
    if (!S_ISREG(info.st_mode)) {
        Fail("'" + path + "' is not a regular file");
    }
}

// The store lets the platform's exception out when it cannot create or
// lock the file at all (a missing directory, no permission).
template <typename Write> unsigned Guarded(const std::string& path, Write write) {
    try {
        return write();
    } catch (const std::exception& e) {
        Fail("cannot write '" + path + "': " + e.what());
    }
}

Json Base(const ConfigArgs& args, const Scope& scope) {
    return Json::Object().Set("file", args.file).Set("section", scope.section);
}

Result Get(PI::CConfigFile& store, const ConfigArgs& args, const Scope& scope) {
    RequireFile(args.file);
    std::string value;
    unsigned status = 0;
    switch (scope.kind) {
    case Scope::Kind::Default:
    case Scope::Kind::Numbers:
        status = store.ReadKeyValue(args.key, value, scope.first, scope.second);
        break;
    case Scope::Kind::Name:
        status = store.ReadKeyValue(args.key, value, scope.name);
        break;
    case Scope::Kind::Section:
        status = store.ReadSectionKeyValue(scope.section, args.key, value);
        break;
    }
    if (status != 0) {
        const bool fallback = scope.kind == Scope::Kind::Numbers || scope.kind == Scope::Kind::Name;
        NotFound("'" + args.key + "' is not set in " + scope.section +
                 (fallback ? " nor in DefaultConfig" : ""));
    }
    Result result;
    result.text = value + "\n";
    result.json = Base(args, scope).Set("key", args.key).Set("value", value);
    return result;
}

unsigned Write(PI::CConfigFile& store, const Scope& scope, const std::string& key,
               const std::string& value) {
    switch (scope.kind) {
    case Scope::Kind::Name:
        return store.WriteKeyValue(key, value, scope.name);
    case Scope::Kind::Section:
        return store.WriteSectionKeyValue(scope.section, key, value);
    default:
        return store.WriteKeyValue(key, value, scope.first, scope.second);
    }
}

Result Set(PI::CConfigFile& store, const ConfigArgs& args, const Scope& scope) {
    // An empty key would remove the whole section.
    if (args.key.empty()) {
        Fail("the key is empty");
    }
    if (Guarded(args.file, [&] { return Write(store, scope, args.key, args.value); }) != 0) {
        Fail("cannot write '" + args.key + "' to '" + args.file +
             "' (a key or value the file cannot hold, or the file is not writable)");
    }
    Result result;
    result.text = scope.section + ": " + args.key + " = " + args.value + "\n";
    result.json = Base(args, scope).Set("key", args.key).Set("value", args.value);
    return result;
}

Result Delete(PI::CConfigFile& store, const ConfigArgs& args, const Scope& scope) {
    // The store would create a missing file just to delete from it.
    RequireFile(args.file);
    if (Guarded(args.file, [&] { return Write(store, scope, "", ""); }) != 0) {
        Fail("cannot delete " + scope.section + " in '" + args.file + "'");
    }
    Result result;
    result.text = "deleted " + scope.section + "\n";
    result.json = Base(args, scope).Set("deleted", true);
    return result;
}

Result List(PI::CConfigFile& store, const ConfigArgs& args, const Scope& scope) {
    RequireFile(args.file);
    if (scope.kind == Scope::Kind::Default || scope.kind == Scope::Kind::Section) {
        Fail("list reads a named or adapter scope: give --name NAME or --adapter N [--unit M]");
    }
    // The list form of the store addresses "Config." + Name, so an adapter
    // scope is the name "N" or "N.M".
    const std::string name = scope.kind == Scope::Kind::Name ? scope.name : scope.section.substr(7);
    std::vector<PI::CConfigValue> items;
    for (const auto& key : args.keys) {
        items.push_back(PI::CConfigValue{key, "", name});
    }
    if (store.ReadKeyValueList(items) != 0) {
        Fail("cannot read '" + args.file + "'");
    }
    Result result;
    Rows rows;
    Json values = Json::Object();
    for (const auto& item : items) {
        rows.emplace_back(item.Key, item.Value.empty() ? "(empty or not set)" : item.Value);
        values.Set(item.Key, item.Value);
    }
    result.text = scope.section + "\n" + FormatRows(rows, 2);
    result.json = Base(args, scope).Set("values", std::move(values));
    return result;
}

Result RunConfig(const ConfigArgs& args) {
    if (args.file.empty()) {
        Fail("--file is empty");
    }
    const Scope scope = ScopeOf(args);
    PI::CConfigFile store;
    store.SetFilePath(args.file);
    switch (args.action) {
    case Action::Get:
        return Get(store, args, scope);
    case Action::Set:
        return Set(store, args, scope);
    case Action::Delete:
        return Delete(store, args, scope);
    case Action::List:
        return List(store, args, scope);
    }
    Fail("unknown action");
}

} // namespace

void AddConfigCommand(CLI::App& app, Invocation& call) {
    auto args = std::make_shared<ConfigArgs>();
    CLI::App* sub = AddSubcommand(
        app, call, "config", "Get, set and delete keys of a configuration file",
        "Scopes: --adapter N (section Config.N), --adapter N --unit M (Config.N.M), --name NAME "
        "(Config.NAME, each = becomes _), --section NAME (that section, verbatim), or none "
        "(DefaultConfig). Reads of an adapter or named scope fall back to DefaultConfig. The "
        "scope options may stand before or after the action.");
    sub->require_subcommand(1);
    sub->add_option("--file", args->file, "Path of the configuration file")->required();
    sub->add_option("--adapter", args->adapter, "Adapter number");
    sub->add_option("--unit", args->unit, "Logical unit number (with --adapter)");
    sub->add_option("--name", args->name, "Named scope");
    sub->add_option("--section", args->section, "Section name, used as it is (no fallback)");

    const auto action = [&](const std::string& name, const std::string& description, Action what) {
        CLI::App* child = sub->add_subcommand(name, description);
        child->fallthrough(); // scope options may follow the action
        child->callback([args, what] { args->action = what; });
        return child;
    };
    action("get", "Print the value of KEY (exit status 1 when it is not set)", Action::Get)
        ->add_option("key", args->key, "Key name")
        ->required();
    CLI::App* set = action("set", "Set KEY to VALUE (creates the file if needed)", Action::Set);
    set->add_option("key", args->key, "Key name")->required();
    set->add_option("value", args->value, "Value (may be empty)")->required();
    action("delete", "Delete the whole scope with all its keys", Action::Delete);
    action("list", "Print the values of several keys of an adapter or named scope at once",
           Action::List)
        ->add_option("keys", args->keys, "Key names")
        ->required();

    sub->callback([&call, args, sub] {
        args->hasName = sub->count("--name") > 0;
        args->hasSection = sub->count("--section") > 0;
        call.run = [args] { return RunConfig(*args); };
    });
}

} // namespace pitool
