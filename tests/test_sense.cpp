#include "PI/Helpers.h"
#include "PI/Tables.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

constexpr int kNotFound = 20000;

struct Lookup {
    int code;
    std::string text;
};

Lookup Asc(unsigned char asc, unsigned char ascq) {
    Lookup l{-1, "stale text"};
    l.code = PI::TranslateSenseASC(asc, ascq, l.text);
    return l;
}

void ExpectText(unsigned char asc, unsigned char ascq, const char* text) {
    const Lookup l = Asc(asc, ascq);
    EXPECT_EQ(l.code, 0) << std::hex << int(asc) << "/" << int(ascq);
    EXPECT_EQ(l.text, text) << std::hex << int(asc) << "/" << int(ascq);
}

void ExpectUnknown(unsigned char asc, unsigned char ascq) {
    const Lookup l = Asc(asc, ascq);
    EXPECT_EQ(l.code, kNotFound) << std::hex << int(asc) << "/" << int(ascq);
    EXPECT_EQ(l.text, "") << std::hex << int(asc) << "/" << int(ascq);
}

TEST(TranslateSenseKey, OnlyLowFourBitsCount) {
    std::string text = "stale";
    PI::_SEVERITY severity = PI::SEVERITY_INFORMATIONAL;
    EXPECT_EQ(PI::TranslateSenseKey(0xF6, text, severity), 0);
    EXPECT_EQ(text, "unit attention");
    EXPECT_EQ(severity, PI::SEVERITY_ERROR);
    EXPECT_EQ(PI::TranslateSenseKey(0x73, text, severity), 0);
    EXPECT_EQ(text, "medium error");

    for (int byte = 0; byte < 256; ++byte) {
        std::string full, low;
        PI::_SEVERITY fullSeverity{}, lowSeverity{};
        PI::TranslateSenseKey(static_cast<unsigned char>(byte), full, fullSeverity);
        PI::TranslateSenseKey(static_cast<unsigned char>(byte & 0x0F), low, lowSeverity);
        EXPECT_EQ(full, low) << byte;
        EXPECT_EQ(fullSeverity, lowSeverity) << byte;
    }
}

TEST(TranslateSenseKey, GradesAndNamesOfAllKeys) {
    // The graver grade goes to the keys that mean the command failed.
    const std::set<int> errors = {2, 3, 4, 5, 6, 10, 11, 13, 14};
    std::set<std::string> texts;
    for (int key = 0; key < 16; ++key) {
        std::string text = "stale";
        PI::_SEVERITY severity{};
        EXPECT_EQ(PI::TranslateSenseKey(static_cast<unsigned char>(key), text, severity), 0);
        EXPECT_EQ(severity, errors.count(key) ? PI::SEVERITY_ERROR : PI::SEVERITY_INFORMATIONAL)
            << key;
        texts.insert(text);
    }
    EXPECT_EQ(texts.size(), 16u) << "every key has a text of its own";
}

TEST(SenseTable, RowsAscendWithoutRepeatsAndLookLikeText) {
    size_t count = 0;
    const PI::SenseRow* rows = PI::SenseRows(count);
    ASSERT_EQ(count, 470u);
    for (size_t i = 0; i < count; ++i) {
        const std::string text = rows[i].text;
        EXPECT_FALSE(text.empty()) << i;
        EXPECT_NE(text.front(), ' ') << i;
        EXPECT_NE(text.back(), ' ') << i;
        EXPECT_EQ(text.find("  "), std::string::npos) << i << " " << text;
        if (i > 0) {
            const int previous = rows[i - 1].asc << 8 | rows[i - 1].ascq;
            const int current = rows[i].asc << 8 | rows[i].ascq;
            EXPECT_LT(previous, current) << "row " << i;
        }
    }
    size_t keys = 0;
    PI::SenseKeyRows(keys);
    EXPECT_EQ(keys, 16u);
}

TEST(TranslateSenseASC, FindsExactlyTheListedPairs) {
    size_t count = 0;
    const PI::SenseRow* rows = PI::SenseRows(count);
    std::set<int> listed;
    for (size_t i = 0; i < count; ++i) {
        listed.insert(rows[i].asc << 8 | rows[i].ascq);
        ExpectText(rows[i].asc, rows[i].ascq, rows[i].text);
    }
    int found = 0;
    for (int code = 0; code < 0x10000; ++code) {
        const Lookup l =
            Asc(static_cast<unsigned char>(code >> 8), static_cast<unsigned char>(code));
        if (l.code == 0) {
            ++found;
            EXPECT_TRUE(listed.count(code)) << std::hex << code;
        } else {
            ASSERT_EQ(l.code, kNotFound);
            ASSERT_EQ(l.text, "");
        }
    }
    EXPECT_EQ(found, 470);
}

TEST(TranslateSenseASC, GapsNextToKnownPairs) {
    ExpectText(0x5D, 0x1C, "hardware impending failure drive calibration retry count");
    ExpectUnknown(0x5D, 0x1D);
    ExpectText(0x5D, 0x20, "controller impending failure general hard drive failure");
    ExpectText(0x3B, 0x0F, "end of medium reached");
    ExpectUnknown(0x3B, 0x10);
    ExpectText(0x3B, 0x11, "medium magazine not accessible");
    ExpectText(0x80, 0x0C, "drive killed - unknown status");
    ExpectUnknown(0x80, 0x0D);
    ExpectUnknown(0x81, 0x00);
    ExpectUnknown(0xFF, 0xFF);
    ExpectText(0x00, 0x00, "no additional sense information");
    ExpectText(0x00, 0x06, "I/O process terminated");
    ExpectUnknown(0x00, 0x07);
    ExpectText(0x00, 0x11, "audio play operation in progress");
}

TEST(TranslateSenseASC, RangesOnlyAtTheirEndPoints) {
    ExpectText(0x40, 0x80, "diagnostic failure on component NN(80-FF)");
    ExpectUnknown(0x40, 0x81);
    ExpectUnknown(0x40, 0xFF);
    ExpectUnknown(0x40, 0x7F);
    ExpectText(0x4D, 0x00, "tagged overlapped commands (NN = queue tag)");
    ExpectText(0x4D, 0xFF, "tagged overlapped commands (NN = queue tag)");
    ExpectUnknown(0x4D, 0x05);
    ExpectUnknown(0x4D, 0xFE);
    ExpectText(0x70, 0x00, "decompression exception short algorithm ID of NN");
    ExpectText(0x70, 0xFF, "decompression exception short algorithm ID of NN");
    ExpectUnknown(0x70, 0x01);
}

TEST(TranslateSenseASC, DrivePredictionGroupsFollowTheirPattern) {
    const char* groups[] = {"hardware", "controller", "data channel",
                            "servo",    "spindle",    "firmware"};
    const char* reasons[] = {
        "general hard drive failure",   "drive error rate too high", "data error rate too high",
        "seek error rate too high",     "too many block reassigns",  "access times too high",
        "start unit times too high",    "channel parametrics",       "controller detected",
        "throughput performance",       "seek time performance",     "spin-up retry count",
        "drive calibration retry count"};
    for (int g = 0; g < 6; ++g) {
        for (int r = 0; r < 13; ++r) {
            const std::string expected =
                std::string(groups[g]) + " impending failure " + reasons[r];
            ExpectText(0x5D, static_cast<unsigned char>((g + 1) << 4 | r), expected.c_str());
        }
        ExpectUnknown(0x5D, static_cast<unsigned char>((g + 1) << 4 | 0x0D));
        ExpectUnknown(0x5D, static_cast<unsigned char>((g + 1) << 4 | 0x0F));
    }
    ExpectUnknown(0x5D, 0x70);
}

} // namespace
