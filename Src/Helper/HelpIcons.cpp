#include "PI/Helpers.h"

#include "HelpTable.h"
#include "IconTable.h"
#include "StatusIconTable.h"

namespace PI {
namespace {

// Copies a found text, or reports the id unknown; the output is emptied
// first either way so that a failed lookup leaves nothing stale behind.
int CopyFound(const char* found, RVX::Strings::CStringVar& out) {
    out.Empty();
    if (found == nullptr)
        return static_cast<int>(RESULT_NOT_FOUND);
    out.AllocCopy(found);
    return static_cast<int>(RESULT_SUCCESS);
}

// The drive states grouped by the image family they select; anything not
// named here is shown as an ok drive.
unsigned int StateClass(int state) {
    switch (state) {
    case PD_STATE_WARNING:
        return 0x02;
    case PD_STATE_OPERATION_1:
        return 0x03;
    case PD_STATE_OPERATION_WARNING_1:
        return 0x04;
    case PD_STATE_FAILED:
        return 0x05;
    case PD_STATE_OPERATION_FAILED_1:
        return 0x06;
    case PD_STATE_OPERATION_FAILED_2:
        return 0x07;
    case PD_STATE_REBUILD_1:
    case PD_STATE_REBUILD_2:
        return 0x08;
    case PD_STATE_REBUILD_WARNING_1:
        return 0x09;
    case PD_STATE_GLOBAL_HOTSPARE:
        return 0x0A;
    case PD_STATE_GLOBAL_HOTSPARE_WARNING:
        return 0x0B;
    case PD_STATE_DEDICATED_HOTSPARE:
        return 0x0C;
    case PD_STATE_DEDICATED_HOTSPARE_WARNING:
        return 0x0D;
    case PD_STATE_OPERATION_FAILED_3:
        return 0x0E;
    case PD_STATE_OPERATION_FAILED_4:
        return 0x0F;
    case PD_STATE_MISSING:
        return 0x10;
    case PD_STATE_REBUILD_3:
        return 0x11;
    case PD_STATE_REBUILD_WARNING_2:
        return 0x12;
    case PD_STATE_REBUILD_4:
    case PD_STATE_REBUILD_5:
        return 0x13;
    case PD_STATE_REBUILD_WARNING_3:
        return 0x14;
    case PD_STATE_OPERATION_FAILED_5:
        return 0x15;
    case PD_STATE_OPERATION_FAILED_6:
        return 0x16;
    case PD_STATE_OPERATION_2:
        return 0x17;
    case PD_STATE_OPERATION_WARNING_2:
        return 0x18;
    default:
        return 0x01;
    }
}

// raid_ok_no.gif is no drive image: a row holding it is shown as an ok disk.
constexpr int ICON_RAID_OK_PLAIN = 24051;
// The ok images of a rotating disk, shown when no row fits.
constexpr int ICON_DRIVE_OK_PLAIN = 24078;
constexpr int ICON_DRIVE_OK_PLAIN_FOREIGN = 24079;
constexpr int ICON_DRIVE_OK_OVERLAY = 24080;
constexpr int ICON_DRIVE_OK_OVERLAY_FOREIGN = 24081;

} // namespace

int GetHelpPath(int id, RVX::Strings::CStringVar& path) {
    return CopyFound(FindHelpPath(id), path);
}

int GetIconPath(int id, RVX::Strings::CStringVar& file) {
    return CopyFound(FindIconFile(id), file);
}

int GetPDStatusIcon(int state, int media, bool overlay, bool foreign, int power) {
    const unsigned int key =
        PDStatusKey(StateClass(state), media == MEDIA_TYPE_SSD ? MEDIA_DIGIT_SSD : MEDIA_DIGIT_DISK,
                    power == POWER_STATE_POWER_SAVE ? POWER_DIGIT_SAVE : POWER_DIGIT_NORMAL,
                    overlay ? OVERLAY_DIGIT_ON : OVERLAY_DIGIT_OFF,
                    foreign ? FOREIGN_DIGIT_YES : FOREIGN_DIGIT_NO);
    const int icon = FindPDStatusIcon(key);
    if (icon != 0 && icon != ICON_RAID_OK_PLAIN)
        return icon;
    // Combinations without an image of their own (a foreign drive in power
    // save, a foreign drive rebuilding) are shown as an ok disk, SSD or not.
    if (overlay)
        return foreign ? ICON_DRIVE_OK_OVERLAY_FOREIGN : ICON_DRIVE_OK_OVERLAY;
    return foreign ? ICON_DRIVE_OK_PLAIN_FOREIGN : ICON_DRIVE_OK_PLAIN;
}

bool IsAdapterType(_OBJECT_TYPE type) {
    switch (type) {
    case OBJECT_TYPE_ADAPTER_1:
    case OBJECT_TYPE_ADAPTER_2:
    case OBJECT_TYPE_ADAPTER_3:
    case OBJECT_TYPE_ADAPTER_4:
    case OBJECT_TYPE_ADAPTER_5:
    case OBJECT_TYPE_ADAPTER_6:
    case OBJECT_TYPE_ADAPTER_7:
    case OBJECT_TYPE_ADAPTER_8:
        return true;
    default:
        return false;
    }
}

} // namespace PI
