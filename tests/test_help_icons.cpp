#include "PI/Helpers.h"
#include "PI/Tables.h"

#include <gtest/gtest.h>

#include <climits>
#include <set>
#include <string>

// The tables themselves are checked when they compile (one row per id, ids
// in their band, lengths fit); these check the lookups built on them. That
// every property name is its own anchor is checked by the Python suite,
// which reads the names from the module's enumerations.
namespace {

constexpr int kNotFound = 20000;

struct Lookup {
    int code;
    std::string text;
};

// Starts from a stale output, so that an unknown id must empty it.
template <class Get> Lookup Find(Get get, int id) {
    RVX::Strings::CStringVar out("stale text");
    const int code = get(id, out);
    return {code, out.c_str()};
}

Lookup Help(int id) {
    return Find(PI::GetHelpPath, id);
}

Lookup Icon(int id) {
    return Find(PI::GetIconPath, id);
}

TEST(LookupTables, EveryRowIsFoundAndNothingElseInTheBand) {
    size_t count = 0;
    const PI::HelpRow* help = PI::HelpRows(count);
    std::set<int> ids;
    for (size_t i = 0; i < count; ++i) {
        ids.insert(help[i].id);
        EXPECT_EQ(Help(help[i].id).text, help[i].path);
    }
    for (int id = 23001; id <= 23475; ++id)
        EXPECT_EQ(Help(id).code, ids.count(id) ? 0 : kNotFound) << id;

    const PI::IconRow* icons = PI::IconRows(count);
    ids.clear();
    for (size_t i = 0; i < count; ++i) {
        ids.insert(icons[i].id);
        EXPECT_EQ(Icon(icons[i].id).text, icons[i].file);
    }
    for (int id = 23990; id <= 24230; ++id) {
        const Lookup l = Icon(id);
        EXPECT_EQ(l.code, ids.count(id) ? 0 : kNotFound) << id;
        EXPECT_EQ(l.text.empty(), ids.count(id) == 0) << id;
    }
    for (int id : {0, -1, 23000, 23476, 23001 + 65536, INT_MIN, INT_MAX})
        EXPECT_EQ(Help(id).code + Icon(id).code, 2 * kNotFound) << id;
}

std::string StatusImage(int state, int media, bool overlay, bool foreign, int power) {
    return Icon(PI::GetPDStatusIcon(state, media, overlay, foreign, power)).text;
}

TEST(GetPDStatusIcon, MediaPowerOverlayAndForeignPickTheImage) {
    constexpr int kSSD = PI::MEDIA_TYPE_SSD, kSave = PI::POWER_STATE_POWER_SAVE;
    constexpr int kNormal = PI::POWER_STATE_NORMAL;
    EXPECT_EQ(PI::GetPDStatusIcon(40177, kSSD, true, false, kNormal), 24212);
    EXPECT_EQ(PI::GetPDStatusIcon(40177, kSSD, true, true, kNormal), 24081);
    EXPECT_EQ(PI::GetPDStatusIcon(40023, kSSD, false, true, kSave), 24079);
    EXPECT_EQ(PI::GetPDStatusIcon(40180, kSSD, true, false, kSave), 24187);
    EXPECT_EQ(PI::GetPDStatusIcon(40180, kSSD, false, false, kSave), 24188);
    EXPECT_EQ(PI::GetPDStatusIcon(0, 0, false, false, 0), 24078);
    // Any other media is a disk, any other power normal; unknown states are ok.
    for (int media : {0, 40292, 40294})
        for (int power : {kNormal, 0, 40129})
            EXPECT_EQ(StatusImage(40259, media, false, true, power), "drive_fail_no_fgn.gif");
    EXPECT_EQ(StatusImage(-1, kSSD, true, false, kNormal), "ssd_no_ok_vemo.gif");
    EXPECT_EQ(StatusImage(40093, kSSD, false, true, kSave), "drive_ok_no_fgn.gif");
    EXPECT_EQ(StatusImage(40093, kSSD, false, true, kNormal), "ssd_op_ok_fg.gif");
    EXPECT_EQ(StatusImage(40093, 0, true, false, kSave), "drive_op_ok_vemo_ps.gif");
    EXPECT_EQ(StatusImage(40096, kSSD, false, false, kNormal), "ssd_rb_ok.gif");
    EXPECT_EQ(StatusImage(40023, 0, true, false, kNormal), "drivemiss_fail_no.gif");
}

} // namespace
