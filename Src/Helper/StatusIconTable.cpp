#include "StatusIconTable.h"

#include <iterator>
#include <limits>

namespace PI {

// Rows in ascending key order. A full state class has six variants per media:
// at normal power every overlay/foreign combination, in power save only the
// drives that are not foreign. Rebuild classes have only normal power and not
// foreign; the missing class and 0x15-0x18 only normal power.
// 0x02002212 and 0x02002222 (SSD warning in power save) hold their images
// crossed, as the user interfaces have always shown them.
constexpr PDStatusRow kPDStatusRows[kPDStatusRowCount] = {
    {0x01001111, 24081}, // drive_ok_vemo_fgn.gif
    {0x01001112, 24080}, // drive_ok_vemo.gif
    {0x01001121, 24079}, // drive_ok_no_fgn.gif
    {0x01001122, 24078}, // drive_ok_no.gif
    {0x01001212, 24082}, // drive_ok_vemo_ps.gif
    {0x01001222, 24083}, // drive_ok_no_ps.gif
    {0x01002111, 24180}, // ssd_no_ok_fg_vemo.gif
    {0x01002112, 24178}, // ssd_no_ok_vemo.gif
    {0x01002121, 24179}, // ssd_no_ok_fg.gif
    {0x01002122, 24177}, // ssd_no_ok.gif
    {0x01002212, 24182}, // ssd_no_ok_ps_vemo.gif
    {0x01002222, 24181}, // ssd_no_ok_ps.gif
    {0x02001111, 24115}, // drive_warn_vemo_fgn.gif
    {0x02001112, 24114}, // drive_warn_vemo.gif
    {0x02001121, 24113}, // drive_warn_no_fgn.gif
    {0x02001122, 24112}, // drive_warn_no.gif
    {0x02001212, 24116}, // drive_warn_vemo_ps.gif
    {0x02001222, 24117}, // drive_warn_no_ps.gif
    {0x02002111, 24186}, // ssd_no_wr_fg_vemo.gif
    {0x02002112, 24184}, // ssd_no_wr_vemo.gif
    {0x02002121, 24185}, // ssd_no_wr_fg.gif
    {0x02002122, 24183}, // ssd_no_wr.gif
    {0x02002212, 24187}, // ssd_no_wr_ps.gif
    {0x02002222, 24188}, // ssd_no_wr_ps_vemo.gif
    {0x03001111, 24095}, // drive_op_ok_vemo_fgn.gif
    {0x03001112, 24093}, // drive_op_ok_vemo.gif
    {0x03001121, 24092}, // drive_op_ok_no_fgn.gif
    {0x03001122, 24090}, // drive_op_ok_no.gif
    {0x03001212, 24094}, // drive_op_ok_vemo_ps.gif
    {0x03001222, 24091}, // drive_op_ok_no_ps.gif
    {0x03002111, 24198}, // ssd_op_ok_fg_vemo.gif
    {0x03002112, 24196}, // ssd_op_ok_vemo.gif
    {0x03002121, 24197}, // ssd_op_ok_fg.gif
    {0x03002122, 24195}, // ssd_op_ok.gif
    {0x03002212, 24200}, // ssd_op_ok_ps_vemo.gif
    {0x03002222, 24199}, // ssd_op_ok_ps.gif
    {0x04001111, 24101}, // drive_op_warn_vemo_fgn.gif
    {0x04001112, 24099}, // drive_op_warn_vemo.gif
    {0x04001121, 24098}, // drive_op_warn_no_fgn.gif
    {0x04001122, 24096}, // drive_op_warn_no.gif
    {0x04001212, 24100}, // drive_op_warn_vemo_ps.gif
    {0x04001222, 24097}, // drive_op_warn_no_ps.gif
    {0x04002111, 24204}, // ssd_op_wr_fg_vemo.gif
    {0x04002112, 24202}, // ssd_op_wr_vemo.gif
    {0x04002121, 24203}, // ssd_op_wr_fg.gif
    {0x04002122, 24201}, // ssd_op_wr.gif
    {0x04002212, 24206}, // ssd_op_wr_ps_vemo.gif
    {0x04002222, 24205}, // ssd_op_wr_ps.gif
    {0x05001111, 24074}, // drive_fail_vemo_fgn.gif
    {0x05001112, 24073}, // drive_fail_vemo.gif
    {0x05001121, 24072}, // drive_fail_no_fgn.gif
    {0x05001122, 24071}, // drive_fail_no.gif
    {0x05001212, 24075}, // drive_fail_vemo_ps.gif
    {0x05001222, 24076}, // drive_fail_no_ps.gif
    {0x05002111, 24174}, // ssd_no_fa_fg_vemo.gif
    {0x05002112, 24172}, // ssd_no_fa_vemo.gif
    {0x05002121, 24173}, // ssd_no_fa_fg.gif
    {0x05002122, 24171}, // ssd_no_fa.gif
    {0x05002212, 24176}, // ssd_no_fa_ps_vemo.gif
    {0x05002222, 24175}, // ssd_no_fa_ps.gif
    {0x06001111, 24089}, // drive_op_fail_vemo_fgn.gif
    {0x06001112, 24087}, // drive_op_fail_vemo.gif
    {0x06001121, 24086}, // drive_op_fail_no_fgn.gif
    {0x06001122, 24084}, // drive_op_fail_no.gif
    {0x06001212, 24088}, // drive_op_fail_vemo_ps.gif
    {0x06001222, 24085}, // drive_op_fail_no_ps.gif
    {0x06002111, 24192}, // ssd_op_fa_fg_vemo.gif
    {0x06002112, 24190}, // ssd_op_fa_vemo.gif
    {0x06002121, 24191}, // ssd_op_fa_fg.gif
    {0x06002122, 24189}, // ssd_op_fa.gif
    {0x06002212, 24194}, // ssd_op_fa_ps_vemo.gif
    {0x06002222, 24193}, // ssd_op_fa_ps.gif
    {0x07001111, 24089}, // drive_op_fail_vemo_fgn.gif
    {0x07001112, 24087}, // drive_op_fail_vemo.gif
    {0x07001121, 24086}, // drive_op_fail_no_fgn.gif
    {0x07001122, 24084}, // drive_op_fail_no.gif
    {0x07001212, 24088}, // drive_op_fail_vemo_ps.gif
    {0x07001222, 24085}, // drive_op_fail_no_ps.gif
    {0x07002111, 24192}, // ssd_op_fa_fg_vemo.gif
    {0x07002112, 24190}, // ssd_op_fa_vemo.gif
    {0x07002121, 24191}, // ssd_op_fa_fg.gif
    {0x07002122, 24189}, // ssd_op_fa.gif
    {0x07002212, 24194}, // ssd_op_fa_ps_vemo.gif
    {0x07002222, 24193}, // ssd_op_fa_ps.gif
    {0x08001112, 24105}, // drive_rbld_ok_vemo.gif
    {0x08001122, 24102}, // drive_rbld_ok_no.gif
    {0x08002112, 24210}, // ssd_rb_ok_vemo.gif
    {0x08002122, 24209}, // ssd_rb_ok.gif
    {0x09001112, 24107}, // drive_rbld_warn_vemo.gif
    {0x09001122, 24106}, // drive_rbld_warn_no.gif
    {0x09002112, 24212}, // ssd_rb_wr_vemo.gif
    {0x09002122, 24211}, // ssd_rb_wr.gif
    {0x0A001111, 24037}, // hotspare_ok_vemo_fgn.gif
    {0x0A001112, 24036}, // hotspare_ok_vemo.gif
    {0x0A001121, 24035}, // hotspare_ok_no_fgn.gif
    {0x0A001122, 24034}, // hotspare_ok_no.gif
    {0x0A001212, 24038}, // hotspare_ok_vemo_ps.gif
    {0x0A001222, 24039}, // hotspare_ok_no_ps.gif
    {0x0A002111, 24161}, // ssd_ho_ok_fg_vemo.gif
    {0x0A002112, 24159}, // ssd_ho_ok_vemo.gif
    {0x0A002121, 24160}, // ssd_ho_ok_fg.gif
    {0x0A002122, 24158}, // ssd_ho_ok.gif
    {0x0A002212, 24163}, // ssd_ho_ok_ps_vemo.gif
    {0x0A002222, 24162}, // ssd_ho_ok_ps.gif
    {0x0B001111, 24043}, // hotspare_warn_vemo_fgn.gif
    {0x0B001112, 24042}, // hotspare_warn_vemo.gif
    {0x0B001121, 24041}, // hotspare_warn_no_fgn.gif
    {0x0B001122, 24040}, // hotspare_warn_no.gif
    {0x0B001212, 24044}, // hotspare_warn_vemo_ps.gif
    {0x0B001222, 24045}, // hotspare_warn_no_ps.gif
    {0x0B002111, 24167}, // ssd_ho_wr_fg_vemo.gif
    {0x0B002112, 24165}, // ssd_ho_wr_vemo.gif
    {0x0B002121, 24166}, // ssd_ho_wr_fg.gif
    {0x0B002122, 24164}, // ssd_ho_wr.gif
    {0x0B002212, 24169}, // ssd_ho_wr_ps_vemo.gif
    {0x0B002222, 24168}, // ssd_ho_wr_ps.gif
    {0x0C001111, 24017}, // dedicated_ok_vemo_fgn.gif
    {0x0C001112, 24016}, // dedicated_ok_vemo.gif
    {0x0C001121, 24015}, // dedicated_ok_no_fgn.gif
    {0x0C001122, 24014}, // dedicated_ok_no.gif
    {0x0C001212, 24018}, // dedicated_ok_vemo_ps.gif
    {0x0C001222, 24019}, // dedicated_ok_no_ps.gif
    {0x0C002111, 24143}, // ssd_de_ok_fg_vemo.gif
    {0x0C002112, 24141}, // ssd_de_ok_vemo.gif
    {0x0C002121, 24142}, // ssd_de_ok_fg.gif
    {0x0C002122, 24140}, // ssd_de_ok.gif
    {0x0C002212, 24145}, // ssd_de_ok_ps_vemo.gif
    {0x0C002222, 24144}, // ssd_de_ok_ps.gif
    {0x0D001111, 24023}, // dedicated_warn_vemo_fgn.gif
    {0x0D001112, 24022}, // dedicated_warn_vemo.gif
    {0x0D001121, 24021}, // dedicated_warn_no_fgn.gif
    {0x0D001122, 24020}, // dedicated_warn_no.gif
    {0x0D001212, 24024}, // dedicated_warn_vemo_ps.gif
    {0x0D001222, 24025}, // dedicated_warn_no_ps.gif
    {0x0D002111, 24149}, // ssd_de_wr_fg_vemo.gif
    {0x0D002112, 24147}, // ssd_de_wr_vemo.gif
    {0x0D002121, 24148}, // ssd_de_wr_fg.gif
    {0x0D002122, 24146}, // ssd_de_wr.gif
    {0x0D002212, 24151}, // ssd_de_wr_ps_vemo.gif
    {0x0D002222, 24150}, // ssd_de_wr_ps.gif
    {0x0E001111, 24089}, // drive_op_fail_vemo_fgn.gif
    {0x0E001112, 24087}, // drive_op_fail_vemo.gif
    {0x0E001121, 24086}, // drive_op_fail_no_fgn.gif
    {0x0E001122, 24084}, // drive_op_fail_no.gif
    {0x0E001212, 24088}, // drive_op_fail_vemo_ps.gif
    {0x0E001222, 24085}, // drive_op_fail_no_ps.gif
    {0x0E002111, 24192}, // ssd_op_fa_fg_vemo.gif
    {0x0E002112, 24190}, // ssd_op_fa_vemo.gif
    {0x0E002121, 24191}, // ssd_op_fa_fg.gif
    {0x0E002122, 24189}, // ssd_op_fa.gif
    {0x0E002212, 24194}, // ssd_op_fa_ps_vemo.gif
    {0x0E002222, 24193}, // ssd_op_fa_ps.gif
    {0x0F001111, 24089}, // drive_op_fail_vemo_fgn.gif
    {0x0F001112, 24087}, // drive_op_fail_vemo.gif
    {0x0F001121, 24086}, // drive_op_fail_no_fgn.gif
    {0x0F001122, 24084}, // drive_op_fail_no.gif
    {0x0F001212, 24088}, // drive_op_fail_vemo_ps.gif
    {0x0F001222, 24085}, // drive_op_fail_no_ps.gif
    {0x0F002111, 24192}, // ssd_op_fa_fg_vemo.gif
    {0x0F002112, 24190}, // ssd_op_fa_vemo.gif
    {0x0F002121, 24191}, // ssd_op_fa_fg.gif
    {0x0F002122, 24189}, // ssd_op_fa.gif
    {0x0F002212, 24194}, // ssd_op_fa_ps_vemo.gif
    {0x0F002222, 24193}, // ssd_op_fa_ps.gif
    {0x10001111, 24077}, // drivemiss_fail_no.gif
    {0x10001112, 24077}, // drivemiss_fail_no.gif
    {0x10001121, 24077}, // drivemiss_fail_no.gif
    {0x10001122, 24077}, // drivemiss_fail_no.gif
    {0x10002111, 24170}, // ssd_mi_fa.gif
    {0x10002112, 24170}, // ssd_mi_fa.gif
    {0x10002121, 24170}, // ssd_mi_fa.gif
    {0x10002122, 24170}, // ssd_mi_fa.gif
    {0x11001112, 24105}, // drive_rbld_ok_vemo.gif
    {0x11001122, 24102}, // drive_rbld_ok_no.gif
    {0x11002112, 24210}, // ssd_rb_ok_vemo.gif
    {0x11002122, 24209}, // ssd_rb_ok.gif
    {0x12001112, 24107}, // drive_rbld_warn_vemo.gif
    {0x12001122, 24106}, // drive_rbld_warn_no.gif
    {0x12002112, 24212}, // ssd_rb_wr_vemo.gif
    {0x12002122, 24211}, // ssd_rb_wr.gif
    {0x13001112, 24105}, // drive_rbld_ok_vemo.gif
    {0x13001122, 24102}, // drive_rbld_ok_no.gif
    {0x13002112, 24210}, // ssd_rb_ok_vemo.gif
    {0x13002122, 24209}, // ssd_rb_ok.gif
    {0x14001112, 24107}, // drive_rbld_warn_vemo.gif
    {0x14001122, 24106}, // drive_rbld_warn_no.gif
    {0x14002112, 24212}, // ssd_rb_wr_vemo.gif
    {0x14002122, 24211}, // ssd_rb_wr.gif
    {0x15001111, 24089}, // drive_op_fail_vemo_fgn.gif
    {0x15001112, 24087}, // drive_op_fail_vemo.gif
    {0x15001121, 24086}, // drive_op_fail_no_fgn.gif
    {0x15001122, 24084}, // drive_op_fail_no.gif
    {0x15002111, 24192}, // ssd_op_fa_fg_vemo.gif
    {0x15002112, 24190}, // ssd_op_fa_vemo.gif
    {0x15002121, 24191}, // ssd_op_fa_fg.gif
    {0x15002122, 24189}, // ssd_op_fa.gif
    {0x16001111, 24089}, // drive_op_fail_vemo_fgn.gif
    {0x16001112, 24087}, // drive_op_fail_vemo.gif
    {0x16001121, 24086}, // drive_op_fail_no_fgn.gif
    {0x16001122, 24084}, // drive_op_fail_no.gif
    {0x16002111, 24192}, // ssd_op_fa_fg_vemo.gif
    {0x16002112, 24190}, // ssd_op_fa_vemo.gif
    {0x16002121, 24191}, // ssd_op_fa_fg.gif
    {0x16002122, 24189}, // ssd_op_fa.gif
    {0x17001111, 24095}, // drive_op_ok_vemo_fgn.gif
    {0x17001112, 24093}, // drive_op_ok_vemo.gif
    {0x17001121, 24092}, // drive_op_ok_no_fgn.gif
    {0x17001122, 24090}, // drive_op_ok_no.gif
    {0x17002111, 24198}, // ssd_op_ok_fg_vemo.gif
    {0x17002112, 24196}, // ssd_op_ok_vemo.gif
    {0x17002121, 24197}, // ssd_op_ok_fg.gif
    {0x17002122, 24195}, // ssd_op_ok.gif
    {0x18001111, 24101}, // drive_op_warn_vemo_fgn.gif
    {0x18001112, 24099}, // drive_op_warn_vemo.gif
    {0x18001121, 24098}, // drive_op_warn_no_fgn.gif
    {0x18001122, 24096}, // drive_op_warn_no.gif
    {0x18002111, 24204}, // ssd_op_wr_fg_vemo.gif
    {0x18002112, 24202}, // ssd_op_wr_vemo.gif
    {0x18002121, 24203}, // ssd_op_wr_fg.gif
    {0x18002122, 24201}, // ssd_op_wr.gif
};

namespace {

// The drive states grouped by the image family they select; a state not
// listed is shown as an ok drive.
struct StateClassRow {
    int state;
    unsigned int stateClass;
};

constexpr unsigned int kOkStateClass = 0x01;

constexpr StateClassRow kStateClassRows[] = {
    {PD_STATE_REBUILD_1, 0x08},
    {PD_STATE_REBUILD_2, 0x08},
    {PD_STATE_REBUILD_4, 0x13},
    {PD_STATE_REBUILD_5, 0x13},
    {PD_STATE_REBUILD_WARNING_1, 0x09},
    {PD_STATE_OPERATION_FAILED_5, 0x15},
    {PD_STATE_OPERATION_1, 0x03},
    {PD_STATE_OPERATION_FAILED_1, 0x06},
    {PD_STATE_MISSING, 0x10},
    {PD_STATE_OPERATION_FAILED_4, 0x0F},
    {PD_STATE_GLOBAL_HOTSPARE, 0x0A},
    {PD_STATE_DEDICATED_HOTSPARE, 0x0C},
    {PD_STATE_OPERATION_WARNING_1, 0x04},
    {PD_STATE_FAILED, 0x05},
    {PD_STATE_REBUILD_3, 0x11},
    {PD_STATE_OPERATION_FAILED_3, 0x0E},
    {PD_STATE_REBUILD_WARNING_2, 0x12},
    {PD_STATE_OPERATION_2, 0x17},
    {PD_STATE_OPERATION_WARNING_2, 0x18},
    {PD_STATE_REBUILD_WARNING_3, 0x14},
    {PD_STATE_WARNING, 0x02},
    {PD_STATE_GLOBAL_HOTSPARE_WARNING, 0x0B},
    {PD_STATE_DEDICATED_HOTSPARE_WARNING, 0x0D},
    {PD_STATE_OPERATION_FAILED_2, 0x07},
    {PD_STATE_OPERATION_FAILED_6, 0x16},
};

// The listed states lie close together (40023-40308), so a byte per state of
// their band maps them.
constexpr int LowestListedState() {
    int lowest = kStateClassRows[0].state;
    for (const StateClassRow& row : kStateClassRows)
        lowest = row.state < lowest ? row.state : lowest;
    return lowest;
}

constexpr int HighestListedState() {
    int highest = kStateClassRows[0].state;
    for (const StateClassRow& row : kStateClassRows)
        highest = row.state > highest ? row.state : highest;
    return highest;
}

constexpr int kFirstState = LowestListedState();
constexpr int kLastState = HighestListedState();
constexpr unsigned int kStateSpan = static_cast<unsigned int>(kLastState - kFirstState) + 1;
static_assert(kStateSpan <= 1024, "the listed states stay within a small band");

struct StateClassIndex {
    unsigned char stateClass[kStateSpan];
    int duplicates; // rows whose state an earlier row has
    int badClass;   // rows whose class lies outside the status key classes
};

constexpr StateClassIndex BuildStateClassIndex() {
    StateClassIndex index{};
    for (unsigned char& c : index.stateClass)
        c = 0;
    for (const StateClassRow& row : kStateClassRows) {
        if (row.stateClass < kFirstStateClass || row.stateClass > kLastStateClass)
            ++index.badClass;
        if (index.stateClass[row.state - kFirstState] != 0)
            ++index.duplicates;
        else
            index.stateClass[row.state - kFirstState] = static_cast<unsigned char>(row.stateClass);
    }
    for (unsigned char& c : index.stateClass)
        if (c == 0)
            c = kOkStateClass;
    return index;
}

constexpr StateClassIndex kStateClassIndex = BuildStateClassIndex();

constexpr unsigned int StateClass(int state) {
    // Unsigned, so that states below the band wrap above it instead of
    // overflowing.
    const unsigned int offset =
        static_cast<unsigned int>(state) - static_cast<unsigned int>(kFirstState);
    return offset < kStateSpan ? kStateClassIndex.stateClass[offset] : kOkStateClass;
}

// A first-match scan of the state classes, for checking the index against.
constexpr unsigned int ScannedStateClass(int state) {
    for (const StateClassRow& row : kStateClassRows)
        if (row.state == state)
            return row.stateClass;
    return kOkStateClass;
}

constexpr bool StateClassIndexMatchesScan() {
    for (int state = kFirstState - 1; state <= kLastState + 1; ++state)
        if (StateClass(state) != ScannedStateClass(state))
            return false;
    return StateClass(0) == kOkStateClass &&
           StateClass(std::numeric_limits<int>::min()) == kOkStateClass &&
           StateClass(std::numeric_limits<int>::max()) == kOkStateClass;
}

static_assert(kStateClassIndex.duplicates == 0, "every listed state has one class");
static_assert(kStateClassIndex.badClass == 0, "every listed class is a status key class");
static_assert(StateClassIndexMatchesScan(), "the state index gives the class the list gives");

constexpr unsigned int kDigitCombinations = 16; // media, power, overlay, foreign: 1 or 2 each
constexpr unsigned int kStatusSlots = (kLastStateClass - kFirstStateClass + 1) * kDigitCombinations;

constexpr unsigned int Slot(unsigned int stateClass, unsigned int media, unsigned int power,
                            unsigned int overlay, unsigned int foreign) {
    return (stateClass - kFirstStateClass) * kDigitCombinations + (media - 1) * 8 +
           (power - 1) * 4 + (overlay - 1) * 2 + (foreign - 1);
}

// The slot of a well-formed key, or kStatusSlots for any other key.
constexpr unsigned int StatusSlot(unsigned int key) {
    const unsigned int stateClass = key >> 24;
    const unsigned int media = (key >> 12) & 0xF;
    const unsigned int power = (key >> 8) & 0xF;
    const unsigned int overlay = (key >> 4) & 0xF;
    const unsigned int foreign = key & 0xF;
    const bool digitsValid = media >= 1 && media <= 2 && power >= 1 && power <= 2 && overlay >= 1 &&
                             overlay <= 2 && foreign >= 1 && foreign <= 2;
    if (stateClass < kFirstStateClass || stateClass > kLastStateClass || !digitsValid ||
        (key & 0x00FF0000u) != 0)
        return kStatusSlots;
    return Slot(stateClass, media, power, overlay, foreign);
}

// raid_ok_no.gif is no drive image: a row holding it is shown as an ok disk.
constexpr int ICON_RAID_OK_PLAIN = 24051;
// The ok images of a rotating disk, shown when no row fits.
constexpr int ICON_DRIVE_OK_PLAIN = 24078;
constexpr int ICON_DRIVE_OK_PLAIN_FOREIGN = 24079;
constexpr int ICON_DRIVE_OK_OVERLAY = 24080;
constexpr int ICON_DRIVE_OK_OVERLAY_FOREIGN = 24081;

// Combinations without an image of their own (a foreign drive in power save,
// a foreign drive rebuilding) are shown as an ok disk, SSD or not.
constexpr int FallbackIcon(bool overlay, bool foreign) {
    if (overlay)
        return foreign ? ICON_DRIVE_OK_OVERLAY_FOREIGN : ICON_DRIVE_OK_OVERLAY;
    return foreign ? ICON_DRIVE_OK_PLAIN_FOREIGN : ICON_DRIVE_OK_PLAIN;
}

// The icon shown for every slot, the fallback already applied, so that a
// lookup is one access.
struct StatusIndex {
    short icon[kStatusSlots];
    int malformed;  // rows whose key is no well-formed status key
    int duplicates; // rows whose key an earlier row has
};

constexpr StatusIndex BuildStatusIndex() {
    StatusIndex index{};
    for (const PDStatusRow& row : kPDStatusRows) {
        const unsigned int slot = StatusSlot(row.key);
        if (slot == kStatusSlots)
            ++index.malformed;
        else if (index.icon[slot] != 0)
            ++index.duplicates;
        else
            index.icon[slot] = static_cast<short>(row.icon);
    }
    for (unsigned int slot = 0; slot < kStatusSlots; ++slot) {
        const bool overlay = (slot & 2) == 0;
        const bool foreign = (slot & 1) == 0;
        if (index.icon[slot] == 0 || index.icon[slot] == ICON_RAID_OK_PLAIN)
            index.icon[slot] = static_cast<short>(FallbackIcon(overlay, foreign));
    }
    return index;
}

constexpr StatusIndex kStatusIndex = BuildStatusIndex();

constexpr int IndexedIcon(int state, bool ssd, bool powerSave, bool overlay, bool foreign) {
    return kStatusIndex.icon[Slot(StateClass(state), ssd ? MEDIA_DIGIT_SSD : MEDIA_DIGIT_DISK,
                                  powerSave ? POWER_DIGIT_SAVE : POWER_DIGIT_NORMAL,
                                  overlay ? OVERLAY_DIGIT_ON : OVERLAY_DIGIT_OFF,
                                  foreign ? FOREIGN_DIGIT_YES : FOREIGN_DIGIT_NO)];
}

// The icon a first-match scan of the rows gives, fallback included, for
// checking the index against.
constexpr int ScannedIcon(unsigned int stateClass, bool ssd, bool powerSave, bool overlay,
                          bool foreign) {
    const unsigned int key = PDStatusKey(stateClass, ssd ? MEDIA_DIGIT_SSD : MEDIA_DIGIT_DISK,
                                         powerSave ? POWER_DIGIT_SAVE : POWER_DIGIT_NORMAL,
                                         overlay ? OVERLAY_DIGIT_ON : OVERLAY_DIGIT_OFF,
                                         foreign ? FOREIGN_DIGIT_YES : FOREIGN_DIGIT_NO);
    for (const PDStatusRow& row : kPDStatusRows)
        if (row.key == key)
            return row.icon != ICON_RAID_OK_PLAIN ? row.icon : FallbackIcon(overlay, foreign);
    return FallbackIcon(overlay, foreign);
}

// Every listed state and one unlisted state, in every combination of the four
// marks.
constexpr bool IndexMatchesScan() {
    for (size_t i = 0; i <= std::size(kStateClassRows); ++i) {
        const int state = i < std::size(kStateClassRows) ? kStateClassRows[i].state : 0;
        for (unsigned int marks = 0; marks < kDigitCombinations; ++marks) {
            const bool ssd = (marks & 8) != 0, powerSave = (marks & 4) != 0,
                       overlay = (marks & 2) != 0, foreign = (marks & 1) != 0;
            if (IndexedIcon(state, ssd, powerSave, overlay, foreign) !=
                ScannedIcon(ScannedStateClass(state), ssd, powerSave, overlay, foreign))
                return false;
        }
    }
    return true;
}

constexpr bool KeysAscending() {
    for (size_t i = 1; i < kPDStatusRowCount; ++i)
        if (kPDStatusRows[i - 1].key >= kPDStatusRows[i].key)
            return false;
    return true;
}

constexpr bool IconsInBand() {
    for (const PDStatusRow& row : kPDStatusRows)
        if (row.icon < 24000 || row.icon > 24223)
            return false;
    return true;
}

static_assert(kPDStatusRows[0].key == 0x01001111u, "the table starts with the ok disk key");
static_assert(kStatusIndex.malformed == 0, "every key is a well-formed status key");
static_assert(kStatusIndex.duplicates == 0, "every key has one row");
static_assert(KeysAscending(), "keys ascend");
static_assert(IconsInBand(), "every row selects an icon id");
static_assert(IndexMatchesScan(), "the index gives the icon a first-match scan gives");

} // namespace

int FindPDStatusIcon(int state, bool ssd, bool powerSave, bool overlay, bool foreign) noexcept {
    return IndexedIcon(state, ssd, powerSave, overlay, foreign);
}

bool IsListedPDState(int state) noexcept {
    return StateClass(state) != kOkStateClass;
}

const PDStatusRow* PDStatusRows(size_t& count) {
    count = kPDStatusRowCount;
    return kPDStatusRows;
}

} // namespace PI
