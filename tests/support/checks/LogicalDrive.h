#pragma once

// CLogicalDrive(xml) on arbitrary text: it builds a record or throws
// boost::bad_lexical_cast (a missing or non-numeric attribute), nothing else;
// the record is consistent with the text and copies and compares as a value;
// read straight from the text or through the markup parser, it is the same.

#include "Check.h"

#include "RecordFieldsEqual.h"

#include <PI/Identifiers.h>
#include <PI/LogicalDrive.h>
#include <PI/ScanHook.h>
#include <RVX/Exceptions.h>
#include <RVX/Markup.h>

#include <boost/lexical_cast.hpp>

#include <string>
#include <vector>

namespace pi_fuzz {

inline size_t Occurrences(const std::string& text, const char* what) {
    size_t count = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++count;
    return count;
}

// An index one past the end raises the index exception.
template <class Get> void ExpectIndexFault(Get get, const char* what) {
    try {
        get();
    } catch (const RVX::Exceptions::CException& e) {
        PI_FUZZ_CHECK(e.GetCode() == PI::EXCEPTION_INDEX_OUT_OF_RANGE, what);
        return;
    }
    Fail(__FILE__, __LINE__, std::string("no index fault from ") + what);
}

// The document read through the markup parser alone, when the library has
// the hook that turns the direct reading off; false when it threw.
inline bool ReadThroughParser(const std::string& text, PI::CLogicalDrive& ld) {
    struct Restore {
        ~Restore() { PI::Test::SetLogicalDriveScan(true); }
    } restore;
    PI::Test::SetLogicalDriveScan(false);
    try {
        ld = PI::CLogicalDrive(text);
    } catch (const boost::bad_lexical_cast&) {
        return false;
    }
    return true;
}

inline void CheckLogicalDrive(const std::uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    PI::CLogicalDrive ld;
    bool read = true;
    try {
        ld = PI::CLogicalDrive(text);
    } catch (const boost::bad_lexical_cast&) {
        read = false; // a missing, empty or non-numeric attribute: documented
    }
    // Read straight from the text or through the parser, the same record.
    if (PI::Test::SetLogicalDriveScan(true)) {
        PI::CLogicalDrive parsed;
        PI_FUZZ_CHECK(ReadThroughParser(text, parsed) == read, Printable(text));
        // Every field, also those the records' == leaves out (sizes, id lists).
        const std::string difference = read ? PI::Testing::FirstDifference(ld, parsed) : "";
        PI_FUZZ_CHECK(difference.empty(), difference + " in " + Printable(text));
    }
    if (!read)
        return;

    RVX::XML::CMarkup markup;
    if (!markup.SetDoc(text)) {
        // Text that does not parse gives the default record.
        PI_FUZZ_CHECK(ld == PI::CLogicalDrive() && ld.Size == 0 &&
                          ld.Units == PI::UNITS_LOGICAL_DRIVE_DEFAULT && ld.GHS.empty() &&
                          ld.DHS.empty() && ld.ALD.empty() && ld.Containers.empty(),
                      Printable(text));
    }

    // Everything in the record comes from an element of the text.
    size_t drives = 0;
    for (const PI::CContainer& container : ld.Containers)
        drives += container.Drives.size();
    PI_FUZZ_CHECK(ld.Containers.size() <= Occurrences(text, "<Container"), Printable(text));
    PI_FUZZ_CHECK(drives + ld.GHS.size() + ld.DHS.size() <= Occurrences(text, "<Drive"),
                  Printable(text));
    PI_FUZZ_CHECK(ld.ALD.size() <= Occurrences(text, "<LogicalDrive"), Printable(text));
    PI_FUZZ_CHECK(ld.Properties.empty() && ld.Attribute1 == 0 && ld.Attribute2 == 0,
                  Printable(text));

    // A value: copies are deep and equal, in every list.
    const PI::CLogicalDrive copy(ld);
    PI_FUZZ_CHECK(copy == ld && copy.GHS == ld.GHS && copy.DHS == ld.DHS && copy.ALD == ld.ALD,
                  Printable(text));
    PI::CLogicalDrive assigned;
    assigned = copy;
    PI_FUZZ_CHECK(assigned == ld, Printable(text));
    if (!ld.Containers.empty() && !ld.Containers[0].Drives.empty()) {
        assigned.GetContainer(0).GetDrive(0).StartAddress ^= 1;
        PI_FUZZ_CHECK(!(assigned == ld) && copy == ld, Printable(text));
    }

    // Getters stop at the end of each list.
    ExpectIndexFault([&] { ld.GetContainer(ld.GetContainerCount()); }, "GetContainer");
    ExpectIndexFault([&] { ld.GetGHS(ld.GetGHSCount()); }, "GetGHS");
    ExpectIndexFault([&] { ld.GetDHS(ld.GetDHSCount()); }, "GetDHS");
    ExpectIndexFault([&] { ld.GetALD(ld.GetALDCount()); }, "GetALD");
    for (PI::CContainer& container : ld.Containers)
        ExpectIndexFault([&] { container.GetDrive(container.GetDriveCount()); }, "GetDrive");
}

} // namespace pi_fuzz
