// SATA drive identity: the model split, the speed rules and the speed
// classes, each as a table of inputs and what they give. What holds for any
// model string, and the serial number rules, are the fuzz check's
// (checks/DriveIdentity.h, over fuzz/corpus/drive_identity).
#include "PI/Helpers.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

TEST(SplitSATAModelName, VendorAndProduct) {
    // Prefixes of single words, INTEL in either place, optical drives whose
    // whole model is the product, case rules, trimming and empty input.
    const struct {
        std::string model, vendor, product;
    } cases[] = {
        {"ST3500418AS", "SEAGATE", "ST3500418AS"},
        {"HDS721010CLA332", "HGST", "HDS721010CLA332"},
        {"HTE", "HGST", "HTE"},
        {"HT", "--", "HT"},
        {"CT1000MX500SSD1", "--", "CT1000MX500SSD1"},
        {"ST12", "SEAGATE", "ST12"},
        {"ST1X", "--", "ST1X"},
        {"ST1", "--", "ST1"},
        {"STEC3", "STEC", "STEC3"},
        {"st3500418AS", "--", "st3500418AS"},
        {"WDC WD3000HLFS-01G6U0", "WDC", "WD3000HLFS-01G6U0"},
        {"STEC Z16IZF2E", "STEC", "Z16IZF2E"},
        {"APPLE HDD ST1000DM003", "APPLE", "HDD ST1000DM003"},
        {"a  b c", "a", "b c"},
        {"SSDSA2M160G2GC INTEL", "INTEL", "SSDSA2M160G2GC"},
        {"INTEL", "--", "INTEL"},
        {"INTEL SSD INTEL", "INTEL", "SSD INTEL"},
        {"AB-INTEL X", "INTEL X", "AB"},
        {"xINTEL a", "INTEL a", ""},
        {"HL-DT-ST DVD-RAM GH22NS30", "LG", "HL-DT-ST DVD-RAM GH22NS30"},
        {"Optiarc DVD RW AD-7200S", "Sony", "Optiarc DVD RW AD-7200S"},
        {"optiARC X", "Sony", "optiARC X"},
        {"Optiarcs X", "Optiarcs", "X"},
        {"\tST3500418AS\t", "SEAGATE", "ST3500418AS"},
        {"", "--", ""},
    };
    for (const auto& c : cases) {
        std::string vendor = "stale", product = "stale";
        EXPECT_EQ(PI::SplitSATAModelName(c.model, vendor, product), 0);
        EXPECT_EQ(vendor, c.vendor) << "model '" << c.model << "'";
        EXPECT_EQ(product, c.product) << "model '" << c.model << "'";
    }
}

TEST(GetSATARPM, ByVendorRulesAndTooShortProductsThrow) {
    // Fast WD models by prefix, Hitachi's speed in characters 3 and 4,
    // Kormani's patterns in order, Seagate's slow models by exact name;
    // vendors compare whole and without case.
    const struct {
        std::string vendor, product;
        unsigned long long rpm;
    } cases[] = {
        {"WDC", "WD3000HLFS-01G6U0", 10000},
        {"wdc", "WD740ADFD-00NLR1", 10000},
        {"WDC", "WD3000GLFS", 10000},
        {"WDC", "WD3000GLF", 7200},
        {"WDC", "wd3000hlfs", 7200},
        {"WDCX", "WD3000HLFS", 7200},
        {std::string("WDC\0", 4), "WD3000HLFS", 7200},
        {"HGST", "HUC101010CSS600", 10000},
        {"Hitachi", "HUS151473VLS300", 15000},
        {"HGST", "HDS725454", 7200},
        {"HGST", "HTS545050A7E680", 5400},
        {"hgst", "XXX15", 15000},
        {"HGST", "HDS7", 7200},
        {"KORMANI", "ZTA4XXXBS", 5400},
        {"KORMANI", "ZTA4XXXBT", 7200},
        {"KORMANI", "ZTB4XXXBT", 4200},
        {"KORMANI", "ZTC4XXXCH", 5400},
        {"KORMANI", "ZTC4XXXBT", 7200},
        {"KORMANI", "ZTD4XXXBS", 7200},
        {"SEAGATE", "ST9160314AS", 5400},
        {"SEAGATE", "ST9160314AS ", 7200},
        {"SEAGATE", "st9160314as", 7200},
        {"--", "ST9160314AS", 7200},
        {"", "", 7200},
    };
    for (const auto& c : cases) {
        unsigned long long rpm = 0;
        EXPECT_EQ(PI::GetSATARPM(c.vendor, c.product, rpm), 0);
        EXPECT_EQ(rpm, c.rpm) << c.vendor << " " << c.product;
    }
    // Which products throw is the fuzz check's; here the boundary and the output.
    unsigned long long rpm = 0;
    EXPECT_THROW(PI::GetSATARPM("HGST", "HD", rpm), std::out_of_range);
    EXPECT_EQ(rpm, 7200u) << "rpm is written before the product is inspected";
    EXPECT_THROW(PI::GetSATARPM("KORMANI", "ZTA4XX", rpm), std::out_of_range);
    EXPECT_NO_THROW(PI::GetSATARPM("KORMANI", "ZTA4XXX", rpm));
}

TEST(RoundRPM, ClassBoundariesAreInclusive) {
    // Values beyond 32 bits must not wrap into a low class.
    const struct {
        unsigned long long rpm;
        float thousands;
    } cases[] = {
        {0, 4.2f},      {5000, 4.2f},           {5001, 5.4f},
        {7000, 5.4f},   {7001, 7.2f},           {7200, 7.2f},
        {9000, 7.2f},   {9001, 10.0f},          {10025, 10.0f},
        {14000, 10.0f}, {14001, 15.0f},         {19000, 15.0f},
        {19001, 20.0f}, {4294967296ull, 20.0f}, {4294967296ull + 7200, 20.0f},
        {~0ull, 20.0f},
    };
    for (const auto& c : cases) {
        float thousands = -1.0f;
        EXPECT_EQ(PI::RoundRPM(c.rpm, thousands), 0);
        EXPECT_FLOAT_EQ(thousands, c.thousands) << c.rpm;
    }
}

} // namespace
