// The format page's examples are what the library writes: each `json` block
// of docs/interchange.md decodes, and encoding the record again gives the
// same members in the same order with the same values.
#include "InterchangeTestSupport.h"

#include <PI/Interchange.h>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using namespace PI;

namespace {

std::string Page() {
    std::ifstream file(std::string(PI_SOURCE_DIR) + "/docs/interchange.md");
    std::stringstream content;
    content << file.rdbuf();
    return content.str();
}

std::vector<std::string> JsonExamples() {
    const std::string text = Page();
    std::vector<std::string> blocks;
    size_t at = 0;
    while ((at = text.find("```json\n", at)) != std::string::npos) {
        at += 8;
        const size_t end = text.find("```", at);
        blocks.push_back(text.substr(at, end - at));
        at = end + 3;
    }
    return blocks;
}

// The compact text of a JSON text, members in their order.
std::string Compact(const std::string& json) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseFullPrecisionFlag>(json.c_str());
    EXPECT_FALSE(document.HasParseError()) << json;
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    document.Accept(writer);
    return buffer.GetString();
}

TEST(InterchangeDocs, EveryExampleIsWhatTheLibraryWrites) {
    const std::vector<std::string> examples = JsonExamples();
    ASSERT_GE(examples.size(), 17u);
    std::vector<bool> classes(RECORD_CLASS_COUNT, false);
    for (const std::string& example : examples) {
        AnyRecord record;
        CInterchangeError error;
        ASSERT_EQ(ReadJsonDocument(example.data(), example.size(), record, &error), 0u)
            << error.Text() << "\n"
            << example;
        classes[record.index()] = true;
        std::string again;
        std::visit([&](const auto& r) { ASSERT_EQ(WriteJsonDocument(r, again), 0u); }, record);
        EXPECT_EQ(Compact(again), Compact(example));
        // And through MessagePack, field by field.
        std::visit([&](const auto& r) { PI::Testing::ExpectRoundTrips(r, example); }, record);
    }
    for (unsigned int i = 0; i < RECORD_CLASS_COUNT; ++i)
        EXPECT_TRUE(classes[i]) << "no example of "
                                << RecordClassName(static_cast<ERecordClass>(i));
}

} // namespace
