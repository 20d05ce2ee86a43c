#include "PI/Helpers.h"
#include "PI/Tables.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr int kNotFound = 20000;

struct Lookup {
    int code;
    std::string text;
};

Lookup Help(int id) {
    RVX::Strings::CStringVar out("stale text");
    const int code = PI::GetHelpPath(id, out);
    return {code, out.c_str()};
}

Lookup Icon(int id) {
    RVX::Strings::CStringVar out("stale text");
    const int code = PI::GetIconPath(id, out);
    return {code, out.c_str()};
}

std::string IconFile(int id) {
    const Lookup l = Icon(id);
    EXPECT_EQ(l.code, 0) << id;
    return l.text;
}

// ---- help anchors ------------------------------------------------------

// The named property and operation ids as the public header spells them,
// from the identifier table that the build reads out of the header, so that
// the names come from outside the help table.
std::map<int, std::string> NamedIdsFromHeader() {
    struct Row {
        const char* group;
        const char* name;
        int value;
    };
#define PI_IDENTIFIER(group, name, value, pythonClass, pythonName) {group, name, value},
    static const Row kRows[] = {
#include "IdentifierTable.inc"
    };
#undef PI_IDENTIFIER
    std::map<int, std::string> named;
    for (const Row& row : kRows) {
        if (std::string(row.group) != "_PROPERTY_ID" || row.value < 23001 || row.value > 23475)
            continue;
        EXPECT_EQ(named.count(row.value), 0u) << "two names for " << row.value;
        named[row.value] = row.name;
    }
    return named;
}

TEST(GetHelpPath, EveryNamedIdGivesItsAnchor) {
    const std::map<int, std::string> named = NamedIdsFromHeader();
    ASSERT_EQ(named.size(), 469u) << "could not read the identifiers from the header";
    std::set<std::string> names;
    for (const auto& [id, name] : named) {
        EXPECT_TRUE(names.insert(name).second) << "two ids for " << name;
        const bool operation = id >= 23356;
        EXPECT_EQ(name.rfind("OP_", 0) == 0, operation) << id << " " << name;
        const Lookup l = Help(id);
        EXPECT_EQ(l.code, 0) << id;
        EXPECT_EQ(l.text, (operation ? "actions.htm#" : "properties.htm#") + name) << id;
    }
}

TEST(GetHelpPath, UnnamedIdsInTheBandAreUnknownExceptTheOperationsPage) {
    const std::map<int, std::string> named = NamedIdsFromHeader();
    ASSERT_FALSE(named.empty());
    std::vector<int> unknown;
    for (int id = 23001; id <= 23475; ++id) {
        if (named.count(id))
            continue;
        const Lookup l = Help(id);
        if (id == 23419) {
            EXPECT_EQ(l.code, 0);
            EXPECT_EQ(l.text, "actions.htm");
            continue;
        }
        EXPECT_EQ(l.code, kNotFound) << id;
        EXPECT_EQ(l.text, "") << id;
        unknown.push_back(id);
    }
    EXPECT_EQ(unknown, (std::vector<int>{23098, 23356, 23389, 23417, 23454}));
}

TEST(GetHelpPath, OutsideTheBandIsUnknownAndEmptiesTheOutput) {
    for (int id : {0, -1, 1, 23000, 23476, 24000, 23001 + 65536, INT_MIN, INT_MAX}) {
        const Lookup l = Help(id);
        EXPECT_EQ(l.code, kNotFound) << id;
        EXPECT_EQ(l.text, "") << id;
    }
}

TEST(GetHelpPath, OutputWithoutBufferAndReuse) {
    RVX::Strings::CStringVar out;
    EXPECT_EQ(PI::GetHelpPath(23419, out), 0);
    EXPECT_EQ(out, "actions.htm");
    EXPECT_EQ(PI::GetHelpPath(23098, out), kNotFound);
    EXPECT_TRUE(out.IsEmpty());
    EXPECT_EQ(PI::GetHelpPath(23067, out), 0);
    EXPECT_EQ(out, "properties.htm#ADAPTER_NAME");
    EXPECT_EQ(out.Length(), std::string("properties.htm#ADAPTER_NAME").size());
}

TEST(HelpTable, ViewAgreesWithLookup) {
    size_t count = 0;
    const PI::HelpRow* rows = PI::HelpRows(count);
    ASSERT_EQ(count, 470u);
    EXPECT_EQ(rows[0].id, 23001);
    std::set<int> ids;
    for (size_t i = 0; i < count; ++i) {
        EXPECT_TRUE(ids.insert(rows[i].id).second) << rows[i].id;
        EXPECT_EQ(Help(rows[i].id).text, rows[i].path);
    }
}

// ---- icons -------------------------------------------------------------

bool In(const std::string& word, std::initializer_list<const char*> words) {
    for (const char* w : words)
        if (word == w)
            return true;
    return false;
}

std::vector<std::string> Parts(const std::string& name) {
    std::vector<std::string> parts;
    std::istringstream in(name);
    std::string part;
    while (std::getline(in, part, '_'))
        parts.push_back(part);
    return parts;
}

// Whether an image name is built from the parts the user interfaces know:
// kind[_activity]_state_{no|vemo}[_fgn][_ps][_bbt] for devices, and the
// short ssd_role_state[_fg|_ps][_vemo] for solid-state drives.
bool WellFormedImageName(const std::string& file) {
    const std::string suffix = ".gif";
    if (file.size() <= suffix.size() || file.compare(file.size() - 4, 4, suffix) != 0)
        return false;
    const std::vector<std::string> p = Parts(file.substr(0, file.size() - 4));
    size_t i = 0;
    auto take = [&](std::initializer_list<const char*> words) {
        if (i < p.size() && In(p[i], words)) {
            ++i;
            return true;
        }
        return false;
    };
    if (p[0] == "debug" || p[0] == "task")
        return p.size() == 1 || (p[0] == "task" && p.size() == 2 && In(p[1], {"fail", "warn"}));
    if (p[0] == "ssd") {
        i = 1;
        if (!take({"no", "op", "rb", "ho", "de", "mi"}) || !take({"ok", "wr", "fa"}))
            return false;
        take({"fg", "ps"});
        take({"vemo"});
        return i == p.size();
    }
    if (p[0] == "cachecade") {
        i = 1;
        if (!take({"ok", "warn", "fail"}))
            return false;
        take({"vemo"});
        return i == p.size();
    }
    if (!take({"adapter",  "alarm", "battery", "cdrom", "dedicated", "chassis", "fan",
               "hotspare", "juke",  "raid",    "net",   "opt",       "drive",   "drivemiss",
               "power",    "print", "proc",    "scan",  "tape",      "thermo",  "worm"}))
        return false;
    if (p[0] == "drive" || p[0] == "raid")
        take({"op", "rbld", "wait"});
    if (!take({"ok", "warn", "fail"}) && !(p[0] == "net" && take({"init"})))
        return false;
    if (!take({"no", "vemo"}))
        return false;
    take({"fgn"});
    take({"ps"});
    take({"bbt"});
    return i == p.size();
}

TEST(IconTable, RowsAreDistinctAndWellNamed) {
    size_t count = 0;
    const PI::IconRow* rows = PI::IconRows(count);
    ASSERT_EQ(count, 206u);
    EXPECT_EQ(rows[0].id, 24001);
    EXPECT_EQ(rows[1].id, 24000);
    std::set<int> ids;
    std::set<std::string> files;
    for (size_t i = 0; i < count; ++i) {
        EXPECT_GE(rows[i].id, 24000);
        EXPECT_LE(rows[i].id, 24223);
        EXPECT_TRUE(ids.insert(rows[i].id).second) << rows[i].id;
        EXPECT_TRUE(files.insert(rows[i].file).second) << rows[i].file;
        EXPECT_TRUE(WellFormedImageName(rows[i].file)) << rows[i].id << " " << rows[i].file;
        EXPECT_EQ(Icon(rows[i].id).text, rows[i].file);
    }
}

TEST(GetIconPath, GapsOfTheBandAreUnknown) {
    std::set<int> gaps;
    for (int id = 24134; id <= 24139; ++id)
        gaps.insert(id);
    for (int id = 24152; id <= 24157; ++id)
        gaps.insert(id);
    for (int id : {24207, 24208, 24213, 24214, 24215, 24216})
        gaps.insert(id);
    for (int id = 23990; id <= 24230; ++id) {
        const Lookup l = Icon(id);
        if (id < 24000 || id > 24223 || gaps.count(id)) {
            EXPECT_EQ(l.code, kNotFound) << id;
            EXPECT_EQ(l.text, "") << id;
        } else {
            EXPECT_EQ(l.code, 0) << id;
            EXPECT_FALSE(l.text.empty()) << id;
        }
    }
    EXPECT_EQ(Icon(INT_MIN).code, kNotFound);
    EXPECT_EQ(Icon(INT_MAX).code, kNotFound);
}

// Images no drive state selects (those are checked with the drive states below).
TEST(GetIconPath, KnownImages) {
    EXPECT_EQ(IconFile(24000), "adapter_ok_no.gif");
    EXPECT_EQ(IconFile(24001), "adapter_fail_no.gif");
    EXPECT_EQ(IconFile(24051), "raid_ok_no.gif");
    EXPECT_EQ(IconFile(24077), "drivemiss_fail_no.gif");
    EXPECT_EQ(IconFile(24127), "task.gif");
    EXPECT_EQ(IconFile(24133), "worm_ok_no.gif");
    EXPECT_EQ(IconFile(24223), "debug.gif");
}

// ---- drive status icons ------------------------------------------------

enum class Variants { Full, RebuildOnly, NormalPowerOnly, Missing };

struct StateClass {
    std::vector<int> states;
    const char* disk;
    const char* ssd;
    Variants variants;
};

// Drive states by the image family they select.
const std::vector<StateClass>& StateClasses() {
    static const std::vector<StateClass> classes = {
        {{0, 1, 40000, 40024, 40084, 40293, -1}, "drive_ok", "ssd_no_ok", Variants::Full},
        {{40180}, "drive_warn", "ssd_no_wr", Variants::Full},
        {{40093}, "drive_op_ok", "ssd_op_ok", Variants::Full},
        {{40176}, "drive_op_warn", "ssd_op_wr", Variants::Full},
        {{40259}, "drive_fail", "ssd_no_fa", Variants::Full},
        {{40095, 40181, 40261, 40034}, "drive_op_fail", "ssd_op_fa", Variants::Full},
        {{40096, 40154, 40295, 40105, 40155}, "drive_rbld_ok", "ssd_rb_ok", Variants::RebuildOnly},
        {{40177, 40294, 40296}, "drive_rbld_warn", "ssd_rb_wr", Variants::RebuildOnly},
        {{40097}, "hotspare_ok", "ssd_ho_ok", Variants::Full},
        {{40178}, "hotspare_warn", "ssd_ho_wr", Variants::Full},
        {{40098}, "dedicated_ok", "ssd_de_ok", Variants::Full},
        {{40179}, "dedicated_warn", "ssd_de_wr", Variants::Full},
        {{40023}, "drivemiss_fail_no", "ssd_mi_fa", Variants::Missing},
        {{40038, 40182}, "drive_op_fail", "ssd_op_fa", Variants::NormalPowerOnly},
        {{40307}, "drive_op_ok", "ssd_op_ok", Variants::NormalPowerOnly},
        {{40308}, "drive_op_warn", "ssd_op_wr", Variants::NormalPowerOnly},
    };
    return classes;
}

bool HasImage(Variants v, bool powerSave, bool foreign) {
    switch (v) {
    case Variants::Full:
        return !(powerSave && foreign);
    case Variants::RebuildOnly:
        return !powerSave && !foreign;
    case Variants::NormalPowerOnly:
    case Variants::Missing:
        return !powerSave;
    }
    return false;
}

std::string ExpectedImage(const StateClass& c, bool ssd, bool powerSave, bool overlay,
                          bool foreign) {
    if (!HasImage(c.variants, powerSave, foreign)) {
        // Shown as an ok disk, whatever the media.
        return std::string("drive_ok_") + (overlay ? "vemo" : "no") + (foreign ? "_fgn" : "") +
               ".gif";
    }
    if (c.variants == Variants::Missing)
        return std::string(ssd ? c.ssd : c.disk) + ".gif";
    if (ssd) {
        // The one crossed pair: an SSD warning in power save.
        if (std::string(c.ssd) == "ssd_no_wr" && powerSave)
            overlay = !overlay;
        return std::string(c.ssd) + (foreign ? "_fg" : "") + (powerSave ? "_ps" : "") +
               (overlay ? "_vemo" : "") + ".gif";
    }
    return std::string(c.disk) + (overlay ? "_vemo" : "_no") + (foreign ? "_fgn" : "") +
           (powerSave ? "_ps" : "") + ".gif";
}

TEST(GetPDStatusIcon, EveryStateAndVariantFollowsItsFamily) {
    const int ssdMedia[] = {PI::MEDIA_TYPE_SSD};
    const int diskMedia[] = {0, 40292, 40294};
    const int normalPower[] = {PI::POWER_STATE_NORMAL, 0, 40129};
    for (const StateClass& c : StateClasses()) {
        for (int state : c.states) {
            for (bool ssd : {false, true}) {
                for (int media :
                     ssd ? std::vector<int>(std::begin(ssdMedia), std::end(ssdMedia))
                         : std::vector<int>(std::begin(diskMedia), std::end(diskMedia))) {
                    for (bool powerSave : {false, true}) {
                        for (int power : powerSave ? std::vector<int>{PI::POWER_STATE_POWER_SAVE}
                                                   : std::vector<int>(std::begin(normalPower),
                                                                      std::end(normalPower))) {
                            for (bool overlay : {false, true}) {
                                for (bool foreign : {false, true}) {
                                    const int icon =
                                        PI::GetPDStatusIcon(state, media, overlay, foreign, power);
                                    EXPECT_EQ(IconFile(icon),
                                              ExpectedImage(c, ssd, powerSave, overlay, foreign))
                                        << "state " << state << " media " << media << " power "
                                        << power << " overlay " << overlay << " foreign "
                                        << foreign;
                                }
                            }
                        }
                    }
                }
            }
        }
    }
}

TEST(GetPDStatusIcon, DocumentedCases) {
    EXPECT_EQ(PI::GetPDStatusIcon(40177, 40293, true, false, 40084), 24212);
    EXPECT_EQ(PI::GetPDStatusIcon(40177, 40293, true, true, 40084), 24081);
    EXPECT_EQ(PI::GetPDStatusIcon(40023, 40293, false, true, 40128), 24079);
    EXPECT_EQ(PI::GetPDStatusIcon(40023, 0, false, true, 40128), 24079);
    EXPECT_EQ(PI::GetPDStatusIcon(40180, 40293, true, false, 40128), 24187);
    EXPECT_EQ(PI::GetPDStatusIcon(40180, 40293, false, false, 40128), 24188);
    EXPECT_EQ(PI::GetPDStatusIcon(40180, 40293, true, false, 40084), 24184);
    EXPECT_EQ(PI::GetPDStatusIcon(0, 0, false, false, 0), 24078);
}

TEST(PDStatusTable, RowsAreExactlyTheCombinationsWithAnImage) {
    // Class numbers in the order of StateClasses(); the first is 01 (ok).
    const int classNumbers[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x08, 0x09,
                                0x0A, 0x0B, 0x0C, 0x0D, 0x10, 0x15, 0x17, 0x18};
    std::map<int, Variants> variantsOf;
    for (size_t i = 0; i < StateClasses().size(); ++i)
        variantsOf[classNumbers[i]] = StateClasses()[i].variants;
    // Classes that share a family with one listed above.
    for (int c : {0x07, 0x0E, 0x0F})
        variantsOf[c] = Variants::Full;
    for (int c : {0x11, 0x12, 0x13, 0x14})
        variantsOf[c] = Variants::RebuildOnly;
    variantsOf[0x16] = Variants::NormalPowerOnly;
    ASSERT_EQ(variantsOf.size(), 24u);

    size_t expectedRows = 0;
    for (const auto& [c, v] : variantsOf)
        for (bool powerSave : {false, true})
            for (bool foreign : {false, true})
                expectedRows += HasImage(v, powerSave, foreign) ? 2 * 2 : 0; // overlay x media

    size_t count = 0;
    const PI::PDStatusRow* rows = PI::PDStatusRows(count);
    EXPECT_EQ(count, expectedRows);
    ASSERT_EQ(count, 220u);
    EXPECT_EQ(rows[0].key, 0x01001111u);
    std::set<unsigned int> keys;
    for (size_t i = 0; i < count; ++i) {
        const unsigned int key = rows[i].key;
        EXPECT_TRUE(keys.insert(key).second) << std::hex << key;
        EXPECT_EQ(key & 0x00FF0000u, 0u) << std::hex << key;
        const int c = static_cast<int>(key >> 24);
        const unsigned int media = (key >> 12) & 0xF, power = (key >> 8) & 0xF;
        const unsigned int overlay = (key >> 4) & 0xF, foreign = key & 0xF;
        ASSERT_TRUE(variantsOf.count(c)) << std::hex << key;
        for (unsigned int digit : {media, power, overlay, foreign})
            EXPECT_TRUE(digit == 1 || digit == 2) << std::hex << key;
        EXPECT_TRUE(HasImage(variantsOf[c], power == 2, foreign == 1)) << std::hex << key;
        EXPECT_NE(rows[i].icon, 24051);
    }
}

TEST(IsAdapterType, ExactlyTheEightControllerKinds) {
    const std::set<int> adapters = {19007, 19009, 19010, 19012, 19037, 19038, 19039, 19042};
    for (int type = 18990; type <= 19100; ++type)
        EXPECT_EQ(PI::IsAdapterType(static_cast<PI::_OBJECT_TYPE>(type)), adapters.count(type) == 1)
            << type;
    EXPECT_FALSE(PI::IsAdapterType(static_cast<PI::_OBJECT_TYPE>(0)));
    EXPECT_FALSE(PI::IsAdapterType(static_cast<PI::_OBJECT_TYPE>(-19007)));
    EXPECT_FALSE(PI::IsAdapterType(static_cast<PI::_OBJECT_TYPE>(INT_MAX)));
}

} // namespace
