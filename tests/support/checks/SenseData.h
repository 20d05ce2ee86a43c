#pragma once

// The sense decoder on arbitrary bytes. DecodeSenseData refuses exactly the
// buffers its codes name and otherwise stays inside the sense data: the
// length it reports lies within the buffer and the additional sense length,
// descriptors follow one another from byte 8 and hold the buffer's own
// bytes, only descriptors long enough for their type are decoded, the
// sense-key specific kind follows the key, a cut-off descriptor or buffer is
// reported with a remark, and forwarded sense decodes as its bytes do alone.
// The description in words comes out for every decoded buffer.

#include "Check.h"

#include <PI/SenseData.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace pi_fuzz {

// The additional length each descriptor type needs to be decoded (0: never).
inline size_t SenseDescriptorMinimum(unsigned char type) {
    static const std::map<unsigned char, size_t> minimum = {
        {0x00, 10}, {0x01, 10}, {0x02, 6}, {0x0A, 6},  {0x03, 2},
        {0x04, 2},  {0x05, 2},  {0x0C, 2}, {0x09, 12}, {0x0D, 22}};
    const auto found = minimum.find(type);
    return found == minimum.end() ? 0 : found->second;
}

// The sense-key specific kind each sense key has.
inline PI::_SENSE_KEY_SPECIFIC SenseKindOf(unsigned char key) {
    static const std::map<unsigned char, PI::_SENSE_KEY_SPECIFIC> kind = {
        {0x5, PI::SKS_FIELD_POINTER},   {0x1, PI::SKS_RETRY_COUNT},   {0x3, PI::SKS_RETRY_COUNT},
        {0x4, PI::SKS_RETRY_COUNT},     {0x0, PI::SKS_PROGRESS},      {0x2, PI::SKS_PROGRESS},
        {0xA, PI::SKS_SEGMENT_POINTER}, {0x6, PI::SKS_UNIT_ATTENTION}};
    const auto found = kind.find(key);
    return found == kind.end() ? PI::SKS_UNDEFINED : found->second;
}

inline void CheckSenseBuffer(const std::uint8_t* data, size_t size, int depth) {
    PI::CSenseData sense;
    std::string error;
    const PI::_SENSE_DECODE result = PI::DecodeSenseData(data, size, sense, error);
    const unsigned char code = size ? data[0] & 0x7F : 0;
    const bool fixed = code == 0x70 || code == 0x71;
    PI::_SENSE_DECODE expected = PI::SENSE_OK;
    if (size == 0)
        expected = PI::SENSE_EMPTY;
    else if (size > PI::SENSE_MAX_LENGTH)
        expected = PI::SENSE_TOO_LONG;
    else if (code < 0x70 || code > 0x73)
        expected = PI::SENSE_UNKNOWN_FORMAT;
    else if (size < (fixed ? PI::SENSE_FIXED_MIN_LENGTH : PI::SENSE_DESCRIPTOR_MIN_LENGTH))
        expected = PI::SENSE_TOO_SHORT;
    PI_FUZZ_CHECK(result == expected, "result " + std::to_string(result) + ", " + error);
    PI_FUZZ_CHECK((result == PI::SENSE_OK) == error.empty(), error);
    if (result != PI::SENSE_OK) {
        PI_FUZZ_CHECK(sense.Descriptors.empty() && sense.Length == 0, "output not reset");
        return;
    }
    const size_t stated = size >= 8 ? 8 + static_cast<size_t>(data[7]) : size;
    PI_FUZZ_CHECK(sense.Length == (stated < size ? stated : size), "length");
    PI_FUZZ_CHECK(sense.Bytes == std::vector<unsigned char>(data, data + sense.Length), "bytes");
    const bool cut = size < 8 || stated > size ||
                     (!sense.Descriptors.empty() && sense.Descriptors.back().Truncated);
    PI_FUZZ_CHECK(sense.Truncated == cut, "truncated flag");
    PI_FUZZ_CHECK(!sense.Truncated || !sense.Remark.empty(), "a cut-off buffer has a remark");
    PI_FUZZ_CHECK(sense.Key == (data[fixed ? 2 : 1] & 0x0F), "key");
    if (sense.KeySpecific.Kind != PI::SKS_NONE)
        PI_FUZZ_CHECK(sense.KeySpecific.Kind == SenseKindOf(sense.Key), "key-specific kind");
    size_t at = 8;
    for (const PI::CSenseDescriptor& d : sense.Descriptors) {
        PI_FUZZ_CHECK(!fixed, "descriptors in fixed format");
        PI_FUZZ_CHECK(d.Offset == at && d.Size > 0 && at + d.Size <= sense.Length,
                      "descriptor at " + std::to_string(d.Offset));
        PI_FUZZ_CHECK(
            d.Size < 2 ? d.AdditionalLength == 0
                       : d.Size == 2 + std::min<size_t>(d.AdditionalLength, sense.Length - at - 2),
            "descriptor size");
        PI_FUZZ_CHECK(d.Type == data[at], "descriptor type");
        const size_t minimum = SenseDescriptorMinimum(d.Type);
        PI_FUZZ_CHECK(d.Decoded == (minimum > 0 && d.Size >= 2 + minimum),
                      "decoded flag of type " + std::to_string(d.Type));
        if (d.Decoded && (d.Type == 0x02 || d.Type == 0x0D))
            PI_FUZZ_CHECK(d.KeySpecific.Kind == SenseKindOf(sense.Key), "descriptor sks kind");
        if (d.Decoded && d.Type == 0x0C && d.Size > 4) {
            PI::CSenseData alone;
            std::string aloneError;
            const PI::_SENSE_DECODE inner =
                PI::DecodeSenseData(data + at + 4, d.Size - 4, alone, aloneError);
            PI_FUZZ_CHECK(inner == d.ForwardedResult && d.Forwarded.size() == (inner == 0),
                          "forwarded sense");
            if (depth < 4)
                CheckSenseBuffer(data + at + 4, d.Size - 4, depth + 1);
        }
        at += d.Size;
    }
    if (!fixed && sense.Length >= 8 && !sense.Truncated)
        PI_FUZZ_CHECK(at == sense.Length, "descriptors end with the sense data");
    std::vector<std::pair<std::string, std::string>> rows;
    PI::DescribeSenseData(sense, rows);
    for (const auto& row : rows)
        PI_FUZZ_CHECK(!row.first.empty() && !row.second.empty(), "an empty description row");
}

inline void CheckSenseData(const std::uint8_t* data, size_t size) {
    // An exact-size copy, so that the sanitizer sees any read past the end.
    const std::vector<std::uint8_t> copy(data, data + size);
    CheckSenseBuffer(size ? copy.data() : nullptr, size, 0);
}

} // namespace pi_fuzz
