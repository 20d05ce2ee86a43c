#pragma once

// What changed between two records: a list of changes, each naming the
// element by a JSON Pointer into the record's interchange form, with the old
// and new values in that form; and the patch that applies such a list. The
// change list's JSON document is described in docs/diff.md.
//
// Elements with an identity are matched by it, not by their place: objects
// by ObjectID, properties by PropertyID and SecondaryID within their holder
// (the k-th of several with the same pair matches the k-th), member drives by
// ObjectID and StartAddress. Every other list matches by position. A
// property is one element: a change to any of its fields, its kind
// included, is one "changed" with the whole old and new property.

#include "PI/Export.h"
#include "PI/Interchange.h"
#include "PI/InterchangeError.h"
#include "PI/ObjectModel.h"

#include <cstddef>
#include <string>
#include <vector>

namespace PI {

// Result codes of Patch and ReadChangeList (besides 0, the INTERCHANGE_*
// codes and RESULT_OUT_OF_MEMORY).
constexpr unsigned int DIFF_BAD_PATH = 20110; // a path that names no element of the record
constexpr unsigned int DIFF_MISMATCH = 20111; // an old value that is not the record's
constexpr unsigned int DIFF_CONFLICT =
    20112; // two changes of one element, or a list left with gaps

enum class EChangeKind : unsigned int {
    Added,   // Path: the element's place in the new record; New: its value
    Removed, // Path: the element's place in the old record; Old: its value
    Changed, // Path: the field or leaf element; Old and New: its values
    Moved,   // Path: the element's place in the new record; From: its place in the old
};

enum class EDiffFields : unsigned int {
    Compared, // only what operator== compares: empty exactly when the records are equal
    All,      // every field, also those operator== leaves out
};

struct PI_API CChange {
    EChangeKind Kind = EChangeKind::Changed;
    std::string Path;
    std::string From; // Moved only
    std::string Old;  // JSON text of the interchange value; empty when the kind has none
    std::string New;  // likewise
    // Where the change stands in the change-list document that
    // ReadChangeList read it from (the byte offset of its first member's
    // name), which Patch's errors give; 0 for changes made otherwise. Not
    // compared.
    size_t Offset = 0;

    bool operator==(const CChange& other) const {
        return Kind == other.Kind && Path == other.Path && From == other.From && Old == other.Old &&
               New == other.New;
    }
    bool operator!=(const CChange& other) const { return !(*this == other); }
};

using ChangeList = std::vector<CChange>;

// "added", "removed", "changed", "moved".
PI_API const char* ChangeKindName(EChangeKind kind) noexcept;

// Appends the changes that turn `before` into `after` to `changes`. Returns 0,
// INTERCHANGE_BAD_BLOCK (a property holding a block malformed for its kind
// could not be written as a value) or RESULT_OUT_OF_MEMORY; on failure
// `changes` is as it was. `Record` is one of the classes of AnyRecord.
template <class Record>
PI_API unsigned int Diff(const Record& before, const Record& after, ChangeList& changes,
                         EDiffFields fields = EDiffFields::Compared,
                         CInterchangeError* error = nullptr);

// Applies `changes` to `record`. Every old value and every path is checked
// before anything is written: on any failure `record` is unchanged and the
// error names the offending change's path. Patch(a, Diff(a, b)) gives b,
// field by field when the diff was made with EDiffFields::All, and equal to
// b (operator==) with EDiffFields::Compared.
template <class Record>
PI_API unsigned int Patch(Record& record, const ChangeList& changes,
                          CInterchangeError* error = nullptr);

// The change list as a JSON document {"Version": 1, "Class": "COperation",
// "Changes": [...]}, appended to `out`.
PI_API unsigned int WriteChangeList(const ChangeList& changes, ERecordClass recordClass,
                                    std::string& out, CInterchangeError* error = nullptr);
// Reads such a document. On failure `changes` and `recordClass` are
// untouched, and the error's offset is that of the offending member's name
// (or of the nearest one before it).
PI_API unsigned int ReadChangeList(const char* text, size_t length, ERecordClass& recordClass,
                                   ChangeList& changes, CInterchangeError* error = nullptr);

} // namespace PI
