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
    std::string json, value;
    std::vector<std::uint8_t> packed, packedValue;
    CInterchangeError error;
    ASSERT_EQ(WriteJsonDocument(record, json, &error), 0u) << label << ": " << error.Text();
    ASSERT_EQ(WriteMsgPackDocument(record, packed, &error), 0u) << label << ": " << error.Text();
    ASSERT_EQ(WriteJsonValue(record, value), 0u);
    ASSERT_EQ(WriteMsgPackValue(record, packedValue), 0u);

    // Documents and values (the record alone), of the class and of any class.
    const auto expectBack = [&](unsigned int code, const Record& back, const char* way) {
        ASSERT_EQ(code, 0u) << label << ", " << way << ": " << error.Text() << "\n" << json;
        EXPECT_EQ(FirstDifference(record, back), "") << label << ", " << way << "\n" << json;
    };
    Record fromJson, fromPack, fromValue, fromPackedValue;
    expectBack(ReadJsonDocument(json, fromJson, &error), fromJson, "JSON");
    expectBack(ReadMsgPackDocument(packed, fromPack, &error), fromPack, "MessagePack");
    expectBack(ReadJsonValue(value, fromValue, &error), fromValue, "JSON value");
    expectBack(ReadMsgPackValue(packedValue, fromPackedValue, &error), fromPackedValue,
               "MessagePack value");
    AnyRecord any[2];
    ASSERT_EQ(ReadJsonDocument(json, any[0], &error), 0u) << label << ": " << error.Text();
    ASSERT_EQ(ReadMsgPackDocument(packed, any[1], &error), 0u) << label << ": " << error.Text();
    for (const AnyRecord& each : any) {
        ASSERT_TRUE(std::holds_alternative<Record>(each)) << label;
        EXPECT_EQ(FirstDifference(record, std::get<Record>(each)), "") << label;
    }

    // Encoding what came back gives the same text and bytes.
    std::string again;
    ASSERT_EQ(WriteJsonDocument(fromJson, again), 0u);
    EXPECT_EQ(again, json) << label;
    std::vector<std::uint8_t> packedAgain;
    ASSERT_EQ(WriteMsgPackDocument(fromPack, packedAgain), 0u);
    EXPECT_EQ(packedAgain, packed) << label;
}

} // namespace Testing
} // namespace PI
