#pragma once

#include "PI/Export.h"
#include "PI/Identifiers.h"

#include <RVX/Strings.h>

#include <string>

namespace PI {

// ---- Drive identity of SATA drives -------------------------------------

// Derives vendor and product from an ATA model string. Always returns 0.
PI_API int SplitSATAModelName(const std::string& model, std::string& vendor, std::string& product);
// The nominal spindle speed of a drive by vendor and product; 7200 unless a
// rule knows better. Always returns 0. A HITACHI/HGST product shorter than 3
// characters, or a KORMANI product with a known prefix shorter than 7, throws
// std::out_of_range.
PI_API int GetSATARPM(const std::string& vendor, const std::string& product,
                      unsigned long long& rpm);
// Strips vendor decoration from a serial number in place. Always returns 0.
PI_API int CorrectSerialNumber(const std::string& vendor, const std::string& product,
                               std::string& serial);
// The nominal speed class in thousands of RPM (4.2, 5.4, 7.2, 10, 15, 20).
// Always returns 0.
PI_API int RoundRPM(unsigned long long rpm, float& thousands);

// ---- SCSI sense data ---------------------------------------------------

// The text and grade of a sense key (low four bits). Always returns 0.
PI_API int TranslateSenseKey(unsigned char key, std::string& text, _SEVERITY& severity);
// The text of an additional sense code and qualifier: 0, or 20000 with an
// empty text when the pair is unknown.
PI_API int TranslateSenseASC(unsigned char asc, unsigned char ascq, std::string& text);

// ---- Help anchors and icons --------------------------------------------

// The help page and anchor of a property or operation id ("properties.htm#NAME",
// "actions.htm#NAME"): 0, or 20000 with an empty path.
PI_API int GetHelpPath(int id, RVX::Strings::CStringVar& path);
// The image file of an icon id: 0, or 20000 with an empty name.
PI_API int GetIconPath(int id, RVX::Strings::CStringVar& file);
// The status icon id of a physical drive. `state` is a drive state value
// (40000s); `media` MEDIA_TYPE_SSD means a solid-state drive, anything else a
// rotating disk; `power` POWER_STATE_POWER_SAVE means power save, anything
// else normal. A combination without an image of its own (a foreign drive in
// power save, a foreign drive rebuilding) gets the ok image of a rotating
// disk with the same overlay and foreign marks.
PI_API int GetPDStatusIcon(int state, int media, bool overlay, bool foreign, int power);
// True for the eight controller kinds.
PI_API bool IsAdapterType(_OBJECT_TYPE type);

// ---- Text and numbers --------------------------------------------------

// Copies `in` without leading and trailing white space (C isspace) to `out`.
PI_API void Trim(const RVX::Strings::CStringRef& in, RVX::Strings::CStringVar& out);
PI_API void Trim(RVX::Strings::CStringRef& in, RVX::Strings::CStringVar& out);
// Drops the bytes that cannot stand in an XML element name: ( ) blank # . / < = >.
// Always returns 0.
PI_API int GenXMLNodeConformantString(const std::string& in, std::string& out);
// True when `text` equals the language string `stringId`, ignoring case;
// with `conform`, the language string is first made XML-name conformant.
PI_API bool MatchNLS(const std::string& text, int stringId, bool conform);
// Scales a byte count to the largest unit that keeps the value at 1 or more
// (up to petabytes). Always returns 1.
PI_API int ConvertBytesToOtherUnit(unsigned long long bytes, float& value, _UNITS& unit);
// Bytes [first, end) of `data` as upper-case hex pairs separated by blanks.
// The caller guarantees that `data` holds `end` bytes. Always returns true.
PI_API bool HexDump(std::string& out, unsigned char* data, unsigned int first, unsigned int end);

} // namespace PI
