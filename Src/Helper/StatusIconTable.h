#pragma once

#include "PI/Tables.h"

#include <cstddef>

namespace PI {

// The parts of a drive status key; the state classes run from 0x01 to 0x18.
constexpr unsigned int kFirstStateClass = 0x01;
constexpr unsigned int kLastStateClass = 0x18;
constexpr unsigned int MEDIA_DIGIT_DISK = 1, MEDIA_DIGIT_SSD = 2;
constexpr unsigned int POWER_DIGIT_NORMAL = 1, POWER_DIGIT_SAVE = 2;
constexpr unsigned int OVERLAY_DIGIT_ON = 1, OVERLAY_DIGIT_OFF = 2;
constexpr unsigned int FOREIGN_DIGIT_YES = 1, FOREIGN_DIGIT_NO = 2;

constexpr unsigned int PDStatusKey(unsigned int stateClass, unsigned int media, unsigned int power,
                                   unsigned int overlay, unsigned int foreign) {
    return stateClass << 24 | media << 12 | power << 8 | overlay << 4 | foreign;
}

constexpr size_t kPDStatusRowCount = 220;
// Drive status keys and the icons they select.
extern const PDStatusRow kPDStatusRows[kPDStatusRowCount];

// The icon shown for a drive of `state`: the icon of the first row holding
// its key, unless there is no such row or the row holds no drive image; then
// the ok image of a rotating disk with the drive's overlay and foreign marks.
int FindPDStatusIcon(int state, bool ssd, bool powerSave, bool overlay, bool foreign) noexcept;

// True for the drive states that choose an image family of their own; every
// other state is shown as an ok drive whatever it means.
bool IsListedPDState(int state) noexcept;

} // namespace PI
