#pragma once

// Direct reading of a logical drive configuration document of the shape the
// agent writes, without building the markup parser's tree.

#include "PI/LogicalDrive.h"

#include <string>

namespace PI {
namespace Internal {

// Reads `xml` into `drive`, a default record, when the whole text keeps to
// the usual shape: the configuration element with its containers and drives,
// the three id lists at the top level, each at most once, all numbers plain
// decimal, every element closed, only blanks and comments between elements,
// and elements of other names only as empty leaves. Such a text is
// well-formed and the markup parser reads it to the same record.
//
// Returns false for anything else and leaves `drive` a default record; the
// caller then reads the text through the markup parser, which decides what
// such a text means (or that it is refused). Throws std::bad_alloc.
bool ScanLogicalDrive(const std::string& xml, CLogicalDrive& drive);

} // namespace Internal
} // namespace PI
