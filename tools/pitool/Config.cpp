// pitool config: the configuration store on a file given by path.
#include "Commands.h"

#include <PI/ConfigFile.h>

#include <RVX/Exceptions.h>
#include <RVX/IniFiles.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <climits>
#include <exception>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

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
    bool hasKey = false; // delete: one key rather than the whole scope
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

// Why the platform failed a write: the rule of a refusal and its reason, or
// what went wrong.
std::string Why(unsigned int code, const std::string& detail) {
    if (code == RVX::INI_Files::INI_ERROR_NOT_REPRESENTABLE) {
        return "the file cannot hold this key, value or section name (a NUL byte; a section "
               "name with ']', a line break or blanks at either end)";
    }
    if (const char* rule = RVX::INI_Files::RefusalName(code)) {
        return std::string("refused (") + rule + "): " + detail;
    }
    return detail;
}

// The store raises the platform's exception when it cannot lock and load
// the file for the update (see PI/ConfigFile.h), and returns a failure code
// when the update itself fails; either way the message says why.
template <typename Write>
void Guarded(const std::string& what, const std::string& path, Write write) {
    unsigned status = 0;
    try {
        status = write();
    } catch (const RVX::Exceptions::CException& e) {
        Fail("cannot " + what + " '" + path +
             "': " + Why(e.GetCode(), e.GetDetail().empty() ? e.what() : e.GetDetail()));
    } catch (const std::exception& e) {
        Fail("cannot " + what + " '" + path + "': " + e.what());
    }
    if (status != 0) {
        const PI::CConfigFailure failure = PI::GetLastConfigWriteFailure();
        Fail("cannot " + what + " '" + path + "': " + Why(failure.Code, failure.Text));
    }
}

Json Base(const ConfigArgs& args, const Scope& scope) {
    return Json::Object().Set("file", args.file).Set("section", scope.section);
}

Result Get(PI::CConfigFile& store, const ConfigArgs& args, const Scope& scope) {
    RequireFile(args.file);
    std::string value;
    std::string from = scope.section; // where the value was read: the scope, or its fallback
    unsigned status = 0;
    switch (scope.kind) {
    case Scope::Kind::Default:
    case Scope::Kind::Numbers:
        status = store.ReadKeyValue(args.key, value, scope.first, scope.second, from);
        break;
    case Scope::Kind::Name:
        status = store.ReadKeyValue(args.key, value, scope.name, from);
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
    result.json = Json::Object()
                      .Set("file", args.file)
                      .Set("section", from)
                      .Set("scope", scope.section)
                      .Set("key", args.key)
                      .Set("value", value);
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
    Guarded("write '" + args.key + "' to", args.file,
            [&] { return Write(store, scope, args.key, args.value); });
    Result result;
    result.text = scope.section + ": " + args.key + " = " + args.value + "\n";
    result.json = Base(args, scope).Set("key", args.key).Set("value", args.value);
    return result;
}

unsigned RemoveKey(PI::CConfigFile& store, const Scope& scope, const std::string& key) {
    switch (scope.kind) {
    case Scope::Kind::Name:
        return store.DeleteKeyValue(key, scope.name);
    case Scope::Kind::Section:
        return store.DeleteSectionKeyValue(scope.section, key);
    default:
        return store.DeleteKeyValue(key, scope.first, scope.second);
    }
}

std::vector<std::string> SectionNames(PI::CConfigFile& store, const std::string& file) {
    std::vector<std::string> sections;
    if (store.ReadSectionNames(sections) != 0) {
        Fail("cannot read '" + file + "'");
    }
    return sections;
}

bool Holds(const std::vector<std::string>& sections, const std::string& section) {
    return std::find(sections.begin(), sections.end(), section) != sections.end();
}

// With a key, that key of the scope; without, the whole scope. Either must
// be there: deleting nothing is more likely a typing error than intended.
Result Delete(PI::CConfigFile& store, const ConfigArgs& args, const Scope& scope) {
    RequireFile(args.file);
    Json json = Base(args, scope);
    std::string what = scope.section;
    if (args.hasKey) {
        if (args.key.empty()) {
            Fail("the key is empty (delete without a key removes the whole scope)");
        }
        std::string value;
        if (store.ReadSectionKeyValue(scope.section, args.key, value) != 0) {
            NotFound("'" + args.key + "' is not set in " + scope.section);
        }
        Guarded("delete '" + args.key + "' from " + scope.section + " in", args.file,
                [&] { return RemoveKey(store, scope, args.key); });
        what += ": " + args.key;
        json.Set("key", args.key);
    } else {
        if (!Holds(SectionNames(store, args.file), scope.section)) {
            NotFound("there is no section " + scope.section);
        }
        // An empty key makes the write remove the whole section.
        Guarded("delete " + scope.section + " in", args.file,
                [&] { return Write(store, scope, "", ""); });
    }
    Result result;
    result.text = "deleted " + what + "\n";
    result.json = json.Set("deleted", true);
    return result;
}

// The keys of one section as "[section]" and "key = value" lines, and as a
// JSON object.
void ShowSection(const PI::CConfigSection& section, std::string& text, Json& values) {
    text = "[" + section.Name + "]\n";
    values = Json::Object();
    for (const auto& item : section.Values) {
        text += RVX::INI_Files::EncodeKey(item.Key) + " = " +
                RVX::INI_Files::EncodeValue(item.Value) + "\n";
        values.Set(item.Key, item.Value);
    }
}

// Without keys: the whole file, or the one section of a scope option.
Result ListSections(PI::CConfigFile& store, const ConfigArgs& args, const Scope& scope) {
    Result result;
    if (scope.kind != Scope::Kind::Default) {
        PI::CConfigSection section{scope.section, {}};
        if (!Holds(SectionNames(store, args.file), scope.section) ||
            store.ReadSection(scope.section, section.Values) != 0) {
            NotFound("there is no section " + scope.section);
        }
        Json values;
        ShowSection(section, result.text, values);
        result.json = Base(args, scope).Set("values", std::move(values));
        return result;
    }
    // One reading of the file, so that the listing is one state of it.
    std::vector<PI::CConfigSection> sections;
    if (store.ReadAll(sections) != 0) {
        Fail("cannot read '" + args.file + "'");
    }
    Json all = Json::Object();
    for (const auto& section : sections) {
        std::string text;
        Json values;
        ShowSection(section, text, values);
        result.text += (result.text.empty() ? "" : "\n") + text;
        all.Set(section.Name, std::move(values));
    }
    result.json = Json::Object().Set("file", args.file).Set("sections", std::move(all));
    return result;
}

Result List(PI::CConfigFile& store, const ConfigArgs& args, const Scope& scope) {
    RequireFile(args.file);
    if (args.keys.empty()) {
        return ListSections(store, args, scope);
    }
    if (scope.kind == Scope::Kind::Default || scope.kind == Scope::Kind::Section) {
        Fail("list with keys reads a named or adapter scope: give --name NAME or --adapter N "
             "[--unit M], or no keys to list a whole section");
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
        app, call, "config", "Get, set, delete and list keys of a configuration file",
        "Scopes: --adapter N (section Config.N), --adapter N --unit M (Config.N.M), --name NAME "
        "(Config.NAME, each = becomes _), --section NAME (that section, verbatim), or none "
        "(DefaultConfig). Reads of an adapter or named scope fall back to DefaultConfig; get "
        "--json names the section the value was read from (\"section\") beside the scope's "
        "(\"scope\"). The scope options may stand before or after the action.\n\n"
        "delete KEY removes that key of the scope; delete without a key removes the whole scope "
        "with all its keys. list without keys prints every section of the file in file order, "
        "or with a scope option only that scope's section, as [section] and key = value lines "
        "(a value that would not read back as plain text stands in double quotes with the "
        "escapes \\\\ \\\" \\n \\r \\t).");
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
    CLI::Option* deleteKey =
        action("delete", "Delete KEY of the scope, or the whole scope when KEY is left out",
               Action::Delete)
            ->add_option("key", args->key, "Key name; leave it out to delete the whole scope");
    action("list", "Print the whole file or one scope; with KEYs, those keys of a scope",
           Action::List)
        ->add_option("keys", args->keys, "Key names");

    sub->callback([&call, args, sub, deleteKey] {
        args->hasName = sub->count("--name") > 0;
        args->hasSection = sub->count("--section") > 0;
        args->hasKey = deleteKey->count() > 0;
        call.run = [args] { return RunConfig(*args); };
    });
}

} // namespace pitool
