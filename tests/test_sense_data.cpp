#include "PI/SenseData.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct Decoded {
    PI::_SENSE_DECODE result;
    PI::CSenseData data;
    std::string error;
};

Decoded Decode(const std::vector<unsigned char>& bytes) {
    Decoded d{PI::SENSE_OK, {}, "stale"};
    // Stale output must not survive a failed decode.
    d.data.Key = 0x0E;
    d.data.InformationValid = true;
    d.result = PI::DecodeSenseData(bytes.data(), bytes.size(), d.data, d.error);
    return d;
}

TEST(DecodeSenseData, FixedFormatTakesKeyFromByte2AndCodesFrom12And13) {
    // Flags in the upper bits of byte 2 (filemark, EOM, ILI) are not part of the key.
    const auto d = Decode({0x70, 0, 0xE3, 0, 0, 0, 0, 0x0A, 0, 0, 0, 0, 0x11, 0x04, 0, 0, 0, 0});
    ASSERT_EQ(d.result, PI::SENSE_OK);
    EXPECT_EQ(d.error, "");
    EXPECT_EQ(d.data.ResponseCode, 0x70);
    EXPECT_FALSE(d.data.Descriptor);
    EXPECT_FALSE(d.data.Deferred);
    EXPECT_EQ(d.data.Key, 0x03);
    EXPECT_EQ(d.data.ASC, 0x11);
    EXPECT_EQ(d.data.ASCQ, 0x04);
    EXPECT_FALSE(d.data.InformationValid);
    EXPECT_EQ(d.data.Information, 0u);
}

TEST(DecodeSenseData, FixedFormatInformationIsBigEndianWhenValid) {
    const auto d = Decode({0xF1, 0, 0x03, 0x12, 0x34, 0x56, 0x78, 6, 0, 0, 0, 0, 0x11, 0x00});
    ASSERT_EQ(d.result, PI::SENSE_OK);
    EXPECT_EQ(d.data.ResponseCode, 0x71); // the valid bit is not part of the code
    EXPECT_TRUE(d.data.Deferred);
    EXPECT_TRUE(d.data.InformationValid);
    EXPECT_EQ(d.data.Information, 0x12345678u);
}

TEST(DecodeSenseData, DescriptorFormatTakesKeyAndCodesFromBytes1To3) {
    auto d = Decode({0x72, 0xF5, 0x24, 0x00});
    ASSERT_EQ(d.result, PI::SENSE_OK);
    EXPECT_TRUE(d.data.Descriptor);
    EXPECT_FALSE(d.data.Deferred);
    EXPECT_EQ(d.data.Key, 0x05);
    EXPECT_EQ(d.data.ASC, 0x24);
    EXPECT_EQ(d.data.ASCQ, 0x00);
    EXPECT_FALSE(d.data.InformationValid);

    d = Decode({0x73, 0x0B, 0x47, 0x00});
    ASSERT_EQ(d.result, PI::SENSE_OK);
    EXPECT_TRUE(d.data.Deferred);
    EXPECT_EQ(d.data.Key, 0x0B);
}

TEST(DecodeSenseData, DescriptorInformationIsFoundAfterOtherDescriptors) {
    // A 4-byte descriptor of another type, then the information descriptor.
    const std::vector<unsigned char> bytes = {0x72, 0x03, 0x11, 0x00, 0, 0, 0, 18, //
                                              0x05, 0x02, 0xAA, 0xBB, // other descriptor
                                              0x00, 0x0A, 0x80, 0x00, 0, 0, 0, 0,
                                              0x01, 0x02, 0x03, 0x04}; // information
    const auto d = Decode(bytes);
    ASSERT_EQ(d.result, PI::SENSE_OK);
    EXPECT_TRUE(d.data.InformationValid);
    EXPECT_EQ(d.data.Information, 0x01020304u);
}

TEST(DecodeSenseData, DescriptorWalkStaysInsideBufferAndLength) {
    // The additional length claims 18 bytes but the buffer ends early; the
    // information descriptor is cut off and must not be read.
    std::vector<unsigned char> bytes = {0x72, 0x03, 0x11, 0x00, 0, 0, 0, 18,  0x00,
                                        0x0A, 0x80, 0x00, 0,    0, 0, 0, 0x01};
    auto d = Decode(bytes);
    ASSERT_EQ(d.result, PI::SENSE_OK);
    EXPECT_FALSE(d.data.InformationValid);

    // The buffer is long enough but byte 7 says the descriptors end before it.
    bytes = {0x72, 0x03, 0x11, 0x00, 0, 0, 0, 4, 0x00, 0x0A, 0x80, 0x00, 0, 0, 0, 0, 1, 2, 3, 4};
    d = Decode(bytes);
    ASSERT_EQ(d.result, PI::SENSE_OK);
    EXPECT_FALSE(d.data.InformationValid);

    // An information descriptor without its valid bit gives no information.
    bytes[7] = 12;
    bytes[10] = 0x00;
    d = Decode(bytes);
    ASSERT_EQ(d.result, PI::SENSE_OK);
    EXPECT_FALSE(d.data.InformationValid);
    EXPECT_EQ(d.data.Information, 0u);
}

TEST(DecodeSenseData, LengthBoundsOfEachFormat) {
    std::vector<unsigned char> fixed(14, 0);
    fixed[0] = 0x70;
    EXPECT_EQ(Decode(fixed).result, PI::SENSE_OK);
    fixed.pop_back();
    auto d = Decode(fixed);
    EXPECT_EQ(d.result, PI::SENSE_TOO_SHORT);
    EXPECT_EQ(d.error, "fixed format sense data needs at least 14 bytes, got 13");
    EXPECT_EQ(d.data.Key, 0); // reset, not left stale
    EXPECT_FALSE(d.data.InformationValid);

    d = Decode({0x72, 0x05, 0x24});
    EXPECT_EQ(d.result, PI::SENSE_TOO_SHORT);
    EXPECT_EQ(d.error, "descriptor format sense data needs at least 4 bytes, got 3");

    std::vector<unsigned char> longest(PI::SENSE_MAX_LENGTH, 0);
    longest[0] = 0x72;
    EXPECT_EQ(Decode(longest).result, PI::SENSE_OK);
    longest.push_back(0);
    d = Decode(longest);
    EXPECT_EQ(d.result, PI::SENSE_TOO_LONG);
    EXPECT_EQ(d.error, "the sense buffer has 253 bytes; at most 252 are possible");
}

TEST(DecodeSenseData, EmptyAndUnknownFormatsAreRefused) {
    auto d = Decode({});
    EXPECT_EQ(d.result, PI::SENSE_EMPTY);
    EXPECT_EQ(d.error, "the sense buffer is empty");

    PI::CSenseData data;
    std::string error;
    EXPECT_EQ(PI::DecodeSenseData(nullptr, 14, data, error), PI::SENSE_EMPTY);

    for (unsigned char code : {0x00, 0x6F, 0x74, 0x7F, 0xEF}) {
        d = Decode({code, 0x05, 0x24, 0x00});
        EXPECT_EQ(d.result, PI::SENSE_UNKNOWN_FORMAT) << int(code);
    }
    d = Decode({0x60, 0, 5, 0});
    EXPECT_EQ(d.error, "response code 60h is neither fixed format (70h/71h) nor descriptor "
                       "format (72h/73h)");
}

} // namespace
