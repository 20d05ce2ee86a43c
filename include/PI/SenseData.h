#pragma once

// Decoding of raw SCSI sense buffers, as a drive returns them with a failed
// command: fixed format (response code 70h current, 71h deferred) and
// descriptor format (72h current, 73h deferred). The texts of the key and of
// the ASC/ASCQ pair come from TranslateSenseKey and TranslateSenseASC.
//
// The additional sense length (byte 7) bounds the sense data as much as the
// buffer does: bytes after it are not sense data, and a buffer that ends
// before it is decoded as far as its fields are whole.

#include "PI/Export.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

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

// What the three sense-key specific bytes mean; the sense key decides.
enum _SENSE_KEY_SPECIFIC : int {
    SKS_NONE = 0,            // the sense data has no such bytes
    SKS_FIELD_POINTER = 1,   // ILLEGAL REQUEST: the byte (and bit) in error
    SKS_RETRY_COUNT = 2,     // RECOVERED ERROR, MEDIUM ERROR, HARDWARE ERROR
    SKS_PROGRESS = 3,        // NO SENSE, NOT READY: progress of a long operation
    SKS_SEGMENT_POINTER = 4, // COPY ABORTED: the segment byte (and bit) in error
    SKS_UNIT_ATTENTION = 5,  // UNIT ATTENTION: whether the condition queue overflowed
    SKS_UNDEFINED = 6,       // any other key: only the raw bytes
};

// Descriptor types of descriptor-format sense data that are decoded; any
// other type keeps its type and raw bytes only.
enum _SENSE_DESCRIPTOR : int {
    SENSE_DESC_INFORMATION = 0x00,
    SENSE_DESC_COMMAND_SPECIFIC = 0x01,
    SENSE_DESC_KEY_SPECIFIC = 0x02,
    SENSE_DESC_FRU = 0x03,
    SENSE_DESC_STREAM = 0x04,
    SENSE_DESC_BLOCK = 0x05,
    SENSE_DESC_ATA_STATUS = 0x09,
    SENSE_DESC_PROGRESS = 0x0A,
    SENSE_DESC_FORWARDED = 0x0C,
    SENSE_DESC_DIRECT_ACCESS = 0x0D,
};

struct PI_API CSenseKeySpecific {
    _SENSE_KEY_SPECIFIC Kind = SKS_NONE;
    bool Valid = false;          // SKSV: the device filled the field in
    unsigned char Bytes[3] = {}; // as they stand, SKSV bit included
    // Field pointer and segment pointer share one layout.
    bool Command = false;           // field pointer: in the CDB (C/D set), not the parameter data
    bool SegmentDescriptor = false; // segment pointer: from a segment descriptor, not the list
    bool BitPointerValid = false;   // BPV
    unsigned char BitPointer = 0;   // 0 to 7
    unsigned short Pointer = 0;     // the byte of the CDB, parameter list or segment
    unsigned short RetryCount = 0;
    unsigned short Progress = 0; // completed part of a long operation, in 65536ths
    bool Overflow = false;       // unit attention conditions were lost
};

// The ATA registers of a SATA drive behind a SCSI translation: the ATA status
// return descriptor (09h), or fixed-format sense with ASC/ASCQ 00h/1Dh (ATA
// pass-through information available), which has room for the low bytes only.
struct PI_API CSenseAtaStatus {
    bool Extend = false; // 48-bit command: the upper count and LBA bytes count
    unsigned char Error = 0;
    unsigned char Status = 0;
    unsigned char Device = 0;
    unsigned short Count = 0;   // 8 bits, 16 with Extend
    unsigned long long Lba = 0; // 24 bits, 48 with Extend (the descriptor); fixed: high,mid,low
    // Fixed format only: more is in the ATA pass-through results log page.
    bool CountUpperNonZero = false;
    bool LbaUpperNonZero = false;
    unsigned char LogIndex = 0;
};

struct CSenseData;

// One descriptor of descriptor-format sense data. Only the members of its
// type are filled in, and only when Decoded.
struct PI_API CSenseDescriptor {
    unsigned char Type = 0;
    size_t Offset = 0;                  // of its first byte in the buffer
    unsigned char AdditionalLength = 0; // byte 1 as stated (0 when cut off)
    size_t Size = 0;        // bytes of it in the sense data (CSenseData::Bytes), type byte included
    bool Truncated = false; // the sense data ends before its additional length does
    bool Decoded = false;   // a known type, long enough for its fields
    // 00h, 0Dh
    bool Valid = false; // the information field is valid
    unsigned long long Information = 0;
    // 01h, 0Dh
    unsigned long long CommandSpecific = 0;
    // 02h, 0Dh
    CSenseKeySpecific KeySpecific;
    // 03h, 0Dh
    unsigned char Fru = 0;
    // 04h; IncorrectLength also 05h and 0Dh
    bool Filemark = false;
    bool EndOfMedium = false;
    bool IncorrectLength = false;
    // 09h
    CSenseAtaStatus Ata;
    // 0Ah: the progress of another operation, with that operation's key and codes
    unsigned char Key = 0;
    unsigned char ASC = 0;
    unsigned char ASCQ = 0;
    unsigned short Progress = 0; // in 65536ths
    // 0Ch: sense data that a copy manager forwards from another device
    bool ForwardedByTarget = false;    // FSDT: the target made it up itself
    unsigned char ForwardedSource = 0; // 0 the source device, 1 to 7 a destination device
    unsigned char ForwardedStatus = 0; // the SCSI status that came with it
    _SENSE_DECODE ForwardedResult = SENSE_EMPTY;
    std::vector<CSenseData> Forwarded; // the forwarded sense decoded, when it could be
};

struct PI_API CSenseData {
    unsigned char ResponseCode = 0; // 70h to 73h, without the valid bit
    bool Descriptor = false;        // descriptor format (72h/73h)
    bool Deferred = false;          // 71h/73h: the error belongs to an earlier command
    unsigned char Key = 0;          // low four bits only
    unsigned char ASC = 0;
    unsigned char ASCQ = 0;
    // The information field (a failing block address for medium errors):
    // fixed format bytes 3 to 6 with the valid bit 7 of byte 0; descriptor
    // format the first information descriptor (type 00h) with its valid bit.
    // Information holds the field as it stands even when it is not valid.
    bool InformationValid = false;
    unsigned long long Information = 0;

    unsigned char AdditionalLength = 0; // byte 7 as stated (0 when the buffer ends before it)
    bool Overflow = false;              // SDAT_OVFL: the device had more than it could return
    // Fixed format byte 2; descriptor format the stream (04h), block (05h) or
    // direct-access (0Dh) descriptor.
    bool Filemark = false;
    bool EndOfMedium = false;
    bool IncorrectLength = false;
    // Fixed format bytes 8 to 11; descriptor format type 01h or 0Dh.
    bool CommandSpecificValid = false; // present in the sense data
    unsigned long long CommandSpecific = 0;
    unsigned char Fru = 0; // field replaceable unit code; 0 when none
    CSenseKeySpecific KeySpecific;
    bool AtaValid = false; // ATA registers present (see CSenseAtaStatus)
    CSenseAtaStatus Ata;
    // Descriptor format: every descriptor in order. The fields above come
    // from the first descriptor that carries them.
    std::vector<CSenseDescriptor> Descriptors;
    // The sense data as decoded: the first Length bytes of the buffer. A
    // descriptor's raw bytes are Bytes[Offset, Offset + Size).
    std::vector<unsigned char> Bytes;

    // How much was decoded: the bytes of sense data (8 plus the additional
    // sense length, cut to the buffer). Truncated when the buffer or the
    // additional sense length ends inside a field or descriptor; Remark then
    // says in one line where decoding stopped, and it also names bytes after
    // the sense data that were left alone.
    size_t Length = 0;
    bool Truncated = false;
    std::string Remark;
};

// Decodes `length` bytes at `bytes` into `out`. On failure `out` is reset to
// its defaults and `error` says in one line what is wrong; on success
// `error` is emptied. Never reads outside the buffer.
PI_API _SENSE_DECODE DecodeSenseData(const unsigned char* bytes, size_t length, CSenseData& out,
                                     std::string& error);

// The decoded fields beyond key and ASC/ASCQ as labelled lines in English
// (information, flags, command-specific information, FRU, sense-key
// specific, ATA registers, each descriptor, where decoding stopped), in the
// order of the sense data. Appends to `rows`.
PI_API void DescribeSenseData(const CSenseData& data,
                              std::vector<std::pair<std::string, std::string>>& rows);

// The same as lines "label: value\n", appended to `text` (for logs).
PI_API void FormatSenseData(const CSenseData& data, std::string& text);

// The short name of a sense-key specific kind, as pitool's JSON and Python
// spell it: "none", "field_pointer", "retry_count", "progress",
// "segment_pointer", "unit_attention" or "undefined".
PI_API const char* SenseKeySpecificKindName(_SENSE_KEY_SPECIFIC kind) noexcept;

// The sense-key specific field in words, e.g. "progress 50.00% (32768/65536)"
// or "error in CDB byte 2 bit 5"; empty for SKS_NONE.
PI_API std::string DescribeKeySpecific(const CSenseKeySpecific& field);

} // namespace PI
