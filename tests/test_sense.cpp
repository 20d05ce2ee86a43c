#include "PI/Helpers.h"
#include "PI/Tables.h"

#include <gtest/gtest.h>

#include <string>

// The sense tables are checked when they compile (rows ascending and unique,
// the index finding every row and nothing else); these check the lookups.
namespace {

constexpr int kNotFound = 20000;

TEST(TranslateSenseKey, OnlyTheLowFourBitsCount) {
    for (int byte = 0; byte < 256; ++byte) {
        std::string full = "stale", low;
        PI::_SEVERITY fullSeverity{}, lowSeverity{};
        EXPECT_EQ(PI::TranslateSenseKey(static_cast<unsigned char>(byte), full, fullSeverity), 0);
        PI::TranslateSenseKey(static_cast<unsigned char>(byte & 0x0F), low, lowSeverity);
        EXPECT_EQ(full, low) << byte;
        EXPECT_EQ(fullSeverity, lowSeverity) << byte;
    }
    // And all four of them count.
    std::string text;
    PI::_SEVERITY severity = PI::SEVERITY_INFORMATIONAL;
    PI::TranslateSenseKey(0x7E, text, severity);
    EXPECT_EQ(text, "miscompare");
    EXPECT_EQ(severity, PI::SEVERITY_ERROR);
    PI::TranslateSenseKey(0x0F, text, severity);
    EXPECT_EQ(severity, PI::SEVERITY_INFORMATIONAL);
}

TEST(TranslateSenseASC, FindsTheListedPairsOnly) {
    size_t count = 0;
    PI::SenseRows(count);
    size_t found = 0;
    for (int code = 0; code < 0x10000; ++code) {
        std::string text = "stale text";
        const int result =
            PI::TranslateSenseASC(static_cast<unsigned char>(code >> 8), code & 0xFF, text);
        found += result == 0;
        if (result != 0) {
            ASSERT_EQ(result, kNotFound) << std::hex << code;
            ASSERT_EQ(text, "") << std::hex << code;
        }
    }
    EXPECT_EQ(found, count);
}

// Neighbours of gaps, the ends of the table and the ranges, which are listed
// only at their end points.
TEST(TranslateSenseASC, GapsEndsAndRanges) {
    const struct {
        unsigned char asc, ascq;
        const char* text; // nullptr: unknown
    } cases[] = {
        {0x00, 0x06, "I/O process terminated"},
        {0x00, 0x07, nullptr},
        {0x3B, 0x10, nullptr},
        {0x5D, 0x1C, "hardware impending failure drive calibration retry count"},
        {0x5D, 0x1D, nullptr},
        {0x5D, 0x6C, "firmware impending failure drive calibration retry count"},
        {0x5D, 0x70, nullptr},
        {0x40, 0x7F, nullptr},
        {0x40, 0x80, "diagnostic failure on component NN(80-FF)"},
        {0x40, 0x81, nullptr},
        {0x4D, 0x00, "tagged overlapped commands (NN = queue tag)"},
        {0x4D, 0xFF, "tagged overlapped commands (NN = queue tag)"},
        {0x70, 0xFF, "decompression exception short algorithm ID of NN"},
        {0x80, 0x0C, "drive killed - unknown status"},
        {0xFF, 0xFF, nullptr},
    };
    for (const auto& c : cases) {
        std::string text = "stale text";
        EXPECT_EQ(PI::TranslateSenseASC(c.asc, c.ascq, text), c.text ? 0 : kNotFound)
            << std::hex << int(c.asc) << "/" << int(c.ascq);
        EXPECT_EQ(text, c.text ? c.text : "") << std::hex << int(c.asc) << "/" << int(c.ascq);
    }
}

} // namespace
