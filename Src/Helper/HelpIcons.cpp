#include "PI/Helpers.h"

#include "HelpTable.h"
#include "IconTable.h"
#include "StatusIconTable.h"

namespace PI {
namespace {

// Copies a found text, or reports the id unknown; the output is emptied
// first either way so that a failed lookup leaves nothing stale behind.
int CopyFound(Detail::FoundText found, RVX::Strings::CStringVar& out) {
    out.Empty();
    if (found.text == nullptr)
        return static_cast<int>(RESULT_NOT_FOUND);
    out.AllocCopy(found.text, found.length);
    return static_cast<int>(RESULT_SUCCESS);
}

} // namespace

int GetHelpPath(int id, RVX::Strings::CStringVar& path) {
    return CopyFound(FindHelpPath(id), path);
}

int GetIconPath(int id, RVX::Strings::CStringVar& file) {
    return CopyFound(FindIconFile(id), file);
}

int GetPDStatusIcon(int state, int media, bool overlay, bool foreign, int power) {
    return FindPDStatusIcon(state, media == MEDIA_TYPE_SSD, power == POWER_STATE_POWER_SAVE,
                            overlay, foreign);
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
