#pragma once

// Read-only views of the constant tables behind the helper functions, for
// tools that list them and for measuring the lookups. The rows are returned
// in table order; the lookups of Helpers.h give what a first-match search of
// these rows in that order gives.

#include "PI/Export.h"
#include "PI/Identifiers.h"

#include <cstddef>

namespace PI {

// A property or operation id and its help path ("properties.htm#NAME",
// "actions.htm#NAME", or the bare page "actions.htm").
struct HelpRow {
    int id;
    const char* path;
};

// An icon id (24000s) and its image file name.
struct IconRow {
    int id;
    const char* file;
};

// A drive status key and the icon id it selects. The key packs, from the most
// significant hex digits: state class (two digits), media (1 disk, 2 SSD),
// power (1 normal, 2 power save), overlay (1 with, 2 plain), foreign (1 yes,
// 2 no), then three zero digits.
struct PDStatusRow {
    unsigned int key;
    int icon;
};

// A SCSI sense key (0-15), its text and its grade.
struct SenseKeyRow {
    unsigned char key;
    const char* text;
    _SEVERITY severity;
};

// An additional sense code and qualifier and their text.
struct SenseRow {
    unsigned char asc;
    unsigned char ascq;
    const char* text;
};

// Each returns the first row and sets `count` to the number of rows.
PI_API const HelpRow* HelpRows(size_t& count);
PI_API const IconRow* IconRows(size_t& count);
PI_API const PDStatusRow* PDStatusRows(size_t& count);
PI_API const SenseKeyRow* SenseKeyRows(size_t& count);
PI_API const SenseRow* SenseRows(size_t& count);

} // namespace PI
