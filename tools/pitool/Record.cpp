// pitool record: record files in the interchange form (JSON or MessagePack,
// told apart by their first byte): shown for a person, compared, patched and
// converted.
#include "Commands.h"
#include "RecordFile.h"
#include "RecordShow.h"

#include <PI/Diff.h>
#include <PI/Interchange.h>

#include <CLI/CLI.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace pitool {

namespace {

enum class Format { Json, MsgPack };

struct RecordFile {
    PI::AnyRecord record;
    Format format = Format::Json;
};

std::string Quote(const std::string& path) {
    return path == "-" ? "standard input" : "'" + path + "'";
}

// A MessagePack document is a map, whose first byte is 80h-8Fh, DEh or DFh;
// anything else is read as JSON text (which may start with a byte order
// mark), so that a JSON file that is not a document is told so as JSON.
Format FormatOf(const std::string& content) {
    const unsigned char first = static_cast<unsigned char>(content[0]);
    return (first >= 0x80 && first <= 0x8F) || first == 0xDE || first == 0xDF ? Format::MsgPack
                                                                              : Format::Json;
}

RecordFile ReadRecord(const std::string& path) {
    const std::string content = ReadFileOrStdin(path);
    if (content.empty())
        Fail(Quote(path) + " is empty, not a record document");
    RecordFile file;
    file.format = FormatOf(content);
    PI::CInterchangeError error;
    const unsigned int result =
        file.format == Format::Json
            ? PI::ReadJsonDocument(content.data(), content.size(), file.record, &error)
            : PI::ReadMsgPackDocument(reinterpret_cast<const std::uint8_t*>(content.data()),
                                      content.size(), file.record, &error);
    if (result != 0)
        Fail(Quote(path) + " is not a " + (file.format == Format::Json ? "JSON" : "MessagePack") +
             " record document: " + error.Text());
    return file;
}

std::string Encode(const PI::AnyRecord& record, Format format) {
    std::string out;
    PI::CInterchangeError error;
    unsigned int result = 0;
    std::visit(
        [&](const auto& r) {
            if (format == Format::Json) {
                result = PI::WriteJsonDocument(r, out, &error);
                out += '\n';
            } else {
                std::vector<std::uint8_t> bytes;
                result = PI::WriteMsgPackDocument(r, bytes, &error);
                out.assign(bytes.begin(), bytes.end());
            }
        },
        record);
    if (result != 0)
        Fail("cannot write the record: " + error.Text());
    return out;
}

// ---- Differences --------------------------------------------------------------

bool EndsWithList(const std::string& path, const std::string& list) {
    const size_t slash = path.rfind('/');
    const std::string tail = "/" + list;
    return slash != std::string::npos && slash >= tail.size() &&
           path.compare(slash - tail.size(), tail.size(), tail) == 0;
}

// One cell of the table: a property's value, an object or drive piece in
// short, or else the value's JSON.
std::string Cell(const std::string& path, const std::string& json) {
    if (json.empty() || json[0] != '{')
        return json;
    PI::CProperty p;
    if (EndsWithList(path, "Properties") && PI::ReadJsonValue(json, p) == 0)
        return PropertyValue(p);
    PI::CObject o;
    if (EndsWithList(path, "Objects") && PI::ReadJsonValue(json, o) == 0) {
        std::string name;
        if (const PI::CProperty* named = o.Properties.empty() ? nullptr : &o.Properties[0])
            name = "  " + PropertyName(named->PropertyID) + " " + PropertyValue(*named);
        return "object " + std::to_string(o.ObjectID) + "  type " + TypeName(o.ObjectType) + name;
    }
    PI::CDrive d;
    if (EndsWithList(path, "Drives") && PI::ReadJsonValue(json, d) == 0) {
        const std::string used = ReadableBytes(d.UsedSize);
        return "drive " + std::to_string(d.ObjectID) + " start " + std::to_string(d.StartAddress) +
               " used " + used.substr(0, used.find(" ("));
    }
    return json.size() > 60 ? json.substr(0, 57) + "..." : json;
}

// The name of the property a path ends in, from its new or old value.
std::string What(const PI::CChange& c) {
    PI::CProperty p;
    const std::string& json = c.New.empty() ? c.Old : c.New;
    if (c.Path.find("/Properties/") != std::string::npos && PI::ReadJsonValue(json, p) == 0)
        return PropertyName(p.PropertyID);
    return "";
}

std::string ChangeKindPadded(PI::EChangeKind kind) {
    std::string name = PI::ChangeKindName(kind);
    name.resize(9, ' ');
    return name;
}

template <class R>
void DiffRecords(const R& a, const PI::AnyRecord& other, PI::EDiffFields fields,
                 PI::ChangeList& changes) {
    PI::CInterchangeError error;
    if (PI::Diff(a, std::get<R>(other), changes, fields, &error) != 0)
        Fail("cannot compare: " + error.Text());
}

struct DiffArgs {
    std::string first, second;
    bool all = false;
};

Result RunDiff(const DiffArgs& args, bool json) {
    if (args.first == "-" && args.second == "-")
        Fail("only one of the two records can come from standard input");
    const RecordFile a = ReadRecord(args.first);
    const RecordFile b = ReadRecord(args.second);
    const PI::ERecordClass cls = PI::RecordClassOf(a.record);
    if (cls != PI::RecordClassOf(b.record))
        Fail(Quote(args.first) + " holds a " + PI::RecordClassName(cls) + ", " +
             Quote(args.second) + " a " + PI::RecordClassName(PI::RecordClassOf(b.record)));
    PI::ChangeList changes;
    const auto fields = args.all ? PI::EDiffFields::All : PI::EDiffFields::Compared;
    std::visit([&](const auto& r) { DiffRecords(r, b.record, fields, changes); }, a.record);

    Result result;
    result.status = changes.empty() ? EXIT_OK : EXIT_NOT_FOUND;
    if (json) {
        PI::WriteChangeList(changes, cls, result.raw);
        result.raw += '\n';
        return result;
    }
    Rows rows;
    for (const PI::CChange& c : changes) {
        std::string line = ChangeKindPadded(c.Kind);
        const std::string what = What(c);
        std::string detail = what.empty() ? "" : what + "  ";
        switch (c.Kind) {
        case PI::EChangeKind::Changed:
            detail += Cell(c.Path, c.Old) + " -> " + Cell(c.Path, c.New);
            break;
        case PI::EChangeKind::Added:
            detail += Cell(c.Path, c.New);
            break;
        case PI::EChangeKind::Removed:
            detail += Cell(c.Path, c.Old);
            break;
        case PI::EChangeKind::Moved:
            detail += "from " + c.From;
            break;
        }
        rows.emplace_back(line + c.Path, detail);
    }
    result.text = FormatRows(rows);
    return result;
}

// ---- Patch and convert ------------------------------------------------------------

Format OutputFormat(const std::string& to, Format otherwise, bool json) {
    if (json || to == "json")
        return Format::Json;
    if (to == "msgpack")
        return Format::MsgPack;
    if (!to.empty())
        Fail("--to takes json or msgpack, not '" + to + "'");
    return otherwise;
}

// What a file made by open(..., 0666) would get under this process's umask.
mode_t NewFileMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

} // namespace

void WriteFileAtomically(const std::string& path, const std::string& bytes) {
    const size_t slash = path.rfind('/');
    std::string temp =
        (slash == std::string::npos ? std::string() : path.substr(0, slash + 1)) + ".pitool-XXXXXX";
    const int fd = mkstemp(temp.data());
    if (fd < 0)
        Fail("cannot write " + Quote(path) + ": " + std::strerror(errno));
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        done += static_cast<size_t>(n);
    }
    const int saved = errno;
    const bool ok = done == bytes.size() && fsync(fd) == 0 && fchmod(fd, NewFileMode()) == 0;
    close(fd);
    if (!ok || std::rename(temp.c_str(), path.c_str()) != 0) {
        const int why = ok ? errno : saved;
        unlink(temp.c_str());
        Fail("cannot write " + Quote(path) + ": " + std::strerror(why));
    }
}

PI::AnyRecord ReadRecordFile(const std::string& path) {
    return ReadRecord(path).record;
}

namespace {

// A record for the caller: into `path` when given; MessagePack is binary and
// never goes to a terminal.
Result Output(std::string bytes, Format format, const std::string& path) {
    Result result;
    if (!path.empty()) {
        WriteFileAtomically(path, bytes);
        return result;
    }
    if (format == Format::MsgPack && isatty(STDOUT_FILENO))
        Fail("MessagePack is binary and is not written to a terminal: give -o FILE or redirect "
             "standard output");
    result.raw = std::move(bytes);
    return result;
}

struct PatchArgs {
    std::string record, changes, to, output;
};

Result RunPatch(const PatchArgs& args, bool json) {
    if (args.record == "-" && args.changes == "-")
        Fail("only one of the record and the change list can come from standard input");
    RecordFile file = ReadRecord(args.record);
    const std::string text = ReadFileOrStdin(args.changes);
    PI::ChangeList changes;
    PI::ERecordClass cls = PI::ERecordClass::Operation;
    PI::CInterchangeError error;
    if (PI::ReadChangeList(text.data(), text.size(), cls, changes, &error) != 0)
        Fail(Quote(args.changes) + " is not a change list: " + error.Text());
    if (cls != PI::RecordClassOf(file.record))
        Fail(Quote(args.changes) + " changes a " + PI::RecordClassName(cls) + ", " +
             Quote(args.record) + " holds a " +
             PI::RecordClassName(PI::RecordClassOf(file.record)));
    unsigned int code = 0;
    std::visit([&](auto& r) { code = PI::Patch(r, changes, &error); }, file.record);
    if (code != 0)
        Fail("the change list does not apply to " + Quote(args.record) + ": " + error.Text());
    const Format format = OutputFormat(args.to, file.format, json);
    return Output(Encode(file.record, format), format, args.output);
}

struct ConvertArgs {
    std::string record, to, output;
};

Result RunConvert(const ConvertArgs& args, bool json) {
    const RecordFile file = ReadRecord(args.record);
    const Format format =
        OutputFormat(args.to, file.format == Format::Json ? Format::MsgPack : Format::Json, json);
    return Output(Encode(file.record, format), format, args.output);
}

} // namespace

void AddRecordCommand(CLI::App& app, Invocation& call) {
    CLI::App* sub = AddSubcommand(
        app, call, "record", "Show, compare, patch and convert record files (JSON or MessagePack)",
        "Each FILE is a record document in the interchange form, JSON or MessagePack (told "
        "apart by the content); - reads standard input.\n"
        "  show FILE          the record with property names, named values, readable sizes and "
        "each physical drive's status icon\n"
        "  diff A B [--all]   the changes from A to B as a table, or the change list with --json; "
        "--all also compares the fields that equality leaves out. Exit status 0 equal, 1 "
        "different, 2 bad input\n"
        "  patch A CHANGES    A with a change list (pitool record diff --json) applied; written in "
        "A's format unless --to says otherwise\n"
        "  convert FILE       the record in the other format (or --to json|msgpack)");
    sub->require_subcommand(1);

    auto showFile = std::make_shared<std::string>();
    CLI::App* show = sub->add_subcommand("show", "The record as a person reads it");
    show->fallthrough();
    show->add_option("file", *showFile, "Record document; - reads standard input")->required();
    show->callback([&call, showFile] {
        call.run = [showFile] { return ShowRecord(ReadRecord(*showFile).record); };
    });

    auto diffArgs = std::make_shared<DiffArgs>();
    CLI::App* diff = sub->add_subcommand("diff", "What changed from A to B");
    diff->fallthrough();
    diff->add_option("first", diffArgs->first, "The old record")->required();
    diff->add_option("second", diffArgs->second, "The new record")->required();
    diff->add_flag("--all", diffArgs->all, "Also the fields that equality leaves out");
    diff->callback([&call, diffArgs] {
        call.run = [&call, diffArgs] { return RunDiff(*diffArgs, call.json); };
    });

    auto patchArgs = std::make_shared<PatchArgs>();
    CLI::App* patch = sub->add_subcommand("patch", "A record with a change list applied");
    patch->fallthrough();
    patch->add_option("record", patchArgs->record, "The record to change")->required();
    patch->add_option("changes", patchArgs->changes, "The change list (JSON)")->required();
    patch->add_option("--to", patchArgs->to, "Output format: json or msgpack");
    patch->add_option("-o,--output", patchArgs->output, "Write to this file (whole or not at all)");
    patch->callback([&call, patchArgs] {
        call.run = [&call, patchArgs] { return RunPatch(*patchArgs, call.json); };
    });

    auto convertArgs = std::make_shared<ConvertArgs>();
    CLI::App* convert = sub->add_subcommand("convert", "The record in the other format");
    convert->fallthrough();
    convert->add_option("file", convertArgs->record, "Record document")->required();
    convert->add_option("--to", convertArgs->to, "Output format: json or msgpack");
    convert->add_option("-o,--output", convertArgs->output,
                        "Write to this file (whole or not at all)");
    convert->callback([&call, convertArgs] {
        call.run = [&call, convertArgs] { return RunConvert(*convertArgs, call.json); };
    });

    // Each one's own --help lists --json too (it would reach "record" anyway).
    const char* const jsonMeaning[][2] = {
        {"show", "Print the record as JSON: every member by its interchange name"},
        {"diff", "Print the change list document (docs/diff.md)"},
        {"patch", "Write the result as JSON"},
        {"convert", "Write the result as JSON"}};
    for (const auto& [name, meaning] : jsonMeaning)
        sub->get_subcommand(name)->add_flag("--json", call.json, meaning);
}

} // namespace pitool
