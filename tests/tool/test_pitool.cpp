// pitool as a user runs it: output, standard error and exit status of every
// subcommand on good and bad input.
#include "Pitool.h"
#include "ScratchDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rapidjson/document.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

// Whether --json output is one complete JSON document.
bool ValidJson(const std::string& text) {
    rapidjson::Document doc;
    return !doc.Parse(text.c_str(), text.size()).HasParseError();
}

size_t Lines(const std::string& text) {
    return std::count(text.begin(), text.end(), '\n');
}

// Success: output, nothing on standard error.
void ExpectOk(const ProgramResult& r) {
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
}

// Bad usage or input: nothing on standard output, one line on standard error
// that contains `message`.
void ExpectUsage(const ProgramResult& r, const std::string& message) {
    EXPECT_EQ(r.status, 2) << r.out;
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(Lines(r.err), 1u) << r.err;
    EXPECT_THAT(r.err, AllOf(StartsWith("pitool"), HasSubstr(message)));
}

// A lookup that found nothing: exit status 1 and one line on standard error.
void ExpectNotFound(const ProgramResult& r, const std::string& message) {
    EXPECT_EQ(r.status, 1) << r.out;
    EXPECT_EQ(Lines(r.err), 1u) << r.err;
    EXPECT_THAT(r.err, HasSubstr(message));
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
using PitoolHexdump = PitoolFiles;
using PitoolLd = PitoolFiles;
using PitoolConfig = PitoolFiles;

} // namespace

TEST(PitoolUsage, SubcommandIsRequiredAndUnknownOnesAreRefused) {
    ExpectUsage(Pitool({}), "subcommand");
    ExpectUsage(Pitool({"frobnicate"}), "frobnicate");
    ExpectUsage(Pitool({"units", "1", "--bogus"}), "--bogus");
}

TEST(PitoolUsage, EverySubcommandHasHelp) {
    const auto top = Pitool({"--help"});
    ExpectOk(top);
    for (const char* sub :
         {"sense", "drive", "help", "icon", "units", "hexdump", "ld", "config", "demo"}) {
        EXPECT_THAT(top.out, HasSubstr(sub));
        const auto r = Pitool({sub, "--help"});
        ExpectOk(r);
        EXPECT_THAT(r.out, AllOf(HasSubstr(std::string("pitool ") + sub), HasSubstr("--json"),
                                 HasSubstr("Exit status")));
    }
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
    };
    for (const auto& command : commands) {
        const auto r = Pitool(command);
        ExpectOk(r);
        EXPECT_TRUE(ValidJson(r.out)) << command[0] << ":\n" << r.out;
    }
}

TEST(PitoolSense, KeyAndCodesAreTranslated) {
    auto r = Pitool({"sense", "5", "24", "00"});
    ExpectOk(r);
    EXPECT_THAT(r.out, AllOf(HasSubstr("illegal request"), HasSubstr("3 (error)"),
                             HasSubstr("24h/00h  invalid field in CDB")));

    r = Pitool({"sense", "0x7"}); // a key alone, in either hex spelling
    ExpectOk(r);
    EXPECT_THAT(r.out, AllOf(HasSubstr("data protect"), HasSubstr("2 (informational)")));
    EXPECT_THAT(r.out, ::testing::Not(HasSubstr("ASC")));

    r = Pitool({"sense", "--json", "6", "29h", "0x00"});
    ExpectOk(r);
    EXPECT_THAT(r.out, AllOf(HasSubstr("\"key\": 6"), HasSubstr("\"asc\": 41"),
                             HasSubstr("\"asc_known\": true")));
}

TEST(PitoolSense, RawBuffersInBothFormats) {
    // Fixed format: key in byte 2, ASC/ASCQ in bytes 12 and 13; the VALID bit
    // of byte 0 does not change the format. Exactly 14 bytes are enough.
    auto r = Pitool({"sense", "--raw", "F0 00 03 00 00 00 00 06 00 00 00 00 11 00"});
    ExpectOk(r);
    EXPECT_THAT(r.out, AllOf(HasSubstr("fixed (70h, current error)"), HasSubstr("medium error"),
                             HasSubstr("11h/00h  unrecovered read error")));

    // Descriptor format: key in byte 1, ASC/ASCQ in bytes 2 and 3; 4 bytes suffice.
    r = Pitool({"sense", "--raw", "73", "0b", "47", "00"});
    ExpectOk(r);
    EXPECT_THAT(r.out, AllOf(HasSubstr("descriptor (73h, deferred error)"),
                             HasSubstr("aborted command"), HasSubstr("47h/00h")));

    r = Pitool({"sense", "--file", Example("sense-not-ready-descriptor.hex")});
    ExpectOk(r);
    EXPECT_THAT(r.out, HasSubstr("logical unit not ready - operation in progress"));

    r = Pitool({"sense", "--file", "-"},
               "# from standard input\n70:00:02:00:00:00:00:06:00:00:00:00:04:01\n");
    ExpectOk(r);
    EXPECT_THAT(r.out, HasSubstr("04h/01h  logical unit is in process of becoming ready"));
}

TEST(PitoolSense, UnknownPairShowsTheKeyAndExitsOne) {
    const auto r = Pitool({"sense", "4", "80", "0D"});
    ExpectNotFound(r, "80h/0Dh is not a known pair");
    EXPECT_THAT(r.out, AllOf(HasSubstr("hardware error"), HasSubstr("(not a known pair)")));
}

TEST(PitoolSense, BadInputIsRefused) {
    ExpectUsage(Pitool({"sense", "--raw", "70 00 ZZ"}), "malformed hex byte 'ZZ'");
    ExpectUsage(Pitool({"sense", "--raw", "700"}), "malformed hex byte '700'");
    ExpectUsage(Pitool({"sense", "10"}), "out of range (0h to Fh)");
    ExpectUsage(Pitool({"sense", "5", "100", "0"}), "out of range (00h to FFh)");
    ExpectUsage(Pitool({"sense", "5", "24"}), "both ASC and ASCQ");
    ExpectUsage(Pitool({"sense", "5", "--raw", "72 05 24 00"}), "either");
    ExpectUsage(Pitool({"sense", "--raw", "70 00 05 00 00 00 00 06 00 00 00 00 24"}),
                "at least 14 bytes, got 13");
    ExpectUsage(Pitool({"sense", "--raw", "72 05 24"}), "at least 4 bytes, got 3");
    ExpectUsage(Pitool({"sense", "--raw", "60 00 05 00"}), "response code 60h");
    ExpectUsage(Pitool({"sense", "--file", "-"}, "# nothing\n"), "empty");
    ExpectUsage(Pitool({"sense", "--raw", std::string(253 * 2, '0').replace(0, 2, "72")}),
                "253 bytes");
    ExpectUsage(Pitool({"sense", "--file", "/nonexistent/sense.hex"}), "cannot open");
}

TEST(PitoolDrive, ModelSpeedAndSerial) {
    auto r = Pitool({"drive", "WDC WD3000HLFS-01G6U0", "--serial", "WD-WCAV12345678"});
    ExpectOk(r);
    EXPECT_THAT(r.out, AllOf(HasSubstr("vendor       WDC\n"), HasSubstr("WD3000HLFS-01G6U0"),
                             HasSubstr("rpm          10000"), HasSubstr("10.0k rpm"),
                             HasSubstr("serial       WCAV12345678  (reported WD-WCAV12345678)")));

    // A measured speed decides the class; the looked-up one is still shown.
    r = Pitool({"drive", "--json", "HDS721010CLA332", "--rpm", "14001"});
    ExpectOk(r);
    EXPECT_THAT(r.out, AllOf(HasSubstr("\"vendor\": \"HGST\""), HasSubstr("\"rpm\": 7200"),
                             HasSubstr("\"measured_rpm\": 14001"), HasSubstr("\"rpm_class\": 15")));

    r = Pitool({"drive", "ST9500325AS", "--serial", "5VP12345ABCD"});
    ExpectOk(r);
    EXPECT_THAT(r.out, AllOf(HasSubstr("SEAGATE"), HasSubstr("5400"), HasSubstr("5VP12345  (")));
}

TEST(PitoolDrive, BadInputAndTooShortProducts) {
    ExpectUsage(Pitool({"drive", "  "}), "model string is empty");
    ExpectUsage(Pitool({"drive", "X", "--rpm", "fast"}), "--rpm 'fast' is not a number");
    ExpectUsage(Pitool({"drive", "X", "--rpm", "99999999999999999999"}), "out of range");
    const auto r = Pitool({"drive", "HITACHI H1"});
    ExpectNotFound(r, "too short");
    EXPECT_THAT(r.out, AllOf(HasSubstr("HITACHI"), HasSubstr("unknown")));
}

TEST(PitoolHelp, NumbersAndNamesBothWays) {
    auto r = Pitool({"help", "op_start_rebuild"});
    ExpectOk(r);
    EXPECT_THAT(r.out, AllOf(HasSubstr("23463"), HasSubstr("actions.htm#OP_START_REBUILD")));

    r = Pitool({"help", "--json", "23001"});
    ExpectOk(r);
    EXPECT_THAT(r.out, AllOf(HasSubstr("\"name\": \"ADAPTER_ABORT_MDC_ON_ERROR\""),
                             HasSubstr("\"path\": \"properties.htm#ADAPTER_ABORT_MDC_ON_ERROR\"")));

    r = Pitool({"help", "23419"}); // the operations page itself, without a name
    ExpectOk(r);
    EXPECT_THAT(r.out, AllOf(HasSubstr("name  -"), HasSubstr("help  actions.htm\n")));

    ExpectNotFound(Pitool({"help", "23476"}), "23476 has no help entry");
    ExpectNotFound(Pitool({"help", "NO_SUCH_PROPERTY"}), "NO_SUCH_PROPERTY");
    ExpectUsage(Pitool({"help", "4294967296"}), "out of range");
    ExpectUsage(Pitool({"help", "12abc"}), "not a number");
}

TEST(PitoolHelp, ListAgreesWithTheNamesAndFilters) {
    const auto r = Pitool({"help", "--list"});
    ExpectOk(r);
    EXPECT_THAT(r.out, StartsWith("23001  ADAPTER_ABORT_MDC_ON_ERROR"));
    // Every named row's anchor is its name: the names of the tool and the
    // help table of the library tell the same story.
    std::istringstream lines(r.out);
    std::string id, name, path;
    size_t rows = 0;
    while (lines >> id >> name >> path) {
        ++rows;
        if (name != "-") {
            EXPECT_EQ(path.substr(path.find('#') + 1), name) << id;
        }
    }
    EXPECT_GT(rows, 460u);

    const auto op = Pitool({"help", "--list", "--kind", "physical_drive"});
    ExpectOk(op);
    std::istringstream opLines(op.out);
    std::string line;
    while (std::getline(opLines, line)) {
        EXPECT_THAT(line, HasSubstr("  PHYSICAL_DRIVE_"));
    }
    ExpectNotFound(Pitool({"help", "--list", "--kind", "NOTHING"}), "no identifiers of kind");
    ExpectUsage(Pitool({"help", "--list", "23001"}), "not both");
    ExpectUsage(Pitool({"help", "23001", "--kind", "OP"}), "--kind only filters --list");
}

TEST(PitoolIcon, IdsAndDriveStatus) {
    auto r = Pitool({"icon", "24078"});
    ExpectOk(r);
    EXPECT_THAT(r.out, HasSubstr("file  drive_ok_no.gif"));
    ExpectNotFound(Pitool({"icon", "24134"}), "24134 has no image file");
    ExpectUsage(Pitool({"icon", "drive"}), "not a number");

    // Names and numbers select the same icon.
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"icon", "--state", "PD_STATE_REBUILD_WARNING_1", "--media", "MEDIA_TYPE_SSD",
              "--overlay"},
             {"icon", "--state", "40177", "--media", "40293", "--overlay", "--power", "40084"}}) {
        r = Pitool(args);
        ExpectOk(r);
        EXPECT_THAT(r.out, AllOf(HasSubstr("icon     24212"), HasSubstr("ssd_rb_wr_vemo.gif")));
    }
    r = Pitool({"icon", "--state", "PD_STATE_WARNING", "--media", "MEDIA_TYPE_SSD", "--overlay",
                "--power", "POWER_STATE_POWER_SAVE"});
    EXPECT_THAT(r.out, HasSubstr("ssd_no_wr_ps.gif"));
    r = Pitool({"icon", "--json", "--state", "PD_STATE_MISSING", "--foreign", "--power",
                "power_state_power_save"});
    ExpectOk(r);
    EXPECT_THAT(r.out, AllOf(HasSubstr("\"icon\": 24079"), HasSubstr("\"foreign\": true")));

    ExpectUsage(Pitool({"icon", "--state", "PD_STATE_SLEEPY"}), "PD_STATE_SLEEPY");
    ExpectUsage(Pitool({"icon", "--state", "MEDIA_TYPE_SSD"}), "PD_STATE_* name");
    ExpectUsage(Pitool({"icon", "--overlay"}), "--state is needed");
    ExpectUsage(Pitool({"icon", "24078", "--state", "40177"}), "not both");
}

TEST(PitoolUnits, BoundariesOfTheUnits) {
    auto r = Pitool({"units", "1023"});
    ExpectOk(r);
    EXPECT_THAT(r.out, StartsWith("1023 B  (1023 bytes; unit 21024 UNITS_BYTES)"));
    r = Pitool({"units", "0x400"});
    EXPECT_THAT(r.out, StartsWith("1.00 KB  (1024 bytes; unit 21003"));
    r = Pitool({"units", "1649267441664"});
    EXPECT_THAT(r.out, StartsWith("1.50 TB"));
    r = Pitool({"units", "--json", "18446744073709551615"});
    ExpectOk(r);
    EXPECT_THAT(r.out, AllOf(HasSubstr("\"value\": 16384"), HasSubstr("\"unit\": 21026"),
                             HasSubstr("\"symbol\": \"PB\"")));

    ExpectUsage(Pitool({"units", "18446744073709551616"}), "out of range");
    ExpectUsage(Pitool({"units", "-1"}), "out of range");
    ExpectUsage(Pitool({"units", "12 KB"}), "not a number");
    ExpectUsage(Pitool({"units"}), "bytes");
}

TEST_F(PitoolHexdump, RangesFilesAndStandardInput) {
    std::string bytes;
    for (int i = 0; i < 20; ++i) {
        bytes += static_cast<char>(i * 13);
    }
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

    ExpectUsage(Pitool({"hexdump", file, "--first", "5", "--end", "2"}), "past --end");
    ExpectUsage(Pitool({"hexdump", file, "--end", "21"}), "past the end of the data (20 bytes)");
    ExpectUsage(Pitool({"hexdump", file, "--first", "x"}), "not a number");
    ExpectUsage(Pitool({"hexdump", Path("missing.bin")}), "cannot open");
}

TEST_F(PitoolLd, ExampleDocuments) {
    auto r = Pitool({"ld", Example("ld-raid10.xml")});
    ExpectOk(r);
    EXPECT_THAT(r.out, AllOf(HasSubstr("1536 GB  (units 21021 UNITS_GIGABYTES)"),
                             HasSubstr("container 2: 2 pieces"),
                             HasSubstr("drive 4003  start 2048  used 1649267441664"),
                             HasSubstr("global hot spares     4101, 4102"),
                             HasSubstr("dedicated hot spares  4201"),
                             HasSubstr("associated drives     8001, 8002")));

    r = Pitool({"ld", "--json", Example("ld-raid5.xml")});
    ExpectOk(r);
    EXPECT_THAT(r.out, AllOf(HasSubstr("\"size\": 204800"), HasSubstr("\"object_id\": 5003"),
                             HasSubstr("\"start_address\": 536870912000"),
                             HasSubstr("\"global_hot_spares\": []")));
}

TEST_F(PitoolLd, DocumentsWithoutContainersAndBadDocuments) {
    auto r = Pitool({"ld", "-"}, "<LogicalDriveConfiguration Size=\"7\" Units=\"99\"/>"
                                 "<AssociatedLogicalDrives><LogicalDrive ObjectID=\"9\"/>"
                                 "</AssociatedLogicalDrives>");
    ExpectOk(r);
    EXPECT_THAT(r.out,
                AllOf(HasSubstr("size                  7  (units 99)"),
                      HasSubstr("containers            0"), HasSubstr("associated drives     9")));

    ExpectUsage(Pitool({"ld", File("a.xml", "<LogicalDriveConfiguration Size=\"1\"")}),
                "not well-formed XML");
    ExpectUsage(Pitool({"ld", File("b.xml", "<Other/>")}), "no LogicalDriveConfiguration element");
    ExpectUsage(Pitool({"ld", File("c.xml", "<LogicalDriveConfiguration Units=\"21002\"/>")}),
                "attribute Size is missing");
    ExpectUsage(
        Pitool({"ld",
                File("d.xml", "<LogicalDriveConfiguration Size=\"1\" Units=\"21002\"><Containers>"
                              "<Container/><Container><Drive ObjectID=\"1\" StartAddress=\"0\"/>"
                              "</Container></Containers></LogicalDriveConfiguration>")}),
        "Container 2 Drive 1: attribute UsedSize is missing");
    ExpectUsage(Pitool({"ld", File("e.xml", "<LogicalDriveConfiguration Size=\"1\" "
                                            "Units=\"2\"/><DedicatedHotSpares><Drive "
                                            "ObjectID=\"x1\"/></DedicatedHotSpares>")}),
                "ObjectID 'x1' is not a number");
    ExpectUsage(Pitool({"ld", Path("missing.xml")}), "cannot open");
    ExpectUsage(Pitool({"ld"}), "file");
}

TEST_F(PitoolConfig, ScopesAndTheFallback) {
    const std::string ini = Path("pi.ini");
    ExpectUsage(Pitool({"config", "--file", ini, "get", "Poll"}), "no such file");

    ExpectOk(Pitool({"config", "--file", ini, "set", "Poll", "30"}));
    ExpectOk(Pitool({"config", "--file", ini, "set", "Poll", "10", "--adapter", "2"}));
    ExpectOk(
        Pitool({"config", "set", "Cache", "on", "--adapter", "2", "--unit", "1", "--file", ini}));
    ExpectOk(Pitool({"config", "--file", ini, "set", "Role", "primary", "--name", "Host=1"}));
    ExpectOk(Pitool({"config", "--file", ini, "set", "Odd", "x", "--section", "Plain=Name"}));

    EXPECT_EQ(Pitool({"config", "--file", ini, "get", "Poll", "--adapter", "2"}).out, "10\n");
    EXPECT_EQ(Pitool({"config", "--file", ini, "get", "Poll", "--adapter", "3"}).out, "30\n");
    EXPECT_EQ(
        Pitool({"config", "--file", ini, "get", "Cache", "--adapter", "2", "--unit", "1"}).out,
        "on\n");
    EXPECT_EQ(Pitool({"config", "--file", ini, "get", "Role", "--name", "Host=1"}).out,
              "primary\n");
    EXPECT_EQ(Pitool({"config", "--file", ini, "get", "Odd", "--section", "Plain=Name"}).out,
              "x\n");
    // Named scopes turn "=" into "_"; verbatim sections do not.
    const std::string text = ReadBytes(ini);
    EXPECT_THAT(text, AllOf(HasSubstr("[Config.2]"), HasSubstr("[Config.2.1]"),
                            HasSubstr("[Config.Host_1]"), HasSubstr("[Plain=Name]")));

    // A verbatim section has no fallback.
    ExpectNotFound(Pitool({"config", "--file", ini, "get", "Poll", "--section", "Config.9"}),
                   "not set in Config.9");
    ExpectNotFound(Pitool({"config", "--file", ini, "get", "Nothing", "--adapter", "2"}),
                   "nor in DefaultConfig");
    // A key with a line break still gives one line on standard error.
    ExpectNotFound(Pitool({"config", "--file", ini, "get", "two\nlines"}), "two\\nlines");

    const auto list =
        Pitool({"config", "--file", ini, "list", "Poll", "Missing", "--adapter", "2"});
    ExpectOk(list);
    EXPECT_THAT(list.out,
                AllOf(HasSubstr("Poll     10"), HasSubstr("Missing  (empty or not set)")));

    ExpectOk(Pitool({"config", "--file", ini, "delete", "--adapter", "2"}));
    EXPECT_EQ(Pitool({"config", "--file", ini, "get", "Poll", "--adapter", "2"}).out, "30\n");
    EXPECT_THAT(ReadBytes(ini), ::testing::Not(HasSubstr("[Config.2]\n")));
}

TEST_F(PitoolConfig, ValuesReadBackExactly) {
    const std::string ini = Path("pi.ini");
    for (const std::string& value :
         {std::string(" padded; # \"quoted\" "), std::string(""), std::string("a=b")}) {
        ExpectOk(Pitool({"config", "--file", ini, "set", "Text", value, "--name", "Mail"}));
        const auto r = Pitool({"config", "--json", "--file", ini, "get", "Text", "--name", "Mail"});
        ExpectOk(r);
        EXPECT_EQ(Pitool({"config", "--file", ini, "get", "Text", "--name", "Mail"}).out,
                  value + "\n");
        EXPECT_TRUE(ValidJson(r.out)) << r.out;
    }
}

TEST_F(PitoolConfig, DeleteOneKeyOrAScopeOfTheSample) {
    const std::string original = ReadBytes(Example("pi.ini"));
    const std::string ini = File("pi.ini", original);

    const auto r =
        Pitool({"config", "--file", ini, "delete", "WriteCache", "--adapter", "0", "--unit", "1"});
    ExpectOk(r);
    EXPECT_EQ(r.out, "deleted Config.0.1: WriteCache\n");
    std::string expected = original;
    const std::string line = "WriteCache = off   ; battery missing\n";
    expected.erase(expected.find(line), line.size());
    EXPECT_EQ(ReadBytes(ini), expected) << "only that line goes; comments and neighbours stay";

    // Gone already, or only in the fallback section: nothing is deleted.
    ExpectNotFound(
        Pitool({"config", "--file", ini, "delete", "WriteCache", "--adapter", "0", "--unit", "1"}),
        "'WriteCache' is not set in Config.0.1");
    ExpectNotFound(Pitool({"config", "--file", ini, "delete", "LogLevel", "--adapter", "0"}),
                   "not set in Config.0");
    ExpectUsage(Pitool({"config", "--file", ini, "delete", ""}), "key is empty");
    EXPECT_EQ(ReadBytes(ini), expected);

    ExpectOk(Pitool({"config", "--json", "--file", ini, "delete", "--name", "Mail"}));
    ExpectNotFound(Pitool({"config", "--file", ini, "delete", "--name", "Mail"}),
                   "no section Config.Mail");
    EXPECT_THAT(ReadBytes(ini), AllOf(::testing::Not(HasSubstr("[Config.Mail]")),
                                      HasSubstr("[Config.Host_1]\nRole = primary")));
}

TEST_F(PitoolConfig, ListShowsTheFileInItsOrder) {
    const std::string ini = File("pi.ini", ReadBytes(Example("pi.ini")));
    ExpectOk(Pitool({"config", "--file", ini, "set", "Note", "two\nlines", "--name", "Host=1"}));

    const auto all = Pitool({"config", "--file", ini, "list"});
    ExpectOk(all);
    size_t at = 0;
    for (const char* part :
         {"[DefaultConfig]\nPollInterval = 30\n", "Greeting = \" Welcome; please log in \"\n",
          "\n[Config.0]\n", "[Config.0.1]\nReadCache = on\nWriteCache = off\n", "[Config.Mail]",
          "Subject = \"Storage event #%d\"\n", "[Config.Host_1]\nRole = primary\n",
          "Note = \"two\\nlines\"\n"}) {
        const size_t found = all.out.find(part, at);
        EXPECT_NE(found, std::string::npos) << "in order: " << part << "\n" << all.out;
        at = found == std::string::npos ? at : found;
    }

    const auto one = Pitool({"config", "--file", ini, "list", "--adapter", "0"});
    ExpectOk(one);
    EXPECT_EQ(one.out, "[Config.0]\nPollInterval = 10\nAlias = Front bay\n");
    for (const auto& args : {std::vector<std::string>{"list"},
                             std::vector<std::string>{"list", "--section", "Config.Mail"}}) {
        std::vector<std::string> call = {"config", "--json", "--file", ini};
        call.insert(call.end(), args.begin(), args.end());
        const auto r = Pitool(call);
        ExpectOk(r);
        EXPECT_TRUE(ValidJson(r.out)) << r.out;
        EXPECT_THAT(r.out, HasSubstr("\"Subject\": \"Storage event #%d\""));
    }
    ExpectNotFound(Pitool({"config", "--file", ini, "list", "--adapter", "7"}),
                   "no section Config.7");
}

TEST_F(PitoolConfig, BadUsageIsRefused) {
    const std::string ini = File("pi.ini", "[DefaultConfig]\nPoll=30\n");
    ExpectUsage(Pitool({"config", "--file", ini, "set", "", "x"}), "key is empty");
    ExpectUsage(Pitool({"config", "--file", ini, "set", "k", "x", "--name", "a]b"}),
                "cannot write 'k'");
    ExpectUsage(Pitool({"config", "--file", Path("no/dir/pi.ini"), "set", "k", "v"}),
                "cannot write");
    ExpectUsage(Pitool({"config", "--file", ini, "get", "Poll", "--adapter", "1", "--name", "x"}),
                "at most one scope");
    ExpectUsage(Pitool({"config", "--file", ini, "get", "Poll", "--unit", "1"}),
                "--unit needs --adapter");
    ExpectUsage(Pitool({"config", "--file", ini, "get", "Poll", "--adapter", "-1"}),
                "out of range");
    ExpectUsage(Pitool({"config", "--file", ini, "list", "Poll"}), "named or adapter scope");
    ExpectUsage(Pitool({"config", "--file", ini}), "subcommand");
    ExpectUsage(Pitool({"config", "get", "Poll"}), "--file");
    ExpectUsage(Pitool({"config", "--file", Path("gone.ini"), "delete"}), "no such file");
    // Nothing of that changed the file.
    EXPECT_EQ(ReadBytes(ini), "[DefaultConfig]\nPoll=30\n");
}

TEST(PitoolDemo, TourRunsOverTheExamples) {
    const auto r = Pitool({"demo"});
    ExpectOk(r);
    for (const char* part :
         {"== Sense data", "== Drive identity", "== Help anchors", "== Icons", "== Byte counts",
          "== Logical drive documents", "== The configuration file", "$ pitool ld ",
          "invalid field in CDB", "progress 37.50% (24576/65536)",
          "ATA status return: error 0x40, status 0x51, device 0x40, count 0x1, LBA 0x12345678",
          "ssd_rb_wr_vemo.gif", "1536 GB"}) {
        EXPECT_THAT(r.out, HasSubstr(part));
    }
    ExpectUsage(RunProgram(PITOOL_PATH, {"demo"}, "", {{"PI_EXAMPLES_DIR", "/nonexistent"}}),
                "PI_EXAMPLES_DIR");
    ExpectUsage(Pitool({"demo", "--examples", "/"}), "not an examples directory");
}
