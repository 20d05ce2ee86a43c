#include "PI/Helpers.h"

#include "SenseTable.h"

namespace PI {

int TranslateSenseKey(unsigned char key, std::string& text, _SEVERITY& severity) {
    text.clear();
    // The upper bits of the sense byte carry the filemark, end-of-medium and
    // incorrect-length flags, which say nothing about the key.
    const SenseKeyRow& row = kSenseKeyRows[key & 0x0F];
    text = row.text;
    severity = row.severity;
    return 0;
}

int TranslateSenseASC(unsigned char asc, unsigned char ascq, std::string& text) {
    text.clear();
    const Detail::FoundText found = FindSenseText(asc, ascq);
    if (found.text == nullptr)
        return static_cast<int>(RESULT_NOT_FOUND);
    text.assign(found.text, found.length);
    return static_cast<int>(RESULT_SUCCESS);
}

} // namespace PI
