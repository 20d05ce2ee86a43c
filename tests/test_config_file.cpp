#include <PI/ConfigFile.h>
#include <PI/Identifiers.h>

#include <RVX/Application.h>
#include <RVX/Exceptions.h>
#include <RVX/IniFiles.h>
#include <RVX/TestHooks.h>

#include "ChildProcess.h"
#include "ScratchDirectory.h"

#include <gtest/gtest.h>

#include <boost/filesystem.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace INI = RVX::INI_Files;
using PI::CConfigFile;
using PI::CConfigValue;

class ConfigFileTest : public ScratchDirectoryTest {
protected:
    void SetUp() override {
        ScratchDirectoryTest::SetUp();
        m_Store.SetFilePath(m_File);
    }

    // The value as the file holds it, bypassing the store's section choice.
    std::string InFile(const std::string& section, const std::string& key) {
        INI::CIniFile ini;
        ini.Read(m_File, INI::INI_WAIT_FOREVER);
        std::string value;
        if (ini[section][key].GetValue(value) != 1)
            return "<missing>";
        return value;
    }

    CConfigFile m_Store;
};

TEST_F(ConfigFileTest, FileNameLiesInBinBesideTheProgram) {
    std::string program;
    ASSERT_TRUE(RVX::Misc::CRvxApplication::GetProcessPath(program));
    CConfigFile store;
    EXPECT_TRUE(store.GetFilePath().empty());
    store.SetFileName("pi.ini");
    EXPECT_EQ(store.GetFilePath(),
              boost::filesystem::path(program).parent_path() / "bin" / "pi.ini");
    store.SetFilePath(m_File);
    EXPECT_EQ(store.GetFilePath(), boost::filesystem::path(m_File));
}

// Numbers and names choose the section; a read falls back to [DefaultConfig]
// only, and says which section served it.
TEST_F(ConfigFileTest, ScopesChooseTheSectionAndFallBackToDefaultConfig) {
    EXPECT_EQ(m_Store.WriteKeyValue("k", "unit", -1, 2), 0u);
    EXPECT_EQ(m_Store.WriteKeyValue("k", "zero", 3, 0), 0u);
    EXPECT_EQ(m_Store.WriteKeyValue("k", "adapter", 4, -1), 0u);
    EXPECT_EQ(m_Store.WriteKeyValue("k", "default", -1, -1), 0u);
    EXPECT_EQ(m_Store.WriteKeyValue("k", "named", "a=b=c"), 0u);
    EXPECT_EQ(m_Store.WriteKeyValue("n", "empty name", ""), 0u);
    EXPECT_EQ(m_Store.WriteSectionKeyValue("a=b", "k", "verbatim"), 0u);
    EXPECT_EQ(m_Store.WriteKeyValueList({{"k", "listed", "x=y"}}), 0u);

    const std::pair<const char*, const char*> placed[] = {
        {"Config.-1.2", "unit"},      {"Config.3.0", "zero"},    {"Config.4", "adapter"},
        {"DefaultConfig", "default"}, {"Config.a_b_c", "named"}, {"a=b", "verbatim"},
        {"Config.x_y", "listed"}};
    for (const auto& [section, value] : placed)
        EXPECT_EQ(InFile(section, "k"), value) << section;
    EXPECT_EQ(InFile("DefaultConfig", "n"), "empty name");
    std::vector<CConfigValue> items;
    EXPECT_EQ(m_Store.ReadSection("Config.-1", items), PI::RESULT_CONFIG_NOT_READ);

    struct {
        int first, second;
        const char *name, *key, *served;
    } const reads[] = {
        {-1, 2, nullptr, "k", "unit in Config.-1.2"},
        {4, -7, nullptr, "k", "adapter in Config.4"},
        {-3, -3, nullptr, "k", "default in DefaultConfig"},
        {0, 0, "a=b=c", "k", "named in Config.a_b_c"},
        {9, 9, nullptr, "n", "empty name in DefaultConfig"}, // a missing section falls back
        {4, 1, nullptr, "k", "default in DefaultConfig"},    // a unit, never to its adapter
        {0, 0, "x=y", "n", "empty name in DefaultConfig"},
    };
    for (const auto& r : reads) {
        std::string value = "stale", from = "stale";
        EXPECT_EQ(r.name ? m_Store.ReadKeyValue(r.key, value, r.name, from)
                         : m_Store.ReadKeyValue(r.key, value, r.first, r.second, from),
                  0u);
        EXPECT_EQ(value + " in " + from, r.served);
    }
    std::string value = "stale", from = "stale";
    EXPECT_EQ(m_Store.ReadKeyValue("absent", value, 3, -1, from), PI::RESULT_CONFIG_NOT_READ);
    EXPECT_EQ(value + from, "");
    value = "stale";
    EXPECT_EQ(m_Store.ReadSectionKeyValue("Config.4", "n", value), PI::RESULT_CONFIG_NOT_READ)
        << "no fallback for a verbatim section";
    EXPECT_EQ(value, "");
    items = {{"n", "stale", "x=y"}, {"k", "stale", "x=y"}};
    EXPECT_EQ(m_Store.ReadKeyValueList(items), 0u);
    EXPECT_EQ(items[0].Value, "") << "no fallback in a list";
    EXPECT_EQ(items[1].Value, "listed");
}

TEST_F(ConfigFileTest, EmptyKeyRemovesTheSectionEmptyValueIsKept) {
    for (int adapter : {3, 4})
        ASSERT_EQ(m_Store.WriteKeyValue("a", "1", adapter, -1), 0u);
    ASSERT_EQ(m_Store.WriteKeyValue("blank", "", 4, -1), 0u);
    EXPECT_EQ(m_Store.WriteKeyValue("", "ignored", 3, -1), 0u);
    std::vector<CConfigValue> items;
    EXPECT_EQ(m_Store.ReadSection("Config.3", items), PI::RESULT_CONFIG_NOT_READ);
    EXPECT_EQ(InFile("Config.4", "a") + "|" + InFile("Config.4", "blank"), "1|");
    std::string value = "stale";
    EXPECT_EQ(m_Store.ReadKeyValue("blank", value, 4, -1), 0u);
    EXPECT_EQ(value, "");

    EXPECT_EQ(m_Store.WriteSectionKeyValue("Config.4", "", ""), 0u);
    EXPECT_EQ(m_Store.ReadSection("Config.4", items), PI::RESULT_CONFIG_NOT_READ);
    EXPECT_EQ(m_Store.WriteKeyValue("", "", "never there"), 0u) << "removing nothing is fine";
}

TEST_F(ConfigFileTest, ListsSkipEmptyNamesAndApplyInOrder) {
    const std::vector<CConfigValue> writes = {
        {"a", "1", "one"}, {"b", "2", "one"}, {"c", "3", ""},       {"d", "4", "two"},
        {"", "", "two"},   {"e", "5", "two"}, {"f", "6", "th=ree"},
    };
    ASSERT_EQ(m_Store.WriteKeyValueList(writes), 0u);
    EXPECT_EQ(InFile("DefaultConfig", "c"), "<missing>");
    EXPECT_EQ(InFile("Config.two", "d"), "<missing>") << "undone by the later removal";
    EXPECT_EQ(InFile("Config.two", "e"), "5");

    std::vector<CConfigValue> reads = {
        {"a", "stale", "one"}, {"c", "stale", ""},       {"d", "stale", "two"},
        {"e", "stale", "two"}, {"f", "stale", "th=ree"}, {"x", "stale", "none"},
    };
    ASSERT_EQ(m_Store.ReadKeyValueList(reads), 0u);
    const std::vector<std::string> expected = {"1", "", "", "5", "6", ""};
    for (size_t i = 0; i < reads.size(); ++i)
        EXPECT_EQ(reads[i].Value, expected[i]) << "item " << i;
}

TEST_F(ConfigFileTest, MissingFileReadsNothingAndFirstWriteCreatesIt) {
    std::string value = "stale";
    EXPECT_EQ(m_Store.ReadSectionKeyValue("S", "k", value), PI::RESULT_CONFIG_NOT_READ);
    EXPECT_EQ(value, "");
    EXPECT_FALSE(boost::filesystem::exists(m_File)) << "reads never create the file";

    // New files are 0640 whatever the umask.
    const mode_t previous = ::umask(0077);
    EXPECT_EQ(m_Store.WriteKeyValue("k", "v", 1, 2), 0u);
    ::umask(previous);
    EXPECT_EQ(Stat(m_File).st_mode & 07777, 0640u);

    // An existing file keeps its mode.
    ASSERT_EQ(::chmod(m_File.c_str(), 0600), 0);
    EXPECT_EQ(m_Store.WriteKeyValue("k", "w", 1, 2), 0u);
    EXPECT_EQ(Stat(m_File).st_mode & 07777, 0600u);
}

// The platform's exception that `call` raised, or one of code 0.
RVX::Exceptions::CException Raised(const std::function<void()>& call) {
    try {
        call();
    } catch (const RVX::Exceptions::CException& e) {
        return e;
    }
    return RVX::Exceptions::CException(0);
}

// A failed second lock reaches the caller as the platform's exception,
// naming the path and the system's error.
RVX::Exceptions::CException WriteFailure(CConfigFile& store) {
    return Raised([&] { store.WriteKeyValue("k", "v", 1, 1); });
}

TEST_F(ConfigFileTest, FailedLockReachesTheCallerAsThePlatformsException) {
    CConfigFile store;
    const std::string missingDir = m_Dir + "/no/such/dir/pi.ini";
    store.SetFilePath(missingDir);
    RVX::Exceptions::CException e = WriteFailure(store);
    EXPECT_EQ(e.GetCode(), INI::INI_ERROR_SYSTEM);
    EXPECT_NE(std::string(e.what()).find(missingDir), std::string::npos) << e.what();
    EXPECT_EQ(e.GetSystemError(), ENOENT);
    std::string value = "stale";
    EXPECT_EQ(store.ReadKeyValue("k", value, 1, 1), PI::RESULT_CONFIG_NOT_READ);
    EXPECT_EQ(value, "");
    // Failures after the lock return 20000, and the thread learns why: each
    // thread its own.
    CConfigFile unnamed;
    EXPECT_EQ(unnamed.WriteKeyValueList({{"k", "v", "n"}}), PI::RESULT_NOT_FOUND);
    const PI::CConfigFailure failure = PI::GetLastConfigWriteFailure();
    EXPECT_EQ(failure.Code, 0u);
    EXPECT_NE(failure.Text.find("no configuration file"), std::string::npos) << failure.Text;
    std::thread([&] { EXPECT_EQ(m_Store.WriteKeyValue("k", "w", 1, -1), 0u); }).join();
    EXPECT_EQ(PI::GetLastConfigWriteFailure().Text, failure.Text);

    // A lock file that is a directory (symlinks and FIFOs: the INI file
    // suite): every kind of write raises, the delete of an existing file too.
    const std::string other = m_Dir + "/other.ini";
    store.SetFilePath(other);
    WriteBytes(other, "[Config.1.1]\nk=v\n");
    ASSERT_EQ(::mkdir((other + ".lck").c_str(), 0700), 0);
    e = WriteFailure(store);
    EXPECT_EQ(e.GetCode(), INI::INI_ERROR_BAD_LOCK_FILE);
    EXPECT_EQ(e.GetSystemError(), 0); // a refusal, not a failed call
    EXPECT_NE(std::string(e.what()).find(other + ".lck"), std::string::npos) << e.what();
    for (const std::function<void()>& call :
         {std::function<void()>([&] {
              store.WriteKeyValueList({{"k", "v", "n"}});
          }),
          std::function<void()>([&] { store.DeleteKeyValue("k", 1, 1); })})
        EXPECT_EQ(Raised(call).GetCode(), INI::INI_ERROR_BAD_LOCK_FILE);
}

// A file the caller may not read cannot be loaded for the update: the second
// lock attempt's failure reaches the caller, and the lock file it made goes.
TEST_F(ConfigFileTest, UnreadableFileRaisesAndLeavesNoLockFileOfItsOwn) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root to act as a second user";
    ASSERT_EQ(::chmod(m_Dir.c_str(), 0777), 0); // the other user may make lock files here
    WriteBytes(m_File, "[Config.1]\nk=old\n");
    ASSERT_EQ(::chmod(m_File.c_str(), 0600), 0); // root's own
    const auto writeAsOther = [&] {
        return RunInChild(
            [&] { return WriteFailure(m_Store).GetCode() == INI::INI_ERROR_NOT_WRITABLE ? 0 : 1; },
            true);
    };
    EXPECT_EQ(writeAsOther(), 0);
    EXPECT_FALSE(boost::filesystem::exists(m_File + ".lck"));
    EXPECT_EQ(ReadBytes(m_File), "[Config.1]\nk=old\n");
    // A lock file that was there before is another writer's: it stays.
    WriteBytes(m_File + ".lck", "");
    ASSERT_EQ(::chmod((m_File + ".lck").c_str(), 0666), 0);
    EXPECT_EQ(writeAsOther(), 0);
    EXPECT_TRUE(boost::filesystem::exists(m_File + ".lck"));
}

TEST_F(ConfigFileTest, RefusedWriteLeavesTheFileByteIdentical) {
    const std::string lockFile = m_File + ".lck";
    ASSERT_EQ(m_Store.WriteKeyValue("k", "v", "n"), 0u);
    ASSERT_TRUE(boost::filesystem::exists(lockFile));
    const std::string before = ReadBytes(m_File);

    EXPECT_EQ(PI::GetLastConfigWriteFailure().Code, 0u);
    EXPECT_EQ(m_Store.WriteKeyValue(std::string("nul\0key", 7), "v", "n"), PI::RESULT_NOT_FOUND);
    EXPECT_EQ(PI::GetLastConfigWriteFailure().Code, INI::INI_ERROR_NOT_REPRESENTABLE);
    EXPECT_FALSE(boost::filesystem::exists(lockFile)); // a failed write removes the lock file
    EXPECT_EQ(m_Store.WriteKeyValue("k", "v", "line\nbreak"), PI::RESULT_NOT_FOUND);
    EXPECT_EQ(m_Store.WriteKeyValue("k", std::string("nul\0", 4), "n"), PI::RESULT_NOT_FOUND);
    EXPECT_EQ(ReadBytes(m_File), before);

    // One bad item refuses the whole list.
    ASSERT_EQ(m_Store.WriteKeyValue("k", "v2", "n"), 0u);
    const std::string second = ReadBytes(m_File);
    ASSERT_TRUE(boost::filesystem::exists(lockFile));
    EXPECT_EQ(m_Store.WriteKeyValueList({{"good", "1", "n"}, {std::string("b\0d", 3), "2", "n"}}),
              PI::RESULT_NOT_FOUND);
    EXPECT_EQ(ReadBytes(m_File), second);
    EXPECT_FALSE(boost::filesystem::exists(lockFile));
}

// The sample file, as an editor on another system might have saved it.
std::string SampleWithCrlfAndBom() {
    std::ifstream in(std::string(PI_SOURCE_DIR) + "/examples/pi.ini", std::ios::binary);
    std::string text = "\xEF\xBB\xBF";
    std::string line;
    while (std::getline(in, line))
        text += line + "\r\n";
    return text;
}

// Writes and removals in a hand-written file change only their own lines.
TEST_F(ConfigFileTest, HandWrittenFileKeepsItsCommentsAndLineEndsOnRewrite) {
    const std::string original = SampleWithCrlfAndBom();
    WriteBytes(m_File, original);
    std::string value;
    EXPECT_EQ(m_Store.ReadKeyValue("Greeting", value, "Mail"), 0u);
    EXPECT_EQ(value, " Welcome; please log in ");

    ASSERT_EQ(m_Store.WriteKeyValue("ReadCache", "off", 0, 1), 0u);
    EXPECT_EQ(m_Store.DeleteKeyValue("WriteCache", 0, 1), 0u);
    EXPECT_EQ(m_Store.DeleteKeyValue("PollInterval", -1, -1), 0u);
    EXPECT_EQ(m_Store.DeleteKeyValue("Role", "Host=1"), 0u);
    EXPECT_EQ(m_Store.DeleteSectionKeyValue("Config.Mail", "Port"), 0u);
    // No fallback, and no "=" replacement in the verbatim form: these name
    // keys that the file does not hold where they are sought.
    EXPECT_EQ(m_Store.DeleteKeyValue("LogLevel", 0, -1), 0u);
    EXPECT_EQ(m_Store.DeleteKeyValue("Alias", 0, 1), 0u);
    EXPECT_EQ(m_Store.DeleteSectionKeyValue("Config.Host=1", "Role"), 0u);

    std::string expected = original;
    expected.replace(expected.find("ReadCache = on"), 14, "ReadCache = off");
    for (const std::string line : {"WriteCache = off   ; battery missing", "PollInterval = 30",
                                   "Role = primary", "Port = 25"})
        expected.erase(expected.find(line), line.size() + 2); // with its CRLF
    EXPECT_EQ(ReadBytes(m_File), expected);

    // The emptied section stays, so a listing still shows it.
    std::vector<CConfigValue> items = {{"stale", "stale", "stale"}};
    EXPECT_EQ(m_Store.ReadSection("Config.Host_1", items), 0u);
    EXPECT_TRUE(items.empty());
}

TEST_F(ConfigFileTest, DeleteCreatesNothingAndRefusesAnEmptyKey) {
    EXPECT_EQ(m_Store.DeleteKeyValue("k", 1, 2), 0u);
    EXPECT_EQ(m_Store.DeleteKeyValue("k", "n"), 0u);
    EXPECT_EQ(m_Store.DeleteSectionKeyValue("S", "k"), 0u);
    EXPECT_TRUE(boost::filesystem::is_empty(m_Dir)); // neither the file nor a lock file

    ASSERT_EQ(m_Store.WriteKeyValue("k", "v", 3, -1), 0u);
    const ino_t before = Stat(m_File).st_ino;
    const std::string content = ReadBytes(m_File);
    EXPECT_EQ(m_Store.DeleteKeyValue("", 3, -1), PI::RESULT_NOT_FOUND);
    EXPECT_EQ(m_Store.DeleteKeyValue("", ""), PI::RESULT_NOT_FOUND);
    EXPECT_EQ(m_Store.DeleteSectionKeyValue("Config.3", ""), PI::RESULT_NOT_FOUND);
    EXPECT_EQ(m_Store.DeleteKeyValue("absent", 3, -1), 0u);
    EXPECT_EQ(Stat(m_File).st_ino, before); // nothing removed, nothing rewritten
    EXPECT_EQ(ReadBytes(m_File), content);

    CConfigFile unnamed;
    EXPECT_EQ(unnamed.DeleteKeyValue("k", 3, -1), PI::RESULT_NOT_FOUND);

    // A delete that fails in the write leaves the file and no lock file.
    if (!RVX::Test::HooksAvailable())
        GTEST_SKIP() << "needs the INI write stage hook: a build with -DPI_TEST_HOOKS=ON";
    INI::Internals::SetWriteStageHook([](INI::Internals::WriteStage stage) {
        if (stage == INI::Internals::WRITE_WRITTEN)
            throw std::runtime_error("disk full");
    });
    const unsigned result = m_Store.DeleteKeyValue("k", 3, -1);
    INI::Internals::SetWriteStageHook(nullptr);
    EXPECT_EQ(result, PI::RESULT_NOT_FOUND);
    EXPECT_EQ(ReadBytes(m_File), content);
    EXPECT_FALSE(boost::filesystem::exists(m_File + ".lck"));
}

// "Key=Value" of each item, and "Name" apart when it is set.
std::vector<std::string> Shown(const std::vector<CConfigValue>& items) {
    std::vector<std::string> shown;
    for (const CConfigValue& item : items)
        shown.push_back(item.Key + "=" + item.Value +
                        (item.Name.empty() ? "" : " in " + item.Name));
    return shown;
}

TEST_F(ConfigFileTest, ReadAllIsTheNamesAndSectionsInOneReading) {
    std::vector<PI::CConfigSection> all = {{"stale", {{"k", "v", ""}}}};
    EXPECT_EQ(m_Store.ReadAll(all), PI::RESULT_CONFIG_NOT_READ);
    EXPECT_TRUE(all.empty());
    std::vector<CConfigValue> items;
    EXPECT_EQ(m_Store.ReadSection("Config.0.1", items), PI::RESULT_CONFIG_NOT_READ);

    // A section written in two places is listed once, where it first
    // appears, with the keys of both places; a section without keys is
    // listed too.
    WriteBytes(m_File, SampleWithCrlfAndBom() + "[Empty]\r\n[Config.0]\r\nLate=yes\r\n");
    ASSERT_EQ(m_Store.ReadAll(all), 0u);
    std::vector<std::string> names;
    ASSERT_EQ(m_Store.ReadSectionNames(names), 0u);
    EXPECT_EQ(names, (std::vector<std::string>{"DefaultConfig", "Config.0", "Config.0.1",
                                               "Config.Mail", "Config.Host_1", "Empty"}));
    ASSERT_EQ(all.size(), names.size());
    for (size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(all[i].Name, names[i]);
        ASSERT_EQ(m_Store.ReadSection(names[i], items), 0u);
        EXPECT_EQ(Shown(all[i].Values), Shown(items)) << names[i];
    }
    EXPECT_EQ(Shown(all[1].Values).back(), "Late=yes");
    EXPECT_TRUE(all.back().Values.empty());
    EXPECT_EQ(m_Store.ReadSection("Mail", items), PI::RESULT_CONFIG_NOT_READ); // verbatim names
}

} // namespace
