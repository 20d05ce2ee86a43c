#pragma once

// The change list reader and Patch on arbitrary input. Whatever the input,
// reading returns 0 or a known code and leaves its outputs alone on failure;
// a list that reads is applied to a fixed inventory, which it either changes
// or leaves exactly as it was; and a list written again reads back with the
// same changes.

#include "Check.h"

#include "RecordFieldsEqual.h"

#include <PI/Diff.h>

#include <cstdint>
#include <string>

namespace pi_fuzz {

inline bool IsChangeListCode(unsigned int code) {
    return code == PI::RESULT_OUT_OF_MEMORY ||
           (code >= PI::INTERCHANGE_SYNTAX && code <= PI::INTERCHANGE_BAD_TEXT) ||
           (code >= PI::DIFF_BAD_PATH && code <= PI::DIFF_CONFLICT);
}

// Two objects with properties, a logical drive with pieces, an event: a
// target with every kind of list that paths can name.
inline const PI::COperation& PatchTarget() {
    static const PI::COperation op = [] {
        PI::COperation o;
        for (unsigned long long id = 1; id <= 2; ++id) {
            PI::CObject object(id, static_cast<PI::_OBJECT_TYPE>(19020));
            object.Parents = {7};
            PI::CProperty p(static_cast<PI::_PROPERTY_ID>(23276), false);
            p.SetValue(static_cast<unsigned long long>(40000 + id));
            object.Properties = {p, p};
            o.Objects.push_back(object);
        }
        PI::CLogicalDrive ld;
        ld.Containers.resize(1);
        ld.Containers[0].Drives.resize(2);
        ld.Containers[0].Drives[1].ObjectID = 2;
        ld.GHS = {3};
        o.LogicalDrives = {ld};
        o.Events.resize(1);
        return o;
    }();
    return op;
}

inline void CheckChangeList(const std::uint8_t* data, size_t size) {
    const char* text = reinterpret_cast<const char*>(data);
    PI::ChangeList changes;
    PI::ERecordClass cls = PI::ERecordClass::Level;
    PI::CInterchangeError error;
    const unsigned int code = PI::ReadChangeList(text, size, cls, changes, &error);
    if (code != 0) {
        PI_FUZZ_CHECK(IsChangeListCode(code), std::to_string(code));
        PI_FUZZ_CHECK(changes.empty() && cls == PI::ERecordClass::Level,
                      "a refused list changed the output");
        PI_FUZZ_CHECK(!error.Expected.empty(), "no message");
        return;
    }
    std::string again;
    PI_FUZZ_CHECK(PI::WriteChangeList(changes, cls, again) == 0, "write");
    PI::ChangeList reread;
    PI_FUZZ_CHECK(PI::ReadChangeList(again.data(), again.size(), cls, reread, &error) == 0,
                  error.Text() + " " + again);
    // Values pass through as JSON; a number with more digits than a double
    // holds may come back in other digits, so kinds and paths are compared.
    PI_FUZZ_CHECK(reread.size() == changes.size(), again);
    for (size_t k = 0; k < changes.size(); ++k)
        PI_FUZZ_CHECK(reread[k].Kind == changes[k].Kind && reread[k].Path == changes[k].Path &&
                          reread[k].From == changes[k].From &&
                          reread[k].Old.empty() == changes[k].Old.empty() &&
                          reread[k].New.empty() == changes[k].New.empty(),
                      again);

    PI::COperation target = PatchTarget();
    const unsigned int applied = PI::Patch(target, changes, &error);
    if (applied != 0) {
        PI_FUZZ_CHECK(IsChangeListCode(applied), std::to_string(applied));
        const std::string difference = PI::Testing::FirstDifference(target, PatchTarget());
        PI_FUZZ_CHECK(difference.empty(), "a refused patch changed " + difference);
    }
}

} // namespace pi_fuzz
