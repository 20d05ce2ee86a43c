// Replays the fuzz targets' seed corpora and every input a fuzzer found a
// fault with (fuzz/regressions/<target>/) through the same checks the fuzz
// targets run, in the ordinary build and the sanitizer builds. Faults that
// need a particular sequence of calls have their own cases below.
// Each target's check comes with its fuzz/fuzz_<name>.cpp, which this test
// links (tests/CMakeLists.txt); the cases below use the ini check's helpers.
#include "checks/Check.h"
#include "checks/Ini.h"

#include <RVX/IniFiles.h>

#include <gtest/gtest.h>

#include <dirent.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using pi_fuzz::Target;

// The fuzz targets, each linked in from its fuzz/fuzz_<name>.cpp, by name.
std::vector<Target> Targets() {
    std::vector<Target> targets = pi_fuzz::ReplayedTargets();
    std::sort(targets.begin(), targets.end(),
              [](const Target& a, const Target& b) { return std::string(a.name) < b.name; });
    return targets;
}

// The regular files of a directory, sorted; none when it does not exist.
std::vector<std::string> FilesIn(const std::string& directory) {
    std::vector<std::string> files;
    if (DIR* dir = ::opendir(directory.c_str())) {
        while (const dirent* entry = ::readdir(dir)) {
            const std::string name = entry->d_name;
            if (name != "." && name != ".." && name != "README.md")
                files.push_back(directory + "/" + name);
        }
        ::closedir(dir);
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string Contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
}

void Replay(const Target& target, const std::string& path) {
    const std::string input = Contents(path);
    try {
        target.check(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    } catch (const pi_fuzz::CheckFailure& failure) {
        ADD_FAILURE() << path << ": " << failure.what();
    } catch (const std::exception& e) {
        ADD_FAILURE() << path << ": unexpected exception: " << e.what();
    }
}

class FuzzInputs : public ::testing::TestWithParam<Target> {};

TEST_P(FuzzInputs, SeedsAndFoundFaultsPass) {
    const std::string fuzz = std::string(PI_SOURCE_DIR) + "/fuzz/";
    const std::vector<std::string> seeds = FilesIn(fuzz + "corpus/" + GetParam().name);
    ASSERT_FALSE(seeds.empty()) << "no seed inputs for " << GetParam().name;
    for (const std::string& file : seeds)
        Replay(GetParam(), file);
    for (const std::string& file : FilesIn(fuzz + "regressions/" + GetParam().name))
        Replay(GetParam(), file);
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzInputs, ::testing::ValuesIn(Targets()),
                         [](const ::testing::TestParamInfo<Target>& info) {
                             return std::string(info.param.name);
                         });

// Every target has a seed corpus; a regression directory, where there is
// one, belongs to a target.
TEST(FuzzLayout, EveryDirectoryBelongsToATarget) {
    const std::vector<Target> targets = Targets();
    for (const char* kind : {"corpus", "regressions"}) {
        const std::string directory = std::string(PI_SOURCE_DIR) + "/fuzz/" + kind;
        for (const std::string& path : FilesIn(directory)) {
            const std::string name = path.substr(directory.size() + 1);
            const bool known = std::any_of(targets.begin(), targets.end(),
                                           [&](const Target& t) { return name == t.name; });
            EXPECT_TRUE(known) << path << " is no fuzz target's";
        }
    }
}

// Found by the ini target: a line that starts with a byte order mark (as in
// two files joined together) and holds a section header was an unknown line
// in the middle of the file, but a header once a section removal made it the
// first line, so the rewrite changed what the file said.
TEST(IniRegression, HeaderAfterByteOrderMarkReadsTheSameWhereverItStands) {
    const std::string path = pi_fuzz::IniScratchDirectory() + "/joined.ini";
    pi_fuzz::WriteBytes(path, "[first]\n\xEF\xBB\xBF[second]\nkey=value\n");
    std::string value;
    {
        RVX::INI_Files::CIniFile ini;
        ini.Read(path, RVX::INI_Files::INI_WAIT_FOREVER);
        EXPECT_EQ(ini["second"]["key"].GetValue(value), 1);
        EXPECT_EQ(value, "value");
        EXPECT_EQ(ini["first"]["key"].GetValue(value), 0);
    }
    {
        RVX::INI_Files::CIniFile ini;
        ini.Lock(path, RVX::INI_Files::INI_WAIT_FOREVER);
        ini["first"].Remove();
        ini.Flush(RVX::INI_Files::INI_WAIT_FOREVER);
    }
    EXPECT_EQ(pi_fuzz::ReadBytes(path), "\xEF\xBB\xBF[second]\nkey=value\n");
    RVX::INI_Files::CIniFile ini;
    ini.Read(path, RVX::INI_Files::INI_WAIT_FOREVER);
    EXPECT_FALSE(ini["first"].Exists());
    EXPECT_EQ(ini["second"]["key"].GetValue(value), 1);
    EXPECT_EQ(value, "value");
}

// Found by the ini target: the file's own byte order mark was taken off
// before the first line was read, so that line could lose a second mark that
// a line anywhere else keeps: "<mark><mark>[s]" was no header in the middle
// of a file but became one at its start. The file's mark is now the first
// line's mark, and a rewrite writes one mark, never two.
TEST(IniRegression, OnlyOneByteOrderMarkIsSkippedAtAnyLineStart) {
    const std::string mark = "\xEF\xBB\xBF";
    const std::string path = pi_fuzz::IniScratchDirectory() + "/two-marks.ini";
    const auto removeSection = [&](const std::string& section) {
        RVX::INI_Files::CIniFile ini;
        ini.Lock(path, RVX::INI_Files::INI_WAIT_FOREVER);
        ini[section].Remove();
        ini.Flush(RVX::INI_Files::INI_WAIT_FOREVER);
    };
    const auto sectionExists = [&](const std::string& section) {
        RVX::INI_Files::CIniFile ini;
        ini.Read(path, RVX::INI_Files::INI_WAIT_FOREVER);
        return ini[section].Exists();
    };

    pi_fuzz::WriteBytes(path, "[first]\n" + mark + mark + "[second]\nkey=value\n");
    EXPECT_FALSE(sectionExists("second"));
    removeSection("first");
    EXPECT_EQ(pi_fuzz::ReadBytes(path), "");
    EXPECT_FALSE(sectionExists("second"));

    // The same at the start of the file: one mark skipped, not two.
    pi_fuzz::WriteBytes(path, mark + mark + "[second]\n[third]\n");
    EXPECT_FALSE(sectionExists("second"));
    EXPECT_TRUE(sectionExists("third"));

    // A marked file keeps one mark when its first section goes, also when
    // the line that becomes first brings a mark of its own.
    pi_fuzz::WriteBytes(path, mark + "[first]\nk=1\n" + mark + "[second]\nk=2\n[third]\n");
    removeSection("first");
    EXPECT_EQ(pi_fuzz::ReadBytes(path), mark + "[second]\nk=2\n[third]\n");
    removeSection("second");
    EXPECT_EQ(pi_fuzz::ReadBytes(path), mark + "[third]\n");
    EXPECT_TRUE(sectionExists("third"));
}

// Found by the ini target: a file whose last line ends in a carriage return
// without a "\n" kept the CR in that line's value (or made a header line no
// header); a line added after it completed the line end and so changed the
// value. The CR now reads as the line end it is from the start.
TEST(IniRegression, CarriageReturnAtTheEndIsALineEnd) {
    const std::string path = pi_fuzz::IniScratchDirectory() + "/bare-cr.ini";
    pi_fuzz::WriteBytes(path, "[s]\nk=v\r");
    std::string value;
    {
        RVX::INI_Files::CIniFile ini;
        ini.Read(path, RVX::INI_Files::INI_WAIT_FOREVER);
        EXPECT_EQ(ini["s"]["k"].GetValue(value), 1);
        EXPECT_EQ(value, "v");
    }
    {
        RVX::INI_Files::CIniFile ini;
        ini.Lock(path, RVX::INI_Files::INI_WAIT_FOREVER);
        ini["s"]["j"].SetValue("w");
        ini.Flush(RVX::INI_Files::INI_WAIT_FOREVER);
    }
    EXPECT_EQ(pi_fuzz::ReadBytes(path), "[s]\nk=v\r\nj=w\n");
    RVX::INI_Files::CIniFile ini;
    ini.Read(path, RVX::INI_Files::INI_WAIT_FOREVER);
    EXPECT_EQ(ini["s"]["k"].GetValue(value), 1);
    EXPECT_EQ(value, "v");

    pi_fuzz::WriteBytes(path, "[a]\nx=1\n[b]\r");
    ini.Read(path, RVX::INI_Files::INI_WAIT_FOREVER);
    EXPECT_TRUE(ini["b"].Exists());
}

} // namespace
