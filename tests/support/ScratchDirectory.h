#pragma once

// Shared by the file suites: a fresh directory under /tmp for each test,
// removed with everything in it afterwards, and whole-file reads and writes.
#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>

#include <stdlib.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

inline void WriteBytes(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
}

inline std::string ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// The status of `path` (all zero, and a failure, when there is none).
inline struct stat Stat(const std::string& path) {
    struct stat info {};
    EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
    return info;
}

// The number of entries in a directory.
inline long Entries(const std::string& directory) {
    return std::distance(boost::filesystem::directory_iterator(directory), {});
}

// m_File names `fileName` in the directory; nothing creates it.
class ScratchDirectoryTest : public ::testing::Test {
protected:
    explicit ScratchDirectoryTest(const char* fileName = "pi.ini") : m_FileName(fileName) {}
    void SetUp() override {
        char pattern[] = "/tmp/pi-test-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        m_Dir = pattern;
        m_File = m_Dir + "/" + m_FileName;
    }
    void TearDown() override { boost::filesystem::remove_all(m_Dir); }

    std::string m_FileName;
    std::string m_Dir;
    std::string m_File;
};
