// Which failures of a configuration write raise and which return 20000, the
// rule a refusal names, and the section a scoped read was served from.
#include <PI/ConfigFile.h>
#include <PI/Identifiers.h>

#include <RVX/Exceptions.h>
#include <RVX/IniFiles.h>

#include "ChildProcess.h"
#include "ScratchDirectory.h"

#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <thread>

namespace {

using PI::CConfigFile;
namespace INI = RVX::INI_Files;

class ConfigRulesTest : public ScratchDirectoryTest {
protected:
    void SetUp() override {
        ScratchDirectoryTest::SetUp();
        m_Store.SetFilePath(m_File);
    }
    bool LockFileLeft() const { return boost::filesystem::exists(m_File + ".lck"); }

    CConfigFile m_Store;
};

// The code of the platform's exception that a write of `store` raised; 0
// when it returned instead, 1 for any other exception.
unsigned int RaisedBy(CConfigFile& store) {
    try {
        store.WriteKeyValue("k", "v", 1, -1);
    } catch (const RVX::Exceptions::CException& e) {
        return e.GetCode();
    } catch (...) {
        return 1;
    }
    return 0;
}

// A file the caller may not read cannot be loaded for the update: the second
// lock attempt's failure reaches the caller, and the lock file it made goes.
TEST_F(ConfigRulesTest, UnreadableFileRaisesAndLeavesNoLockFileOfItsOwn) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root to act as a second user";
    ASSERT_EQ(::chmod(m_Dir.c_str(), 0777), 0); // the other user may make lock files here
    WriteBytes(m_File, "[Config.1]\nk=old\n");
    ASSERT_EQ(::chmod(m_File.c_str(), 0600), 0); // root's own
    const auto writeAsOther = [&] {
        return RunInChild(
            [&] {
                CConfigFile store;
                store.SetFilePath(m_File);
                return RaisedBy(store) == INI::INI_ERROR_NOT_WRITABLE ? 0 : 1;
            },
            true);
    };
    EXPECT_EQ(writeAsOther(), 0);
    EXPECT_FALSE(LockFileLeft());
    EXPECT_EQ(ReadBytes(m_File), "[Config.1]\nk=old\n");

    // A lock file that was there before is another writer's: it stays.
    WriteBytes(m_File + ".lck", "");
    ASSERT_EQ(::chmod((m_File + ".lck").c_str(), 0666), 0);
    EXPECT_EQ(writeAsOther(), 0);
    EXPECT_TRUE(LockFileLeft());
}

// Files the platform refuses are refused at the lock, so the write raises,
// naming the rule (a FIFO: the configuration file suite). Nothing changes.
TEST_F(ConfigRulesTest, RefusedFilesRaiseWithTheirRule) {
    WriteBytes(m_File, "[Config.1]\nk=old\n");
    const std::string second = m_Dir + "/second-name.ini";
    ASSERT_EQ(::link(m_File.c_str(), second.c_str()), 0);
    EXPECT_EQ(RaisedBy(m_Store), INI::INI_ERROR_HARD_LINKED);
    ASSERT_EQ(::unlink(second.c_str()), 0);

    ASSERT_EQ(::truncate(m_File.c_str(), INI::INI_MAX_FILE_SIZE + 1), 0); // sparse
    EXPECT_EQ(RaisedBy(m_Store), INI::INI_ERROR_TOO_LARGE);
    EXPECT_EQ(boost::filesystem::file_size(m_File), INI::INI_MAX_FILE_SIZE + 1);
}

// Failures after the file is locked return 20000, and the thread learns why.
TEST_F(ConfigRulesTest, UpdateFailuresReturnTheCodeAndSayWhy) {
    ASSERT_EQ(m_Store.WriteKeyValue("k", "v", 1, -1), 0u);
    EXPECT_EQ(PI::GetLastConfigWriteFailure().Code, 0u);
    EXPECT_EQ(m_Store.WriteKeyValue("k", std::string("a\0b", 3), 1, -1), PI::RESULT_NOT_FOUND);
    EXPECT_EQ(PI::GetLastConfigWriteFailure().Code, INI::INI_ERROR_NOT_REPRESENTABLE);

    CConfigFile unnamed;
    EXPECT_EQ(unnamed.WriteKeyValueList({{"k", "v", "n"}}), PI::RESULT_NOT_FOUND);
    const PI::CConfigFailure failure = PI::GetLastConfigWriteFailure();
    EXPECT_EQ(failure.Code, 0u);
    EXPECT_NE(failure.Text.find("no configuration file"), std::string::npos) << failure.Text;
    // Each thread has its own: another thread's write leaves this one's alone.
    std::thread([&] { EXPECT_EQ(m_Store.WriteKeyValue("k", "w", 1, -1), 0u); }).join();
    EXPECT_EQ(PI::GetLastConfigWriteFailure().Text, failure.Text);
}

TEST_F(ConfigRulesTest, ScopedReadsNameTheSectionTheyWereServedFrom) {
    WriteBytes(m_File, "[DefaultConfig]\nPoll=30\nAlias=\n[Config.0]\nPoll=10\n[Config.a_b]\n"
                       "Poll=5\n");
    std::string value, from = "stale";
    ASSERT_EQ(m_Store.ReadKeyValue("Poll", value, 0, -1, from), 0u);
    EXPECT_EQ(value + " " + from, "10 Config.0");
    ASSERT_EQ(m_Store.ReadKeyValue("Poll", value, 0, 1, from), 0u);
    EXPECT_EQ(value + " " + from, "30 DefaultConfig");
    ASSERT_EQ(m_Store.ReadKeyValue("Poll", value, "a=b", from), 0u);
    EXPECT_EQ(value + " " + from, "5 Config.a_b");
    ASSERT_EQ(m_Store.ReadKeyValue("Alias", value, "a=b", from), 0u); // an empty value is a value
    EXPECT_EQ(value + "|" + from, "|DefaultConfig");
    EXPECT_EQ(m_Store.ReadKeyValue("None", value, 0, -1, from), PI::RESULT_CONFIG_NOT_READ);
    EXPECT_EQ(from, "");
}

} // namespace
