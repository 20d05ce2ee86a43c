// Text and number helpers and the module registration.
#include <PI/Helpers.h>
#include <PI/Module.h>

#include <RVX/Language.h>

#include <gtest/gtest.h>

#include <string>

using RVX::Strings::CStringRef;
using RVX::Strings::CStringVar;

TEST(Module, RegistersAsVoPI) {
    const RVX::Misc::CModuleInfo& info = PI::GetModuleInfo();
    EXPECT_EQ(info.GetNumber(), 275u);
    EXPECT_STREQ(info.GetName(), "voPI");
    EXPECT_EQ(info.GetVersion(),
              std::string("P:") + PI_PROJECT_VERSION + " F:" + PI_PROJECT_VERSION);
    EXPECT_EQ(RVX::Misc::CModuleInfo::Find(275), &info);
}

TEST(Trim, EveryCWhiteSpaceByteAndNothingElse) {
    CStringVar out("stale");
    for (char ws : std::string(" \t\n\v\f\r")) {
        const std::string in = std::string(2, ws) + "a" + ws + "b" + std::string(3, ws);
        PI::Trim(CStringRef(in), out);
        EXPECT_EQ(out.Str(), std::string("a") + ws + "b") << int(ws);
    }
    // Bytes that are not white space in the C locale are kept, also above 127.
    const std::string keep = "\xA0x\x85";
    PI::Trim(CStringRef(keep), out);
    EXPECT_EQ(out.Str(), keep);
    PI::Trim(CStringRef(std::string("\0x\0", 3)), out);
    EXPECT_EQ(out.Length(), 3u) << "NUL is not white space";
}

TEST(Trim, EmptyAndAllBlankGiveEmpty) {
    CStringVar out("stale");
    PI::Trim(CStringRef("   "), out);
    EXPECT_TRUE(out.IsEmpty());
    out = "stale";
    PI::Trim(CStringRef(""), out);
    EXPECT_TRUE(out.IsEmpty());
    CStringRef mutableRef(" a b ");
    PI::Trim(mutableRef, out); // the non-const overload behaves the same
    EXPECT_EQ(out, "a b");
    PI::Trim(CStringRef("x"), out);
    EXPECT_EQ(out, "x");
    // Only the referenced characters count, not what follows them.
    PI::Trim(CStringRef("ab  cd", 4), out);
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
    float value = -1;
    PI::_UNITS unit = PI::UNITS_LOGICAL_DRIVE_DEFAULT;
    EXPECT_EQ(PI::ConvertBytesToOtherUnit(0, value, unit), 1);
    EXPECT_EQ(value, 0.0f);
    EXPECT_EQ(unit, PI::UNITS_BYTES);
    PI::ConvertBytesToOtherUnit(1023, value, unit);
    EXPECT_EQ(value, 1023.0f);
    EXPECT_EQ(unit, 21024);
    PI::ConvertBytesToOtherUnit(1024, value, unit);
    EXPECT_EQ(value, 1.0f);
    EXPECT_EQ(unit, 21003);
    PI::ConvertBytesToOtherUnit(1048575, value, unit);
    EXPECT_EQ(unit, 21003);
    EXPECT_FLOAT_EQ(value, 1023.999f);
    PI::ConvertBytesToOtherUnit(1048576, value, unit);
    EXPECT_EQ(value, 1.0f);
    EXPECT_EQ(unit, 21002);
    PI::ConvertBytesToOtherUnit(1ULL << 30, value, unit);
    EXPECT_EQ(unit, 21021);
    PI::ConvertBytesToOtherUnit(1ULL << 40, value, unit);
    EXPECT_EQ(unit, 21025);
    PI::ConvertBytesToOtherUnit(1ULL << 50, value, unit);
    EXPECT_EQ(value, 1.0f);
    EXPECT_EQ(unit, 21026);
    // Petabytes is the last unit: larger counts stay in it.
    PI::ConvertBytesToOtherUnit(18446744073709551615ULL, value, unit);
    EXPECT_EQ(value, 16384.0f);
    EXPECT_EQ(unit, 21026);
}

TEST(HexDump, RangesAndSeparators) {
    unsigned char data[] = {0x00, 0xAB, 0x10, 0x0F, 0xFF, 0x7E};
    std::string out = "stale";
    EXPECT_TRUE(PI::HexDump(out, data, 0, 3));
    EXPECT_EQ(out, "00 AB 10");
    EXPECT_TRUE(PI::HexDump(out, data, 3, 4));
    EXPECT_EQ(out, "0F");
    EXPECT_TRUE(PI::HexDump(out, data, 2, 6));
    EXPECT_EQ(out, "10 0F FF 7E");
    out = "stale";
    EXPECT_TRUE(PI::HexDump(out, data, 3, 3));
    EXPECT_EQ(out, "");
    out = "stale";
    EXPECT_TRUE(PI::HexDump(out, data, 5, 2));
    EXPECT_EQ(out, "");
    EXPECT_TRUE(PI::HexDump(out, nullptr, 0, 0));
    EXPECT_EQ(out, "");
}
