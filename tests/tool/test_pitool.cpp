// pitool as a user runs it: output, standard error and exit status of every
// subcommand on good and bad input; record's inventories shown, compared,
// patched and converted; metrics and check as a monitoring system runs them.
#include "ScratchDirectory.h"

#include <boost/asio/io_context.hpp>
#include <boost/process.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rapidjson/document.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <future>
#include <iterator>
#include <string>
#include <vector>

using namespace ::testing;
namespace bp = boost::process;

// What a finished program left behind.
struct ProgramResult {
    int status = -1; // exit status; 128 + signal number when killed by a signal
    std::string out;
    std::string err;
};

// Runs `program` with `args`, feeding `input` to its standard input
// (PITOOL_PATH and PI_EXAMPLES_DIR come from the build).
ProgramResult RunProgram(const std::string& program, const std::vector<std::string>& args,
                         const std::string& input = "") {
    boost::asio::io_context io;
    std::future<std::string> out, err;
    bp::child child(bp::exe = program, bp::args = args,
                    bp::std_in<boost::asio::buffer(input), bp::std_out> out, bp::std_err > err,
                    bp::env["PI_EXAMPLES_DIR"] = PI_EXAMPLES_DIR, io);
    io.run(); // until both outputs are closed
    child.wait();
    const int status = child.native_exit_code();
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), out.get(), err.get()};
}

ProgramResult Pitool(const std::vector<std::string>& args, const std::string& input = "") {
    return RunProgram(PITOOL_PATH, args, input);
}

std::string Example(const std::string& name) {
    return std::string(PI_EXAMPLES_DIR) + "/" + name;
}

// Success: output, nothing on standard error.
void ExpectOk(const ProgramResult& r) {
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
}

// Bad usage or input: nothing on standard output, one line on standard error
// that contains `message`.
void ExpectUsage(const ProgramResult& r, const std::string& message,
                 const std::string& start = "pitool") {
    EXPECT_EQ(r.status, 2) << r.out;
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_THAT(r.err, AllOf(StartsWith(start), HasSubstr(message)));
}

// A lookup that found nothing: exit status 1 and one line on standard error.
void ExpectNotFound(const ProgramResult& r, const std::string& message) {
    EXPECT_EQ(r.status, 1) << r.out;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_THAT(r.err, HasSubstr(message));
}

// `args` followed by `more`.
std::vector<std::string> Concat(std::vector<std::string> args,
                                const std::vector<std::string>& more) {
    args.insert(args.end(), more.begin(), more.end());
    return args;
}

// A scratch directory for the tests that write files.
class PitoolFiles : public ScratchDirectoryTest {
protected:
    std::string File(const std::string& name, const std::string& content) const {
        WriteBytes(Path(name), content);
        return Path(name);
    }
    std::string Path(const std::string& name) const { return m_Dir + "/" + name; }
};

// pitool's exit status when its standard output is a terminal (script(1)
// gives it one).
int ExitStatusOnATerminal(const std::string& args) {
    return RunProgram("/usr/bin/script", {"-qec", PITOOL_PATH " " + args, "/dev/null"}).status;
}

TEST(PitoolUsage, JsonOutputParses) {
    const std::vector<std::vector<std::string>> commands = {
        {"sense", "--json", "--file", Example("sense-medium-error.hex")},
        {"drive", "--json", "WDC WD3000HLFS-01G6U0", "--serial", "WD-1"},
        {"help", "--json", "--list", "--kind", "OP"},
        {"icon", "--json", "--state", "PD_STATE_MISSING"},
        {"units", "--json", "18446744073709551615"},
        {"hexdump", "--json", Example("ld-raid5.xml")},
        {"ld", "--json", Example("ld-raid10.xml")},
        {"demo", "--json"},
        {"--json", "units", "1024"}, // pitool's own option goes before the subcommand
    };
    for (const auto& command : commands) {
        const auto r = Pitool(command);
        ExpectOk(r);
        rapidjson::Document doc; // one complete JSON document
        EXPECT_FALSE(doc.Parse(r.out.c_str(), r.out.size()).HasParseError()) << r.out;
    }
}

TEST_F(PitoolFiles, BadUsageAndInputAreRefused) {
    const std::string ini = File("pi.ini", "[DefaultConfig]\nPoll=30\n");
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{}, "subcommand"},
        {{"frobnicate"}, "frobnicate"},
        {{"units", "1", "--bogus"}, "--bogus"},
        {{"sense", "--raw", "70 00 ZZ"}, "malformed hex byte 'ZZ'"},
        {{"sense", "--raw", "700"}, "malformed hex byte '700'"},
        {{"sense", "10"}, "out of range (0h to Fh)"},
        {{"sense", "5", "100", "0"}, "out of range (00h to FFh)"},
        {{"sense", "5", "24"}, "both ASC and ASCQ"},
        {{"sense", "5", "--raw", "72 05 24 00"}, "either"},
        {{"sense", "--raw", "70 00 05 00 00 00 00 06 00 00 00 00 24"}, "at least 14 bytes, got 13"},
        {{"sense", "--file", "/nonexistent/sense.hex"}, "cannot open"},
        {{"drive", "  "}, "model string is empty"},
        {{"drive", "X", "--rpm", "fast"}, "--rpm 'fast' is not a number"},
        {{"drive", "X", "--rpm", "99999999999999999999"}, "out of range"},
        {{"hexdump", ini, "--first", "5", "--end", "2"}, "past --end"},
        {{"hexdump", ini, "--end", "25"}, "past the end of the data (24 bytes)"},
        {{"hexdump", ini, "--first", "x"}, "not a number"},
        {{"hexdump", Path("missing.bin")}, "cannot open"},
        {{"config", "--file", ini, "set", "", "x"}, "key is empty"},
        {{"config", "--file", ini, "set", "k", "x", "--name", "a]b"}, "cannot write 'k'"},
        {{"config", "--file", Path("no/dir/pi.ini"), "set", "k", "v"}, "cannot write"},
        {{"config", "--file", ini, "get", "Poll", "--adapter", "1", "--name", "x"}, "one scope"},
        {{"config", "--file", ini, "get", "Poll", "--unit", "1"}, "--unit needs --adapter"},
        {{"config", "--file", ini, "get", "Poll", "--adapter", "-1"}, "out of range"},
        {{"config", "--file", ini, "list", "Poll"}, "named or adapter scope"},
        {{"config", "--file", ini}, "subcommand"},
        {{"config", "get", "Poll"}, "--file"},
        {{"config", "--file", Path("gone.ini"), "delete"}, "no such file"},
        {{"config", "--file", Path("gone.ini"), "get", "Poll"}, "no such file"},
        // Each mistake is blamed on its command; an unknown option, not the
        // value after it, is the mistake.
        {{"config", "--file", ini, "set", "KEY"}, "pitool config: value is required"},
        {{"config", "--file", ini, "set", "KEY", "--verbose"},
         "pitool config: The following argument was not expected: --verbose"},
        {{"units", "-1"}, "pitool units: byte count '-1' is out of range"},
        {{"units", "-x"}, "pitool units: The following argument was not expected: -x"},
        {{"--bogus", "units", "1"}, "pitool: The following argument was not expected: --bogus"},
    };
    for (const auto& [args, message] : cases) {
        SCOPED_TRACE(message);
        ExpectUsage(Pitool(args), message);
    }
    ExpectUsage(Pitool({"sense", "--file", "-"}, "# nothing\n"), "empty");
    // Nothing of that changed the file.
    EXPECT_EQ(ReadBytes(ini), "[DefaultConfig]\nPoll=30\n");
    // A product too short to look up is not found, but still shown.
    const auto r = Pitool({"drive", "HITACHI H1"});
    ExpectNotFound(r, "too short");
    EXPECT_THAT(r.out, AllOf(HasSubstr("HITACHI"), HasSubstr("unknown")));
}

TEST_F(PitoolFiles, HexdumpRangesFilesAndStandardInput) {
    std::string bytes;
    for (int i = 0; i < 20; ++i)
        bytes += static_cast<char>(i * 13);
    const std::string file = File("data.bin", bytes);

    auto r = Pitool({"hexdump", file});
    ExpectOk(r);
    EXPECT_EQ(r.out, "00000000  00 0D 1A 27 34 41 4E 5B 68 75 82 8F 9C A9 B6 C3\n"
                     "00000010  D0 DD EA F7\n");

    r = Pitool({"hexdump", file, "--first", "15", "--end", "17"});
    EXPECT_EQ(r.out, "0000000F  C3 D0\n");
    r = Pitool({"hexdump", file, "--first", "20"});
    ExpectOk(r);
    EXPECT_EQ(r.out, "");

    r = Pitool({"hexdump", "--json", "--end", "3"}, std::string("\x00\xAB\x10\xFF", 4));
    ExpectOk(r);
    EXPECT_THAT(r.out, AllOf(HasSubstr("\"hex\": \"00 AB 10\""), HasSubstr("\"size\": 4")));
}

TEST_F(PitoolFiles, LdDocumentsWithoutContainersAndBadDocuments) {
    auto r = Pitool({"ld", "-"}, "<LogicalDriveConfiguration Size=\"7\" Units=\"99\"/>"
                                 "<AssociatedLogicalDrives><LogicalDrive ObjectID=\"9\"/>"
                                 "</AssociatedLogicalDrives>");
    ExpectOk(r);
    EXPECT_THAT(r.out,
                AllOf(HasSubstr("size                  7  (units 99)"),
                      HasSubstr("containers            0"), HasSubstr("associated drives     9")));

    const std::vector<std::pair<std::string, std::string>> bad = {
        {"<LogicalDriveConfiguration Size=\"1\"", "not well-formed XML"},
        {"<Other/>", "no LogicalDriveConfiguration element"},
        {"<LogicalDriveConfiguration Units=\"21002\"/>", "attribute Size is missing"},
        {"<LogicalDriveConfiguration Size=\"1\" Units=\"21002\"><Containers><Container/><Container>"
         "<Drive ObjectID=\"1\" StartAddress=\"0\"/></Container></Containers>"
         "</LogicalDriveConfiguration>",
         "Container 2 Drive 1: attribute UsedSize is missing"},
        {"<LogicalDriveConfiguration Size=\"1\" Units=\"2\"/><DedicatedHotSpares>"
         "<Drive ObjectID=\"x1\"/></DedicatedHotSpares>",
         "ObjectID 'x1' is not a number"},
    };
    for (const auto& [document, message] : bad)
        ExpectUsage(Pitool({"ld", File("ld.xml", document)}), message);
    ExpectUsage(Pitool({"ld", Path("missing.xml")}), "cannot open");
    ExpectUsage(Pitool({"ld"}), "file");
}

TEST_F(PitoolFiles, ConfigScopesAndTheFallback) {
    const std::string ini = Path("pi.ini");
    const struct {
        std::vector<std::string> scope;
        std::string key, value;
    } values[] = {{{}, "Poll", "30"},
                  {{"--adapter", "2"}, "Poll", "10"},
                  {{"--adapter", "2", "--unit", "1"}, "Cache", "on"},
                  {{"--name", "Host=1"}, "Role", "primary"},
                  {{"--section", "Plain=Name"}, "Odd", "x"}};
    for (const auto& v : values) // --file may follow the subcommand's own arguments
        ExpectOk(
            Pitool(Concat({"config", "set", v.key, v.value}, Concat(v.scope, {"--file", ini}))));
    for (const auto& v : values)
        EXPECT_EQ(Pitool(Concat({"config", "--file", ini, "get", v.key}, v.scope)).out,
                  v.value + "\n");
    EXPECT_EQ(Pitool({"config", "--file", ini, "get", "Poll", "--adapter", "3"}).out, "30\n");
    // --json names the section the value came from.
    EXPECT_THAT(Pitool({"config", "--json", "--file", ini, "get", "Poll", "--adapter", "2"}).out,
                HasSubstr("\"section\": \"Config.2\""));
    EXPECT_THAT(
        Pitool({"config", "--json", "--file", ini, "get", "Poll", "--adapter", "2", "--unit", "1"})
            .out,
        AllOf(HasSubstr("\"section\": \"DefaultConfig\""), HasSubstr("\"scope\": \"Config.2.1\"")));
    // Named scopes turn "=" into "_"; verbatim sections do not.
    EXPECT_THAT(ReadBytes(ini), AllOf(HasSubstr("[Config.2]"), HasSubstr("[Config.2.1]"),
                                      HasSubstr("[Config.Host_1]"), HasSubstr("[Plain=Name]")));

    // A verbatim section has no fallback.
    ExpectNotFound(Pitool({"config", "--file", ini, "get", "Poll", "--section", "Config.9"}),
                   "not set in Config.9");
    ExpectNotFound(Pitool({"config", "--file", ini, "get", "Nothing", "--adapter", "2"}),
                   "nor in DefaultConfig");
    // A key with a line break still gives one line on standard error.
    ExpectNotFound(Pitool({"config", "--file", ini, "get", "two\nlines"}), "two\\nlines");

    ExpectOk(Pitool({"config", "--file", ini, "delete", "--adapter", "2"}));
    EXPECT_EQ(Pitool({"config", "--file", ini, "get", "Poll", "--adapter", "2"}).out, "30\n");
    EXPECT_THAT(ReadBytes(ini), Not(HasSubstr("[Config.2]\n")));
}

// A refused write says which rule refused it and why, and leaves no lock
// file of its own.
TEST_F(PitoolFiles, RefusedWritesSayWhichRuleAndWhy) {
    WriteBytes(m_File, "[DefaultConfig]\nPoll=30\n");
    const std::string second = m_Dir + "/second.ini";
    ASSERT_EQ(::link(m_File.c_str(), second.c_str()), 0);
    ExpectUsage(Pitool({"config", "--file", m_File, "set", "Poll", "5"}),
                "refused (more than one link)", "pitool config: ");
    ASSERT_EQ(::unlink(second.c_str()), 0);

    ExpectUsage(Pitool({"config", "--file", m_File, "set", "Poll", "5", "--section", "a]b"}),
                "cannot hold this key, value or section name", "pitool config: ");

    // Read-only for the caller: as another user where the tests run as root.
    ASSERT_EQ(::chmod(m_File.c_str(), 0444), 0);
    ASSERT_EQ(::chmod(m_Dir.c_str(), 0777), 0);
    std::vector<std::string> call = {"config", "--file", m_File, "set", "Poll", "5"};
    if (::geteuid() == 0)
        call.insert(call.begin(),
                    {"--reuid=65534", "--regid=65534", "--clear-groups", PITOOL_PATH});
    const ProgramResult r = RunProgram(::geteuid() == 0 ? "/usr/bin/setpriv" : PITOOL_PATH, call);
    ExpectUsage(r, "refused (read-only): '" + m_File + "' is read-only", "pitool config: ");
    EXPECT_THAT(r.err, Not(HasSubstr("exception 0x")));
    EXPECT_FALSE(boost::filesystem::exists(m_File + ".lck"));
    EXPECT_EQ(ReadBytes(m_File), "[DefaultConfig]\nPoll=30\n");
}

class PitoolRecord : public PitoolFiles {
protected:
    const std::string before = Example("inventory-before.json");
    const std::string after = Example("inventory-after.json");
};

TEST_F(PitoolRecord, DiffOfTheExampleInventories) {
    const ProgramResult r = Pitool({"record", "diff", before, after});
    EXPECT_EQ(r.status, 1) << r.err;
    EXPECT_THAT(r.err, IsEmpty());
    for (const char* shown :
         {"changed  /Objects/3/Properties/5",
          "PHYSICAL_DRIVE_STATUS  40001 PD_STATE_OK -> 40259 PD_STATE_FAILED",
          "PD_STATE_GLOBAL_HOTSPARE -> 40096 PD_STATE_REBUILD_1", "\"Optimal\" -> \"Degraded\"",
          "added    /Objects/6", "removed  /LogicalDrives/0/Containers/0/Drives/2"})
        EXPECT_THAT(r.out, HasSubstr(shown));
    // The spare list is left out by equality: only --all shows it.
    EXPECT_THAT(r.out, Not(HasSubstr("/GHS/")));
    EXPECT_THAT(Pitool({"record", "diff", "--all", before, after}).out,
                HasSubstr("removed  /LogicalDrives/0/GHS/0"));

    const ProgramResult same = Pitool({"record", "diff", before, before});
    EXPECT_EQ(same.status, 0) << same.err;
    EXPECT_THAT(same.out, IsEmpty());
}

TEST_F(PitoolRecord, ChangeListPatchesAndConvertKeepTheRecord) {
    const ProgramResult diff = Pitool({"record", "diff", "--json", "--all", before, after});
    ASSERT_EQ(diff.status, 1) << diff.err;
    EXPECT_THAT(diff.out, StartsWith("{\"Version\":1,\"Class\":\"COperation\",\"Changes\":["));
    const std::string changes = File("changes.json", diff.out);

    const ProgramResult patched = Pitool({"record", "patch", before, changes});
    ASSERT_EQ(patched.status, 0) << patched.err;
    EXPECT_EQ(Pitool({"record", "diff", "--all", File("patched.json", patched.out), after}).status,
              0);

    // Applied to the new inventory, the old values do not match: refused.
    const ProgramResult again = Pitool({"record", "patch", after, changes});
    ExpectUsage(again, "does not apply", "pitool record: ");
    EXPECT_THAT(again.err, HasSubstr("code 20111"));

    // The change list may come from standard input.
    EXPECT_EQ(Pitool({"record", "patch", before, "-"}, diff.out).out, patched.out);

    // Convert goes both ways and keeps the record.
    const ProgramResult packed = Pitool({"record", "convert", after});
    ASSERT_EQ(packed.status, 0) << packed.err;
    ASSERT_FALSE(packed.out.empty());
    EXPECT_EQ(static_cast<unsigned char>(packed.out[0]) & 0xF0u, 0x80u); // a MessagePack map
    const std::string mp = File("after.mp", packed.out);

    // Told apart by content: the MessagePack file compares equal to the JSON one.
    EXPECT_EQ(Pitool({"record", "diff", "--all", mp, after}).status, 0);
    const ProgramResult back = Pitool({"record", "convert", "-"}, packed.out);
    ASSERT_EQ(back.status, 0) << back.err;
    EXPECT_THAT(back.out, StartsWith("{\"Version\":1,\"COperation\":{"));
    EXPECT_EQ(Pitool({"record", "diff", "--all", File("back.json", back.out), after}).status, 0);
    // A patch keeps the record's own format unless told otherwise.
    const ProgramResult patchedMp = Pitool(
        {"record", "patch", File("before.mp", Pitool({"record", "convert", before}).out), changes});
    ASSERT_EQ(patchedMp.status, 0) << patchedMp.err;
    EXPECT_EQ(static_cast<unsigned char>(patchedMp.out[0]) & 0xF0u, 0x80u);
    EXPECT_EQ(Pitool({"record", "convert", "--to", "json", mp}).out, back.out);

    // -o writes the file whole; MessagePack never goes to a terminal.
    EXPECT_EQ(Pitool({"record", "convert", after, "-o", Path("written.mp")}).status, 0);
    EXPECT_EQ(ReadBytes(Path("written.mp")), packed.out);
    EXPECT_EQ(ExitStatusOnATerminal("record convert " + after), 2);
    EXPECT_EQ(ExitStatusOnATerminal("record convert " + mp), 0) << "JSON may";
}

TEST_F(PitoolRecord, ShowNamesPropertiesValuesSizesAndIcons) {
    const ProgramResult r = Pitool({"record", "show", after});
    ASSERT_EQ(r.status, 0) << r.err;
    for (const char* shown :
         {"object 1  type 19007 OBJECT_TYPE_ADAPTER_1",
          "ADAPTER_MEMORY_SIZE  4.00 GB (4294967296 bytes)",
          "PHYSICAL_DRIVE_POWER_STATUS       40084 POWER_STATE_NORMAL",
          "PHYSICAL_DRIVE_STATUS             40259 PD_STATE_FAILED",
          "status icon  drive_fail_no.gif", "status icon  drive_rbld_ok_no.gif",
          "3.64 TB (4000787030016 bytes)",
          "object 4098  type 19020 OBJECT_TYPE_PHYSICAL_DRIVE\n  health  critical\n",
          "object 4099  type 19020 OBJECT_TYPE_PHYSICAL_DRIVE\n  health  ok\n",
          "logical drive 0  size 10.92 TB (12002361090048 bytes)\n  health  warning\n"})
        EXPECT_THAT(r.out, HasSubstr(shown));
    EXPECT_EQ(Pitool({"record", "show", "-"}, ReadBytes(after)).out, r.out);
    EXPECT_THAT(Pitool({"record", "show", "--json", after}).out,
                AllOf(HasSubstr("\"status_icon\": \"drive_fail_no.gif\""),
                      HasSubstr("\"health\": \"critical\"")));

    // A drive whose name holds a byte that is no UTF-8, an escape sequence and
    // a backslash ("caf\xFF\x1B[31m\"), and an event text of the one byte 0xFF:
    // escaped in text, kept in JSON.
    const std::string hostile =
        R"({"Version":1,"COperation":{"Objects":[{"ObjectID":7,"ObjectType":19020,"Properties":[)"
        R"({"PropertyID":23259,"Type":2,"Value":{"Base64":"Y2Fm/xtbMzFtXA=="}},)"
        R"({"PropertyID":23276,"Type":5,"Value":40259}]}],"Events":[{"Text1":{"Base64":"/w=="}}]}})";
    const ProgramResult text = Pitool({"record", "show", "-"}, hostile);
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_THAT(text.out, AllOf(HasSubstr(R"("caf\xFF\x1B[31m\\")"), HasSubstr(R"(Text1  "\xFF")"),
                                Not(HasSubstr("\xFF")), Not(HasSubstr("\x1B"))));
    const ProgramResult json = Pitool({"record", "show", "--json", "-"}, hostile);
    ASSERT_EQ(json.status, 0) << json.err;
    EXPECT_THAT(json.out, AllOf(HasSubstr("\"Text1\": {\n          \"Base64\": \"/w==\""),
                                Not(HasSubstr("\\ufffd"))));
}

TEST_F(PitoolRecord, BadInputIsOneLineAndExitStatusTwo) {
    const std::string broken = File("broken.json", "{\"Version\":1,\"COperation\":{");
    const std::string object = File("object.json", "{\"Version\":1,\"CObject\":{}}");
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"record", "show", File("empty.json", "")}, ""},
        {{"record", "show", broken}, "at byte"},
        {{"record", "show", File("v2.json", "{\"Version\":2,\"COperation\":{}}")},
         "format version 1"},
        {{"record", "show", File("junk.bin", std::string("\xc1\x00\x01", 3))}, ""},
        {{"record", "show", m_Dir + "/missing.json"}, ""},
        {{"record", "show", m_Dir}, ""},
        // JSON whose top level is no object is still told as JSON.
        {{"record", "show", File("top.json", "[1]")},
         "not a JSON record document: (document): expected a document: an object"},
        {{"record", "diff", before, object}, "holds a COperation, "},
        {{"record", "diff", "-", "-"}, ""},
        {{"record", "diff", broken, after}, ""},
        {{"record", "patch", before, File("list.json", "{\"Version\":1,\"Class\":\"COperation\"}")},
         ""},
        {{"record", "patch", before, before}, ""},
        {{"record", "patch", object,
          File("c.json", Pitool({"record", "diff", "--json", before, after}).out)},
         ""},
        {{"record", "convert", "--to", "xml", after}, ""},
    };
    for (const auto& [args, message] : cases) {
        SCOPED_TRACE(args[1] + " " + args.back());
        ExpectUsage(Pitool(args), message, "pitool record: ");
    }
    EXPECT_THAT(Pitool({"record", "diff", "--help"}).out, HasSubstr("--json"));
    // Usage errors are exit status 2 too.
    EXPECT_EQ(Pitool({"record"}).status, 2);
    EXPECT_EQ(Pitool({"record", "diff", before}).status, 2);
}

TEST_F(PitoolRecord, CheckExitStatusesAndThresholds) {
    // Thresholds that leave only the media errors to judge.
    const std::vector<std::string> mediaOnly = {
        "check", after, "-c", "drives_failed=", "-w", "ld_degraded=", "-w", "ld_without_spare="};
    struct Row {
        std::vector<std::string> args;
        int status;
        std::string start;
    } rows[] = {
        {{"check", before}, 0, "PI OK - 5 physical drives, 1 logical drive | drives_failed=0;;0 "},
        {{"check", after},
         2,
         "PI CRITICAL - 1 drive failed, 1 logical drive degraded, 1 logical drive without a hot "
         "spare | drives_failed=1;;0 drives_warning=0;0; ld_failed=0;;0 ld_degraded=1;0; "
         "ld_without_spare=1;0; others_failed=0;;0 others_warning=0;0; media_errors=37c;;\n"},
        // A range's end is inside it: 37 errors alert above 36, not above 37.
        {Concat(mediaOnly, {"-w", "media_errors=36"}), 1, "PI WARNING - 37 media errors |"},
        {Concat(mediaOnly, {"-w", "media_errors=37"}), 0, "PI OK - 5 physical drives"},
        {Concat(mediaOnly, {"--critical", "media_errors=@30:40"}), 2,
         "PI CRITICAL - 37 media errors"},
        {Concat(mediaOnly, {"-w", "drives_failed=0"}), 1, "PI WARNING - 1 drive failed |"},
        {{"check", before, "-w", "temperature=20:10"}, 3, "PI UNKNOWN - bad range '20:10'"},
        {{"check", before, "-w", "heat=10"}, 3, "PI UNKNOWN - no measure 'heat'"},
        {{"check", before, "-w", "10"}, 3, "PI UNKNOWN - a threshold is NAME=RANGE"},
        {{"check", before, "--bogus"}, 3, "PI UNKNOWN - "},
        {{"check", Example("no-such-file.json")}, 3, "PI UNKNOWN - cannot open"},
        {{"check", Example("pi.ini")}, 3, "PI UNKNOWN - "},
    };
    for (const Row& row : rows) {
        const ProgramResult r = Pitool(row.args);
        EXPECT_EQ(r.status, row.status) << row.args[1] << " " << r.out << r.err;
        EXPECT_THAT(r.out, StartsWith(row.start));
        EXPECT_EQ(r.out.find('\n'), r.out.size() - 1) << "one line: " << r.out;
    }
    // -v lists what is not OK.
    const ProgramResult verbose = Pitool({"check", "-v", after});
    EXPECT_EQ(verbose.status, 2);
    EXPECT_EQ(verbose.out.substr(verbose.out.find('\n') + 1),
              "adapter 1: unknown, no status\n"
              "physical drive 4098 (slot 2, serial ZC100019): critical, state PD_STATE_FAILED\n"
              "task 9001: unknown, state Running\n"
              "logical drive #0 \"data\": warning, state Degraded\n");
}

// -o replaces the file whole and leaves no temporary file.
TEST_F(PitoolRecord, MetricsWrittenWholeByRename) {
    WriteBytes(m_File, "old\n");
    const ProgramResult printed = Pitool({"metrics", after});
    ASSERT_EQ(printed.status, 0);
    ASSERT_EQ(Pitool({"metrics", after, "-o", m_File}).status, 0);
    EXPECT_EQ(ReadBytes(m_File), printed.out);
    EXPECT_EQ(std::distance(boost::filesystem::directory_iterator(m_Dir),
                            boost::filesystem::directory_iterator()),
              1);

    EXPECT_EQ(Pitool({"metrics", after, "-o", m_Dir + "/missing/pi.prom"}).status, 2);
}
