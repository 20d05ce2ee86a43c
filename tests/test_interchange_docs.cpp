// The format page's examples are what the library writes: each `json` block
// of docs/interchange.md decodes, and encoding the record again gives the
// same members in the same order with the same values. Its member tables are
// the record description's: names in order, types and defaults.
#include "InterchangeTestSupport.h"

#include <PI/Interchange.h>
#include <PI/Internal/RecordDescription.h>

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

// One row of a member table: a member's name, its type and its default.
struct Row {
    std::string name, type, fallback;
};

// The rows of every "| member | type | default |" table, in page order, a row
// of "`A1` to `A3`" or "`A`, `B`" giving one row per member.
std::vector<std::vector<Row>> MemberTables() {
    std::vector<std::vector<Row>> tables;
    std::istringstream page(Page());
    std::string line;
    bool inTable = false;
    while (std::getline(page, line)) {
        if (line == "| member | type | default |") {
            tables.emplace_back();
            inTable = true;
            continue;
        }
        if (!inTable || line.rfind("|---", 0) == 0)
            continue;
        if (line.rfind("| `", 0) != 0) {
            inTable = false;
            continue;
        }
        std::vector<std::string> cells;
        for (size_t at = 1, end; (end = line.find(" |", at)) != std::string::npos; at = end + 2)
            cells.push_back(line.substr(at + 1, end - at - 1));
        std::vector<std::string> names;
        for (size_t at = 0; (at = cells[0].find('`', at)) != std::string::npos;) {
            const size_t end = cells[0].find('`', at + 1);
            names.push_back(cells[0].substr(at + 1, end - at - 1));
            at = end + 1;
        }
        if (names.size() == 2 && cells[0].find(" to ") != std::string::npos) {
            const std::string first = names[0];
            const size_t digits = first.find_first_of("0123456789");
            const int from = std::stoi(first.substr(digits)),
                      to = std::stoi(names[1].substr(digits));
            names.clear();
            for (int k = from; k <= to; ++k)
                names.push_back(first.substr(0, digits) + std::to_string(k));
        }
        for (const std::string& name : names)
            tables.back().push_back({name, cells[1], cells[2]});
    }
    return tables;
}

template <class T> std::string TypeText() {
    using namespace PI::Records;
    if constexpr (std::is_same_v<T, bool>)
        return "boolean";
    else if constexpr (std::is_enum_v<T>)
        return "(signed 32-bit)";
    else if constexpr (std::is_integral_v<T>)
        return std::string(std::is_signed_v<T> ? "signed " : "unsigned ") +
               std::to_string(sizeof(T) * 8) + "-bit";
    else if constexpr (std::is_same_v<T, std::string> ||
                       std::is_base_of_v<RVX::Strings::CStringVar, T>)
        return "text";
    else if constexpr (std::is_same_v<T, TaskBase<CObject>>)
        return "`CObject` value";
    else if constexpr (std::is_same_v<typename T::value_type, unsigned long long> ||
                       std::is_same_v<typename T::value_type, int>)
        return "list of " + TypeText<typename T::value_type>();
    else
        return std::string("list of `") + Description<typename T::value_type>::Name + "` values";
}

template <class D> std::string DefaultText(const D& fallback) {
    using namespace PI::Records;
    if constexpr (std::is_same_v<D, bool>)
        return fallback ? "true" : "false";
    else if constexpr (std::is_arithmetic_v<D> || std::is_enum_v<D>)
        return std::to_string(fallback);
    else if constexpr (std::is_same_v<D, Empty>)
        return "empty";
    else if constexpr (std::is_same_v<D, Required>)
        return "*required*";
    else
        return ""; // told in words
}

template <class R> void ExpectTable(const std::vector<Row>& table) {
    using namespace PI::Records;
    R record;
    size_t i = 0;
    SchemaOf<R>::Fields(
        [&](std::string_view name, const auto& fallback, bool, EMatch, auto&& member) {
            using D = std::decay_t<decltype(fallback)>;
            if constexpr (!std::is_same_v<D, Block>) {
                const std::string where =
                    std::string(Description<R>::Name) + "::" + std::string(name);
                ASSERT_LT(i, table.size()) << where << " is not in the page";
                const Row& row = table[i++];
                EXPECT_EQ(row.name, name) << Description<R>::Name << ", row " << i;
                // The type begins the cell; an enumeration's follows its name.
                using T = std::decay_t<decltype(member)>;
                const size_t at = row.type.find(TypeText<T>());
                EXPECT_TRUE(std::is_enum_v<T> ? at != std::string::npos : at == 0)
                    << where << ": " << row.type;
                const std::string text = DefaultText(fallback);
                // A number may be followed by its constant's name.
                if (!text.empty()) {
                    EXPECT_EQ(row.fallback.substr(0, row.fallback.find(" (`")), text) << where;
                }
            }
        },
        record);
    if constexpr (std::is_same_v<R, CProperty>) {
        // The block: Value, or Raw with DataSize and SplitSize.
        for (const char* name : {"Value", "Raw", "DataSize", "SplitSize"})
            EXPECT_EQ(i < table.size() ? table[i++].name : "", name);
    }
    EXPECT_EQ(i, table.size()) << Description<R>::Name << ": rows the description does not have";
}

TEST(InterchangeDocs, MemberTablesAreTheRecordDescription) {
    const std::vector<std::vector<Row>> tables = MemberTables();
    ASSERT_EQ(tables.size(), 12u);
    ExpectTable<CProperty>(tables[0]);
    ExpectTable<CObject>(tables[1]);
    ExpectTable<CTask>(tables[2]);
    ExpectTable<CDrive>(tables[3]);
    ExpectTable<CContainer>(tables[4]);
    ExpectTable<CLogicalDrive>(tables[5]);
    ExpectTable<CLevel>(tables[6]);
    ExpectTable<CMigration>(tables[7]);
    ExpectTable<CPartition>(tables[8]);
    ExpectTable<CPassThrough>(tables[9]);
    ExpectTable<CEvent>(tables[10]);
    ExpectTable<COperation>(tables[11]);
}

} // namespace
