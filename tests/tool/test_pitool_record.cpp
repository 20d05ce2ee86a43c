// pitool record as a user runs it: the example inventories shown, compared,
// patched and converted, and every kind of bad input with its exit status
// and its one line on standard error.
#include "Pitool.h"
#include "ScratchDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

// One line on standard error, naming the subcommand.
void ExpectOneErrorLine(const ProgramResult& r) {
    EXPECT_EQ(r.status, 2);
    EXPECT_THAT(r.err, StartsWith("pitool record: "));
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_THAT(r.out, IsEmpty());
}

// The exit status of a program whose standard output is a terminal.
int ExitStatusOnATerminal(std::vector<const char*> argv) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0)
        return -1;
    const pid_t child = fork();
    if (child == 0) {
        const int slave = open(ptsname(master), O_RDWR | O_NOCTTY);
        dup2(slave, STDOUT_FILENO);
        argv.push_back(nullptr);
        execv(argv[0], const_cast<char* const*>(argv.data()));
        _exit(127);
    }
    // Drain what the program writes, so that it never blocks on a full pty.
    std::thread drain([master] {
        char buffer[4096];
        while (read(master, buffer, sizeof buffer) > 0) {
        }
    });
    int status = 0;
    waitpid(child, &status, 0);
    close(master);
    drain.join();
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class PitoolRecord : public ScratchDirectoryTest {
protected:
    std::string Write(const std::string& name, const std::string& content) {
        WriteBytes(m_Dir + "/" + name, content);
        return m_Dir + "/" + name;
    }
    const std::string before = Example("inventory-before.json");
    const std::string after = Example("inventory-after.json");
};

TEST_F(PitoolRecord, DiffOfTheExampleInventories) {
    const ProgramResult r = Pitool({"record", "diff", before, after});
    EXPECT_EQ(r.status, 1) << r.err;
    EXPECT_THAT(r.err, IsEmpty());
    EXPECT_THAT(r.out, HasSubstr("changed  /Objects/3/Properties/5"));
    EXPECT_THAT(r.out,
                HasSubstr("PHYSICAL_DRIVE_STATUS  40001 PD_STATE_OK -> 40259 PD_STATE_FAILED"));
    EXPECT_THAT(r.out, HasSubstr("PD_STATE_GLOBAL_HOTSPARE -> 40096 PD_STATE_REBUILD_1"));
    EXPECT_THAT(r.out, HasSubstr("\"Optimal\" -> \"Degraded\""));
    EXPECT_THAT(r.out, HasSubstr("added    /Objects/6"));
    EXPECT_THAT(r.out, HasSubstr("removed  /LogicalDrives/0/Containers/0/Drives/2"));
    // The spare list is left out by equality: only --all shows it.
    EXPECT_THAT(r.out, Not(HasSubstr("/GHS/")));
    const ProgramResult all = Pitool({"record", "diff", "--all", before, after});
    EXPECT_EQ(all.status, 1);
    EXPECT_THAT(all.out, HasSubstr("removed  /LogicalDrives/0/GHS/0"));

    const ProgramResult same = Pitool({"record", "diff", before, before});
    EXPECT_EQ(same.status, 0) << same.err;
    EXPECT_THAT(same.out, IsEmpty());
}

TEST_F(PitoolRecord, ChangeListPatchesTheOldInventoryIntoTheNewOne) {
    const ProgramResult diff = Pitool({"record", "diff", "--json", "--all", before, after});
    ASSERT_EQ(diff.status, 1) << diff.err;
    EXPECT_THAT(diff.out, StartsWith("{\"Version\":1,\"Class\":\"COperation\",\"Changes\":["));
    const std::string changes = Write("changes.json", diff.out);

    const ProgramResult patched = Pitool({"record", "patch", before, changes});
    ASSERT_EQ(patched.status, 0) << patched.err;
    const std::string result = Write("patched.json", patched.out);
    const ProgramResult check = Pitool({"record", "diff", "--all", result, after});
    EXPECT_EQ(check.status, 0) << check.out;

    // Applied to the new inventory, the old values do not match: refused.
    const ProgramResult again = Pitool({"record", "patch", after, changes});
    ExpectOneErrorLine(again);
    EXPECT_THAT(again.err, HasSubstr("does not apply"));
    EXPECT_THAT(again.err, HasSubstr("code 20111"));

    // The change list may come from standard input.
    const ProgramResult piped = Pitool({"record", "patch", before, "-"}, diff.out);
    EXPECT_EQ(piped.status, 0) << piped.err;
    EXPECT_EQ(piped.out, patched.out);
}

TEST_F(PitoolRecord, ConvertGoesBothWaysAndKeepsTheRecord) {
    const ProgramResult packed = Pitool({"record", "convert", after});
    ASSERT_EQ(packed.status, 0) << packed.err;
    ASSERT_FALSE(packed.out.empty());
    EXPECT_EQ(static_cast<unsigned char>(packed.out[0]) & 0xF0u, 0x80u); // a MessagePack map
    EXPECT_LT(packed.out.size(), ReadBytes(after).size());
    const std::string mp = Write("after.mp", packed.out);

    // Told apart by content: the MessagePack file compares equal to the JSON one.
    EXPECT_EQ(Pitool({"record", "diff", "--all", mp, after}).status, 0);
    const ProgramResult back = Pitool({"record", "convert", "-"}, packed.out);
    ASSERT_EQ(back.status, 0) << back.err;
    EXPECT_THAT(back.out, StartsWith("{\"Version\":1,\"COperation\":{"));
    EXPECT_EQ(Pitool({"record", "diff", "--all", Write("back.json", back.out), after}).status, 0);
    // A patch keeps the record's own format unless told otherwise.
    const ProgramResult diff = Pitool({"record", "diff", "--json", before, after});
    const std::string changes = Write("changes.json", diff.out);
    const ProgramResult patchedMp =
        Pitool({"record", "patch", Write("before.mp", Pitool({"record", "convert", before}).out),
                changes});
    ASSERT_EQ(patchedMp.status, 0) << patchedMp.err;
    EXPECT_EQ(static_cast<unsigned char>(patchedMp.out[0]) & 0xF0u, 0x80u);
    EXPECT_EQ(Pitool({"record", "convert", "--to", "json", mp}).out, back.out);

    // -o writes the file whole; MessagePack never goes to a terminal.
    const std::string written = m_Dir + "/written.mp";
    EXPECT_EQ(Pitool({"record", "convert", after, "-o", written}).status, 0);
    EXPECT_EQ(ReadBytes(written), packed.out);
    EXPECT_EQ(ExitStatusOnATerminal({PITOOL_PATH, "record", "convert", after.c_str()}), 2);
    EXPECT_EQ(ExitStatusOnATerminal({PITOOL_PATH, "record", "convert", mp.c_str()}), 0)
        << "JSON may";
}

TEST_F(PitoolRecord, ShowNamesPropertiesValuesSizesAndIcons) {
    const ProgramResult r = Pitool({"record", "show", after});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, HasSubstr("object 1  type 19007 OBJECT_TYPE_ADAPTER_1"));
    EXPECT_THAT(r.out, HasSubstr("ADAPTER_MEMORY_SIZE  4.00 GB (4294967296 bytes)"));
    EXPECT_THAT(r.out, HasSubstr("PHYSICAL_DRIVE_POWER_STATUS       40084 POWER_STATE_NORMAL"));
    EXPECT_THAT(r.out, HasSubstr("PHYSICAL_DRIVE_STATUS             40259 PD_STATE_FAILED"));
    EXPECT_THAT(r.out, HasSubstr("status icon  drive_fail_no.gif"));
    EXPECT_THAT(r.out, HasSubstr("status icon  drive_rbld_ok_no.gif"));
    EXPECT_THAT(r.out, HasSubstr("3.64 TB (4000787030016 bytes)"));
    const ProgramResult stdinShow = Pitool({"record", "show", "-"}, ReadBytes(after));
    EXPECT_EQ(stdinShow.out, r.out);
    const ProgramResult json = Pitool({"record", "show", "--json", after});
    EXPECT_EQ(json.status, 0);
    EXPECT_THAT(json.out, HasSubstr("\"status_icon\": \"drive_fail_no.gif\""));
}

TEST_F(PitoolRecord, BadInputIsOneLineAndExitStatusTwo) {
    const std::string empty = Write("empty.json", "");
    const std::string broken = Write("broken.json", "{\"Version\":1,\"COperation\":{");
    const std::string version = Write("v2.json", "{\"Version\":2,\"COperation\":{}}");
    const std::string binary = Write("junk.bin", std::string("\xc1\x00\x01", 3));
    const std::string object = Write("object.json", "{\"Version\":1,\"CObject\":{}}");
    const std::string badList = Write("list.json", "{\"Version\":1,\"Class\":\"COperation\"}");
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"record", "show", empty},
             {"record", "show", broken},
             {"record", "show", version},
             {"record", "show", binary},
             {"record", "show", m_Dir + "/missing.json"},
             {"record", "show", m_Dir},
             {"record", "diff", before, object},
             {"record", "diff", "-", "-"},
             {"record", "diff", broken, after},
             {"record", "patch", before, badList},
             {"record", "patch", before, before},
             {"record", "patch", object,
              Write("c.json", Pitool({"record", "diff", "--json", before, after}).out)},
             {"record", "convert", "--to", "xml", after},
         }) {
        SCOPED_TRACE(args[1] + " " + args.back());
        ExpectOneErrorLine(Pitool(args));
    }
    EXPECT_THAT(Pitool({"record", "show", version}).err, HasSubstr("format version 1"));
    // JSON whose top level is no object is still told as JSON.
    EXPECT_THAT(
        Pitool({"record", "show", Write("list.json", "[1]")}).err,
        HasSubstr("not a JSON record document: (document): expected a document: an object"));
    EXPECT_THAT(Pitool({"record", "show", broken}).err, HasSubstr("at byte"));
    EXPECT_THAT(Pitool({"record", "diff", before, object}).err, HasSubstr("holds a COperation, "));
    EXPECT_THAT(Pitool({"record", "diff", "--help"}).out, HasSubstr("--json"));
    // Usage errors are exit status 2 too.
    EXPECT_EQ(Pitool({"record"}).status, 2);
    EXPECT_EQ(Pitool({"record", "diff", before}).status, 2);
}

} // namespace
