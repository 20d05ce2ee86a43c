// pitool metrics and pitool check as a monitoring system runs them: the
// check's exit statuses and thresholds, and the textfile written whole.
#include "Pitool.h"
#include "ScratchDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/filesystem.hpp>

#include <string>
#include <vector>

using ::testing::StartsWith;

namespace {

const std::string kAfterPerformance =
    " | drives_failed=1;;0 drives_warning=0;0; ld_failed=0;;0 ld_degraded=1;0; "
    "ld_without_spare=1;0; others_failed=0;;0 others_warning=0;0; media_errors=37c;;\n";

TEST(PitoolCheck, ExitStatusesAndThresholds) {
    const std::string before = Example("inventory-before.json");
    const std::string after = Example("inventory-after.json");
    // Thresholds that leave only the media errors to judge.
    const std::vector<std::string> mediaOnly = {
        "check", after, "-c", "drives_failed=", "-w", "ld_degraded=", "-w", "ld_without_spare="};
    auto with = [](std::vector<std::string> args, std::vector<std::string> more) {
        args.insert(args.end(), more.begin(), more.end());
        return args;
    };
    struct Row {
        std::vector<std::string> args;
        int status;
        std::string start;
    } rows[] = {
        {{"check", before}, 0, "PI OK - 5 physical drives, 1 logical drive | drives_failed=0;;0 "},
        {{"check", after},
         2,
         "PI CRITICAL - 1 drive failed, 1 logical drive degraded, 1 logical drive without a hot "
         "spare" +
             kAfterPerformance},
        // A range's end is inside it: 37 errors alert above 36, not above 37.
        {with(mediaOnly, {"-w", "media_errors=36"}), 1, "PI WARNING - 37 media errors |"},
        {with(mediaOnly, {"-w", "media_errors=37"}), 0, "PI OK - 5 physical drives"},
        {with(mediaOnly, {"--critical", "media_errors=@30:40"}), 2,
         "PI CRITICAL - 37 media errors"},
        {with(mediaOnly, {"-w", "drives_failed=0"}), 1, "PI WARNING - 1 drive failed |"},
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
}

TEST(PitoolCheck, VerboseListsWhatIsNotOk) {
    const ProgramResult r = Pitool({"check", "-v", Example("inventory-after.json")});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.out.substr(r.out.find('\n') + 1),
              "adapter 1: unknown, no status\n"
              "physical drive 4098 (slot 2, serial ZC100019): critical, state PD_STATE_FAILED\n"
              "task 9001: unknown, state Running\n"
              "logical drive #0 \"data\": warning, state Degraded\n");
}

class PitoolMetricsFile : public ScratchDirectoryTest {
protected:
    PitoolMetricsFile() : ScratchDirectoryTest("pi.prom") {}
};

// -o replaces the file whole and leaves no temporary file.
TEST_F(PitoolMetricsFile, WrittenWholeByRename) {
    const std::string after = Example("inventory-after.json");
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

} // namespace
