// Malformed and hostile inputs: each group of faults gets its code, the JSON
// Pointer of the first offending element and what was expected there, and
// the output record is left as it was.
#include "RecordFieldsEqual.h"

#include <PI/AllocHook.h>
#include <PI/Interchange.h>

#include <msgpack.hpp>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace PI;
using PI::Testing::FirstDifference;

namespace {

// A record that a failed decode must leave as it is.
COperation Marker() {
    COperation o;
    o.Attribute1 = 4242;
    CObject object(77, OBJECT_TYPE_TASK);
    object.Properties.emplace_back(ADAPTER_ACTIVITY, true);
    o.Objects.push_back(object);
    return o;
}

// An '@' in `json` marks the first byte of the offending token and is taken out.
void ExpectJsonRefused(std::string json, unsigned int code, const std::string& pointer,
                       const std::string& expected) {
    const size_t at = json.find('@');
    if (at != std::string::npos)
        json.erase(at, 1);
    COperation out = Marker();
    const COperation before = out;
    CInterchangeError error;
    EXPECT_EQ(ReadJsonDocument(json, out, &error), code) << json << "\n" << error.Text();
    EXPECT_EQ(error.Code, code);
    EXPECT_EQ(error.Pointer, pointer) << json;
    EXPECT_NE(error.Expected.find(expected), std::string::npos) << json << "\n" << error.Expected;
    EXPECT_TRUE(at == std::string::npos || error.Offset == at) << json << ": " << error.Offset;
    EXPECT_EQ(FirstDifference(before, out), "") << "output changed by " << json;
}

std::vector<std::uint8_t> Bytes(std::initializer_list<int> list) {
    std::vector<std::uint8_t> out;
    for (int b : list)
        out.push_back(static_cast<std::uint8_t>(b));
    return out;
}

void ExpectPackRefused(const std::vector<std::uint8_t>& bytes, unsigned int code,
                       const std::string& pointer, const std::string& expected) {
    COperation out = Marker();
    const COperation before = out;
    CInterchangeError error;
    EXPECT_EQ(ReadMsgPackDocument(bytes, out, &error), code) << error.Text();
    EXPECT_EQ(error.Pointer, pointer);
    EXPECT_NE(error.Expected.find(expected), std::string::npos) << error.Expected;
    EXPECT_EQ(FirstDifference(before, out), "");
}

std::string Op(const std::string& body) {
    return R"({"Version":1,"COperation":)" + body + "}";
}

struct JsonFault {
    std::string json;
    unsigned int code;
    const char* pointer;
    const char* expected;
};

// Each fault of a JSON document: its code, the first offending element and
// what was expected there.
TEST(InterchangeHostile, JsonFaults) {
    const std::string props = R"({"Properties":[{"PropertyID":1,)";
    const std::string deep32 = std::string(31, '[') + std::string(31, ']');
    const JsonFault faults[] = {
        // Syntax, also trailing values, a NUL in the text and a cut mark.
        {"", INTERCHANGE_SYNTAX, "", "well-formed JSON"},
        {R"({"Version":1,"COperation":{}} {})", INTERCHANGE_SYNTAX, "", "well-formed JSON"},
        {std::string(R"({"Version":1,"COperation":{}})") + '\0' + "x", INTERCHANGE_SYNTAX, "",
         "well-formed JSON"},
        {"\xEF\xBB" + Op("{}"), INTERCHANGE_SYNTAX, "", "well-formed JSON"},
        {"\xEF\xBB\xBF" + Op("{@]}"), INTERCHANGE_SYNTAX, "",
         "well-formed JSON"}, // offsets count the mark
        // Types.
        {"[]", INTERCHANGE_SCHEMA, "", "a document"},
        {Op(R"({"Flag":@1})"), INTERCHANGE_SCHEMA, "/COperation/Flag", "true or false"},
        {Op(R"({"Attribute1":@"1"})"), INTERCHANGE_SCHEMA, "/COperation/Attribute1", "an integer"},
        {Op(R"({"Objects":@true})"), INTERCHANGE_SCHEMA, "/COperation/Objects", "a list"},
        {Op(R"({"Objects": @false})"), INTERCHANGE_SCHEMA, "/COperation/Objects", "a list"},
        {Op(R"({"Objects":[@null]})"), INTERCHANGE_SCHEMA, "/COperation/Objects/0", "an object"},
        {Op(R"({"Objects":@{"a":1}})"), INTERCHANGE_SCHEMA, "/COperation/Objects", "a list"},
        {Op(R"({"Flag":@[]})"), INTERCHANGE_SCHEMA, "/COperation/Flag", "true or false"},
        {Op(R"({"Objects":[{},{"Parents":[1,"2"]}]})"), INTERCHANGE_SCHEMA,
         "/COperation/Objects/1/Parents/1", "an integer from 0 to"},
        {Op(props + R"("Type":11,"Value":["a",2]}]})"), INTERCHANGE_SCHEMA,
         "/COperation/Properties/0/Value/1", "a text"},
        {Op(props + R"("Type":6,"Value":{"Value":1}}]})"), INTERCHANGE_SCHEMA,
         "/COperation/Properties/0/Value", "the member Minimum"},
        {Op(props + R"("Type":3,"Value":{"Value":1,"List":[@]}}]})"), INTERCHANGE_SCHEMA,
         "/COperation/Properties/0/Value/List", "at least one integer"},
        {Op(props + R"("Type":2}]})"), INTERCHANGE_SCHEMA, "/COperation/Properties/0",
         "a Value or Raw"},
        {Op(props + R"("Type":1,"Value":3}]})"), INTERCHANGE_SCHEMA,
         "/COperation/Properties/0/Value", "no Value"},
        {Op(props + R"("Type":2,"Raw":"AA=="}]})"), INTERCHANGE_SCHEMA,
         "/COperation/Properties/0/Raw", "bytes"},
        // Ranges, at their ends.
        {Op(R"({"Attribute1":2147483648})"), INTERCHANGE_RANGE, "/COperation/Attribute1",
         "-2147483648 to 2147483647"},
        {Op(R"({"Attribute1":-2147483649})"), INTERCHANGE_RANGE, "/COperation/Attribute1",
         "-2147483648"},
        {Op(R"({"Attribute1":@1e2})"), INTERCHANGE_RANGE, "/COperation/Attribute1", "an integer"},
        {Op(R"({"Objects":[{"ObjectID":184467440737095516156}]})"), INTERCHANGE_RANGE,
         "/COperation/Objects/0/ObjectID", "18446744073709551615"},
        {Op(R"({"Objects":[{"ObjectID":@-1}]})"), INTERCHANGE_RANGE,
         "/COperation/Objects/0/ObjectID", "an integer from 0"},
        {Op(props + R"("Type":4294967296}]})"), INTERCHANGE_RANGE, "/COperation/Properties/0/Type",
         "4294967295"},
        {Op(props + R"("Type":8,"Value":3.4028235677973366e38}]})"), INTERCHANGE_RANGE,
         "/COperation/Properties/0/Value", "32-bit float"},
        {Op(R"({"Events":[{"Scalar1":9223372036854775808}]})"), INTERCHANGE_RANGE,
         "/COperation/Events/0/Scalar1", "9223372036854775807"},
        {Op(R"({"Attribute1":-1e400})"), INTERCHANGE_SYNTAX, "", "Number too big"},
        // Members: unknown (named with escapes), repeated, missing, in conflict.
        {Op(R"({"Objects":[{@"a/b~c":1}]})"), INTERCHANGE_SCHEMA, "/COperation/Objects/0/a~1b~0c",
         "a member of CObject"},
        {Op(R"({"Flag":true,"Flag":false})"), INTERCHANGE_SCHEMA, "/COperation/Flag",
         "each member once"},
        {Op(R"({"Properties":[{"Type":2,"Value":"x"}]})"), INTERCHANGE_SCHEMA,
         "/COperation/Properties/0", "the member PropertyID"},
        {Op(props + R"("Type":2,"Value":"x","Raw":null}]})"), INTERCHANGE_SCHEMA,
         "/COperation/Properties/0", "either Value or Raw"},
        {Op(props + R"("Type":2,"Value":"x","DataSize":2}]})"), INTERCHANGE_SCHEMA,
         "/COperation/Properties/0", "only beside Raw"},
        {Op(props + R"("Type":2,"Value":{"Base64":"AA==","x":1}}]})"), INTERCHANGE_SCHEMA,
         "/COperation/Properties/0/Value", "no other member"},
        // Versions and classes; an unknown version wins over a broken record.
        {R"({"COperation":{}})", INTERCHANGE_SCHEMA, "", "the member Version"},
        {R"({"COperation":{"Bogus":1},"Version":0})", INTERCHANGE_VERSION_UNKNOWN, "/Version",
         "format version 1"},
        {R"({"Version":"1","COperation":{}})", INTERCHANGE_SCHEMA, "/Version", "format version 1"},
        {R"({"Version":1,"COperation":{},"CObject":{}})", INTERCHANGE_SCHEMA, "/CObject",
         "one record class member only"},
        {R"({"Version":1,"CThing":{}})", INTERCHANGE_SCHEMA, "/CThing",
         "the members Version and one record class"},
        {R"({"Version":1,"CObject":{}})", INTERCHANGE_WRONG_CLASS, "/CObject",
         "a document of class COperation"},
        // Texts and Base64.
        {Op("{\"Partitions\":[{\"Text1\":\"\xED\xA0\x80\"}]}"), INTERCHANGE_BAD_TEXT, "",
         "well-formed JSON"},
        {Op(R"({"Partitions":[{"Text1":"\ud800"}]})"), INTERCHANGE_SYNTAX, "", "surrogate"},
        {Op(R"({"Partitions":[{"Text1":{"Base64":"YW=="}}]})"), INTERCHANGE_BAD_TEXT,
         "/COperation/Partitions/0/Text1/Base64", "standard Base64"},
        {Op(R"({"Partitions":[{"Text1":{"Base64":"YQ="}}]})"), INTERCHANGE_BAD_TEXT,
         "/COperation/Partitions/0/Text1/Base64", "standard Base64"},
        // Raw blocks of the known kinds must be what the kind's readers accept.
        {Op(props + R"("Type":2,"Raw":{"Base64":"YWI="}}]})"), INTERCHANGE_BAD_BLOCK,
         "/COperation/Properties/0/Raw", "ending in NUL"},
        {Op(props + R"("Type":5,"Raw":{"Base64":"AAAAAA=="}}]})"), INTERCHANGE_BAD_BLOCK,
         "/COperation/Properties/0/Raw", "8 bytes"},
        // A string list whose table claims more than the block holds: 2
        // entries of 9 and 1 bytes in a block of 8 + 2 text bytes.
        {Op(props + R"("Type":11,"Raw":{"Base64":"CQAAAAEAAABhAA=="},"SplitSize":8}]})"),
         INTERCHANGE_BAD_BLOCK, "/COperation/Properties/0/Raw", "length table"},
        {Op(props + R"("Type":3,"Raw":{"Base64":"AAAAAA=="}}]})"), INTERCHANGE_BAD_BLOCK,
         "/COperation/Properties/0/Raw", "at least 8 bytes"},
        {Op(props + R"("Type":7,"Raw":{"Base64":"AAAAAA=="},"SplitSize":8}]})"),
         INTERCHANGE_BAD_BLOCK, "/COperation/Properties/0/Raw", "SplitSize"},
        {Op(props + R"("Type":99,"Raw":{"Base64":"AAAA"},"DataSize":4}]})"), INTERCHANGE_RANGE,
         "/COperation/Properties/0/DataSize", "the number of bytes"},
        // Nesting: 33 levels are refused by the parser, 32 reach the schema.
        {std::string(100000, '['), INTERCHANGE_LIMIT, "", "at most 32 nested"},
        {Op("[" + deep32 + "]"), INTERCHANGE_LIMIT, "", "at most 32 nested"},
        {Op(deep32), INTERCHANGE_SCHEMA, "/COperation", "an object"},
    };
    for (const JsonFault& f : faults)
        ExpectJsonRefused(f.json, f.code, f.pointer, f.expected);

    // The ends of the ranges themselves are fine, and members come in either order.
    COperation out;
    CInterchangeError error;
    EXPECT_EQ(ReadJsonDocument(Op(R"({"Attribute1":-2147483648,"Properties":[{"PropertyID":1,)"
                                  R"("Type":8,"Value":3.4028235e38},{"PropertyID":1,"Type":8,)"
                                  R"("Value":1e-45}]})"),
                               out, &error),
              0u)
        << error.Text();
    EXPECT_EQ(out.Attribute1, -2147483647 - 1);
    EXPECT_EQ(ReadJsonDocument(R"({"COperation":{"Flag":true},"Version":1})", out), 0u);
    EXPECT_TRUE(out.Flag);
}

TEST(InterchangeHostile, EncoderRefusesBlocksTheReadersWould) {
    // The encoder refuses a block the readers would, naming the property.
    COperation op;
    CProperty bad(ADAPTER_ACTIVITY, false);
    ASSERT_EQ(bad.SetValue(std::vector<std::string>{"a", "b"}, 1u), 0u);
    bad.Data[0] = 200; // the first entry now runs past the block
    op.Properties.emplace_back();
    op.Properties.push_back(bad);
    std::string json = "kept";
    CInterchangeError error;
    EXPECT_EQ(WriteJsonDocument(op, json, &error), INTERCHANGE_BAD_BLOCK);
    EXPECT_EQ(error.Pointer, "/COperation/Properties/1");
    EXPECT_EQ(json, "kept");
    std::vector<std::uint8_t> packed{1, 2};
    EXPECT_EQ(WriteMsgPackValue(op, packed, &error), INTERCHANGE_BAD_BLOCK);
    EXPECT_EQ(error.Pointer, "/Properties/1");
    EXPECT_EQ(packed, Bytes({1, 2}));
}

TEST(InterchangeHostile, MessagePackFaults) {
    // {"Version":1,"CPartition":{"Text1":"\xFF"}} with a str that is not UTF-8.
    CPartition out;
    CInterchangeError error;
    const auto bytes =
        Bytes({0x82, 0xA7, 'V', 'e', 'r', 's', 'i',  'o',  'n', 0x01, 0xAA, 'C', 'P', 'a',  'r',
               't',  'i',  't', 'i', 'o', 'n', 0x81, 0xA5, 'T', 'e',  'x',  't', '1', 0xA1, 0xFF});
    EXPECT_EQ(ReadMsgPackDocument(bytes, out, &error), INTERCHANGE_BAD_TEXT);
    EXPECT_NE(error.Expected.find("UTF-8"), std::string::npos);
    // The same byte as a bin is a text in its bytes form.
    auto asBin = bytes;
    asBin[asBin.size() - 2] = 0xC4;
    asBin.insert(asBin.end() - 1, 0x01);
    ASSERT_EQ(ReadMsgPackDocument(asBin, out, &error), 0u) << error.Text();
    EXPECT_EQ(out.Text1, "\xFF");

    CPartition partition;
    partition.Text1 = "some text";
    std::vector<std::uint8_t> whole;
    ASSERT_EQ(WriteMsgPackDocument(partition, whole), 0u);
    for (size_t cut = 0; cut < whole.size(); ++cut) {
        out = CPartition();
        EXPECT_EQ(ReadMsgPackDocument(whole.data(), cut, out, &error), INTERCHANGE_SYNTAX) << cut;
        EXPECT_TRUE(out.Text1.empty());
    }
    auto trailing = whole;
    trailing.push_back(0xC0);
    ExpectPackRefused(trailing, INTERCHANGE_SYNTAX, "", "the end of the input");

    // An array that declares 4294967295 elements in a few bytes, and a str
    // that declares 4 GiB: refused without building anything.
    ExpectPackRefused(
        Bytes({0x82, 0xA7, 'V', 'e', 'r', 's', 'i', 'o',  'n',  0x01, 0xAA, 'C',  'O',
               'p',  'e',  'r', 'a', 't', 'i', 'o', 'n',  0x81, 0xAA, 'P',  'r',  'o',
               'p',  'e',  'r', 't', 'i', 'e', 's', 0xDD, 0xFF, 0xFF, 0xFF, 0xFF, 0x80}),
        INTERCHANGE_SYNTAX, "", "more bytes");
    ExpectPackRefused(
        Bytes({0x81, 0xA7, 'V', 'e', 'r', 's', 'i', 'o', 'n', 0xDB, 0xFF, 0xFF, 0xFF, 0xFF, 'a'}),
        INTERCHANGE_SYNTAX, "", "more bytes");
    // Extension types and keys that are not texts.
    ExpectPackRefused(Bytes({0x81, 0xA7, 'V', 'e', 'r', 's', 'i', 'o', 'n', 0xD4, 0x01, 0x00}),
                      INTERCHANGE_SCHEMA, "", "no extension types");
    ExpectPackRefused(Bytes({0x81, 0x01, 0x01}), INTERCHANGE_SCHEMA, "", "a str as the key");
}

TEST(InterchangeHostile, NestingAndSize) {
    std::vector<std::uint8_t> deepPack(100000, 0x91); // arrays of one array of ...
    ExpectPackRefused(deepPack, INTERCHANGE_LIMIT, "", "at most 32 nested");

    // Beyond the input limit nothing is read at all.
    const std::string tiny = "{}";
    COperation out;
    CInterchangeError error;
    EXPECT_EQ(ReadJsonDocument(tiny.data(), INTERCHANGE_MAX_INPUT + 1, out, &error),
              INTERCHANGE_LIMIT);
    EXPECT_EQ(ReadMsgPackDocument(reinterpret_cast<const std::uint8_t*>(tiny.data()),
                                  INTERCHANGE_MAX_INPUT + 1, out, &error),
              INTERCHANGE_LIMIT);

    // A declared size without a block allocates nothing, whatever it says.
    CProperty huge;
    ASSERT_EQ(ReadJsonValue(R"({"PropertyID":1,"Type":2,"Raw":null,"DataSize":4294967295})", huge),
              0u);
    EXPECT_EQ(huge.Data, nullptr);
    EXPECT_EQ(huge.DataSize, 4294967295u);
}

// The memory limit leaves room for the largest amplification a valid input
// has: an empty event is one byte of MessagePack and a whole CEvent.
TEST(InterchangeHostile, MemoryLimitAdmitsEveryValidInput) {
    COperation many;
    many.Events.resize(200000);
    many.PassThroughs.resize(200000);
    std::vector<std::uint8_t> packed;
    ASSERT_EQ(WriteMsgPackDocument(many, packed), 0u);
    EXPECT_LT(packed.size(), 500000u);
    COperation back;
    CInterchangeError error;
    ASSERT_EQ(ReadMsgPackDocument(packed, back, &error), 0u) << error.Text();
    EXPECT_EQ(back.Events.size(), 200000u);
    std::string json;
    ASSERT_EQ(WriteJsonDocument(many, json), 0u);
    ASSERT_EQ(ReadJsonDocument(json, back, &error), 0u) << error.Text();
    EXPECT_EQ(FirstDifference(many, back), "");
}

TEST(InterchangeHostile, OutOfMemoryWhileBuildingBlocks) {
    if (!PI::Test::AllocHooksAvailable())
        GTEST_SKIP() << "library built without the allocation hook";
    const std::string json = Op(
        R"({"Properties":[{"PropertyID":1,"Type":2,"Value":"a"},{"PropertyID":2,"Type":4,"Value":true}]})");
    COperation out = Marker();
    const COperation before = out;
    CInterchangeError error;
    {
        PI::Test::CAllocHookScope scope;
        PI::Test::FailAllocations(1);
        EXPECT_EQ(ReadJsonDocument(json, out, &error), RESULT_OUT_OF_MEMORY);
    }
    EXPECT_EQ(error.Pointer, "/COperation/Properties/1/Value");
    EXPECT_EQ(FirstDifference(before, out), "");
    EXPECT_EQ(ReadJsonDocument(json, out, &error), 0u);
}

} // namespace
