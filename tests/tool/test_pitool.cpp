// pitool as a user runs it: output, standard error and exit status of every
// subcommand on good and bad input.
#include "Pitool.h"
#include "ScratchDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rapidjson/document.h>

#include <algorithm>
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

TEST(PitoolDrive, BadInputAndTooShortProducts) {
    ExpectUsage(Pitool({"drive", "  "}), "model string is empty");
    ExpectUsage(Pitool({"drive", "X", "--rpm", "fast"}), "--rpm 'fast' is not a number");
    ExpectUsage(Pitool({"drive", "X", "--rpm", "99999999999999999999"}), "out of range");
    const auto r = Pitool({"drive", "HITACHI H1"});
    ExpectNotFound(r, "too short");
    EXPECT_THAT(r.out, AllOf(HasSubstr("HITACHI"), HasSubstr("unknown")));
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

    ExpectOk(Pitool({"config", "--file", ini, "delete", "--adapter", "2"}));
    EXPECT_EQ(Pitool({"config", "--file", ini, "get", "Poll", "--adapter", "2"}).out, "30\n");
    EXPECT_THAT(ReadBytes(ini), ::testing::Not(HasSubstr("[Config.2]\n")));
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
