// Writers that run at once, in threads and processes, and writers killed part
// way: afterwards the file is whole and holds every completed write.

#include <PI/ConfigFile.h>

#include <RVX/Exceptions.h>
#include <RVX/IniFiles.h>
#include <RVX/TestHooks.h>

#include "ScratchDirectory.h"

#include <gtest/gtest.h>

#include <boost/filesystem.hpp>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using PI::CConfigFile;
using RVX::INI_Files::CIniFile;
namespace Hooks = RVX::INI_Files::Internals;

const int MARKER_KEYS = 200;

class DurabilityTest : public ScratchDirectoryTest {
protected:
    // A file big enough that a write takes several steps, with a comment
    // that every rewrite must keep.
    void WriteMarkers() {
        std::ofstream out(m_File, std::ios::binary | std::ios::trunc);
        out << "; hand-written header\n[Markers]\n";
        for (int i = 0; i < MARKER_KEYS; ++i)
            out << "m" << i << " = marker value " << i << "\n";
        out << "[Config.5]\ntarget = old\n";
    }
    // The file is whole: header, every marker, and `target` as expected.
    void ExpectWhole(const std::string& target) {
        EXPECT_EQ(ReadBytes(m_File).rfind("; hand-written header\n[", 0), 0u);
        CIniFile ini;
        ini.Read(m_File, RVX::INI_Files::INI_WAIT_FOREVER);
        EXPECT_EQ(ini["Markers"].KeyCount(), static_cast<unsigned>(MARKER_KEYS));
        std::string value;
        for (int i = 0; i < MARKER_KEYS; ++i)
            ASSERT_TRUE(ini["Markers"]["m" + std::to_string(i)].GetValue(value) == 1 &&
                        value == "marker value " + std::to_string(i))
                << i;
        ASSERT_EQ(ini["Config.5"]["target"].GetValue(value), 1);
        EXPECT_EQ(value, target);
    }
    static std::string Key(int p, int t, int k) {
        return "p" + std::to_string(p) + "t" + std::to_string(t) + "k" + std::to_string(k);
    }
    bool LockHeld() {
        try {
            CIniFile().Lock(m_File, 0);
        } catch (const RVX::Exceptions::CException& e) {
            return e.GetCode() == RVX::INI_Files::INI_ERROR_LOCK_TIMEOUT;
        }
        return false;
    }
};

// Processes, each with threads of which half share one object, writing at
// once; the file does not exist yet, so the first writers also race to
// create it.
TEST_F(DurabilityTest, ProcessesAndThreadsWritingAtOnceLoseNothing) {
    const int processes = 4, threads = 4, keysEach = 6;
    int go[2];
    ASSERT_EQ(::pipe(go), 0);
    std::vector<pid_t> children;
    for (int p = 0; p < processes; ++p) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::close(go[1]);
            char c;
            if (::read(go[0], &c, 1) != 0) // the parent closes the pipe: all start
                ::_exit(2);
            CConfigFile shared;
            shared.SetFilePath(m_File);
            std::atomic<int> failures{0};
            std::vector<std::thread> workers;
            for (int t = 0; t < threads; ++t)
                workers.emplace_back([&, t] {
                    CConfigFile own;
                    own.SetFilePath(m_File);
                    CConfigFile& store = t % 2 ? shared : own;
                    // Half into a section of its own, half into the shared one.
                    for (int k = 0; k < keysEach; ++k) {
                        const std::string key = Key(p, t, k);
                        std::string value;
                        failures += store.WriteKeyValue(key, key, k % 2 ? -1 : p, -1) != 0 ||
                                    store.ReadKeyValue(key, value, k % 2 ? -1 : p, -1) != 0 ||
                                    value != key;
                    }
                });
            for (std::thread& worker : workers)
                worker.join();
            ::_exit(failures == 0 ? 0 : 1);
        }
        children.push_back(child);
    }
    ::close(go[0]);
    ::close(go[1]);
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }
    CConfigFile store;
    store.SetFilePath(m_File);
    for (int p = 0; p < processes; ++p)
        for (int t = 0; t < threads; ++t)
            for (int k = 0; k < keysEach; ++k) {
                std::string value;
                EXPECT_EQ(store.ReadSectionKeyValue(k % 2 ? "DefaultConfig"
                                                          : "Config." + std::to_string(p),
                                                    Key(p, t, k), value),
                          0u);
                EXPECT_EQ(value, Key(p, t, k));
            }
}

Hooks::WriteStage g_StopAt = Hooks::WRITE_LOCKED;

void StopAtStage(Hooks::WriteStage stage) {
    if (stage == g_StopAt)
        ::raise(SIGSTOP);
}

TEST_F(DurabilityTest, WriterKilledAtAnyStageLeavesOldOrNewFileAndNoLock) {
    if (!RVX::Test::HooksAvailable())
        GTEST_SKIP() << "needs the INI write stage hook: a build with -DPI_TEST_HOOKS=ON";
    WriteMarkers();
    for (int s = Hooks::WRITE_LOCKED; s <= Hooks::WRITE_DONE; ++s) {
        SCOPED_TRACE("stage " + std::to_string(s));
        const std::string before = ReadBytes(m_File);
        const std::string newValue = "new at stage " + std::to_string(s);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            g_StopAt = static_cast<Hooks::WriteStage>(s);
            Hooks::SetWriteStageHook(&StopAtStage);
            CConfigFile store;
            store.SetFilePath(m_File);
            store.WriteKeyValue("target", newValue, 5, -1);
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, WUNTRACED), child);
        ASSERT_TRUE(WIFSTOPPED(status));
        EXPECT_TRUE(LockHeld()) << "the stopped writer holds the lock";
        ASSERT_EQ(::kill(child, SIGKILL), 0);
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status));

        if (s < Hooks::WRITE_RENAMED)
            EXPECT_EQ(ReadBytes(m_File), before);
        else
            ExpectWhole(newValue);
        EXPECT_FALSE(LockHeld());
    }
    // The next writer clears what the dead ones left and goes on.
    CConfigFile store;
    store.SetFilePath(m_File);
    ASSERT_EQ(store.WriteKeyValue("target", "after", 5, -1), 0u);
    ExpectWhole("after");
    EXPECT_EQ(Entries(m_Dir), 2); // the file and its lock, no temporary
}

} // namespace
