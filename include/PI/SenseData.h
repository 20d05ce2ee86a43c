#pragma once

// Decoding of raw SCSI sense buffers, as a drive returns them with a failed
// command: fixed format (response code 70h current, 71h deferred) and
// descriptor format (72h current, 73h deferred). The texts of the key and of
// the ASC/ASCQ pair come from TranslateSenseKey and TranslateSenseASC.

#include "PI/Export.h"

#include <cstddef>
#include <string>

namespace PI {

// Longest sense data a device may return.
constexpr size_t SENSE_MAX_LENGTH = 252;
// Fixed format keeps ASC and ASCQ in bytes 12 and 13, descriptor format in 2 and 3.
constexpr size_t SENSE_FIXED_MIN_LENGTH = 14;
constexpr size_t SENSE_DESCRIPTOR_MIN_LENGTH = 4;

// Why a buffer could not be decoded; SENSE_OK when it could.
enum _SENSE_DECODE : int {
    SENSE_OK = 0,
    SENSE_EMPTY = 1,          // no bytes at all
    SENSE_TOO_LONG = 2,       // more than SENSE_MAX_LENGTH bytes
    SENSE_UNKNOWN_FORMAT = 3, // response code not 70h to 73h
    SENSE_TOO_SHORT = 4,      // shorter than its format's minimum
};

struct PI_API CSenseData {
    unsigned char ResponseCode = 0; // 70h to 73h, without the valid bit
    bool Descriptor = false;        // descriptor format (72h/73h)
    bool Deferred = false;          // 71h/73h: the error belongs to an earlier command
    unsigned char Key = 0;          // low four bits only
    unsigned char ASC = 0;
    unsigned char ASCQ = 0;
    // The information field (a failing block address for medium errors):
    // fixed format bytes 3 to 6 when bit 7 of byte 0 is set; descriptor
    // format the first information descriptor (type 00h) with its valid bit.
    bool InformationValid = false;
    unsigned long long Information = 0;
};

// Decodes `length` bytes at `bytes` into `out`. On failure `out` is reset to
// its defaults and `error` says in one line what is wrong; on success
// `error` is emptied. Never reads outside the buffer.
PI_API _SENSE_DECODE DecodeSenseData(const unsigned char* bytes, size_t length, CSenseData& out,
                                     std::string& error);

} // namespace PI
