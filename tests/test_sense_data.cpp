#include "PI/SenseData.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

struct Decoded {
    PI::_SENSE_DECODE result;
    PI::CSenseData data;
    std::string error;
};

Decoded Decode(const Bytes& bytes) {
    Decoded d{PI::SENSE_OK, {}, "stale"};
    // Stale output must not survive a decode.
    d.data.Key = 0x0E;
    d.data.InformationValid = true;
    d.data.Descriptors.resize(2);
    d.result = PI::DecodeSenseData(bytes.data(), bytes.size(), d.data, d.error);
    return d;
}

struct Case {
    const char* name;
    Bytes bytes;
    std::function<void(const PI::CSenseData&)> check;
};

// Hand-decoded buffers, each with the fields that a slip would get wrong and
// that the comparison with sg3_utils (test_sense_sg3utils) cannot see: the
// fields gathered from descriptors, the lengths and remarks, the words.
TEST(DecodeSenseData, HandDecodedBuffers) {
    const Case cases[] = {
        {"fixed: flags above the key, codes in 12 and 13",
         {0x70, 0, 0xE3, 0, 0, 0, 0, 0x0A, 0, 0, 0, 0, 0x11, 0x04, 0, 0, 0, 0},
         [](const PI::CSenseData& s) {
             EXPECT_TRUE(s.Key == 0x03 && s.Filemark && s.EndOfMedium && s.IncorrectLength &&
                         !s.Overflow && s.ASC == 0x11 && s.ASCQ == 0x04);
             EXPECT_TRUE(s.KeySpecific.Kind == PI::SKS_RETRY_COUNT && !s.KeySpecific.Valid);
         }},
        {"fixed: deferred, big-endian information with its valid bit, CSI, no FRU or SKS in 14",
         {0xF1, 0, 0x13, 0x12, 0x34, 0x56, 0x78, 6, 0xDE, 0xAD, 0xBE, 0xEF, 0x11, 0x00},
         [](const PI::CSenseData& s) {
             EXPECT_TRUE(s.ResponseCode == 0x71 && s.Deferred && s.Overflow && s.InformationValid &&
                         s.CommandSpecificValid && s.Fru == 0 &&
                         s.KeySpecific.Kind == PI::SKS_NONE);
             EXPECT_EQ(s.Information, 0x12345678u);
             EXPECT_EQ(s.CommandSpecific, 0xDEADBEEFu);
         }},
        {"fixed: NOT READY progress in 65536ths",
         {0x70, 0, 0x02, 0, 0, 0, 0, 0x0A, 0, 0, 0, 0, 0x04, 0x04, 0x2A, 0x80, 0xFF, 0xFF},
         [](const PI::CSenseData& s) {
             EXPECT_TRUE(s.Fru == 0x2A && s.KeySpecific.Kind == PI::SKS_PROGRESS &&
                         s.KeySpecific.Valid && s.KeySpecific.Progress == 0xFFFF);
             // Rounded down: an unfinished operation never shows 100%.
             EXPECT_EQ(PI::DescribeKeySpecific(s.KeySpecific), "progress 99.99% (65535/65536)");
         }},
        {"fixed: ILLEGAL REQUEST field pointer with C/D, BPV and bit",
         {0x70, 0, 0x05, 0, 0, 0, 0, 0x0A, 0, 0, 0, 0, 0x24, 0x00, 0, 0xCD, 0x01, 0x02},
         [](const PI::CSenseData& s) {
             const PI::CSenseKeySpecific& f = s.KeySpecific;
             EXPECT_TRUE(f.Kind == PI::SKS_FIELD_POINTER && f.Command && f.BitPointerValid &&
                         f.BitPointer == 5 && f.Pointer == 0x0102);
             EXPECT_EQ(PI::DescribeKeySpecific(f), "error in CDB byte 258 bit 5");
         }},
        {"fixed: an additional sense length of 4 ends the data before ASC/ASCQ",
         {0x70, 0, 0x03, 0, 0, 0, 0, 4, 1, 2, 3, 4, 0x11, 0x00, 0x05, 0x80, 0, 0},
         [](const PI::CSenseData& s) {
             EXPECT_EQ(s.CommandSpecific, 0x01020304u);
             EXPECT_TRUE(s.ASC == 0 && s.Fru == 0 && s.KeySpecific.Kind == PI::SKS_NONE);
             EXPECT_EQ(s.Remark, "the additional sense length ends the sense data at byte 12; "
                                 "the 6 bytes after it are not decoded (ASC/ASCQ left out)");
         }},
        {"fixed: cut inside the sense-key specific bytes",
         {0x70, 0, 0x02, 0, 0, 0, 0, 0x0A, 0, 0, 0, 0, 0x04, 0x04, 0x07, 0x80, 0x80},
         [](const PI::CSenseData& s) {
             EXPECT_TRUE(s.Fru == 0x07 && s.KeySpecific.Kind == PI::SKS_NONE);
             EXPECT_EQ(s.Remark, "the additional sense length gives 18 bytes, the buffer has 17");
         }},
        {"descriptor: every field comes from the first descriptor that has it",
         {0x72, 0x02, 0x04, 0x04, 0,    0,    0,    52,   0x05, 0x02, 0x00, 0x20, // block: ILI
          0x00, 0x0A, 0x80, 0x00, 0,    0,    0,    0,    0x01, 0x02, 0x03, 0x04, // information
          0x02, 0x06, 0x00, 0x00, 0x80, 0x40, 0x00, 0x00,                         // progress 25%
          0x03, 0x02, 0x00, 0x09,                                                 // FRU
          0x0D, 0x16, 0x00, 0x00, 0x80, 0x80, 0x00, 0x07, 0,    0,    0,    0,
          0,    0,    0,    9,    0,    0,    0,    0,    0,    0,    0,    0x0C},
         // The direct-access descriptor comes last, so only its CSI counts.
         [](const PI::CSenseData& s) {
             ASSERT_EQ(s.Descriptors.size(), 5u);
             EXPECT_TRUE(s.IncorrectLength && s.InformationValid && s.CommandSpecificValid &&
                         s.Information == 0x01020304u && s.KeySpecific.Progress == 0x4000 &&
                         s.Fru == 0x09 && s.CommandSpecific == 0x0Cu);
             const PI::CSenseDescriptor& direct = s.Descriptors[4];
             EXPECT_TRUE(direct.Decoded && !direct.Valid && direct.Information == 9u &&
                         direct.KeySpecific.Progress == 0x8000 && direct.Fru == 0x07);
         }},
        {"descriptor: the buffer ends inside the information descriptor",
         {0x72, 0x03, 0x11, 0x00, 0, 0, 0, 18, 0x00, 0x0A, 0x80, 0x00, 0, 0, 0, 0, 0x01},
         [](const PI::CSenseData& s) {
             EXPECT_FALSE(s.InformationValid);
             EXPECT_EQ(s.Remark, "descriptor 00h at byte 8 needs 12 bytes, 9 remain");
         }},
        {"descriptor: the additional sense length ends the walk before the buffer",
         {0x72, 0x03, 0x11, 0x00, 0, 0, 0, 5, 0x03, 0x02, 0x00, 0x05, 0x80, 0, 0, 0, 1, 2},
         [](const PI::CSenseData& s) {
             EXPECT_EQ(s.Fru, 0x05);
             EXPECT_EQ(s.Remark, "descriptor 80h at byte 12 is cut off after its type");
         }},
        {"descriptor: an empty descriptor may end the data",
         {0x72, 0x05, 0x24, 0x00, 0, 0, 0, 2, 0x80, 0x00},
         [](const PI::CSenseData& s) { EXPECT_FALSE(s.Truncated) << s.Remark; }},
        {"descriptor: unknown types keep their bytes; short known ones are not decoded",
         {0x72, 0x05, 0x24, 0x00, 0, 0, 0, 9, 0x42, 0x03, 0xAA, 0xBB, 0xCC, 0x02, 0x02, 0x80, 0x01},
         [](const PI::CSenseData& s) {
             ASSERT_EQ(s.Descriptors.size(), 2u);
             EXPECT_TRUE(s.Descriptors[0].Size == 5u && !s.Descriptors[0].Decoded &&
                         !s.Descriptors[1].Decoded && s.KeySpecific.Kind == PI::SKS_NONE);
         }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto d = Decode(c.bytes);
        ASSERT_EQ(d.result, PI::SENSE_OK) << d.error;
        EXPECT_EQ(d.error, "");
        c.check(d.data);
    }
}

// What is refused, and why, in words. (Which buffers are refused, at every
// length and response code: the fuzz check, checks/SenseData.h.)
TEST(DecodeSenseData, LengthBoundsAndRefusals) {
    const struct {
        Bytes bytes;
        PI::_SENSE_DECODE result;
        std::string text; // the error, or the remark of a decoded buffer
    } cases[] = {
        {Bytes(13, 0x70), PI::SENSE_TOO_SHORT,
         "fixed format sense data needs at least 14 bytes, got 13"},
        {{0x72, 0x05, 0x24},
         PI::SENSE_TOO_SHORT,
         "descriptor format sense data needs at least 4 bytes, got 3"},
        {{0x72, 0x05, 0x24, 0x00},
         PI::SENSE_OK,
         "the buffer ends at byte 4, before the additional sense length"},
        {Bytes(253, 0x72), PI::SENSE_TOO_LONG,
         "the sense buffer has 253 bytes; at most 252 are possible"},
        {{}, PI::SENSE_EMPTY, "the sense buffer is empty"},
        {{0x60, 0, 5, 0},
         PI::SENSE_UNKNOWN_FORMAT,
         "response code 60h is neither fixed format (70h/71h) nor descriptor format (72h/73h)"},
    };
    for (const auto& c : cases) {
        const Decoded d = Decode(c.bytes);
        EXPECT_EQ(d.result, c.result) << c.bytes.size();
        const std::string& text = c.result == PI::SENSE_OK ? d.data.Remark : d.error;
        EXPECT_EQ(text, c.text);
        EXPECT_TRUE(c.result == PI::SENSE_OK ||
                    (d.data.Key == 0 && !d.data.InformationValid && d.data.Descriptors.empty()))
            << "reset, not left stale";
    }
    PI::CSenseData data;
    std::string error;
    EXPECT_EQ(PI::DecodeSenseData(nullptr, 14, data, error), PI::SENSE_EMPTY);
}

} // namespace
