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

// Ranges are listed at their end points only, so every pair in between is unknown.
TEST(TranslateSenseASC, FindsTheListedPairsOnly) {
    size_t count = 0;
    const PI::SenseRow* rows = PI::SenseRows(count);
    for (size_t i = 0; i < count; ++i) {
        std::string text;
        EXPECT_EQ(PI::TranslateSenseASC(rows[i].asc, rows[i].ascq, text), 0);
        EXPECT_EQ(text, rows[i].text);
    }
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

} // namespace
