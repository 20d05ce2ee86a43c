#include "PI/SenseData.h"

#include <cstdio>

namespace PI {

namespace {

std::string Hex2(unsigned int value) {
    char text[8];
    std::snprintf(text, sizeof text, "%02X", value & 0xFFu);
    return text;
}

unsigned long long BigEndian(const unsigned char* bytes, size_t count) {
    unsigned long long value = 0;
    for (size_t i = 0; i < count; ++i)
        value = (value << 8) | bytes[i];
    return value;
}

// Walks the descriptors after the 8-byte header for the information
// descriptor (type 00h, additional length 0Ah). The additional sense length
// in byte 7 bounds the walk as much as the buffer does.
void FindInformationDescriptor(const unsigned char* bytes, size_t length, CSenseData& out) {
    if (length < 8)
        return;
    size_t end = 8 + static_cast<size_t>(bytes[7]);
    if (end > length)
        end = length;
    size_t at = 8;
    while (at + 2 <= end) {
        const unsigned char type = bytes[at];
        const size_t size = 2 + static_cast<size_t>(bytes[at + 1]);
        if (at + size > end)
            return;
        if (type == 0x00 && size == 12) {
            out.InformationValid = (bytes[at + 2] & 0x80) != 0;
            if (out.InformationValid)
                out.Information = BigEndian(bytes + at + 4, 8);
            return;
        }
        at += size;
    }
}

} // namespace

_SENSE_DECODE DecodeSenseData(const unsigned char* bytes, size_t length, CSenseData& out,
                              std::string& error) {
    out = CSenseData();
    error.clear();
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
    if (fixed) {
        out.Key = bytes[2] & 0x0F;
        out.ASC = bytes[12];
        out.ASCQ = bytes[13];
        out.InformationValid = (bytes[0] & 0x80) != 0;
        if (out.InformationValid)
            out.Information = BigEndian(bytes + 3, 4);
    } else {
        out.Key = bytes[1] & 0x0F;
        out.ASC = bytes[2];
        out.ASCQ = bytes[3];
        FindInformationDescriptor(bytes, length, out);
    }
    return SENSE_OK;
}

} // namespace PI
