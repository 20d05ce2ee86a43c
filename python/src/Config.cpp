// CConfigFile: the locked INI store, with its scopes as keyword arguments.
#include "Binding.h"

#include <PI/ConfigFile.h>
#include <PI/Identifiers.h>
#include <RVX/IniFiles.h>

#include <climits>
#include <memory>
#include <string>
#include <vector>

namespace pibind {

namespace {

using PI::CConfigFile;

// The file object lives behind a shared pointer: close() drops the handle's
// reference while a call that runs without the GIL keeps its own.
struct ConfigHandle {
    std::shared_ptr<CConfigFile> file;

    std::shared_ptr<CConfigFile> Open() const {
        if (!file) {
            py::object type = PackageAttr("pi._errors", "ClosedError");
            PyErr_SetObject(type.ptr(), type(0, py::str("the configuration file is closed")).ptr());
            throw py::error_already_set();
        }
        return file;
    }
};

// Where a call goes: a raw section, a named scope, an adapter (and logical
// unit), or the common section "DefaultConfig" when nothing is given.
struct Scope {
    enum Kind { Default, Section, Name, Numbers } kind = Default;
    std::string text;
    int first = 0;
    int second = -1;
};

Scope ScopeArgs(py::handle adapter, py::handle unit, py::handle name, py::handle section) {
    Scope scope;
    const int given = !adapter.is_none() + !name.is_none() + !section.is_none();
    if (given > 1)
        throw py::value_error("give at most one of adapter, name and section");
    if (!unit.is_none() && adapter.is_none())
        throw py::value_error("unit needs adapter");
    if (!section.is_none()) {
        scope.kind = Scope::Section;
        scope.text = TextArg(section, "section");
    } else if (!name.is_none()) {
        scope.kind = Scope::Name;
        scope.text = TextArg(name, "name");
    } else if (!adapter.is_none()) {
        scope.kind = Scope::Numbers;
        scope.first = static_cast<int>(IntArg(adapter, 0, INT_MAX, "adapter"));
        if (!unit.is_none())
            scope.second = static_cast<int>(IntArg(unit, 0, INT_MAX, "unit"));
    }
    return scope;
}

const char kDefaultSection[] = "DefaultConfig";

py::object Get(const ConfigHandle& h, Str key, OptionalInt adapter, OptionalInt unit,
               OptionalStr name, OptionalStr section, py::object fallback) {
    const std::string k = TextArg(key, "key");
    const Scope s = ScopeArgs(adapter, unit, name, section);
    auto file = h.Open();
    std::string value;
    unsigned result = 0;
    {
        py::gil_scoped_release unlocked;
        switch (s.kind) {
        case Scope::Default:
            result = file->ReadSectionKeyValue(kDefaultSection, k, value);
            break;
        case Scope::Section:
            result = file->ReadSectionKeyValue(s.text, k, value);
            break;
        case Scope::Name:
            result = file->ReadKeyValue(k, value, s.text);
            break;
        case Scope::Numbers:
            result = file->ReadKeyValue(k, value, s.first, s.second);
            break;
        }
    }
    if (result == PI::RESULT_CONFIG_NOT_READ)
        return fallback;
    CheckResult(result, "reading the configuration");
    return ToPy(value);
}

void Change(const ConfigHandle& h, const std::string& key, const std::string* value,
            const Scope& s) {
    auto file = h.Open();
    unsigned result = 0;
    {
        py::gil_scoped_release unlocked;
        const std::string section = s.kind == Scope::Default ? kDefaultSection : s.text;
        if (value == nullptr) {
            if (s.kind == Scope::Name)
                result = file->DeleteKeyValue(key, s.text);
            else if (s.kind == Scope::Numbers)
                result = file->DeleteKeyValue(key, s.first, s.second);
            else
                result = file->DeleteSectionKeyValue(section, key);
        } else {
            if (s.kind == Scope::Name)
                result = file->WriteKeyValue(key, *value, s.text);
            else if (s.kind == Scope::Numbers)
                result = file->WriteKeyValue(key, *value, s.first, s.second);
            else
                result = file->WriteSectionKeyValue(section, key, *value);
        }
    }
    if (result != PI::RESULT_SUCCESS) {
        // The store keeps why per thread, and this thread made the write.
        const PI::CConfigFailure failure = PI::GetLastConfigWriteFailure();
        if (const char* rule = RVX::INI_Files::RefusalName(failure.Code))
            RaiseRefused(failure.Code, rule, failure.Text);
        std::string text = value == nullptr ? "removing '" + key + "' failed; the file is unchanged"
                                            : "writing '" + key + "' failed; the file is unchanged";
        if (!failure.Text.empty())
            text += ": " + failure.Text;
        RaiseCode(result, text);
    }
}

void Set(const ConfigHandle& h, Str key, Str value, OptionalInt adapter, OptionalInt unit,
         OptionalStr name, OptionalStr section) {
    const std::string k = TextArg(key, "key");
    if (k.empty())
        throw py::value_error("key must not be empty; clear a scope with clear()");
    const std::string v = TextArg(value, "value");
    Change(h, k, &v, ScopeArgs(adapter, unit, name, section));
}

void Delete(const ConfigHandle& h, Str key, OptionalInt adapter, OptionalInt unit, OptionalStr name,
            OptionalStr section) {
    const std::string k = TextArg(key, "key");
    if (k.empty())
        throw py::value_error("key must not be empty; clear a scope with clear()");
    Change(h, k, nullptr, ScopeArgs(adapter, unit, name, section));
}

void Clear(const ConfigHandle& h, OptionalInt adapter, OptionalInt unit, OptionalStr name,
           OptionalStr section) {
    const std::string empty;
    Change(h, empty, &empty, ScopeArgs(adapter, unit, name, section));
}

py::list Items(const ConfigHandle& h, OptionalStr section) {
    const std::string s = section.is_none() ? kDefaultSection : TextArg(section, "section");
    auto file = h.Open();
    std::vector<PI::CConfigValue> items;
    {
        py::gil_scoped_release unlocked;
        file->ReadSection(s, items);
    }
    py::list out;
    for (const auto& item : items)
        out.append(py::make_tuple(ToPy(item.Key), ToPy(item.Value)));
    return out;
}

py::list Sections(const ConfigHandle& h) {
    auto file = h.Open();
    std::vector<std::string> names;
    {
        py::gil_scoped_release unlocked;
        file->ReadSectionNames(names);
    }
    py::list out;
    for (const auto& name : names)
        out.append(ToPy(name));
    return out;
}

py::dict ReadAll(const ConfigHandle& h) {
    auto file = h.Open();
    std::vector<PI::CConfigSection> sections;
    {
        py::gil_scoped_release unlocked;
        file->ReadAll(sections);
    }
    py::dict out;
    for (const auto& section : sections) {
        py::list items;
        for (const auto& item : section.Values)
            items.append(py::make_tuple(ToPy(item.Key), ToPy(item.Value)));
        out[ToPy(section.Name)] = items;
    }
    return out;
}

std::string PathArg(py::handle path) {
    py::object fspath = py::module_::import("os").attr("fspath")(path);
    if (PyBytes_Check(fspath.ptr()))
        return std::string(py::bytes(fspath));
    return TextArg(fspath, "path");
}

} // namespace

void RegisterConfig(py::module_& m) {
    py::class_<ConfigHandle> cls(m, "CConfigFile",
                                 R"doc(The configuration file, locked between processes.

Every call names its scope with keywords: ``adapter`` (with optional
``unit``) for "Config.<adapter>[.<unit>]", ``name`` for "Config.<name>",
``section`` for a section by its full name, or none of them for
"DefaultConfig". Reads of a scope fall back to "DefaultConfig". A write
that fails raises NotFoundError and leaves the file unchanged. Use it as a
context manager or call close(); a closed file raises ClosedError.)doc");
    cls.def(py::init([](Path path) {
                auto file = std::make_shared<CConfigFile>();
                file->SetFilePath(PathArg(path));
                return ConfigHandle{file};
            }),
            py::arg("path"), "The file at path (str or os.PathLike); nothing is opened yet.");
    cls.def_static(
        "for_program",
        [](Str name) {
            auto file = std::make_shared<CConfigFile>();
            file->SetFileName(TextArg(name, "name"));
            return ConfigHandle{file};
        },
        py::arg("name"), "The file name in the directory 'bin' beside the running program's.");
    cls.def_property_readonly(
        "path", [](const ConfigHandle& h) { return ToPy(h.Open()->GetFilePath().string()); });
    cls.def_property_readonly("closed", [](const ConfigHandle& h) { return !h.file; });
    cls.def("close", [](ConfigHandle& h) { h.file.reset(); });
    cls.def("__enter__", [](py::object self) {
        self.cast<const ConfigHandle&>().Open();
        return self;
    });
    cls.def("__exit__", [](ConfigHandle& h, py::args) {
        h.file.reset();
        return false;
    });
    cls.def("get", &Get, py::arg("key"), py::kw_only(), py::arg("adapter") = py::none(),
            py::arg("unit") = py::none(), py::arg("name") = py::none(),
            py::arg("section") = py::none(), py::arg("default") = py::none(),
            "The value of key in the scope, or default when neither the scope nor\n"
            "DefaultConfig has it (or the file cannot be read).");
    cls.def("set", &Set, py::arg("key"), py::arg("value"), py::kw_only(),
            py::arg("adapter") = py::none(), py::arg("unit") = py::none(),
            py::arg("name") = py::none(), py::arg("section") = py::none(),
            "Writes key = value in the scope; a missing file is created.");
    cls.def("delete", &Delete, py::arg("key"), py::kw_only(), py::arg("adapter") = py::none(),
            py::arg("unit") = py::none(), py::arg("name") = py::none(),
            py::arg("section") = py::none(),
            "Removes key from the scope; a missing key or file is no error.");
    cls.def("clear", &Clear, py::kw_only(), py::arg("adapter") = py::none(),
            py::arg("unit") = py::none(), py::arg("name") = py::none(),
            py::arg("section") = py::none(), "Removes the scope's whole section.");
    cls.def("items", &Items, py::arg("section") = py::none(),
            "(key, value) pairs of a section by its full name (default DefaultConfig),\n"
            "in file order; [] when the section or file is missing.");
    cls.def("sections", &Sections, "The section names in file order.");
    cls.def("read_all", &ReadAll,
            "{section: [(key, value), ...]} from one consistent reading of the file.");
    cls.def("__repr__", [](const ConfigHandle& h) {
        if (!h.file)
            return std::string("CConfigFile(<closed>)");
        return "CConfigFile(" + std::string(py::repr(py::str(h.file->GetFilePath().string()))) +
               ")";
    });
}

} // namespace pibind
