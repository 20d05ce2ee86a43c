// The metrics page and the check plugin's judgement: hostile records keep the
// exposition format, state sets name one state, and the check's ranges.
#include "ExpositionChecker.h"
#include "ScratchDirectory.h"

#include <PI/Interchange.h>
#include <PI/Metrics.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <regex>
#include <sstream>

using namespace PI;
using namespace ::testing;

template <class Value> CProperty Make(int id, Value value) {
    CProperty p(static_cast<_PROPERTY_ID>(id), false);
    p.SetValue(value);
    return p;
}

TEST(Metrics, HostileValuesKeepTheFormat) {
    COperation op;
    EXPECT_EQ(pi_exposition::Check(GetMetrics(op)), "");

    op.AddObject(CObject(1, OBJECT_TYPE_ADAPTER_1));
    CObject drive(7, OBJECT_TYPE_PHYSICAL_DRIVE);
    drive.AddParent(1);
    drive.Properties = {
        Make(PHYSICAL_DRIVE_SERIAL_NUMBER, std::string("a\\b\"c\nd\xff")),
        Make(PHYSICAL_DRIVE_SLOT, 3ull),
        Make<float>(PHYSICAL_DRIVE_TEMPERATURE, std::numeric_limits<float>::quiet_NaN()),
        Make(PHYSICAL_DRIVE_MEDIA_ERROR_COUNT, ~0ull),
        Make<float>(PHYSICAL_DRIVE_STATUS, 1.5f), // a status of an unexpected kind
        Make(99999, 5ull),
        Make(PHYSICAL_DRIVE_VENDOR, std::string("line\nfeed")),
        Make(PHYSICAL_DRIVE_SLOT, 4ull)}; // only the first of an id counts
    op.AddObject(drive);
    CObject again(7, OBJECT_TYPE_PHYSICAL_DRIVE); // the first object of an id wins
    again.Properties = {Make(PHYSICAL_DRIVE_TEMPERATURE, 99ull)};
    op.AddObject(again);
    CObject battery(8, OBJECT_TYPE_BATTERY); // parents in a circle: no adapter
    battery.AddParent(9);
    battery.Properties = {Make<float>(BATTERY_RELATIVE_STATE_OF_CHARGE, INFINITY)};
    op.AddObject(battery);
    CObject loop(9, OBJECT_TYPE_FAN);
    loop.AddParent(8);
    op.AddObject(loop);

    const std::string page = GetMetrics(op);
    EXPECT_EQ(pi_exposition::Check(page), "") << page;
    const std::string drive7 =
        "{adapter=\"1\",id=\"7\",slot=\"3\",serial=\"a\\\\b\\\"c\\nd\xEF\xBF\xBD\"}";
    for (const std::string& sample :
         {"pi_physical_drive_temperature_celsius" + drive7 + " NaN\n",
          "pi_physical_drive_media_errors_total" + drive7 + " 18446744073709551615\n",
          std::string("pi_battery_charge_ratio{id=\"8\"} +Inf\n"),
          std::string(",property=\"99999\"} 5\n"),
          std::string("property=\"PHYSICAL_DRIVE_VENDOR\",value=\"line\\nfeed\"} 1\n")})
        EXPECT_THAT(page, HasSubstr(sample));
    EXPECT_THAT(page, Not(HasSubstr(" 99\n")));
}

// Every drive, logical drive and health has exactly one current state.
TEST(Metrics, StateSetsNameOneState) {
    const std::string text = ReadBytes(PI_SOURCE_DIR "/examples/inventory-after.json");
    COperation after;
    ASSERT_EQ(ReadJsonDocument(text.data(), text.size(), after), 0u);
    const std::string page = GetMetrics(after);
    std::map<std::string, int> current; // family and identity -> states at 1
    const std::regex state(R"((.*),(state|health|media)="[^"]*"\} ([01]))");
    std::istringstream lines(page);
    std::smatch m;
    for (std::string line; std::getline(lines, line);)
        if (std::regex_match(line, m, state))
            current[m[1]] += m[3] == "1";
    // health of 8 objects, states of 5 drives, the task and the ld, media and power of 5 drives
    EXPECT_EQ(current.size(), 8 + 5 + 1 + 1 + 5 + 5u);
    for (const auto& [series, count] : current)
        EXPECT_EQ(count, 1) << series;
    EXPECT_THAT(
        page, HasSubstr("pi_logical_drive_state{adapter=\"1\",ld=\"#0\",state=\"Degraded\"} 1\n"));
    EXPECT_THAT(page, HasSubstr("pi_events{severity=\"SEVERITY_INFORMATIONAL\"} 1\n"));
}

TEST(Check, Ranges) {
    struct Row {
        const char* text;
        bool valid;
        std::vector<std::pair<double, bool>> alerts; // value, alerts
    } rows[] = {
        {"10", true, {{-0.5, true}, {0, false}, {10, false}, {10.5, true}}},
        {"10:", true, {{9.9, true}, {10, false}, {1e300, false}}},
        {"~:10", true, {{-1e300, false}, {10, false}, {11, true}}},
        {"10:20", true, {{9, true}, {10, false}, {20, false}, {21, true}}},
        {"@10:20", true, {{9, false}, {10, true}, {20, true}, {21, false}}},
        {"", false, {}},
        {"20:10", false, {}},
        {"nan", false, {}},
        {"10x", false, {}},
    };
    for (const Row& row : rows) {
        CCheckRange range;
        EXPECT_EQ(ParseCheckRange(row.text, range), row.valid) << row.text;
        for (const auto& [value, alerts] : row.alerts)
            EXPECT_EQ(range.Alerts(value), alerts) << row.text << " at " << value;
    }
}
