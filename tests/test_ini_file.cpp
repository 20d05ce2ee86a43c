// RVX::INI_Files: reading and rewriting by hand-written files, the lock,
// and hostile or careless file systems: several paths to one file, planted
// symlinks, FIFOs and devices, oversized files, and files of other users.
#include <RVX/Exceptions.h>
#include <RVX/IniFiles.h>
#include <RVX/TestHooks.h>

#include "ChildProcess.h"
#include "ScratchDirectory.h"

#include <gtest/gtest.h>

#include <boost/filesystem.hpp>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace INI = RVX::INI_Files;
using INI::CIniFile;
using INI::INI_WAIT_FOREVER;

class IniFileTest : public ScratchDirectoryTest {
protected:
    IniFileTest() : ScratchDirectoryTest("test.ini") {}
    void TearDown() override {
        INI::Internals::SetWriteStageHook(nullptr);
        ScratchDirectoryTest::TearDown();
    }

    static std::string Value(const std::string& path, const std::string& section,
                             const std::string& key) {
        CIniFile ini;
        ini.Read(path, INI_WAIT_FOREVER);
        std::string value;
        EXPECT_EQ(ini[section][key].GetValue(value), 1) << section << "/" << key;
        return value;
    }
    // The code of the platform's exception that `call` raised, 0 for none.
    static unsigned int Code(const std::function<void()>& call) {
        try {
            call();
        } catch (const RVX::Exceptions::CException& e) {
            return e.GetCode();
        }
        return 0u;
    }
    // The code that a Lock of `path`, a change and a Flush raise, or 0.
    static unsigned int WriteCode(const std::string& path, const std::string& value = "x",
                                  unsigned int timeout = INI_WAIT_FOREVER,
                                  const std::string& section = "S", const std::string& key = "k") {
        return Code([&] {
            CIniFile ini;
            ini.Lock(path, timeout);
            ini[section][key].SetValue(value);
            ini.Flush(2000);
        });
    }
    static unsigned int ReadCode(const std::string& path) {
        return Code([&] { CIniFile().Read(path, INI_WAIT_FOREVER); });
    }
    static bool IsRoot() { return ::geteuid() == 0; }
    // Whether another writer could take the lock right now.
    bool LockIsFree() {
        const int fd = ::open((m_File + ".lck").c_str(), O_RDWR | O_CLOEXEC);
        if (fd < 0)
            return true;
        const bool free = ::flock(fd, LOCK_EX | LOCK_NB) == 0;
        ::close(fd);
        return free;
    }
};

const char HAND_WRITTEN[] = "\xEF\xBB\xBF"
                            "; settings of the agent\r\n"
                            "orphan = before any section\r\n"
                            "\r\n"
                            "[Agent]\r\n"
                            "  Port  =  5571  \r\n"
                            "# the log level\r\n"
                            "Level=3 ; inline comment\r\n"
                            "Url=http://host/#anchor\r\n"
                            "Quoted = \" padded \" # kept apart\r\n"
                            "Broken = \"unterminated\r\n"
                            "Empty =\r\n"
                            "this line means nothing\r\n"
                            "\r\n"
                            "[ Spaced ]\r\n"
                            "key=first\r\n"
                            "key=second\r\n"
                            "[Agent]\r\n"
                            "Later=yes";

TEST_F(IniFileTest, ReadsHandWrittenFileTolerantlyAndRewritesOnlyWhatWasSet) {
    WriteBytes(m_File, HAND_WRITTEN);
    CIniFile ini;
    ini.Read(m_File, INI_WAIT_FOREVER);
    // "Later": a repeated header continues the section.
    for (const auto& [key, expected] :
         std::vector<std::pair<std::string, std::string>>{{"Port", "5571"},
                                                          {"Level", "3"},
                                                          {"Url", "http://host/#anchor"},
                                                          {"Quoted", " padded "},
                                                          {"Broken", "\"unterminated"},
                                                          {"Empty", ""},
                                                          {"Later", "yes"}})
        EXPECT_EQ(Value(m_File, "Agent", key), expected);
    EXPECT_EQ(Value(m_File, "Spaced", "key"), "first");
    // No key from a line without "=", none in another case.
    EXPECT_EQ(ini["Agent"].KeyNames(), (std::vector<std::string>{"Port", "Level", "Url", "Quoted",
                                                                 "Broken", "Empty", "Later"}));
    EXPECT_EQ(ini.SectionNames(), (std::vector<std::string>{"Agent", "Spaced"}));
    std::string value = "stale";
    EXPECT_FALSE(ini["agent"].Exists() || ini[""].Exists() || ini["Agent"]["port"].GetValue(value));
    EXPECT_EQ(value, "");

    // A rewrite changes only what was set.
    {
        CIniFile ini;
        ini.Lock(m_File, INI_WAIT_FOREVER);
        ini["Agent"]["Level"].SetValue("4");
        ini["Agent"]["Port"].SetValue("5571"); // unchanged value: line stays as typed
        ini["Spaced"]["New"].SetValue("n");
        ini["Fresh"]["a"].SetValue("1");
        ini.Flush(2000);
    }
    std::string expected = HAND_WRITTEN;
    auto replace = [&expected](const std::string& from, const std::string& to) {
        const size_t at = expected.find(from);
        ASSERT_NE(at, std::string::npos) << from;
        expected.replace(at, from.size(), to);
    };
    replace("Level=3 ; inline comment", "Level=4 ; inline comment");
    replace("key=second\r\n", "key=second\r\nNew=n\r\n");
    expected += "\r\n\r\n[Fresh]\r\na=1\r\n";
    EXPECT_EQ(ReadBytes(m_File), expected);

    // A new key goes after the section's last key, before what leads on.
    WriteBytes(m_File, "[A]\nx=1\n\n; about B\n[B]\ny=2\n");
    EXPECT_EQ(WriteCode(m_File, "3", INI_WAIT_FOREVER, "A", "z"), 0u);
    EXPECT_EQ(ReadBytes(m_File), "[A]\nx=1\nz=3\n\n; about B\n[B]\ny=2\n");
    // A new file starts with its header.
    WriteBytes(m_File, "");
    EXPECT_EQ(WriteCode(m_File, "1", INI_WAIT_FOREVER, "A", "a"), 0u);
    EXPECT_EQ(ReadBytes(m_File), "[A]\na=1\n");
}

// Names and values that cannot be written are refused without a change;
// every other text, written as a key and as its value, reads back byte for
// byte.
TEST_F(IniFileTest, AwkwardTextsReadBackByteForByteUnrepresentableOnesAreRefused) {
    const std::string original = "; keep\n[S]\nk=v\n";
    WriteBytes(m_File, original);
    const std::string nul("\0", 1);
    const std::vector<std::vector<std::string>> refused = {
        {"S", "a" + nul + "b", "v"}, {"S", nul, "v"},  {"a]b", "k", "v"}, {"a\nb", "k", "v"},
        {"a\rb", "k", "v"},          {" a", "k", "v"}, {"a\t", "k", "v"}, {"a" + nul, "k", "v"},
        {"S", "k", "a" + nul + "b"}, {"S", "new", nul}};
    {
        CIniFile ini;
        ini.Lock(m_File, INI_WAIT_FOREVER);
        for (const auto& r : refused)
            EXPECT_EQ(Code([&] { ini[r[0]][r[1]].SetValue(r[2]); }),
                      INI::INI_ERROR_NOT_REPRESENTABLE)
                << r[0] << "/" << r[1];
        ini.Flush(2000);
    }
    EXPECT_EQ(ReadBytes(m_File), original);

    const std::vector<std::string> texts = {
        "",          " lead",          "trail ",       "  ",         "\t tab \t",  "a=b",
        "a;b",       "a ;b",           "#x",           "x #y",       "\"quoted\"", "\"",
        "back\\",    "\\\"",           "\\n",          "two\nlines", "cr\r",       "crlf\r\n",
        "[section]", "utf-8 \xC3\xA4", "\x01\x7F\xFF", "a\tb",       "=",          "\\",
        "two words", "\"q\" x",        "x\"=\"y",      "k\\",
    };
    {
        CIniFile ini;
        ini.Lock(m_File, INI_WAIT_FOREVER);
        for (const std::string& text : texts)
            ini["S"][text].SetValue(text);
        ini["[odd;#="]["k"].SetValue("v");
        ini[""]["k"].SetValue("in the unnamed section");
        ini.Flush(2000);
    }
    CIniFile ini;
    ini.Read(m_File, INI_WAIT_FOREVER);
    std::string value;
    for (const std::string& text : texts)
        EXPECT_TRUE(ini["S"][text].GetValue(value) == 1 && value == text) << text;
    EXPECT_EQ(ini["[odd;#="]["k"].GetValue(value), 1);
    EXPECT_EQ(ini[""]["k"].GetValue(value) == 1 ? value : "", "in the unnamed section");
}

TEST_F(IniFileTest, RemovesKeysAndSections) {
    WriteBytes(m_File, "top\n[A]\n; about a\na=1\nb=2\n\n; about B\n[B]\nc=3\n[A]\na=4\n"
                       "[C]\n; only a comment\n");
    CIniFile ini;
    ini.Lock(m_File, INI_WAIT_FOREVER);
    EXPECT_EQ(ini["A"].KeyCount(), 2u); // a key repeated in a later block counts once
    ini["A"]["a"].Remove();
    EXPECT_EQ(ini["A"].KeyCount(), 1u);
    std::string value;
    EXPECT_EQ(ini["A"]["a"].GetValue(value), 0); // every occurrence goes
    ini["B"]["nothing"].Remove();
    ini["Missing"].Remove();
    ini["A"].Remove();
    EXPECT_FALSE(ini["A"].Exists());
    ini["C"].Remove();
    ini.Flush(2000);
    EXPECT_EQ(ReadBytes(m_File), "top\n\n; about B\n[B]\nc=3\n; only a comment\n");
}

TEST_F(IniFileTest, MisuseAndMissingFilesThrow) {
    CIniFile ini;
    EXPECT_NE(Code([&] { ini.Flush(2000); }), 0u);
    EXPECT_EQ(Code([&] { ini.Read(m_File, INI_WAIT_FOREVER); }), INI::INI_ERROR_SYSTEM);
    EXPECT_EQ(Code([&] { ini.Lock(m_File, INI_WAIT_FOREVER); }), INI::INI_ERROR_SYSTEM);
    EXPECT_FALSE(boost::filesystem::exists(m_File + ".lck")) << "a failed Lock keeps no lock file";
    EXPECT_NE(Code([&] { ini.Lock("", INI_WAIT_FOREVER); }), 0u);
    EXPECT_EQ(Code([&] { ini.Read(m_Dir, INI_WAIT_FOREVER); }), INI::INI_ERROR_NOT_REGULAR);

    WriteBytes(m_File, "[A]\na=1\n");
    ini.Lock(m_File, INI_WAIT_FOREVER);
    EXPECT_THROW(ini.Read(m_File, INI_WAIT_FOREVER), RVX::Exceptions::CException);
    EXPECT_THROW(ini.Lock(m_File, INI_WAIT_FOREVER), RVX::Exceptions::CException);
    EXPECT_FALSE(LockIsFree());
}

// Destruction and a Flush without changes release the lock.
TEST_F(IniFileTest, DestructionAndUnchangedFlushReleaseTheLock) {
    WriteBytes(m_File, "[A]\na=1\n");
    const ino_t before = Stat(m_File).st_ino;
    {
        CIniFile ini;
        ini.Lock(m_File, INI_WAIT_FOREVER);
        ini["A"]["b"].SetValue("2");
        EXPECT_FALSE(LockIsFree());
    }
    EXPECT_TRUE(LockIsFree());
    EXPECT_EQ(ReadBytes(m_File), "[A]\na=1\n") << "an unflushed change is dropped";
    {
        CIniFile ini;
        ini.Lock(m_File, INI_WAIT_FOREVER);
        ini["A"]["a"].SetValue("1");
        ini.Flush(2000);
        EXPECT_TRUE(LockIsFree());
    }
    EXPECT_EQ(Stat(m_File).st_ino, before); // nothing changed, nothing rewritten
}

// Whether a process or thread is blocked in flock on the file `inode`.
bool SomebodyWaitsOn(ino_t inode) {
    std::ifstream locks("/proc/locks");
    std::string line;
    const std::string tail = ":" + std::to_string(inode) + " ";
    while (std::getline(locks, line))
        if (line.find("->") != std::string::npos && line.find(tail) != std::string::npos)
            return true;
    return false;
}

TEST_F(IniFileTest, WaiterRetriesWhenTheLockFileIsReplacedUnderIt) {
    WriteBytes(m_File, "[A]\na=1\n");
    const std::string lockPath = m_File + ".lck";
    // A holder's plain flock, as any writer takes it; the lock file's inode.
    const auto hold = [&lockPath](int& fd) {
        fd = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0640);
        struct stat info {};
        EXPECT_TRUE(fd >= 0 && ::flock(fd, LOCK_EX) == 0 && ::fstat(fd, &info) == 0);
        return info.st_ino;
    };
    int first = -1, second = -1;
    const ino_t firstInode = hold(first);

    std::atomic<bool> secondReleased{false}, acquiredTooEarly{false}, done{false};
    std::thread waiter([&] {
        CIniFile ini;
        ini.Lock(m_File, INI_WAIT_FOREVER);
        acquiredTooEarly = !secondReleased.load();
        done = true;
    });
    while (!done && !SomebodyWaitsOn(firstInode))
        std::this_thread::yield();

    // The lock file is deleted and a new one taken while the waiter still
    // waits on the old one: after the old lock goes, the waiter must notice
    // and queue up behind the new holder.
    ASSERT_EQ(::unlink(lockPath.c_str()), 0);
    const ino_t secondInode = hold(second);
    ::close(first);
    while (!done && !SomebodyWaitsOn(secondInode))
        std::this_thread::yield();
    secondReleased = true;
    ::close(second);
    waiter.join();
    EXPECT_FALSE(acquiredTooEarly.load());
}

TEST_F(IniFileTest, RewriteKeepsModeLinksAndLeavesNoTemporaryFiles) {
    WriteBytes(m_File, "[A]\na=1\n");
    ASSERT_EQ(::chmod(m_File.c_str(), 0604), 0);
    const std::string stale = m_Dir + "/.test.ini.new-AbC123",
                      unrelated = m_Dir + "/.test.ini.new-keep-me";
    WriteBytes(stale, "left by a writer that died");
    WriteBytes(unrelated, "not ours");
    EXPECT_EQ(WriteCode(m_File, "2", INI_WAIT_FOREVER, "A", "b"), 0u);
    EXPECT_EQ(Stat(m_File).st_mode & 07777, 0604u);
    EXPECT_FALSE(boost::filesystem::exists(stale));
    EXPECT_TRUE(boost::filesystem::exists(unrelated));
    // The file, its lock, the unrelated file and nothing else.
    EXPECT_EQ(Entries(m_Dir), 3);

    // Through a symlink: the target is rewritten, the link stays a link.
    const std::string link = m_Dir + "/link.ini";
    ASSERT_EQ(::symlink("test.ini", link.c_str()), 0);
    EXPECT_EQ(WriteCode(link, "3", INI_WAIT_FOREVER, "A", "c"), 0u);
    EXPECT_TRUE(boost::filesystem::is_symlink(link));
    EXPECT_EQ(Value(m_File, "A", "c"), "3");
}

TEST_F(IniFileTest, FailedFlushLeavesFileAndKeepsLockUntilDestruction) {
    if (!RVX::Test::HooksAvailable())
        GTEST_SKIP() << "needs the INI write stage hook: a build with -DPI_TEST_HOOKS=ON";
    const std::string original = "[A]\na=1\n";
    WriteBytes(m_File, original);
    {
        CIniFile ini;
        ini.Lock(m_File, INI_WAIT_FOREVER);
        ini["A"]["a"].SetValue("2");
        INI::Internals::SetWriteStageHook([](INI::Internals::WriteStage s) {
            if (s == INI::Internals::WRITE_WRITTEN)
                throw std::runtime_error("disk full");
        });
        EXPECT_THROW(ini.Flush(2000), std::runtime_error);
        INI::Internals::SetWriteStageHook(nullptr);
        EXPECT_FALSE(LockIsFree()) << "the caller may still clean up under the lock";
        EXPECT_EQ(ReadBytes(m_File), original);
        ini.Flush(2000); // a retry writes what the first attempt could not
    }
    EXPECT_TRUE(LockIsFree());
    EXPECT_EQ(Value(m_File, "A", "a"), "2");
    EXPECT_EQ(Entries(m_Dir), 2); // no temporary file left behind
}

// ---- One file, one lock -------------------------------------------------

TEST_F(IniFileTest, EveryPathToTheFileTakesTheSameLock) {
    WriteBytes(m_File, "[S]\nk=0\n");
    const std::string link = m_Dir + "/link.ini", dirLink = m_Dir + "/dir";
    ASSERT_EQ(::symlink("test.ini", link.c_str()), 0);
    ASSERT_EQ(::symlink(m_Dir.c_str(), dirLink.c_str()), 0);
    const std::string leaf = boost::filesystem::path(m_Dir).filename().string();
    const std::vector<std::string> paths = {m_File, link, dirLink + "/test.ini",
                                            dirLink + "/../" + leaf + "/./test.ini"};
    // Writers with finite waits give up after their wait (flock excludes by
    // open file: no second process needed); the next holder gets the lock.
    for (const std::string& holder : paths) {
        CIniFile ini;
        ini.Lock(holder, 1000); // finite: a holder that polls must exclude too
        EXPECT_EQ(ini.LockPath(), m_File + ".lck") << holder;
        for (const std::string& other : paths) {
            const auto start = std::chrono::steady_clock::now();
            EXPECT_EQ(WriteCode(other, "x", 100), INI::INI_ERROR_LOCK_TIMEOUT) << other;
            const auto waited = std::chrono::steady_clock::now() - start;
            EXPECT_TRUE(waited >= std::chrono::milliseconds(100) &&
                        waited < std::chrono::seconds(5));
        }
    }
    EXPECT_FALSE(boost::filesystem::exists(link + ".lck"));
    EXPECT_TRUE(boost::filesystem::is_symlink(link)) << "the link survives the writes";
}

TEST_F(IniFileTest, HardLinkedFileIsReadButNotRewritten) {
    WriteBytes(m_File, "[S]\nk=1\n");
    const std::string second = m_Dir + "/second.ini";
    ASSERT_EQ(::link(m_File.c_str(), second.c_str()), 0);
    EXPECT_EQ(Value(second, "S", "k"), "1");
    EXPECT_EQ(WriteCode(second), INI::INI_ERROR_HARD_LINKED);
    EXPECT_EQ(WriteCode(m_File), INI::INI_ERROR_HARD_LINKED);
    EXPECT_EQ(ReadBytes(second), "[S]\nk=1\n");
    ASSERT_EQ(::unlink(second.c_str()), 0);
    EXPECT_EQ(WriteCode(m_File), 0u) << "one name again: writable";
}

// ---- Symlinks, FIFOs, devices, sizes -------------------------------------

// A FIFO, directly or through a link, and an endless device are refused
// without blocking and without reading.
TEST_F(IniFileTest, FifoAndEndlessDeviceNeitherBlockNorAreRead) {
    ASSERT_EQ(::mkfifo(m_File.c_str(), 0600), 0);
    // A node of its own, so that a regression harms only the scratch copy;
    // the system's otherwise, only read, never written.
    std::string device = m_Dir + "/zero";
    if (::mknod(device.c_str(), S_IFCHR | 0666, makedev(1, 5)) != 0)
        device = "/dev/zero";
    const std::string link = m_Dir + "/link.ini", endless = m_Dir + "/endless.ini";
    ASSERT_EQ(::symlink("test.ini", link.c_str()) || ::symlink(device.c_str(), endless.c_str()), 0);
    for (const std::string& path : {m_File, link, endless}) {
        const int code = RunInChild([&] {
            const bool read = ReadCode(path) == INI::INI_ERROR_NOT_REGULAR;
            return read && (path == endless || WriteCode(path) == INI::INI_ERROR_NOT_REGULAR) ? 0
                                                                                              : 1;
        });
        EXPECT_EQ(code, 0) << path << (code == CHILD_HUNG ? ": hung" : ": not refused");
    }
    EXPECT_FALSE(boost::filesystem::exists(m_File + ".lck")); // a refused write keeps no lock
}

TEST_F(IniFileTest, SymlinkedOrOddLockFileIsRefused) {
    WriteBytes(m_File, "[S]\nk=1\n");
    const std::string lock = m_File + ".lck", victim = m_Dir + "/victim";
    ASSERT_EQ(::symlink(victim.c_str(), lock.c_str()), 0);
    EXPECT_EQ(WriteCode(m_File), INI::INI_ERROR_BAD_LOCK_FILE);
    EXPECT_FALSE(boost::filesystem::exists(victim));
    ASSERT_EQ(::unlink(lock.c_str()) || ::mkfifo(lock.c_str(), 0600), 0);
    EXPECT_EQ(WriteCode(m_File), INI::INI_ERROR_BAD_LOCK_FILE);
}

TEST_F(IniFileTest, FilesBeyondTheSizeLimitAreRefused) {
    WriteBytes(m_File, "[S]\nk=1\n");
    ASSERT_EQ(::truncate(m_File.c_str(), static_cast<off_t>(INI::INI_MAX_FILE_SIZE)), 0);
    EXPECT_EQ(ReadCode(m_File), 0u); // a file of exactly the limit is read
    ASSERT_EQ(::truncate(m_File.c_str(), static_cast<off_t>(INI::INI_MAX_FILE_SIZE + 1)), 0);
    EXPECT_EQ(ReadCode(m_File), INI::INI_ERROR_TOO_LARGE);
    EXPECT_EQ(WriteCode(m_File), INI::INI_ERROR_TOO_LARGE);
    EXPECT_EQ(static_cast<unsigned long long>(Stat(m_File).st_size), INI::INI_MAX_FILE_SIZE + 1);

    // Nor is a file written that would be too large to be read again.
    WriteBytes(m_File, "[S]\nk=1\n");
    EXPECT_EQ(WriteCode(m_File, std::string(INI::INI_MAX_FILE_SIZE, 'x')),
              INI::INI_ERROR_TOO_LARGE);
    EXPECT_EQ(ReadBytes(m_File), "[S]\nk=1\n");
}

TEST_F(IniFileTest, UntrustedSymlinksAreNotFollowedForWrites) {
    if (!IsRoot())
        GTEST_SKIP() << "needs root to give a symlink to another user";
    WriteBytes(m_File, "[S]\nk=1\n");
    const std::string before = ReadBytes(m_File);

    // Owned by another user.
    const std::string foreign = m_Dir + "/foreign.ini";
    ASSERT_EQ(::symlink("test.ini", foreign.c_str()), 0);
    ASSERT_EQ(::lchown(foreign.c_str(), OTHER_UID, OTHER_GID), 0);
    EXPECT_EQ(WriteCode(foreign), INI::INI_ERROR_UNTRUSTED_LINK);
    // A trusted link that leads through the foreign one.
    const std::string chain = m_Dir + "/chain.ini";
    ASSERT_EQ(::symlink("foreign.ini", chain.c_str()), 0);
    EXPECT_EQ(WriteCode(chain), INI::INI_ERROR_UNTRUSTED_LINK);
    EXPECT_EQ(ReadBytes(m_File), before);
    EXPECT_EQ(Value(foreign, "S", "k"), "1"); // reading through it is harmless

    // Root's own link, in a directory that anybody can write.
    const std::string open = m_Dir + "/open";
    ASSERT_EQ(::mkdir(open.c_str(), 0777), 0);
    ASSERT_EQ(::chmod(open.c_str(), 0777), 0);
    const std::string planted = open + "/link.ini";
    ASSERT_EQ(::symlink(m_File.c_str(), planted.c_str()), 0);
    EXPECT_EQ(WriteCode(planted), INI::INI_ERROR_UNTRUSTED_LINK);
    ASSERT_EQ(::chmod(open.c_str(), 0775), 0);
    EXPECT_EQ(WriteCode(planted), INI::INI_ERROR_UNTRUSTED_LINK); // group-writable
    EXPECT_EQ(ReadBytes(m_File), before);

    // With the sticky bit, others cannot swap root's link: followed.
    ASSERT_EQ(::chmod(open.c_str(), 01777), 0);
    EXPECT_EQ(WriteCode(planted, "sticky"), 0u);
    EXPECT_EQ(Value(m_File, "S", "k"), "sticky");
    // And a root link in a private directory, as administrators keep them.
    const std::string own = m_Dir + "/own.ini";
    ASSERT_EQ(::symlink("test.ini", own.c_str()), 0);
    EXPECT_EQ(WriteCode(own, "own"), 0u);
    EXPECT_EQ(Value(m_File, "S", "k"), "own");
}

// ---- Owner, group and write permission -----------------------------------

class IniOwnershipTest : public IniFileTest {
protected:
    void SetUp() override {
        IniFileTest::SetUp();
        if (!IsRoot())
            GTEST_SKIP() << "needs root to act as a second user";
        ASSERT_EQ(::chmod(m_Dir.c_str(), 0755), 0); // the other user may enter
    }
    static int WriteAsOther(const std::string& path, unsigned int expected) {
        return RunInChild([&] { return WriteCode(path, "other") == expected ? 0 : 1; }, true);
    }
};

TEST_F(IniOwnershipTest, RootsFileInAnOpenDirectoryStaysRoots) {
    const std::string dir = m_Dir + "/open";
    ASSERT_EQ(::mkdir(dir.c_str(), 0777), 0);
    ASSERT_EQ(::chmod(dir.c_str(), 0777), 0);
    const std::string file = dir + "/pi.ini";
    WriteBytes(file, "[S]\nk=1\n");
    ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
    EXPECT_EQ(WriteAsOther(file, INI::INI_ERROR_NOT_WRITABLE), 0);
    // Even where the mode lets the other user write, the rename would give
    // the file away: refused.
    ASSERT_EQ(::chmod(file.c_str(), 0666), 0);
    EXPECT_EQ(WriteAsOther(file, INI::INI_ERROR_OWNER_NOT_KEPT), 0);
    EXPECT_EQ(Stat(file).st_uid + Stat(file).st_gid, 0u);
    EXPECT_EQ(ReadBytes(file), "[S]\nk=1\n");
    EXPECT_EQ(Entries(dir), 2); // the file and its lock: no temporary left
}

TEST_F(IniOwnershipTest, RootKeepsTheOwnerGroupAndModeOfAUsersFile) {
    WriteBytes(m_File, "[S]\nk=1\n");
    ASSERT_EQ(::chown(m_File.c_str(), OTHER_UID, OTHER_GID), 0);
    ASSERT_EQ(::chmod(m_File.c_str(), 0620), 0);
    EXPECT_EQ(WriteCode(m_File, "by root"), 0u);
    const struct stat info = Stat(m_File);
    EXPECT_EQ(info.st_uid, OTHER_UID);
    EXPECT_EQ(info.st_gid, OTHER_GID);
    EXPECT_EQ(info.st_mode & 07777, 0620u);
    EXPECT_EQ(Value(m_File, "S", "k"), "by root");
    // And the user can go on writing it.
    ASSERT_EQ(::chmod(m_Dir.c_str(), 0777), 0);
    ASSERT_EQ(::chown((m_File + ".lck").c_str(), OTHER_UID, OTHER_GID), 0);
    EXPECT_EQ(WriteAsOther(m_File, 0), 0);
    EXPECT_EQ(Stat(m_File).st_uid, OTHER_UID);
}

} // namespace
