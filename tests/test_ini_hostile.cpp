// RVX::INI_Files against hostile and careless file systems: several paths to
// one file, planted symlinks, FIFOs and devices, oversized files, and files
// of other users.
#include <RVX/Exceptions.h>
#include <RVX/IniFiles.h>

#include "ChildProcess.h"
#include "ScratchDirectory.h"

#include <gtest/gtest.h>

#include <boost/filesystem.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using RVX::Exceptions::CException;
using RVX::INI_Files::CIniFile;
using RVX::INI_Files::INI_WAIT_FOREVER;
namespace INI = RVX::INI_Files;

class IniHostileTest : public ScratchDirectoryTest {
protected:
    IniHostileTest() : ScratchDirectoryTest("real.ini") {}

    // The code that a Lock of `path`, a change and a Flush raise, or 0.
    static unsigned int WriteCode(const std::string& path, const std::string& value = "x",
                                  unsigned int timeout = INI_WAIT_FOREVER) {
        try {
            CIniFile ini;
            ini.Lock(path, timeout);
            ini["S"]["k"].SetValue(value);
            ini.Flush(2000);
            return 0;
        } catch (const CException& e) {
            return e.GetCode();
        }
    }
    static unsigned int ReadCode(const std::string& path) {
        try {
            CIniFile ini;
            ini.Read(path, INI_WAIT_FOREVER);
            return 0;
        } catch (const CException& e) {
            return e.GetCode();
        }
    }
    static std::string Value(const std::string& path, const std::string& key) {
        CIniFile ini;
        ini.Read(path, INI_WAIT_FOREVER);
        std::string value;
        ini["S"][key].GetValue(value);
        return value;
    }
    static bool IsRoot() { return ::geteuid() == 0; }
    // A character device node in the scratch directory (a regression then
    // harms only the scratch copy, never the system's node).
    std::string Device(const char* name, unsigned int minor) {
        const std::string path = m_Dir + "/" + name;
        if (::mknod(path.c_str(), S_IFCHR | 0666, makedev(1, minor)) != 0)
            return std::string();
        return path;
    }
};

// ---- One file, one lock -------------------------------------------------

TEST_F(IniHostileTest, EveryPathToTheFileTakesTheSameLock) {
    WriteBytes(m_File, "[S]\nk=0\n");
    const std::string link = m_Dir + "/link.ini";
    const std::string dirLink = m_Dir + "/dir";
    ASSERT_EQ(::symlink("real.ini", link.c_str()), 0);
    ASSERT_EQ(::symlink(m_Dir.c_str(), dirLink.c_str()), 0);
    const std::string leaf = boost::filesystem::path(m_Dir).filename().string();
    const std::vector<std::string> paths = {m_File, link, dirLink + "/real.ini",
                                            dirLink + "/../" + leaf + "/./real.ini"};
    for (const std::string& holder : paths) {
        CIniFile ini;
        ini.Lock(holder, INI_WAIT_FOREVER);
        EXPECT_EQ(ini.LockPath(), m_File + ".lck") << holder;
        for (const std::string& other : paths) // flock excludes by open file: no second process
            EXPECT_EQ(WriteCode(other, "x", 100), INI::INI_ERROR_LOCK_TIMEOUT)
                << other << " " << holder;
    }
    EXPECT_FALSE(boost::filesystem::exists(link + ".lck"));
    EXPECT_TRUE(boost::filesystem::is_symlink(link)) << "the link survives the writes";
}

TEST_F(IniHostileTest, HardLinkedFileIsReadButNotRewritten) {
    WriteBytes(m_File, "[S]\nk=1\n");
    const std::string second = m_Dir + "/second.ini";
    ASSERT_EQ(::link(m_File.c_str(), second.c_str()), 0);
    EXPECT_EQ(Value(second, "k"), "1");
    EXPECT_EQ(WriteCode(second), INI::INI_ERROR_HARD_LINKED);
    EXPECT_EQ(WriteCode(m_File), INI::INI_ERROR_HARD_LINKED);
    EXPECT_EQ(ReadBytes(second), "[S]\nk=1\n");
    ASSERT_EQ(::unlink(second.c_str()), 0);
    EXPECT_EQ(WriteCode(m_File), 0u) << "one name again: writable";
}

// ---- Symlinks, FIFOs, devices, sizes -------------------------------------

TEST_F(IniHostileTest, SymlinkToADeviceNeverReplacesIt) {
    const std::string device = Device("null", 3);
    if (device.empty())
        GTEST_SKIP() << "cannot create a device node here (needs root)";
    const std::string link = m_Dir + "/link.ini";
    ASSERT_EQ(::symlink(device.c_str(), link.c_str()), 0);
    EXPECT_EQ(WriteCode(link), INI::INI_ERROR_NOT_REGULAR);
    EXPECT_EQ(ReadCode(link), INI::INI_ERROR_NOT_REGULAR);
    struct stat info;
    ASSERT_EQ(::stat(device.c_str(), &info), 0);
    EXPECT_TRUE(S_ISCHR(info.st_mode)) << "the device node was replaced";
    EXPECT_EQ(info.st_rdev, makedev(1, 3));
    EXPECT_TRUE(boost::filesystem::is_symlink(link));
    EXPECT_FALSE(boost::filesystem::exists(device + ".lck")) << "nothing made beside the device";
}

TEST_F(IniHostileTest, FifoNeitherBlocksReadsNorWrites) {
    ASSERT_EQ(::mkfifo(m_File.c_str(), 0600), 0);
    const std::string link = m_Dir + "/link.ini";
    ASSERT_EQ(::symlink("real.ini", link.c_str()), 0);
    for (const std::string& path : {m_File, link}) {
        const int code = RunInChild([&] {
            const bool read = ReadCode(path) == INI::INI_ERROR_NOT_REGULAR;
            const bool write = WriteCode(path) == INI::INI_ERROR_NOT_REGULAR;
            return read && write ? 0 : 1;
        });
        EXPECT_EQ(code, 0) << path << (code == CHILD_HUNG ? ": hung" : ": not refused");
    }
    EXPECT_FALSE(boost::filesystem::exists(m_File + ".lck")) << "a refused write keeps no lock";
}

TEST_F(IniHostileTest, EndlessDeviceIsNotRead) {
    std::string device = Device("zero", 5);
    if (device.empty())
        device = "/dev/zero"; // only read here, never written
    const std::string link = m_Dir + "/link.ini";
    ASSERT_EQ(::symlink(device.c_str(), link.c_str()), 0);
    const int code =
        RunInChild([&] { return ReadCode(link) == INI::INI_ERROR_NOT_REGULAR ? 0 : 1; });
    EXPECT_EQ(code, 0) << (code == CHILD_HUNG ? "read without end" : "not refused");
}

TEST_F(IniHostileTest, FilesBeyondTheSizeLimitAreRefused) {
    WriteBytes(m_File, "[S]\nk=1\n");
    ASSERT_EQ(::truncate(m_File.c_str(), static_cast<off_t>(INI::INI_MAX_FILE_SIZE)), 0);
    EXPECT_EQ(ReadCode(m_File), 0u) << "a file of exactly the limit is read";
    ASSERT_EQ(::truncate(m_File.c_str(), static_cast<off_t>(INI::INI_MAX_FILE_SIZE + 1)), 0);
    EXPECT_EQ(ReadCode(m_File), INI::INI_ERROR_TOO_LARGE);
    EXPECT_EQ(WriteCode(m_File), INI::INI_ERROR_TOO_LARGE);
    struct stat info;
    ASSERT_EQ(::stat(m_File.c_str(), &info), 0);
    EXPECT_EQ(static_cast<unsigned long long>(info.st_size), INI::INI_MAX_FILE_SIZE + 1);

    // Nor is a file written that would be too large to be read again.
    WriteBytes(m_File, "[S]\nk=1\n");
    CIniFile ini;
    ini.Lock(m_File, INI_WAIT_FOREVER);
    ini["S"]["big"].SetValue(std::string(INI::INI_MAX_FILE_SIZE, 'x'));
    try {
        ini.Flush(2000);
        ADD_FAILURE() << "wrote a file beyond the limit";
    } catch (const CException& e) {
        EXPECT_EQ(e.GetCode(), INI::INI_ERROR_TOO_LARGE);
    }
    EXPECT_EQ(ReadBytes(m_File), "[S]\nk=1\n");
}

TEST_F(IniHostileTest, UntrustedSymlinksAreNotFollowedForWrites) {
    if (!IsRoot())
        GTEST_SKIP() << "needs root to give a symlink to another user";
    WriteBytes(m_File, "[S]\nk=1\n");
    const std::string before = ReadBytes(m_File);

    // Owned by another user.
    const std::string foreign = m_Dir + "/foreign.ini";
    ASSERT_EQ(::symlink("real.ini", foreign.c_str()), 0);
    ASSERT_EQ(::lchown(foreign.c_str(), OTHER_UID, OTHER_GID), 0);
    EXPECT_EQ(WriteCode(foreign), INI::INI_ERROR_UNTRUSTED_LINK);
    // A trusted link that leads through the foreign one.
    const std::string chain = m_Dir + "/chain.ini";
    ASSERT_EQ(::symlink("foreign.ini", chain.c_str()), 0);
    EXPECT_EQ(WriteCode(chain), INI::INI_ERROR_UNTRUSTED_LINK);
    EXPECT_EQ(ReadBytes(m_File), before);
    EXPECT_EQ(Value(foreign, "k"), "1") << "reading through it is harmless";

    // Root's own link, in a directory that anybody can write.
    const std::string open = m_Dir + "/open";
    ASSERT_EQ(::mkdir(open.c_str(), 0777), 0);
    ASSERT_EQ(::chmod(open.c_str(), 0777), 0);
    const std::string planted = open + "/link.ini";
    ASSERT_EQ(::symlink(m_File.c_str(), planted.c_str()), 0);
    EXPECT_EQ(WriteCode(planted), INI::INI_ERROR_UNTRUSTED_LINK);
    ASSERT_EQ(::chmod(open.c_str(), 0775), 0);
    EXPECT_EQ(WriteCode(planted), INI::INI_ERROR_UNTRUSTED_LINK) << "group-writable";
    EXPECT_EQ(ReadBytes(m_File), before);

    // With the sticky bit, others cannot swap root's link: followed.
    ASSERT_EQ(::chmod(open.c_str(), 01777), 0);
    EXPECT_EQ(WriteCode(planted, "sticky"), 0u);
    EXPECT_EQ(Value(m_File, "k"), "sticky");
    // And a root link in a private directory, as administrators keep them.
    const std::string own = m_Dir + "/own.ini";
    ASSERT_EQ(::symlink("real.ini", own.c_str()), 0);
    EXPECT_EQ(WriteCode(own, "own"), 0u);
    EXPECT_EQ(Value(m_File, "k"), "own");
}

// ---- Owner, group and write permission -----------------------------------

class IniOwnershipTest : public IniHostileTest {
protected:
    void SetUp() override {
        IniHostileTest::SetUp();
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
    struct stat info;
    ASSERT_EQ(::stat(file.c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 0u);
    EXPECT_EQ(info.st_gid, 0u);
    EXPECT_EQ(ReadBytes(file), "[S]\nk=1\n");
    EXPECT_EQ(std::distance(boost::filesystem::directory_iterator(dir), {}), 2)
        << "a temporary left";
}

TEST_F(IniOwnershipTest, RootKeepsTheOwnerGroupAndModeOfAUsersFile) {
    WriteBytes(m_File, "[S]\nk=1\n");
    ASSERT_EQ(::chown(m_File.c_str(), OTHER_UID, OTHER_GID), 0);
    ASSERT_EQ(::chmod(m_File.c_str(), 0620), 0);
    EXPECT_EQ(WriteCode(m_File, "by root"), 0u);
    struct stat info;
    ASSERT_EQ(::stat(m_File.c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, OTHER_UID);
    EXPECT_EQ(info.st_gid, OTHER_GID);
    EXPECT_EQ(info.st_mode & 07777, 0620u);
    EXPECT_EQ(Value(m_File, "k"), "by root");
    // And the user can go on writing it.
    ASSERT_EQ(::chmod(m_Dir.c_str(), 0777), 0);
    ASSERT_EQ(::chown((m_File + ".lck").c_str(), OTHER_UID, OTHER_GID), 0);
    EXPECT_EQ(WriteAsOther(m_File, 0), 0);
    ASSERT_EQ(::stat(m_File.c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, OTHER_UID);
}

} // namespace
