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

// Each of `parts` in `text`, in this order: a member inside the list or
// object that an earlier part opens.
void ExpectInOrder(const std::string& text, const std::vector<std::string>& parts) {
    size_t at = 0;
    for (const std::string& part : parts) {
        const size_t found = text.find(part, at);
        ASSERT_NE(found, std::string::npos) << "'" << part << "' after byte " << at << " of\n"
                                            << text;
        at = found + part.size();
    }
}

// `record show` of `file` in both views: the text view exactly, the JSON
// view's parts in order. Returns the JSON view.
std::string ExpectShown(const std::string& file, const std::string& text,
                        const std::vector<std::string>& json) {
    const ProgramResult shown = Pitool({"record", "show", file});
    EXPECT_EQ(shown.status, 0) << shown.err;
    EXPECT_EQ(shown.out, text);
    const std::string out = Pitool({"record", "show", "--json", file}).out;
    ExpectInOrder(out, json);
    return out;
}

// The lists of an operation besides its objects and logical drives, and its
// own fields: text rows for those that differ from a new operation's, every
// one in the JSON form under its interchange name, the events with their
// placeholders.
TEST_F(PitoolRecord, ShowsEveryListOfAnOperation) {
    const std::string op = Write(
        "op.json",
        R"({"Version":1,"COperation":{"Attribute1":23400,)"
        R"("Levels":[{"Attribute0":1,"StripeSizes":[16,32],"Size1":2,"Units":21021}],)"
        R"("Migrations":[{"Attribute1":1,"Attribute2":5}],)"
        R"("Events":[{},{"Scalar1":1,"PlaceHolder1":"I:77","PlaceHolder2":"T:Drive 2"}],)"
        R"("PassThroughs":[{"Value":255}],"Partitions":[{"Text1":"/dev/sdb1","Text2":"xfs"}],)"
        R"("Objects":[{"ObjectID":1,"ObjectType":19007}],"Setting5":0,"Flag":true}})");
    const ProgramResult r = Pitool({"record", "show", op});
    ASSERT_EQ(r.status, 0) << r.err;
    ExpectInOrder(r.out,
                  {"operation  1 objects, 0 logical drives, 2 events\n",
                   "  Attribute1  23400\n  Setting5    0\n  Flag        yes\n",
                   "object 1  type 19007 OBJECT_TYPE_ADAPTER_1\n", "level 1  stripe sizes 16, 32\n",
                   "  Size1  2 GB\n", "  Units  21021 UNITS_GIGABYTES\n",
                   "migration  Attribute1 1  Attribute2 5  Attribute3 0\n",
                   "partition  \"/dev/sdb1\"  \"xfs\"\n", "pass-through  value 255 (0xFF)\n",
                   "event 0  code 10000\n", "event 1  code 10000  string 77  \"Drive 2\"\n"});
    EXPECT_THAT(r.out, Not(HasSubstr("Setting1"))); // as a new operation has it

    const ProgramResult json = Pitool({"record", "show", "--json", op});
    ASSERT_EQ(json.status, 0) << json.err;
    ExpectInOrder(json.out,
                  {"\"class\": \"COperation\"", "\"COperation\": {", "\"Attribute1\": 23400",
                   "\"Setting1\": 1", "\"Setting5\": 0", "\"Flag\": true", "\"Setting9\": 1"});
    ExpectInOrder(json.out, {"\"Levels\": [", "\"Attribute0\": 1", "\"StripeSizes\": [", "16,",
                             "32", "\"Size1\": 2", "\"Units\": 21021",
                             "\"units_name\": \"UNITS_GIGABYTES\"", "\"size1_text\": \"2 GB\""});
    ExpectInOrder(json.out, {"\"Migrations\": [", "\"Attribute2\": 5", "\"PassThroughs\": [",
                             "\"Value\": 255", "\"Partitions\": [", "\"Text1\": \"/dev/sdb1\"",
                             "\"Text2\": \"xfs\""});
    ExpectInOrder(json.out, {"\"Events\": [", "\"Scalar1\": 0", "\"Scalar2\": 10000",
                             "\"placeholders\": []", "\"Scalar1\": 1", "\"PlaceHolder1\": \"I:77\"",
                             "\"slot\": 1", "\"stored\": \"I:77\"", "\"string_id\": 77",
                             "\"slot\": 2", "\"stored\": \"T:Drive 2\"", "\"text\": \"Drive 2\""});
}

// Records of the other classes alone, as `show` reads any class.
TEST_F(PitoolRecord, ShowsLevelsEventsPartitionsAndPassThroughsAlone) {
    const ProgramResult level =
        Pitool({"record", "show",
                Write("level.json", R"({"Version":1,"CLevel":{"Attribute0":5,"StripeSizes":[64],)"
                                    R"("Size1":3,"Size2":1024,"Units":21024,"Attribute8":7}})")});
    ASSERT_EQ(level.status, 0) << level.err;
    EXPECT_EQ(level.out, "level 5  stripe sizes 64\n"
                         "  Size1       3.00 B (3 bytes)\n"
                         "  Size2       1.00 KB (1024 bytes)\n"
                         "  Units       21024 UNITS_BYTES\n"
                         "  Attribute8  7\n");

    const std::string event =
        Write("event.json", R"({"Version":1,"CEvent":{"Scalar1":-5,"Scalar2":10010,)"
                            R"("PlaceHolder1":"T:Adapter 0","PlaceHolder3":"I:x",)"
                            R"("Text1":"source","Scalar6":3}})");
    const std::string eventJson =
        ExpectShown(event,
                    "event -5  code 10010  \"Adapter 0\"  I:x\n"
                    "  Text1    \"source\"\n"
                    "  Scalar6  3\n",
                    {"\"class\": \"CEvent\"", "\"CEvent\": {", "\"Scalar1\": -5",
                     "\"Scalar2\": 10010", "\"Text1\": \"source\"", "\"Scalar6\": 3", "\"slot\": 1",
                     "\"text\": \"Adapter 0\"", "\"slot\": 3", "\"stored\": \"I:x\""});
    EXPECT_THAT(eventJson, Not(HasSubstr("string_id"))); // "I:x" names no string

    const ProgramResult migration =
        Pitool({"record", "show", "--json",
                Write("migration.json", R"({"Version":1,"CMigration":{"Attribute3":4,"Properties":)"
                                        R"([{"PropertyID":23200,"Type":2,"Value":"m"}]}})")});
    ExpectInOrder(migration.out,
                  {"\"CMigration\": {", "\"Attribute3\": 4", "\"Properties\": [",
                   "\"PropertyID\": 23200", "\"name\": \"LOGICAL_DRIVE_CACHECADE_TYPE\"",
                   "\"value\": \"\\\"m\\\"\""});
    const ProgramResult partition = Pitool(
        {"record", "show",
         Write("partition.json", R"({"Version":1,"CPartition":{"Attribute1":63,"Text1":"/"}})")});
    EXPECT_EQ(partition.out, "partition  \"/\"  \"\"\n"
                             "  Attribute1  63\n"
                             "  Attribute2  0\n"
                             "  Attribute3  0\n");
    const ProgramResult pass =
        Pitool({"record", "show", "--json",
                Write("pass.json", R"({"Version":1,"CPassThrough":{"Value":4294967296}})")});
    ExpectInOrder(pass.out,
                  {"\"class\": \"CPassThrough\"", "\"CPassThrough\": {", "\"Value\": 4294967296"});
}

// Drive pieces, containers and logical drives: byte counts readable, sizes
// in their unit, the spare and associated lists named.
TEST_F(PitoolRecord, ShowsDrivePiecesContainersAndLogicalDrives) {
    const ProgramResult drive = Pitool(
        {"record", "show",
         Write("drive.json",
               R"({"Version":1,"CDrive":{"ObjectID":12,"StartAddress":2048,"UsedSize":1000000,)"
               R"("Attribute2":9,"Properties":[{"PropertyID":23200,"Type":2,"Value":"p"}]}})")});
    ASSERT_EQ(drive.status, 0) << drive.err;
    ExpectInOrder(drive.out, {"drive 12  start 2048  used 976.56 KB (1000000 bytes)\n",
                              "  Attribute2  9\n", "  LOGICAL_DRIVE_CACHECADE_TYPE  \"p\"\n"});

    const std::string container =
        Write("container.json", R"({"Version":1,"CContainer":{"Drives":[{"ObjectID":12},)"
                                R"({"ObjectID":13,"StartAddress":4096,"UsedSize":1073741824}]}})");
    ExpectShown(container,
                "container  2 drive pieces\n"
                "  drive 12  start 0  used 0.00 B (0 bytes)\n"
                "  drive 13  start 4096  used 1.00 GB (1073741824 bytes)\n",
                {"\"CContainer\": {", "\"Drives\": [", "\"ObjectID\": 12", "\"ObjectID\": 13",
                 "\"StartAddress\": 4096", "\"UsedSize\": 1073741824",
                 "\"used\": \"1.00 GB (1073741824 bytes)\""});

    const std::string ld = Write(
        "ld.json", R"({"Version":1,"CLogicalDrive":{"Size":1000,"Units":21021,"Attribute2":4,)"
                   R"("Containers":[{"Drives":[{"ObjectID":12,"UsedSize":2048}]}],)"
                   R"("GHS":[20],"DHS":[21,22],"ALD":[3]}})");
    ExpectShown(ld,
                "logical drive 0  size 1000 GB\n"
                "  container 0  drive 12 2.00 KB\n"
                "  hot spares  global 20; dedicated 21, 22\n"
                "  associated logical drives  3\n"
                "  Attribute2  4\n",
                {"\"CLogicalDrive\": {", "\"Attribute2\": 4", "\"Size\": 1000", "\"Units\": 21021",
                 "\"Containers\": [", "\"Drives\": [", "\"UsedSize\": 2048", "\"GHS\": [", "20",
                 "\"DHS\": [", "21,", "22", "\"ALD\": [", "3",
                 "\"units_name\": \"UNITS_GIGABYTES\"", "\"size_text\": \"1000 GB\""});
    // A logical drive counted in bytes reads in the largest unit.
    const ProgramResult bytes = Pitool(
        {"record", "show",
         Write("bytes.json", R"({"Version":1,"CLogicalDrive":{"Size":1536,"Units":21024}})")});
    EXPECT_THAT(bytes.out, StartsWith("logical drive 0  size 1.50 KB (1536 bytes)\n"));
}

// A task: its texts, its creation time as a date, the fields that differ
// from a new task's, and its object part.
TEST_F(PitoolRecord, ShowsTasksWithTheirCreationTime) {
    const std::string task =
        Write("task.json", R"({"Version":1,"CTask":{"Object":{"ObjectID":77,"Parents":[5]},)"
                           R"("Text1":"Rebuild","Text2":"drive 3","Time1":1795000000123,)"
                           R"("Attribute6":40025}})");
    ExpectShown(task,
                "task \"Rebuild\" drive 3\n"
                "  created     2026-11-18 11:06:40.123 UTC\n"
                "  Attribute6  40025\n"
                "object 77  type 19005 OBJECT_TYPE_TASK\n"
                "  parents  5\n",
                {"\"class\": \"CTask\"", "\"CTask\": {", "\"Object\": {", "\"ObjectID\": 77",
                 "\"Parents\": [", "5", "\"type_name\": \"OBJECT_TYPE_TASK\"",
                 "\"Text1\": \"Rebuild\"", "\"Time1\": 1795000000123", "\"Attribute6\": 40025",
                 "\"created\": \"2026-11-18 11:06:40.123 UTC\""});
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
