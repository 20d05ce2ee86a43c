// Replays the fuzz targets' seed corpora and every input a fuzzer found a
// fault with (fuzz/regressions/<target>/) through the same checks the fuzz
// targets run, in the ordinary build and the sanitizer builds.
// Each target's check comes with its fuzz/fuzz_<name>.cpp, which this test
// links (tests/CMakeLists.txt); the case below uses the ini check's helpers.
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

INSTANTIATE_TEST_SUITE_P(Targets, FuzzInputs, ::testing::ValuesIn(pi_fuzz::ReplayedTargets()),
                         [](const ::testing::TestParamInfo<Target>& info) {
                             return std::string(info.param.name);
                         });

// A marked file keeps one mark when its first section goes, also when the
// line that becomes first brings a mark of its own: a rewrite writes one
// mark, never two. (The replayed ini inputs do not reach this.)
TEST(IniRegression, RewriteWritesOneByteOrderMark) {
    const std::string mark = "\xEF\xBB\xBF";
    const std::string path = pi_fuzz::IniScratchDirectory() + "/two-marks.ini";
    const auto removeSection = [&](const std::string& section) {
        RVX::INI_Files::CIniFile ini;
        ini.Lock(path, RVX::INI_Files::INI_WAIT_FOREVER);
        ini[section].Remove();
        ini.Flush(RVX::INI_Files::INI_WAIT_FOREVER);
    };
    pi_fuzz::WriteBytes(path, mark + "[first]\nk=1\n" + mark + "[second]\nk=2\n[third]\n");
    removeSection("first");
    EXPECT_EQ(pi_fuzz::ReadBytes(path), mark + "[second]\nk=2\n[third]\n");
    removeSection("second");
    EXPECT_EQ(pi_fuzz::ReadBytes(path), mark + "[third]\n");
}

} // namespace
