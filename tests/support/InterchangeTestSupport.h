#pragma once

// Round trips through both formats and both levels, shared by the
// interchange suites.

#include "RecordFieldsEqual.h"

#include <PI/Interchange.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace PI {
namespace Testing {

// Every way through the interchange form gives back the record field by
// field, and encoding the result again gives the same text and bytes.
template <class Record> void ExpectRoundTrips(const Record& record, const std::string& label) {
    std::string json;
    std::vector<std::uint8_t> packed;
    CInterchangeError error;
    ASSERT_EQ(WriteJsonDocument(record, json, &error), 0u) << label << ": " << error.Text();
    ASSERT_EQ(WriteMsgPackDocument(record, packed, &error), 0u) << label << ": " << error.Text();

    Record fromJson;
    ASSERT_EQ(ReadJsonDocument(json, fromJson, &error), 0u) << label << ": " << error.Text() << "\n"
                                                            << json;
    EXPECT_EQ(FirstDifference(record, fromJson), "") << label << "\n" << json;
    Record fromPack;
    ASSERT_EQ(ReadMsgPackDocument(packed, fromPack, &error), 0u) << label << ": " << error.Text();
    EXPECT_EQ(FirstDifference(record, fromPack), "") << label;

    std::string again;
    ASSERT_EQ(WriteJsonDocument(fromJson, again), 0u);
    EXPECT_EQ(again, json) << label;
    std::vector<std::uint8_t> packedAgain;
    ASSERT_EQ(WriteMsgPackDocument(fromPack, packedAgain), 0u);
    EXPECT_EQ(packedAgain, packed) << label;

    // Values: the record alone.
    std::string value;
    ASSERT_EQ(WriteJsonValue(record, value), 0u);
    Record fromValue;
    ASSERT_EQ(ReadJsonValue(value, fromValue, &error), 0u) << label << ": " << error.Text();
    EXPECT_EQ(FirstDifference(record, fromValue), "") << label;
    std::vector<std::uint8_t> packedValue;
    ASSERT_EQ(WriteMsgPackValue(record, packedValue), 0u);
    Record fromPackedValue;
    ASSERT_EQ(ReadMsgPackValue(packedValue, fromPackedValue, &error), 0u)
        << label << ": " << error.Text();
    EXPECT_EQ(FirstDifference(record, fromPackedValue), "") << label;

    // A document read without knowing its class.
    AnyRecord any;
    ASSERT_EQ(ReadJsonDocument(json, any, &error), 0u) << label << ": " << error.Text();
    ASSERT_TRUE(std::holds_alternative<Record>(any)) << label;
    EXPECT_EQ(FirstDifference(record, std::get<Record>(any)), "") << label;
    AnyRecord anyPacked;
    ASSERT_EQ(ReadMsgPackDocument(packed, anyPacked, &error), 0u) << label << ": " << error.Text();
    ASSERT_TRUE(std::holds_alternative<Record>(anyPacked)) << label;
    EXPECT_EQ(FirstDifference(record, std::get<Record>(anyPacked)), "") << label;
}

} // namespace Testing
} // namespace PI
