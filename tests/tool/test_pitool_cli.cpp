// pitool's messages where the command line or the configuration file is at
// fault: each names the real mistake and the command it belongs to.
#include "Pitool.h"
#include "ScratchDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

void ExpectUsage(const ProgramResult& r, const std::string& start, const std::string& message) {
    EXPECT_EQ(r.status, 2) << r.out;
    EXPECT_EQ(r.out, "");
    EXPECT_THAT(r.err, StartsWith(start + ": ")) << r.err;
    EXPECT_THAT(r.err, HasSubstr(message));
}

class PitoolCli : public ScratchDirectoryTest {};

TEST_F(PitoolCli, MistakesAreNamedAndBlamedOnTheirCommand) {
    ExpectUsage(Pitool({"units", "-1"}), "pitool units", "'-1' is out of range");
    ExpectUsage(Pitool({"units", "-x"}), "pitool units", "not expected: -x");
    // An unknown option, not the value after it, is the mistake.
    WriteBytes(m_File, "[DefaultConfig]\n");
    ExpectUsage(Pitool({"config", "--file", m_File, "set", "KEY", "--verbose"}), "pitool config",
                "not expected: --verbose");
    ExpectUsage(Pitool({"config", "--file", m_File, "set", "KEY"}), "pitool config",
                "value is required");
    // Before the subcommand: pitool's own option, or pitool's own mistake.
    const ProgramResult json = Pitool({"--json", "units", "1024"});
    EXPECT_EQ(json.status, 0) << json.err;
    EXPECT_THAT(json.out, HasSubstr("\"unit_name\": \"UNITS_KILOBYTES\""));
    ExpectUsage(Pitool({"--bogus", "record", "show", Example("inventory-after.json")}), "pitool",
                "--bogus (see pitool --help)");
}

TEST_F(PitoolCli, ConfigGetNamesTheSectionTheValueCameFrom) {
    WriteBytes(m_File, "[DefaultConfig]\nPoll=30\n[Config.0]\nPoll=10\n");
    const ProgramResult fallback = Pitool(
        {"config", "--json", "--file", m_File, "get", "Poll", "--adapter", "0", "--unit", "1"});
    EXPECT_EQ(fallback.status, 0) << fallback.err;
    EXPECT_THAT(fallback.out, HasSubstr("\"section\": \"DefaultConfig\""));
    EXPECT_THAT(fallback.out, HasSubstr("\"scope\": \"Config.0.1\""));
    const ProgramResult own =
        Pitool({"config", "--json", "--file", m_File, "get", "Poll", "--adapter", "0"});
    EXPECT_THAT(own.out, HasSubstr("\"section\": \"Config.0\""));
}

// A refused write says which rule refused it and why, and leaves no lock
// file of its own.
TEST_F(PitoolCli, RefusedWritesSayWhichRuleAndWhy) {
    WriteBytes(m_File, "[DefaultConfig]\nPoll=30\n");
    const std::string second = m_Dir + "/second.ini";
    ASSERT_EQ(::link(m_File.c_str(), second.c_str()), 0);
    ExpectUsage(Pitool({"config", "--file", m_File, "set", "Poll", "5"}), "pitool config",
                "refused (more than one link)");
    ASSERT_EQ(::unlink(second.c_str()), 0);

    ExpectUsage(Pitool({"config", "--file", m_File, "set", "Poll", "5", "--section", "a]b"}),
                "pitool config", "cannot hold this key, value or section name");

    // Read-only for the caller: as another user where the tests run as root.
    ASSERT_EQ(::chmod(m_File.c_str(), 0444), 0);
    ASSERT_EQ(::chmod(m_Dir.c_str(), 0777), 0);
    std::vector<std::string> call = {"config", "--file", m_File, "set", "Poll", "5"};
    ProgramResult r;
    if (::geteuid() == 0) {
        call.insert(call.begin(),
                    {"--reuid=65534", "--regid=65534", "--clear-groups", PITOOL_PATH});
        r = RunProgram("/usr/bin/setpriv", call);
    } else {
        r = Pitool(call);
    }
    ExpectUsage(r, "pitool config", "refused (read-only): '" + m_File + "' is read-only");
    EXPECT_THAT(r.err, Not(HasSubstr("exception 0x")));
    EXPECT_FALSE(boost::filesystem::exists(m_File + ".lck"));
    EXPECT_EQ(ReadBytes(m_File), "[DefaultConfig]\nPoll=30\n");
}

} // namespace
