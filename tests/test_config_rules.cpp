// Which failures of a configuration write raise and which return 20000, and
// the rule a refusal names.
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

} // namespace
