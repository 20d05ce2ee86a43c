// Text and number helpers and the module registration.
#include <PI/Helpers.h>
#include <PI/Module.h>

#include <RVX/Language.h>

#include <gtest/gtest.h>

#include <string>

using RVX::Strings::CStringRef;
using RVX::Strings::CStringVar;

TEST(Trim, EveryCWhiteSpaceByteAndNothingElse) {
    CStringVar out("stale");
    for (char ws : std::string(" \t\n\v\f\r")) {
        const std::string in = std::string(2, ws) + "a" + ws + "b" + std::string(3, ws);
        PI::Trim(CStringRef(in), out);
        EXPECT_EQ(out.Str(), std::string("a") + ws + "b") << int(ws);
    }
    // Not white space in the C locale: bytes above 127 and NUL.
    const std::string keep("\xA0\0\x85", 3);
    PI::Trim(CStringRef(keep), out);
    EXPECT_EQ(out.Str(), keep);
    PI::Trim(CStringRef("ab  cd", 4), out); // only the referenced characters count
    EXPECT_EQ(out, "ab");
}

TEST(GenXMLNodeConformantString, DropsExactlyTheNineBytes) {
    std::string out = "stale";
    EXPECT_EQ(PI::GenXMLNodeConformantString("Logical Drive (#1)", out), 0);
    EXPECT_EQ(out, "LogicalDrive1");
    PI::GenXMLNodeConformantString("a.b/c<d=e>f", out);
    EXPECT_EQ(out, "abcdef");
    PI::GenXMLNodeConformantString("1-_:\xC3\xA9\tz", out);
    EXPECT_EQ(out, "1-_:\xC3\xA9\tz");
    PI::GenXMLNodeConformantString("", out);
    EXPECT_EQ(out, "");
}

TEST(MatchNLS, FoldsCaseAndConformsOnRequest) {
    using RVX::Language_Support::CLanguageSupport;
    CLanguageSupport::SetString(900001, "ABC");
    CLanguageSupport::SetString(900002, "ABCD");
    CLanguageSupport::SetString(900003, "Logical Drive (#1)");
    EXPECT_TRUE(PI::MatchNLS("abc", 900001, false));
    EXPECT_FALSE(PI::MatchNLS("abc", 900002, false));
    EXPECT_FALSE(PI::MatchNLS("abcd ", 900002, false));
    EXPECT_TRUE(PI::MatchNLS("logicaldrive1", 900003, true));
    EXPECT_FALSE(PI::MatchNLS("logicaldrive1", 900003, false));
    // An unknown id resolves to its number.
    EXPECT_TRUE(PI::MatchNLS("900099", 900099, false));
    CLanguageSupport::Clear();
}

TEST(ConvertBytesToOtherUnit, UnitBoundaries) {
    const struct {
        unsigned long long bytes;
        float value;
        int unit;
    } cases[] = {{0, 0.0f, PI::UNITS_BYTES},  {1023, 1023.0f, 21024}, {1024, 1.0f, 21003},
                 {1048575, 1023.999f, 21003}, {1048576, 1.0f, 21002}, {1ULL << 50, 1.0f, 21026},
                 {~0ULL, 16384.0f, 21026}}; // petabytes is the last unit
    for (const auto& c : cases) {
        float value = -1;
        PI::_UNITS unit = PI::UNITS_LOGICAL_DRIVE_DEFAULT;
        EXPECT_EQ(PI::ConvertBytesToOtherUnit(c.bytes, value, unit), 1);
        EXPECT_FLOAT_EQ(value, c.value) << c.bytes;
        EXPECT_EQ(unit, c.unit) << c.bytes;
    }
}

TEST(HexDump, RangesAndSeparators) {
    unsigned char data[] = {0x00, 0xAB, 0x10, 0x0F, 0xFF, 0x7E};
    const struct {
        unsigned int first, end;
        const char* text;
    } cases[] = {{0, 3, "00 AB 10"}, {3, 4, "0F"}, {2, 6, "10 0F FF 7E"}, {3, 3, ""}, {5, 2, ""}};
    for (const auto& c : cases) {
        std::string out = "stale";
        EXPECT_TRUE(PI::HexDump(out, data, c.first, c.end));
        EXPECT_EQ(out, c.text) << c.first << ".." << c.end;
    }
    std::string out = "stale";
    EXPECT_TRUE(PI::HexDump(out, nullptr, 0, 0));
    EXPECT_EQ(out, "");
}
