#include "PI/SenseData.h"

#include <charconv>
#include <cstdio>

namespace PI {

namespace {

constexpr unsigned char KEY_NO_SENSE = 0x0;
constexpr unsigned char KEY_RECOVERED_ERROR = 0x1;
constexpr unsigned char KEY_NOT_READY = 0x2;
constexpr unsigned char KEY_MEDIUM_ERROR = 0x3;
constexpr unsigned char KEY_HARDWARE_ERROR = 0x4;
constexpr unsigned char KEY_ILLEGAL_REQUEST = 0x5;
constexpr unsigned char KEY_UNIT_ATTENTION = 0x6;
constexpr unsigned char KEY_COPY_ABORTED = 0xA;

// Fewest additional-length bytes each decoded descriptor type needs for its fields.
size_t DescriptorMinimum(unsigned char type) {
    switch (type) {
    case SENSE_DESC_INFORMATION:
    case SENSE_DESC_COMMAND_SPECIFIC:
        return 10;
    case SENSE_DESC_KEY_SPECIFIC:
    case SENSE_DESC_PROGRESS:
        return 6;
    case SENSE_DESC_FRU:
    case SENSE_DESC_STREAM:
    case SENSE_DESC_BLOCK:
    case SENSE_DESC_FORWARDED:
        return 2;
    case SENSE_DESC_ATA_STATUS:
        return 12;
    case SENSE_DESC_DIRECT_ACCESS:
        return 22;
    default:
        return 0;
    }
}

std::string Hex2(unsigned int value) {
    char text[8];
    std::snprintf(text, sizeof text, "%02X", value & 0xFFu);
    return text;
}

// Builds a remark in place, so that the output's string keeps its capacity.
struct Remark {
    std::string& text;
    Remark& operator<<(const char* part) {
        text += part;
        return *this;
    }
    Remark& operator<<(size_t value) {
        char digits[20];
        text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
        return *this;
    }
    Remark& Type(unsigned char type) {
        const char hex[] = "0123456789ABCDEF";
        text += hex[type >> 4];
        text += hex[type & 0xF];
        text += 'h';
        return *this;
    }
};

unsigned long long BigEndian(const unsigned char* bytes, size_t count) {
    unsigned long long value = 0;
    for (size_t i = 0; i < count; ++i)
        value = (value << 8) | bytes[i];
    return value;
}

unsigned short BigEndian16(const unsigned char* bytes) {
    return static_cast<unsigned short>((bytes[0] << 8) | bytes[1]);
}

// The three sense-key specific bytes at `at`; their meaning follows the key.
CSenseKeySpecific KeySpecific(const unsigned char* at, unsigned char key) {
    CSenseKeySpecific field;
    field.Valid = (at[0] & 0x80) != 0;
    for (size_t i = 0; i < 3; ++i)
        field.Bytes[i] = at[i];
    const unsigned short value = BigEndian16(at + 1);
    switch (key) {
    case KEY_ILLEGAL_REQUEST:
    case KEY_COPY_ABORTED:
        field.Kind = key == KEY_ILLEGAL_REQUEST ? SKS_FIELD_POINTER : SKS_SEGMENT_POINTER;
        field.Command = key == KEY_ILLEGAL_REQUEST && (at[0] & 0x40) != 0;
        field.SegmentDescriptor = key == KEY_COPY_ABORTED && (at[0] & 0x20) != 0;
        field.BitPointerValid = (at[0] & 0x08) != 0;
        field.BitPointer = at[0] & 0x07;
        field.Pointer = value;
        break;
    case KEY_RECOVERED_ERROR:
    case KEY_MEDIUM_ERROR:
    case KEY_HARDWARE_ERROR:
        field.Kind = SKS_RETRY_COUNT;
        field.RetryCount = value;
        break;
    case KEY_NO_SENSE:
    case KEY_NOT_READY:
        field.Kind = SKS_PROGRESS;
        field.Progress = value;
        break;
    case KEY_UNIT_ATTENTION:
        field.Kind = SKS_UNIT_ATTENTION;
        field.Overflow = (at[0] & 0x01) != 0;
        break;
    default:
        field.Kind = SKS_UNDEFINED;
        break;
    }
    return field;
}

// Decodes the fields of one descriptor whose d.Size bytes (type byte
// first) are at `b`; `key` is the sense key of the enclosing sense data.
void DecodeDescriptor(const unsigned char* b, CSenseDescriptor& d, unsigned char key) {
    if (d.Size < 2 || DescriptorMinimum(d.Type) == 0 || d.Size - 2 < DescriptorMinimum(d.Type))
        return;
    d.Decoded = true;
    switch (d.Type) {
    case SENSE_DESC_INFORMATION:
        d.Valid = (b[2] & 0x80) != 0;
        d.Information = BigEndian(&b[4], 8);
        break;
    case SENSE_DESC_COMMAND_SPECIFIC:
        d.CommandSpecific = BigEndian(&b[4], 8);
        break;
    case SENSE_DESC_KEY_SPECIFIC:
        d.KeySpecific = KeySpecific(&b[4], key);
        break;
    case SENSE_DESC_FRU:
        d.Fru = b[3];
        break;
    case SENSE_DESC_STREAM:
        d.Filemark = (b[3] & 0x80) != 0;
        d.EndOfMedium = (b[3] & 0x40) != 0;
        d.IncorrectLength = (b[3] & 0x20) != 0;
        break;
    case SENSE_DESC_BLOCK:
        d.IncorrectLength = (b[3] & 0x20) != 0;
        break;
    case SENSE_DESC_ATA_STATUS: {
        // LBA bytes alternate: 6, 8, 10 hold bits 31:24, 39:32, 47:40 (used
        // with EXTEND only), 7, 9, 11 hold bits 7:0, 15:8, 23:16.
        CSenseAtaStatus& ata = d.Ata;
        ata.Extend = (b[2] & 0x01) != 0;
        ata.Error = b[3];
        ata.Count = b[5];
        ata.Lba = (static_cast<unsigned long long>(b[11]) << 16) | (b[9] << 8) | b[7];
        if (ata.Extend) {
            ata.Count = static_cast<unsigned short>(ata.Count | (b[4] << 8));
            ata.Lba |= (static_cast<unsigned long long>(b[10]) << 40) |
                       (static_cast<unsigned long long>(b[8]) << 32) |
                       (static_cast<unsigned long long>(b[6]) << 24);
        }
        ata.Device = b[12];
        ata.Status = b[13];
        break;
    }
    case SENSE_DESC_PROGRESS:
        d.Key = b[2] & 0x0F;
        d.ASC = b[3];
        d.ASCQ = b[4];
        d.Progress = BigEndian16(&b[6]);
        break;
    case SENSE_DESC_FORWARDED:
        d.ForwardedByTarget = (b[2] & 0x80) != 0;
        d.ForwardedSource = b[2] & 0x0F;
        d.ForwardedStatus = b[3];
        if (d.Size > 4) {
            CSenseData inner;
            std::string error;
            d.ForwardedResult = DecodeSenseData(&b[4], d.Size - 4, inner, error);
            if (d.ForwardedResult == SENSE_OK)
                d.Forwarded.push_back(std::move(inner));
        }
        break;
    case SENSE_DESC_DIRECT_ACCESS:
        d.Valid = (b[2] & 0x80) != 0;
        d.IncorrectLength = (b[2] & 0x20) != 0;
        d.KeySpecific = KeySpecific(&b[4], key);
        d.Fru = b[7];
        d.Information = BigEndian(&b[8], 8);
        d.CommandSpecific = BigEndian(&b[16], 8);
        break;
    default:
        break;
    }
}

// The fields of the whole sense data come from the first descriptor that
// carries each of them.
void Consolidate(CSenseData& out) {
    bool information = false, specific = false, fru = false, flags = false;
    for (const CSenseDescriptor& d : out.Descriptors) {
        if (!d.Decoded)
            continue;
        const bool direct = d.Type == SENSE_DESC_DIRECT_ACCESS;
        if ((d.Type == SENSE_DESC_INFORMATION || direct) && !information) {
            information = true;
            out.InformationValid = d.Valid;
            out.Information = d.Information;
        }
        if ((d.Type == SENSE_DESC_COMMAND_SPECIFIC || direct) && !out.CommandSpecificValid) {
            out.CommandSpecificValid = true;
            out.CommandSpecific = d.CommandSpecific;
        }
        if ((d.Type == SENSE_DESC_KEY_SPECIFIC || (direct && d.KeySpecific.Valid)) && !specific) {
            specific = true;
            out.KeySpecific = d.KeySpecific;
        }
        if ((d.Type == SENSE_DESC_FRU || direct) && !fru) {
            fru = true;
            out.Fru = d.Fru;
        }
        if ((d.Type == SENSE_DESC_STREAM || d.Type == SENSE_DESC_BLOCK || direct) && !flags) {
            flags = true;
            out.Filemark = d.Filemark;
            out.EndOfMedium = d.EndOfMedium;
            out.IncorrectLength = d.IncorrectLength;
        }
        if (d.Type == SENSE_DESC_ATA_STATUS && !out.AtaValid) {
            out.AtaValid = true;
            out.Ata = d.Ata;
        }
    }
}

// The next descriptor slot.
CSenseDescriptor& NextDescriptor(CSenseData& out, size_t& used) {
    if (used == out.Descriptors.size())
        out.Descriptors.emplace_back();
    CSenseDescriptor& d = out.Descriptors[used++];
    d = CSenseDescriptor();
    return d;
}

// Walks the descriptors after the 8-byte header up to `end`.
void DecodeDescriptors(const unsigned char* bytes, size_t end, CSenseData& out, size_t& used) {
    size_t at = 8;
    while (at < end) {
        CSenseDescriptor& d = NextDescriptor(out, used);
        d.Type = bytes[at];
        d.Offset = at;
        if (at + 1 >= end) {
            d.Size = end - at;
            d.Truncated = true;
            out.Truncated = true;
            out.Remark.clear();
            Remark{out.Remark} << "descriptor ";
            Remark{out.Remark}.Type(bytes[at]) << " at byte " << at << " is cut off after its type";
            return;
        }
        d.AdditionalLength = bytes[at + 1];
        const size_t size = 2 + static_cast<size_t>(d.AdditionalLength);
        const size_t whole = at + size <= end ? size : end - at;
        d.Size = whole;
        d.Truncated = whole < size;
        DecodeDescriptor(bytes + at, d, out.Key);
        if (whole < size) {
            out.Truncated = true;
            out.Remark.clear();
            Remark{out.Remark} << "descriptor ";
            Remark{out.Remark}.Type(bytes[at])
                << " at byte " << at << " needs " << size << " bytes, " << whole << " remain";
            return;
        }
        at += size;
    }
}

// The sense data ends at 8 plus the additional sense length or with the
// buffer, whichever comes first; says so when the two disagree.
size_t SenseEnd(const unsigned char* bytes, size_t length, CSenseData& out) {
    if (length < 8) {
        out.Truncated = true;
        Remark{out.Remark} << "the buffer ends at byte " << length
                           << ", before the additional sense length";
        return length;
    }
    out.AdditionalLength = bytes[7];
    const size_t stated = 8 + static_cast<size_t>(bytes[7]);
    if (stated > length) {
        out.Truncated = true;
        Remark{out.Remark} << "the additional sense length gives " << stated
                           << " bytes, the buffer has " << length;
        return length;
    }
    if (stated < length)
        Remark{out.Remark} << "the additional sense length ends the sense data at byte " << stated
                           << "; the " << length - stated << " bytes after it are not decoded";
    return stated;
}

void DecodeFixed(const unsigned char* bytes, size_t end, CSenseData& out) {
    out.Key = bytes[2] & 0x0F;
    out.Filemark = (bytes[2] & 0x80) != 0;
    out.EndOfMedium = (bytes[2] & 0x40) != 0;
    out.IncorrectLength = (bytes[2] & 0x20) != 0;
    out.Overflow = (bytes[2] & 0x10) != 0;
    out.InformationValid = (bytes[0] & 0x80) != 0;
    out.Information = BigEndian(bytes + 3, 4);
    if (end >= 12) {
        out.CommandSpecificValid = true;
        out.CommandSpecific = BigEndian(bytes + 8, 4);
    }
    if (end >= 13)
        out.ASC = bytes[12];
    if (end >= 14)
        out.ASCQ = bytes[13];
    if (end >= 15)
        out.Fru = bytes[14];
    if (end >= 18)
        out.KeySpecific = KeySpecific(bytes + 15, out.Key);
    // ATA PASS-THROUGH results: the registers take the place of the
    // information and command-specific fields.
    if (end >= 14 && out.ASC == 0x00 && out.ASCQ == 0x1D) {
        out.AtaValid = true;
        CSenseAtaStatus& ata = out.Ata;
        ata.Error = bytes[3];
        ata.Status = bytes[4];
        ata.Device = bytes[5];
        ata.Count = bytes[6];
        ata.Extend = (bytes[8] & 0x80) != 0;
        ata.CountUpperNonZero = (bytes[8] & 0x40) != 0;
        ata.LbaUpperNonZero = (bytes[8] & 0x20) != 0;
        ata.LogIndex = bytes[8] & 0x0F;
        ata.Lba = (static_cast<unsigned long long>(bytes[9]) << 16) | (bytes[10] << 8) | bytes[11];
    }
    // The additional sense length may end the sense data before ASC/ASCQ.
    if (end < 14)
        out.Remark += " (ASC/ASCQ left out)";
}

} // namespace

namespace {

_SENSE_DECODE Decode(const unsigned char* bytes, size_t length, CSenseData& out, std::string& error,
                     size_t& used) {
    if (bytes == nullptr || length == 0) {
        error = "the sense buffer is empty";
        return SENSE_EMPTY;
    }
    if (length > SENSE_MAX_LENGTH) {
        error = "the sense buffer has " + std::to_string(length) + " bytes; at most " +
                std::to_string(SENSE_MAX_LENGTH) + " are possible";
        return SENSE_TOO_LONG;
    }
    // Bit 7 only says whether the information field is valid.
    const unsigned char code = bytes[0] & 0x7F;
    const bool fixed = code == 0x70 || code == 0x71;
    const bool descriptor = code == 0x72 || code == 0x73;
    if (!fixed && !descriptor) {
        error = "response code " + Hex2(code) +
                "h is neither fixed format (70h/71h) nor descriptor format (72h/73h)";
        return SENSE_UNKNOWN_FORMAT;
    }
    const size_t needed = fixed ? SENSE_FIXED_MIN_LENGTH : SENSE_DESCRIPTOR_MIN_LENGTH;
    if (length < needed) {
        error = std::string(fixed ? "fixed" : "descriptor") + " format sense data needs at least " +
                std::to_string(needed) + " bytes, got " + std::to_string(length);
        return SENSE_TOO_SHORT;
    }
    out.ResponseCode = code;
    out.Descriptor = descriptor;
    out.Deferred = code == 0x71 || code == 0x73;
    const size_t end = SenseEnd(bytes, length, out);
    out.Length = end;
    out.Bytes.assign(bytes, bytes + end);
    if (fixed) {
        DecodeFixed(bytes, end, out);
    } else {
        out.Key = bytes[1] & 0x0F;
        out.ASC = bytes[2];
        out.ASCQ = bytes[3];
        out.Overflow = length > 4 && (bytes[4] & 0x80) != 0;
        DecodeDescriptors(bytes, end, out, used);
        out.Descriptors.resize(used);
        Consolidate(out);
    }
    return SENSE_OK;
}

} // namespace

_SENSE_DECODE DecodeSenseData(const unsigned char* bytes, size_t length, CSenseData& out,
                              std::string& error) {
    // Reset by a copy of the defaults, which keeps the capacity of the
    // vectors and the remark: decoding sense data by the thousand into one
    // output then allocates nothing.
    static const CSenseData empty;
    out = empty;
    error.clear();
    size_t used = 0;
    const _SENSE_DECODE result = Decode(bytes, length, out, error, used);
    out.Descriptors.resize(used);
    return result;
}

} // namespace PI
