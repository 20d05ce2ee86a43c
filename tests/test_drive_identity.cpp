#include "PI/Helpers.h"

#include <gtest/gtest.h>

#include <fstream>
#include <locale>
#include <stdexcept>
#include <string>

namespace {

struct Split {
    std::string vendor;
    std::string product;
};

Split SplitOf(const std::string& model) {
    Split s{"stale", "stale"};
    EXPECT_EQ(PI::SplitSATAModelName(model, s.vendor, s.product), 0);
    return s;
}

unsigned long long RpmOf(const std::string& vendor, const std::string& product) {
    unsigned long long rpm = 0;
    EXPECT_EQ(PI::GetSATARPM(vendor, product, rpm), 0);
    return rpm;
}

std::string Corrected(const std::string& vendor, const std::string& product, std::string serial) {
    EXPECT_EQ(PI::CorrectSerialNumber(vendor, product, serial), 0);
    return serial;
}

float Rounded(unsigned long long rpm) {
    float thousands = -1.0f;
    EXPECT_EQ(PI::RoundRPM(rpm, thousands), 0);
    return thousands;
}

#define EXPECT_SPLIT(model, v, p)                                                                  \
    do {                                                                                           \
        const Split s = SplitOf(model);                                                            \
        EXPECT_EQ(s.vendor, v) << "model '" << (model) << "'";                                     \
        EXPECT_EQ(s.product, p) << "model '" << (model) << "'";                                    \
    } while (0)

TEST(SplitSATAModelName, RealModelsWithoutBlankGetVendorByPrefix) {
    EXPECT_SPLIT("ST3500418AS", "SEAGATE", "ST3500418AS");
    EXPECT_SPLIT("HDS721010CLA332", "HGST", "HDS721010CLA332");
    EXPECT_SPLIT("HUC101010CSS600", "HGST", "HUC101010CSS600");
    EXPECT_SPLIT("HTE", "HGST", "HTE");
    for (const char* prefix : {"HTE", "HDS", "HCC", "HUA", "HTS", "HDE", "HUC"})
        EXPECT_SPLIT(std::string(prefix) + "721010", "HGST", std::string(prefix) + "721010");
    EXPECT_SPLIT("HT", "--", "HT");
    EXPECT_SPLIT("HL-DT-STDVD", "LG", "HL-DT-STDVD");
    EXPECT_SPLIT("CT1000MX500SSD1", "--", "CT1000MX500SSD1");
    // HDP is not one of the prefixes of that vendor.
    EXPECT_SPLIT("HDP725025GLA380", "--", "HDP725025GLA380");
}

TEST(SplitSATAModelName, SeagateNeedsDigitInFourthPlace) {
    EXPECT_SPLIT("ST12", "SEAGATE", "ST12");
    EXPECT_SPLIT("ST1X", "--", "ST1X");
    EXPECT_SPLIT("ST1", "--", "ST1");
    EXPECT_SPLIT("ST", "--", "ST");
    // STEC is tested first although its fourth character would not count.
    EXPECT_SPLIT("STEC", "STEC", "STEC");
    EXPECT_SPLIT("STEC3", "STEC", "STEC3");
    // Begins-with is case-sensitive.
    EXPECT_SPLIT("st3500418AS", "--", "st3500418AS");
    EXPECT_SPLIT("hds721010", "--", "hds721010");
}

TEST(SplitSATAModelName, BlankSplitsVendorFromProduct) {
    EXPECT_SPLIT("WDC WD3000HLFS-01G6U0", "WDC", "WD3000HLFS-01G6U0");
    EXPECT_SPLIT("STEC Z16IZF2E", "STEC", "Z16IZF2E");
    EXPECT_SPLIT("HGST HDS721515", "HGST", "HDS721515");
    EXPECT_SPLIT("APPLE HDD ST1000DM003", "APPLE", "HDD ST1000DM003");
    // Only the first blank splits; the product is trimmed afterwards.
    EXPECT_SPLIT("a  b c", "a", "b c");
}

TEST(SplitSATAModelName, IntelInEitherPosition) {
    EXPECT_SPLIT("SSDSA2M160G2GC INTEL", "INTEL", "SSDSA2M160G2GC");
    EXPECT_SPLIT("INTEL SSDSA2M160G2GC", "INTEL", "SSDSA2M160G2GC");
    EXPECT_SPLIT("X INTEL", "INTEL", "X");
    EXPECT_SPLIT("INTEL", "--", "INTEL");
    // The first occurrence decides: at position 0 the blank splits.
    EXPECT_SPLIT("INTEL SSD INTEL", "INTEL", "SSD INTEL");
    // Without a blank the word rule applies even when INTEL appears later.
    EXPECT_SPLIT("SSDINTEL", "--", "SSDINTEL");
    // The vendor runs from INTEL to the end, and the product stops one
    // character before it, whatever that character is.
    EXPECT_SPLIT("AB-INTEL X", "INTEL X", "AB");
    // With INTEL in second place no character is left for the product.
    EXPECT_SPLIT("xINTEL a", "INTEL a", "");
}

TEST(SplitSATAModelName, OpticalDrivesKeepWholeModelAsProduct) {
    EXPECT_SPLIT("HL-DT-ST DVD-RAM GH22NS30", "LG", "HL-DT-ST DVD-RAM GH22NS30");
    EXPECT_SPLIT("Optiarc DVD RW AD-7200S", "Sony", "Optiarc DVD RW AD-7200S");
    EXPECT_SPLIT("OPTIARC DVD RW AD-7200S", "Sony", "OPTIARC DVD RW AD-7200S");
    EXPECT_SPLIT("optiARC X", "Sony", "optiARC X");
    // Vendor must equal the word, not merely begin with it.
    EXPECT_SPLIT("Optiarcs X", "Optiarcs", "X");
    // The prefix test for the blank-split vendor is case-sensitive.
    EXPECT_SPLIT("hl-dt-st DVD", "hl-dt-st", "DVD");
}

TEST(SplitSATAModelName, TrimsAndHandlesEmptyInput) {
    EXPECT_SPLIT(" X ", "--", "X");
    EXPECT_SPLIT("\tST3500418AS\t", "SEAGATE", "ST3500418AS");
    EXPECT_SPLIT("  WDC   WD740ADFD  ", "WDC", "WD740ADFD");
    EXPECT_SPLIT("", "--", "");
    EXPECT_SPLIT("   ", "--", "");
}

std::string TrimmedModel(const std::string& text) {
    const std::locale locale;
    size_t first = 0, end = text.size();
    while (first < end && std::isspace(text[first], locale))
        ++first;
    while (end > first && std::isspace(text[end - 1], locale))
        --end;
    return text.substr(first, end - first);
}

bool IsTrimmed(const std::string& text) {
    const std::locale locale;
    return text.empty() ||
           (!std::isspace(text.front(), locale) && !std::isspace(text.back(), locale));
}

TEST(SplitSATAModelName, InvariantsOverRealModelStrings) {
    const std::string path = std::string(PI_SHARED_DATA_DIR) + "/ata-models.txt";
    std::ifstream in(path);
    if (!in)
        GTEST_SKIP() << "the shared test data is missing: no model list at " << path
                     << " (../shared/data beside the checkout)";
    std::string line;
    int models = 0;
    while (std::getline(in, line)) {
        if (!line.empty() && line[0] == '#')
            continue;
        ++models;
        std::string vendor, product;
        ASSERT_NO_THROW(PI::SplitSATAModelName(line, vendor, product)) << line;
        EXPECT_TRUE(IsTrimmed(vendor)) << line;
        EXPECT_TRUE(IsTrimmed(product)) << line;

        const std::string model = TrimmedModel(line);
        if (vendor == "--") {
            EXPECT_EQ(model.find(' '), std::string::npos) << line;
        }
        if (model.find(' ') == std::string::npos) {
            // A single word is the product; its vendor comes from a short list.
            EXPECT_EQ(product, model) << line;
            EXPECT_TRUE(vendor == "--" || vendor == "STEC" || vendor == "SEAGATE" ||
                        vendor == "HGST" || vendor == "LG")
                << line << " -> " << vendor;
        }
        if (!model.empty()) {
            EXPECT_FALSE(vendor.empty()) << line;
            EXPECT_FALSE(product.empty()) << line;
            // Nothing is invented: the product is always a part of the model.
            EXPECT_NE(model.find(product), std::string::npos) << line;
        }
    }
    EXPECT_GT(models, 1000);
}

TEST(GetSATARPM, WesternDigitalFastModelsByPrefix) {
    EXPECT_EQ(RpmOf("WDC", "WD3000HLFS-01G6U0"), 10000u);
    EXPECT_EQ(RpmOf("WD", "WD1600ADFS-75SLR2"), 10000u);
    EXPECT_EQ(RpmOf("wdc", "WD740ADFD-00NLR1"), 10000u);
    EXPECT_EQ(RpmOf("WDC", "WD360ADFD"), 10000u);
    EXPECT_EQ(RpmOf("WDC", "WD3000GLFS"), 10000u);
    EXPECT_EQ(RpmOf("WDC", "WD3000GLF"), 7200u);
    EXPECT_EQ(RpmOf("WDC", "wd3000hlfs"), 7200u);
    EXPECT_EQ(RpmOf("WDC", "WD5000AAKS"), 7200u);
    // A vendor equal only by prefix is another vendor, also when the rest
    // is a NUL byte.
    EXPECT_EQ(RpmOf("WDCX", "WD3000HLFS"), 7200u);
    EXPECT_EQ(RpmOf(std::string("WDC\0", 4), "WD3000HLFS"), 7200u);
    EXPECT_EQ(RpmOf("W", "WD3000HLFS"), 7200u);
}

TEST(GetSATARPM, HitachiSpeedFromCharactersThreeAndFour) {
    EXPECT_EQ(RpmOf("HGST", "HUC101010CSS600"), 10000u);
    EXPECT_EQ(RpmOf("Hitachi", "HUS151473VLS300"), 15000u);
    // Counted from 0: "72" stands at 3-4 whatever follows.
    EXPECT_EQ(RpmOf("Hitachi", "HDS721515"), 7200u);
    EXPECT_EQ(RpmOf("HGST", "HDS725454"), 7200u);
    EXPECT_EQ(RpmOf("HGST", "HTS545050A7E680"), 5400u);
    EXPECT_EQ(RpmOf("HGST", "HTS541010A9E680"), 5400u);
    EXPECT_EQ(RpmOf("hgst", "XXX15"), 15000u);
    EXPECT_EQ(RpmOf("HGST", "HDS7"), 7200u);
    EXPECT_EQ(RpmOf("HGST", "HDS"), 7200u); // empty substring
}

TEST(GetSATARPM, TooShortProductsThrowOutOfRange) {
    unsigned long long rpm = 0;
    EXPECT_THROW(PI::GetSATARPM("HGST", "HD", rpm), std::out_of_range);
    EXPECT_EQ(rpm, 7200u) << "rpm is written before the product is inspected";
    EXPECT_THROW(PI::GetSATARPM("HITACHI", "", rpm), std::out_of_range);
    EXPECT_THROW(PI::GetSATARPM("KORMANI", "ZTC4", rpm), std::out_of_range);
    EXPECT_THROW(PI::GetSATARPM("KORMANI", "ZTA4XX", rpm), std::out_of_range);
    EXPECT_THROW(PI::GetSATARPM("KORMANI", "ZTB4XX", rpm), std::out_of_range);
    // Without a known prefix the substring is never taken.
    EXPECT_NO_THROW(PI::GetSATARPM("KORMANI", "ZT", rpm));
    EXPECT_EQ(rpm, 7200u);
    EXPECT_NO_THROW(PI::GetSATARPM("WDC", "", rpm));
    EXPECT_NO_THROW(PI::GetSATARPM("SEAGATE", "", rpm));
}

TEST(GetSATARPM, KormaniPatternsInOrder) {
    EXPECT_EQ(RpmOf("KORMANI", "ZTA4XXXBS"), 5400u);
    EXPECT_EQ(RpmOf("KORMANI", "ZTA4XXXBT"), 7200u);
    EXPECT_EQ(RpmOf("KORMANI", "ZTB4XXXBT"), 4200u);
    EXPECT_EQ(RpmOf("Kormani", "ZTB4XXXBH"), 5400u);
    EXPECT_EQ(RpmOf("KORMANI", "ZTB4XXXBS"), 5400u);
    EXPECT_EQ(RpmOf("KORMANI", "ZTC4XXXCH"), 5400u);
    EXPECT_EQ(RpmOf("KORMANI", "ZTC4XXXBT"), 7200u);
    EXPECT_EQ(RpmOf("KORMANI", "ZTC4123"), 7200u); // empty substring
    EXPECT_EQ(RpmOf("KORMANI", "ZTD4XXXBS"), 7200u);
}

TEST(GetSATARPM, SeagateSlowModelsByExactName) {
    EXPECT_EQ(RpmOf("SEAGATE", "ST9160314AS"), 5400u);
    EXPECT_EQ(RpmOf("seagate", "ST9250315AS"), 5400u);
    EXPECT_EQ(RpmOf("SEAGATE", "ST9160314AS "), 7200u);
    EXPECT_EQ(RpmOf("SEAGATE", "ST9160314A"), 7200u);
    EXPECT_EQ(RpmOf("SEAGATE", "st9160314as"), 7200u);
    EXPECT_EQ(RpmOf("SEAGATE", "ST3500418AS"), 7200u);
    // The rules belong to vendors: the same product under another vendor.
    EXPECT_EQ(RpmOf("--", "ST9160314AS"), 7200u);
    EXPECT_EQ(RpmOf("", ""), 7200u);
}

TEST(CorrectSerialNumber, WesternDigitalDropsPrefixFromLengthFour) {
    EXPECT_EQ(Corrected("WDC", "x", "WD-WCAV12345678"), "WCAV12345678");
    EXPECT_EQ(Corrected("wd", "x", "WD-1"), "1");
    EXPECT_EQ(Corrected("WDC", "x", "WD-"), "WD-");
    EXPECT_EQ(Corrected("WDC", "x", "wd-WCAV1234"), "wd-WCAV1234");
    EXPECT_EQ(Corrected("WDC", "x", "WCAV12345678"), "WCAV12345678");
    // Other vendors' rules do not apply to these drives.
    EXPECT_EQ(Corrected("WDC", "x", "123456789012"), "123456789012");
}

TEST(CorrectSerialNumber, HgstOnlyForOneModelFromLengthSeven) {
    EXPECT_EQ(Corrected("HGST", "HTE541010A9E68", "JA1000ABCD"), "ABCD");
    EXPECT_EQ(Corrected("hgst", "hte541010a9e68", "JA1000X"), "X");
    EXPECT_EQ(Corrected("HGST", "HTE541010A9E68", "JA1000"), "JA1000");
    EXPECT_EQ(Corrected("HGST", "HTE541010A9E680", "JA1000ABCD"), "JA1000ABCD");
    EXPECT_EQ(Corrected("HGST", "HTE541010A9E68", "ja1000ABCD"), "ja1000ABCD");
    EXPECT_EQ(Corrected("HITACHI", "HTE541010A9E68", "JA1000ABCD"), "JA1000ABCD");
}

TEST(CorrectSerialNumber, SeagateKeepsEightFromLengthNine) {
    EXPECT_EQ(Corrected("SEAGATE", "x", "5VP12345ABCD"), "5VP12345");
    EXPECT_EQ(Corrected("Seagate", "x", "123456789"), "12345678");
    EXPECT_EQ(Corrected("SEAGATE", "x", "12345678"), "12345678");
    EXPECT_EQ(Corrected("SEAGATE", "x", ""), "");
}

TEST(CorrectSerialNumber, OtherVendorsUnchanged) {
    EXPECT_EQ(Corrected("INTEL", "x", "WD-WCAV12345678"), "WD-WCAV12345678");
    EXPECT_EQ(Corrected("--", "HTE541010A9E68", "JA1000ABCD"), "JA1000ABCD");
    EXPECT_EQ(Corrected("", "", "5VP12345ABCD"), "5VP12345ABCD");
}

TEST(RoundRPM, ClassBoundariesAreInclusive) {
    EXPECT_FLOAT_EQ(Rounded(0), 4.2f);
    EXPECT_FLOAT_EQ(Rounded(5000), 4.2f);
    EXPECT_FLOAT_EQ(Rounded(5001), 5.4f);
    EXPECT_FLOAT_EQ(Rounded(7000), 5.4f);
    EXPECT_FLOAT_EQ(Rounded(7001), 7.2f);
    EXPECT_FLOAT_EQ(Rounded(7200), 7.2f);
    EXPECT_FLOAT_EQ(Rounded(9000), 7.2f);
    EXPECT_FLOAT_EQ(Rounded(9001), 10.0f);
    EXPECT_FLOAT_EQ(Rounded(10025), 10.0f);
    EXPECT_FLOAT_EQ(Rounded(14000), 10.0f);
    EXPECT_FLOAT_EQ(Rounded(14001), 15.0f);
    EXPECT_FLOAT_EQ(Rounded(19000), 15.0f);
    EXPECT_FLOAT_EQ(Rounded(19001), 20.0f);
    // Values beyond 32 bits must not wrap into a low class.
    EXPECT_FLOAT_EQ(Rounded(4294967296ull), 20.0f);
    EXPECT_FLOAT_EQ(Rounded(4294967296ull + 7200), 20.0f);
    EXPECT_FLOAT_EQ(Rounded(~0ull), 20.0f);
}

} // namespace
