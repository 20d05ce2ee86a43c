#include <RVX/Exceptions.h>
#include <RVX/IniFiles.h>
#include <RVX/TestHooks.h>

#include "ScratchDirectory.h"

#include <gtest/gtest.h>

#include <boost/filesystem.hpp>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
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

using RVX::INI_Files::CIniFile;
using RVX::INI_Files::INI_WAIT_FOREVER;

class IniFileTest : public ScratchDirectoryTest {
protected:
    IniFileTest() : ScratchDirectoryTest("test.ini") {}
    void TearDown() override {
        RVX::INI_Files::Internals::SetWriteStageHook(nullptr);
        ScratchDirectoryTest::TearDown();
    }

    std::string Get(const std::string& section, const std::string& key) {
        CIniFile ini;
        ini.Read(m_File, INI_WAIT_FOREVER);
        std::string value;
        EXPECT_EQ(ini[section][key].GetValue(value), 1) << section << "/" << key;
        return value;
    }
    void Set(const std::string& section, const std::string& key, const std::string& value) {
        CIniFile ini;
        ini.Lock(m_File, INI_WAIT_FOREVER);
        ini[section][key].SetValue(value);
        ini.Flush(2000);
    }
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

TEST_F(IniFileTest, ReadsHandWrittenFileTolerantly) {
    WriteBytes(m_File, HAND_WRITTEN);
    EXPECT_EQ(Get("Agent", "Port"), "5571");
    EXPECT_EQ(Get("Agent", "Level"), "3");
    EXPECT_EQ(Get("Agent", "Url"), "http://host/#anchor");
    EXPECT_EQ(Get("Agent", "Quoted"), " padded ");
    EXPECT_EQ(Get("Agent", "Broken"), "\"unterminated");
    EXPECT_EQ(Get("Agent", "Empty"), "");
    EXPECT_EQ(Get("Agent", "Later"), "yes"); // a repeated header continues the section
    EXPECT_EQ(Get("Spaced", "key"), "first");

    CIniFile ini;
    ini.Read(m_File, INI_WAIT_FOREVER);
    EXPECT_EQ(ini["Agent"].KeyNames(), (std::vector<std::string>{"Port", "Level", "Url", "Quoted",
                                                                 "Broken", "Empty", "Later"}));
    EXPECT_EQ(ini.SectionNames(), (std::vector<std::string>{"Agent", "Spaced"}));
    EXPECT_FALSE(ini["agent"].Exists()) << "names are case-sensitive";
    EXPECT_FALSE(ini[""].Exists()) << "keys before the first header belong to no section";
    std::string value = "stale";
    EXPECT_EQ(ini["Agent"]["port"].GetValue(value), 0);
    EXPECT_EQ(value, "");
    EXPECT_EQ(ini["Agent"]["this line means nothing"].GetValue(value), 0);
}

TEST_F(IniFileTest, RewriteChangesOnlyWhatWasSet) {
    WriteBytes(m_File, HAND_WRITTEN);
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
    Set("A", "z", "3");
    EXPECT_EQ(ReadBytes(m_File), "[A]\nx=1\nz=3\n\n; about B\n[B]\ny=2\n");
}

TEST_F(IniFileTest, AwkwardValuesAndKeysReadBackByteForByte) {
    WriteBytes(m_File, "");
    const std::vector<std::string> values = {
        "",          " lead",          "trail ",       "  ",         "\t tab \t",  "a=b",
        "a;b",       "a ;b",           "#x",           "x #y",       "\"quoted\"", "\"",
        "back\\",    "\\\"",           "\\n",          "two\nlines", "cr\r",       "crlf\r\n",
        "[section]", "utf-8 \xC3\xA4", "\x01\x7F\xFF", "a\tb",       "=",          "\\",
    };
    const std::vector<std::string> keys = {"k",          "a;b",  "a#b",     "\"k\"",   "k\\",
                                           "two words",  "k\t1", " lead",   "a=b",     "[sect]",
                                           "two\nlines", "cr\r", "\"q\" x", "x\"=\"y", ""};
    {
        CIniFile ini;
        ini.Lock(m_File, INI_WAIT_FOREVER);
        for (size_t i = 0; i < values.size(); ++i)
            ini["S"]["v" + std::to_string(i)].SetValue(values[i]);
        for (const std::string& key : keys)
            ini["Keys"][key].SetValue(key);
        ini["[odd;#="]["k"].SetValue("v");
        ini[""]["k"].SetValue("in the unnamed section");
        ini.Flush(2000);
    }
    const std::string text = ReadBytes(m_File);
    // One line per key and header, plus the blank lines between sections:
    // nothing was split.
    EXPECT_EQ(static_cast<size_t>(std::count(text.begin(), text.end(), '\n')),
              1 + values.size() + 1 + 1 + keys.size() + 1 + 2 + 1 + 2);
    EXPECT_EQ(text.find('\r'), std::string::npos) << "a carriage return is written escaped";

    CIniFile ini;
    ini.Read(m_File, INI_WAIT_FOREVER);
    std::string value;
    for (size_t i = 0; i < values.size(); ++i) {
        EXPECT_EQ(ini["S"]["v" + std::to_string(i)].GetValue(value), 1);
        EXPECT_EQ(value, values[i]) << "value " << i;
    }
    for (const std::string& key : keys) {
        EXPECT_EQ(ini["Keys"][key].GetValue(value), 1) << key;
        EXPECT_EQ(value, key);
    }
    EXPECT_EQ(ini["[odd;#="]["k"].GetValue(value), 1);
    EXPECT_EQ(ini[""]["k"].GetValue(value), 1);
    EXPECT_EQ(value, "in the unnamed section");
}

TEST_F(IniFileTest, UnrepresentableNamesAndValuesAreRefusedWithoutChange) {
    const std::string original = "; keep\n[S]\nk=v\n";
    WriteBytes(m_File, original);
    const std::vector<std::string> badKeys = {std::string("a\0b", 3), std::string("\0", 1)};
    const std::vector<std::string> badSections = {"a]b", "a\nb", "a\rb",
                                                  " a",  "a\t",  std::string("a\0", 2)};
    CIniFile ini;
    ini.Lock(m_File, INI_WAIT_FOREVER);
    auto refused = [&](const std::string& section, const std::string& key,
                       const std::string& value) {
        try {
            ini[section][key].SetValue(value);
        } catch (const RVX::Exceptions::CException& e) {
            return e.GetCode() == RVX::INI_Files::INI_ERROR_NOT_REPRESENTABLE;
        }
        return false;
    };
    for (const std::string& key : badKeys)
        EXPECT_TRUE(refused("S", key, "v")) << "key '" << key << "'";
    for (const std::string& section : badSections)
        EXPECT_TRUE(refused(section, "k", "v")) << "section '" << section << "'";
    EXPECT_TRUE(refused("S", "k", std::string("a\0b", 3)));
    EXPECT_TRUE(refused("S", "new", std::string("\0", 1)));
    ini.Flush(2000);
    EXPECT_EQ(ReadBytes(m_File), original);
}

TEST_F(IniFileTest, RemovesKeysAndSections) {
    WriteBytes(m_File, "top\n[A]\n; about a\na=1\nb=2\n\n; about B\n[B]\nc=3\n[A]\na=4\n"
                       "[C]\n; only a comment\n");
    CIniFile ini;
    ini.Lock(m_File, INI_WAIT_FOREVER);
    EXPECT_EQ(ini["A"].KeyCount(), 2u) << "a key repeated in a later block counts once";
    ini["A"]["a"].Remove();
    EXPECT_EQ(ini["A"].KeyCount(), 1u);
    std::string value;
    EXPECT_EQ(ini["A"]["a"].GetValue(value), 0) << "every occurrence goes";
    ini["B"]["nothing"].Remove();
    ini["Missing"].Remove();
    ini["A"].Remove();
    EXPECT_FALSE(ini["A"].Exists());
    ini["C"].Remove();
    ini.Flush(2000);
    EXPECT_EQ(ReadBytes(m_File), "top\n\n; about B\n[B]\nc=3\n; only a comment\n");

    // A section whose keys are all gone still exists, empty.
    Set("B", "d", "4");
    CIniFile again;
    again.Lock(m_File, INI_WAIT_FOREVER);
    again["B"]["c"].Remove();
    again["B"]["d"].Remove();
    EXPECT_TRUE(again["B"].Exists());
    EXPECT_EQ(again["B"].KeyCount(), 0u);
}

TEST_F(IniFileTest, LastLineWithoutLineEndGetsOneWhenFollowed) {
    WriteBytes(m_File, "[A]\na=1");
    Set("A", "b", "2");
    EXPECT_EQ(ReadBytes(m_File), "[A]\na=1\nb=2\n");
    WriteBytes(m_File, "");
    Set("A", "a", "1");
    EXPECT_EQ(ReadBytes(m_File), "[A]\na=1\n");
}

TEST_F(IniFileTest, MisuseAndMissingFilesThrow) {
    CIniFile ini;
    auto code = [](const std::function<void()>& call) {
        try {
            call();
        } catch (const RVX::Exceptions::CException& e) {
            return e.GetCode();
        }
        return 0u;
    };
    EXPECT_NE(code([&] { ini.Flush(2000); }), 0u);
    EXPECT_EQ(code([&] { ini.Read(m_File, INI_WAIT_FOREVER); }), RVX::INI_Files::INI_ERROR_SYSTEM);
    EXPECT_EQ(code([&] { ini.Lock(m_File, INI_WAIT_FOREVER); }), RVX::INI_Files::INI_ERROR_SYSTEM);
    EXPECT_FALSE(boost::filesystem::exists(m_File + ".lck")) << "a failed Lock keeps no lock file";
    EXPECT_NE(code([&] { ini.Lock("", INI_WAIT_FOREVER); }), 0u);
    EXPECT_EQ(code([&] { ini.Read(m_Dir, INI_WAIT_FOREVER); }),
              RVX::INI_Files::INI_ERROR_NOT_REGULAR);

    WriteBytes(m_File, "[A]\na=1\n");
    ini.Lock(m_File, INI_WAIT_FOREVER);
    EXPECT_THROW(ini.Read(m_File, INI_WAIT_FOREVER), RVX::Exceptions::CException);
    EXPECT_THROW(ini.Lock(m_File, INI_WAIT_FOREVER), RVX::Exceptions::CException);
    EXPECT_FALSE(LockIsFree());
}

TEST_F(IniFileTest, DestructionAndUnchangedFlushReleaseTheLock) {
    WriteBytes(m_File, "[A]\na=1\n");
    struct stat before;
    ASSERT_EQ(::stat(m_File.c_str(), &before), 0);
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
    struct stat after;
    ASSERT_EQ(::stat(m_File.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino) << "nothing changed, nothing rewritten";
}

TEST_F(IniFileTest, FiniteTimeoutGivesUpWhileAnotherProcessHoldsTheLock) {
    WriteBytes(m_File, "[A]\na=1\n");
    int ready[2];
    int release[2];
    ASSERT_EQ(::pipe(ready), 0);
    ASSERT_EQ(::pipe(release), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        CIniFile holder; // a finite wait too: two such writers must still exclude each other
        holder.Lock(m_File, 1000);
        char c = 'x';
        if (::write(ready[1], &c, 1) != 1 || ::read(release[0], &c, 1) < 0)
            ::_exit(1);
        ::_exit(0);
    }
    char c = 0;
    ASSERT_EQ(::read(ready[0], &c, 1), 1);

    CIniFile waiter;
    const auto start = std::chrono::steady_clock::now();
    try {
        waiter.Lock(m_File, 150);
        ADD_FAILURE() << "took a lock another process holds";
    } catch (const RVX::Exceptions::CException& e) {
        EXPECT_EQ(e.GetCode(), RVX::INI_Files::INI_ERROR_LOCK_TIMEOUT);
    }
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(150));
    EXPECT_LT(waited, std::chrono::seconds(5));

    ASSERT_EQ(::write(release[1], &c, 1), 1);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    waiter.Lock(m_File, 150);
    for (int fd : {ready[0], ready[1], release[0], release[1]})
        ::close(fd);
}

TEST_F(IniFileTest, SymlinkedOrOddLockFileIsRefused) {
    WriteBytes(m_File, "[A]\na=1\n");
    const std::string victim = m_Dir + "/victim";
    ASSERT_EQ(::symlink(victim.c_str(), (m_File + ".lck").c_str()), 0);
    CIniFile ini;
    try {
        ini.Lock(m_File, INI_WAIT_FOREVER);
        ADD_FAILURE() << "followed a symlinked lock file";
    } catch (const RVX::Exceptions::CException& e) {
        EXPECT_EQ(e.GetCode(), RVX::INI_Files::INI_ERROR_BAD_LOCK_FILE);
        EXPECT_NE(std::string(e.what()).find(m_File + ".lck"), std::string::npos) << e.what();
    }
    EXPECT_FALSE(boost::filesystem::exists(victim));

    ASSERT_EQ(::unlink((m_File + ".lck").c_str()), 0);
    ASSERT_EQ(::mkfifo((m_File + ".lck").c_str(), 0600), 0);
    try {
        ini.Lock(m_File, INI_WAIT_FOREVER);
        ADD_FAILURE() << "locked a fifo";
    } catch (const RVX::Exceptions::CException& e) {
        EXPECT_EQ(e.GetCode(), RVX::INI_Files::INI_ERROR_BAD_LOCK_FILE);
    }
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
    // The first holder: a plain flock as any writer takes it.
    const int first = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0640);
    ASSERT_GE(first, 0);
    ASSERT_EQ(::flock(first, LOCK_EX), 0);
    struct stat firstInfo;
    ASSERT_EQ(::fstat(first, &firstInfo), 0);

    std::atomic<bool> secondReleased{false};
    std::atomic<bool> acquiredTooEarly{false};
    std::atomic<bool> done{false};
    std::thread waiter([&] {
        CIniFile ini;
        ini.Lock(m_File, INI_WAIT_FOREVER);
        acquiredTooEarly = !secondReleased.load();
        done = true;
    });
    while (!done && !SomebodyWaitsOn(firstInfo.st_ino))
        std::this_thread::yield();

    // The lock file is deleted and a new one taken while the waiter still
    // waits on the old one: after the old lock goes, the waiter must notice
    // and queue up behind the new holder.
    ASSERT_EQ(::unlink(lockPath.c_str()), 0);
    const int second = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0640);
    ASSERT_GE(second, 0);
    ASSERT_EQ(::flock(second, LOCK_EX), 0);
    struct stat secondInfo;
    ASSERT_EQ(::fstat(second, &secondInfo), 0);
    ::close(first);
    while (!done && !SomebodyWaitsOn(secondInfo.st_ino))
        std::this_thread::yield();
    secondReleased = true;
    ::close(second);
    waiter.join();
    EXPECT_FALSE(acquiredTooEarly.load());
}

TEST_F(IniFileTest, RewriteKeepsModeLinksAndLeavesNoTemporaryFiles) {
    WriteBytes(m_File, "[A]\na=1\n");
    ASSERT_EQ(::chmod(m_File.c_str(), 0604), 0);
    const std::string stale = m_Dir + "/.test.ini.new-AbC123";
    const std::string unrelated = m_Dir + "/.test.ini.new-keep-me";
    WriteBytes(stale, "left by a writer that died");
    WriteBytes(unrelated, "not ours");
    Set("A", "b", "2");
    struct stat info;
    ASSERT_EQ(::stat(m_File.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0604u);
    EXPECT_FALSE(boost::filesystem::exists(stale));
    EXPECT_TRUE(boost::filesystem::exists(unrelated));
    std::vector<std::string> names;
    for (const auto& entry : boost::filesystem::directory_iterator(m_Dir))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names,
              (std::vector<std::string>{".test.ini.new-keep-me", "test.ini", "test.ini.lck"}));

    // Through a symlink: the target is rewritten, the link stays a link.
    const std::string link = m_Dir + "/link.ini";
    ASSERT_EQ(::symlink("test.ini", link.c_str()), 0);
    {
        CIniFile ini;
        ini.Lock(link, INI_WAIT_FOREVER);
        ini["A"]["c"].SetValue("3");
        ini.Flush(2000);
    }
    EXPECT_TRUE(boost::filesystem::is_symlink(link));
    EXPECT_EQ(Get("A", "c"), "3");
    ASSERT_EQ(::stat(m_File.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0604u);
}

void FailAfterWriting(RVX::INI_Files::Internals::WriteStage stage) {
    if (stage == RVX::INI_Files::Internals::WRITE_WRITTEN)
        throw std::runtime_error("disk full");
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
        RVX::INI_Files::Internals::SetWriteStageHook(&FailAfterWriting);
        EXPECT_THROW(ini.Flush(2000), std::runtime_error);
        RVX::INI_Files::Internals::SetWriteStageHook(nullptr);
        EXPECT_FALSE(LockIsFree()) << "the caller may still clean up under the lock";
        EXPECT_EQ(ReadBytes(m_File), original);
        ini.Flush(2000); // a retry writes what the first attempt could not
    }
    EXPECT_TRUE(LockIsFree());
    EXPECT_EQ(Get("A", "a"), "2");
    std::vector<std::string> names;
    for (const auto& entry : boost::filesystem::directory_iterator(m_Dir))
        names.push_back(entry.path().filename().string());
    EXPECT_EQ(names.size(), 2u) << "no temporary file left behind";
}

} // namespace
