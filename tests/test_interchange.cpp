// Round trips of random records of every class through JSON and MessagePack,
// and the natural forms that the format page promises.
#include "InterchangeTestSupport.h"
#include "RecordGenerator.h"

#include <PI/Interchange.h>

#include <gtest/gtest.h>

#include <cstring>

using namespace PI;
using PI::Testing::ExpectRoundTrips;
using PI::Testing::FirstDifference;
using PI::Testing::RecordGenerator;

namespace {

template <class R> void RoundTripMany(std::uint64_t seed, int count) {
    RecordGenerator generator(seed);
    for (int i = 0; i < count && !::testing::Test::HasFailure(); ++i)
        ExpectRoundTrips(generator.Record<R>(),
                         "seed " + std::to_string(seed) + " record " + std::to_string(i));
}

TEST(InterchangeRoundTrip, RandomRecordsOfEveryClass) {
    RoundTripMany<CProperty>(1, 3000);
    RoundTripMany<CObject>(2, 400);
    RoundTripMany<CTask>(3, 400);
    RoundTripMany<CDrive>(4, 300);
    RoundTripMany<CContainer>(5, 200);
    RoundTripMany<CLogicalDrive>(6, 200);
    RoundTripMany<CLevel>(7, 300);
    RoundTripMany<CMigration>(8, 300);
    RoundTripMany<CPartition>(9, 300);
    RoundTripMany<CPassThrough>(10, 100);
    RoundTripMany<CEvent>(11, 500);
    RoundTripMany<COperation>(12, 150);
}

TEST(InterchangeRoundTrip, DefaultRecordsAndHugeLists) {
    ExpectRoundTrips(CProperty(), "default property");
    ExpectRoundTrips(CObject(), "default object");
    ExpectRoundTrips(CTask(), "default task");
    ExpectRoundTrips(CEvent(), "default event");
    ExpectRoundTrips(COperation(), "default operation");

    CObject big(1, OBJECT_TYPE_TASK);
    for (unsigned long long i = 0; i < 70000; ++i)
        big.Children.push_back(i * 0x9E3779B97F4A7C15ull);
    CProperty list(ADAPTER_ACTIVITY, false);
    std::vector<std::string> texts(70000, "entry");
    texts[69999] = std::string(100000, 'x');
    ASSERT_EQ(list.SetValue(texts, 0x5555u), 0u);
    big.Properties.push_back(list);
    ExpectRoundTrips(big, "huge lists");
}

// --- the natural forms as the format page spells them ----------------------

std::string PropertyJson(const CProperty& p) {
    std::string json;
    EXPECT_EQ(WriteJsonValue(p, json), 0u);
    return json;
}

// The spellings the format page's examples do not all show: texts lose their
// padding, floats are the shortest text that reads back and always look like
// floats.
TEST(InterchangeForms, SpellingsThePageDoesNotAllShow) {
    CProperty p(ADAPTER_ACTIVITY, false);
    ASSERT_EQ(p.SetValue(std::string("  a\"b  ")), 0u);
    EXPECT_EQ(PropertyJson(p), R"({"PropertyID":23002,"Type":2,"Value":"a\"b"})");
    for (const auto& [value, text] : {std::pair<float, const char*>{0.1f, "0.1"},
                                      {-0.0f, "-0.0"},
                                      {3.0f, "3.0"},
                                      {1e-45f, "1e-45"}}) {
        ASSERT_EQ(p.SetValue(value), 0u);
        EXPECT_EQ(PropertyJson(p),
                  std::string(R"({"PropertyID":23002,"Type":8,"Value":)") + text + "}");
    }
    // A size without a block, as a setter that ran out of memory leaves it.
    p = CProperty(ADAPTER_ACTIVITY, false);
    p.Type = VT_UINT64_LIST;
    p.SubType = PROPERTY_SUBTYPE_64BIT;
    p.DataSize = 24;
    EXPECT_EQ(PropertyJson(p), R"({"PropertyID":23002,"Type":9,"Raw":null,"DataSize":24})");

    // NaN keeps its payload in the raw form.
    const std::uint32_t nan = 0x7FC00001u;
    float value;
    std::memcpy(&value, &nan, 4);
    ASSERT_EQ(p.SetValue(value), 0u);
    EXPECT_EQ(PropertyJson(p),
              R"({"PropertyID":23002,"Type":8,"Raw":{"Base64":"AQDAfw=="},"DataSize":4})");

    // A text that is not UTF-8 travels as bytes; its NUL stays out.
    ASSERT_EQ(p.SetValue(std::string("\xFF"
                                     "ab")),
              0u);
    EXPECT_EQ(PropertyJson(p), R"({"PropertyID":23002,"Type":2,"Value":{"Base64":"/2Fi"}})");

    // An encrypted text travels as stored, never in the clear.
    p.SubType = PROPERTY_SUBTYPE_ENCRYPTED;
    ASSERT_EQ(p.SetValue(RVX::Strings::CStringRef("secret")), 0u);
    std::string stored;
    ASSERT_EQ(p.GetValue(stored), 0u);
    ASSERT_EQ(stored.rfind("ENC1(", 0), 0u);
    const std::string encrypted = PropertyJson(p);
    EXPECT_NE(encrypted.find(stored), std::string::npos);
    EXPECT_EQ(encrypted.find("secret"), std::string::npos);
    CProperty back;
    ASSERT_EQ(ReadJsonValue(encrypted, back), 0u);
    EXPECT_EQ(FirstDifference(p, back), "");

    // Embedded NULs are characters of the text.
    CPartition partition;
    partition.Text1 = std::string("a\0b", 3);
    std::string json;
    ASSERT_EQ(WriteJsonValue(partition, json), 0u);
    EXPECT_EQ(json, R"({"Text1":"a\u0000b"})");
    // SecondaryID follows PropertyID, SubType follows the kind.
    ASSERT_EQ(p.SetValue(5ull), 0u);
    EXPECT_EQ(PropertyJson(p), R"({"PropertyID":23002,"Type":5,"Value":5})");
    p.SubType = 0;
    p.SecondaryID = 23002 + 1;
    EXPECT_EQ(PropertyJson(p),
              R"({"PropertyID":23002,"SecondaryID":23003,"Type":5,"SubType":0,"Value":5})");

    // A task's object part defaults to the task's own object type.
    CTask task;
    task.Time1 = 9;
    json.clear();
    ASSERT_EQ(WriteJsonValue(task, json), 0u);
    EXPECT_EQ(json, R"({"Time1":9})");
    ASSERT_EQ(ReadJsonValue(R"({"Object":{"ObjectID":3},"Time1":9})", task), 0u);
    EXPECT_TRUE(task.ObjectType == OBJECT_TYPE_TASK && task.ObjectID == 3u);
}

} // namespace
