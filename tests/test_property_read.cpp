// CProperty typed reading: kind and data checks, decoding, the
// string-list join, trace records, and the non-throwing mode.
#include <PI/AllocHook.h>
#include <PI/Identifiers.h>
#include <PI/Module.h>
#include <PI/Property.h>

#include <RVX/Exceptions.h>
#include <RVX/Markup.h>
#include <RVX/Trace.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

using PI::CProperty;
using RVX::Strings::CStringEx;
using RVX::Strings::CStringRef;
using RVX::Strings::CStringVar;

namespace {

const PI::_PROPERTY_ID kId = static_cast<PI::_PROPERTY_ID>(23001);
constexpr unsigned int kWrongType = 0x21130004;
constexpr unsigned int kInvalidData = 0x21130003;
constexpr unsigned int kLevel = 0x40000000;

// The code that `read` raises, or 0 when it returns normally.
unsigned int RaisedCode(const std::function<void()>& read) {
    try {
        read();
    } catch (const RVX::Exceptions::CException& e) {
        return e.GetCode();
    }
    return 0;
}

// A property whose block is made by hand (malloc, as the property frees it).
CProperty Crafted(unsigned int type, const std::vector<unsigned char>& block, unsigned int split) {
    CProperty p(kId, false);
    p.Type = type;
    p.DataSize = static_cast<unsigned int>(block.size());
    p.SplitSize = split;
    p.Data = static_cast<unsigned char*>(std::malloc(block.empty() ? 1 : block.size()));
    if (!block.empty())
        std::memcpy(p.Data, block.data(), block.size());
    return p;
}

// ---- Round trips ------------------------------------------------------------

TEST(PropertyReadTest, NumbersAndListsReadBackAsSet) {
    // Every output starts stale: a reader replaces lists rather than appending.
    CProperty p(kId, false);
    std::vector<int> one{-9}, a{1, 2}, b{3, 4, 5}, list{1, 2, 3}, first{99}, second{98};
    std::vector<unsigned long long> wides{7, 0xFFFFFFFFFFFFFFFFull}, wideOut{1};
    int value = 0, minimum = -1, maximum = -1;
    unsigned int step = 0;
    unsigned long long wide = 0;
    float number = 0;
    ASSERT_EQ(p.SetValue(4, one), 0u);
    ASSERT_EQ(p.GetValue(value, list), 0u);
    EXPECT_TRUE(value == 4 && list == one);
    ASSERT_EQ(p.SetValue(15, 0, 10, 2u), 0u);
    ASSERT_EQ(p.GetValue(value, minimum, maximum, step), 0u);
    EXPECT_EQ(std::vector<int>({value, minimum, maximum, int(step)}),
              std::vector<int>({10, 0, 10, 2}));
    ASSERT_EQ(p.SetValue(0xFEDCBA9876543210ull), 0u);
    ASSERT_EQ(p.GetValue(wide), 0u);
    EXPECT_EQ(wide, 0xFEDCBA9876543210ull);
    ASSERT_EQ(p.SetValue(-2.25f), 0u);
    ASSERT_EQ(p.GetValue(number), 0u);
    EXPECT_EQ(number, -2.25f);
    ASSERT_EQ(p.SetValue(a, b), 0u);
    ASSERT_EQ(p.GetValue(first, second), 0u);
    EXPECT_TRUE(first == a && second == b);
    ASSERT_EQ(p.SetValue(wides), 0u);
    ASSERT_EQ(p.GetValue(wideOut), 0u);
    EXPECT_EQ(wideOut, wides);
    // A flag is any non-zero word.
    for (const unsigned char low : {0, 1}) {
        bool out = low == 0;
        ASSERT_EQ(Crafted(PI::VT_BOOL, {low, 1, 0, 0}, 0).GetValue(out), 0u);
        EXPECT_TRUE(out);
        ASSERT_EQ(p.SetValue(low != 0), 0u);
        ASSERT_EQ(p.GetValue(out), 0u);
        EXPECT_EQ(out, low != 0);
    }
}

// What both text readers give for a block.
std::string ReadText(CProperty p) {
    std::string str = "stale";
    CStringVar var("stale");
    EXPECT_EQ(p.GetValue(str), 0u);
    EXPECT_EQ(p.GetValue(var), 0u);
    EXPECT_EQ(var.Str(), str);
    return str;
}

TEST(PropertyReadTest, StringReadsBackUpToTheFirstNulOrTheBlockEnd) {
    CProperty p(kId, false);
    ASSERT_EQ(p.SetValue(CStringRef(" text ")), 0u);
    EXPECT_EQ(ReadText(p), "text");
    EXPECT_EQ(ReadText(Crafted(PI::VT_STRING, {'a', 'b', 0, 'c', 0}, 0)), "ab");
    EXPECT_EQ(ReadText(Crafted(PI::VT_STRING, {'a', 'b', 'c'}, 0)), "abc");
    EXPECT_EQ(ReadText(Crafted(PI::VT_STRING, {}, 0)), "");
}

// ---- String lists (on arbitrary blocks: the fuzz check, checks/StringList.h) --

TEST(PropertyReadTest, StringListReadsBackWithItsMaskAndJoinsTheSelectedEntries) {
    const std::vector<std::string> in{"a", "", " x "};
    CProperty p(kId, false);
    ASSERT_EQ(p.SetValue(in, 0x5u), 0u);
    std::vector<std::string> out{"stale"};
    unsigned int mask = 0;
    ASSERT_EQ(p.GetValue(out, mask), 0u);
    EXPECT_EQ(out, in);
    EXPECT_EQ(mask, 0x5u);
    EXPECT_EQ(ReadText(p), "a,  x ");
    // The mask wraps every 32 entries.
    std::vector<std::string> many;
    for (int i = 0; i < 70; ++i)
        many.push_back("e" + std::to_string(i));
    ASSERT_EQ(p.SetValue(many, 0x80000001u), 0u);
    EXPECT_EQ(ReadText(p), "e0, e31, e32, e63, e64");
}

// Blocks that no setter writes: the table and the texts stay inside the block.
TEST(PropertyReadTest, StringListTableIsBoundedByTheBlock) {
    const struct {
        std::vector<unsigned char> block;
        unsigned int split;
        std::vector<std::string> entries;
    } cases[] = {
        {{1, 0, 0, 0}, 4000, {}}, // a table longer than the block
        // A split that is not a multiple of four, and a zero entry: both at byte 9, a NUL.
        {{0, 0, 0, 0, 0, 0, 0, 0, 'x', 0, 'y'}, 9, {"", ""}},
        // Lengths whose sum wraps a 32-bit counter.
        {{0xFF, 0xFF, 0xFF, 0xFF, 2, 0, 0, 0, 2, 0, 0, 0, 'p', 0, 'q', 0}, 12, {"p"}},
    };
    for (const auto& c : cases) {
        CProperty p = Crafted(PI::VT_STRING_LIST, c.block, c.split);
        std::vector<std::string> list;
        unsigned int mask = 0;
        EXPECT_EQ(p.GetValue(list, mask), 0u);
        EXPECT_EQ(list, c.entries) << c.split;
        ReadText(p);
    }
}

// ---- Errors --------------------------------------------------------------------

TEST(PropertyReadTest, UnsetPropertyGivesDataErrorAsStringAndTypeErrorOtherwise) {
    CProperty p;
    std::string text;
    CStringVar var;
    float number;
    std::vector<std::string> list;
    EXPECT_EQ(RaisedCode([&] { p.GetValue(text); }), kInvalidData);
    EXPECT_EQ(RaisedCode([&] { p.GetValue(var); }), kInvalidData);
    EXPECT_EQ(RaisedCode([&] { p.GetValue(number); }), kWrongType);
    EXPECT_EQ(RaisedCode([&] { p.GetValue(list); }), kWrongType);
}

TEST(PropertyReadTest, FixedSizeKindsCheckTheirSize) {
    CProperty p(kId, false);
    bool b;
    unsigned long long w;
    float f;
    int i1, i2, i3;
    unsigned int u;
    std::vector<int> list, one{1};
    const std::vector<std::pair<std::function<void()>, unsigned int>> cases = {
        {[&] { p.SetValue(true); }, 3},   {[&] { p.SetValue(1ull); }, 4},
        {[&] { p.SetValue(1.0f); }, 2},   {[&] { p.SetValue(1, 0, 2, 1u); }, 12},
        {[&] { p.SetValue(0, one); }, 4}, // shorter than the leading int and one element
    };
    const std::function<void()> reads[] = {
        [&] { p.GetValue(b); }, [&] { p.GetValue(w); }, [&] { p.GetValue(f); },
        [&] { p.GetValue(i1, i2, i3, u); }, [&] { p.GetValue(i1, list); }};
    for (size_t i = 0; i < cases.size(); ++i) {
        cases[i].first();
        p.DataSize = cases[i].second;
        EXPECT_EQ(RaisedCode(reads[i]), kInvalidData) << i;
    }
}

// Every reader, with the kind it reads.
struct Readers {
    unsigned int u = 14;
    int i1 = 11, i2 = 12, i3 = 13;
    bool b = true;
    unsigned long long w = 15;
    float f = 16.0f;
    std::vector<int> v1{17}, v2{18};
    std::vector<unsigned long long> wl{19};
    RVX::XML::CMarkup m;
    std::vector<CStringEx> ex{CStringEx("21")};
    std::vector<std::string> sl{"20"};
    std::string s = "22";
    CStringVar var{"23"};
    const std::vector<std::pair<unsigned int, std::function<unsigned int(CProperty&)>>> all = {
        {3, [this](CProperty& p) { return p.GetValue(i1, v1); }},
        {6, [this](CProperty& p) { return p.GetValue(i1, i2, i3, u); }},
        {4, [this](CProperty& p) { return p.GetValue(b); }},
        {5, [this](CProperty& p) { return p.GetValue(w); }},
        {7, [this](CProperty& p) { return p.GetValue(v1, v2); }},
        {8, [this](CProperty& p) { return p.GetValue(f); }},
        {9, [this](CProperty& p) { return p.GetValue(wl); }},
        {10, [this](CProperty& p) { return p.GetValue(m); }},
        {11, [this](CProperty& p) { return p.GetValue(ex, u); }},
        {11, [this](CProperty& p) { return p.GetValue(sl); }},
        {2, [this](CProperty& p) { return p.GetValue(s); }},
        {2, [this](CProperty& p) { return p.GetValue(var); }},
        {11, [this](CProperty& p) { return p.GetValue(s); }},
    };
    bool Untouched() const {
        return i1 == 11 && i2 == 12 && i3 == 13 && u == 14u && b && w == 15u && f == 16.0f &&
               v1 == std::vector<int>{17} && v2 == std::vector<int>{18} &&
               wl == std::vector<unsigned long long>{19} && sl == std::vector<std::string>{"20"} &&
               ex.size() == 1u && s == "22" && var.Str() == "23";
    }
};

TEST(PropertyReadTest, EveryReaderRefusesAMissingBlockAndWithoutThrowingTouchesNothing) {
    Readers readers;
    // A size but no block, as after a failed setter; and no block at all, as
    // the empty pair and the empty 64-bit list hold.
    for (unsigned int size : {16u, 0u}) {
        for (const auto& reader : readers.all) {
            CProperty p(kId, false);
            p.Type = reader.first;
            p.DataSize = size;
            EXPECT_EQ(RaisedCode([&] { reader.second(p); }), kInvalidData)
                << "kind " << reader.first << ", size " << size;
        }
    }
    // With throwing disabled a failure returns its code; no failure touches an output.
    RVX::Threading::CDisableThrow disable;
    CProperty flag(kId, false), broken(kId, false), unset;
    ASSERT_EQ(flag.SetValue(false), 0u);
    ASSERT_EQ(broken.SetValue(false), 0u);
    broken.DataSize = 3;
    for (const auto& reader : readers.all) {
        if (reader.first != 4) {
            EXPECT_EQ(reader.second(flag), kWrongType) << reader.first;
        }
        if (reader.first == 2) {
            EXPECT_EQ(reader.second(unset), kInvalidData);
        }
    }
    EXPECT_EQ(readers.all[2].second(broken), kInvalidData);
    EXPECT_EQ(RVX::Threading::CThrowState::PendingCode(), kInvalidData);
    EXPECT_TRUE(readers.Untouched());
}

// ---- Trace records -----------------------------------------------------------

TEST(PropertyReadTest, FailuresAreTracedWithIdentifierStoredAndWantedKind) {
    std::vector<RVX::Internals::TraceRecord> records;
    const unsigned int oldMask = PI::GetModuleInfo().GetTraceMask();
    PI::GetModuleInfo().SetTraceMask(kLevel | 0x1u);
    const RVX::Internals::TraceSink oldSink = RVX::Internals::SetTraceSink(
        [&](const RVX::Internals::TraceRecord& record) { records.push_back(record); });
    CProperty p(kId, false);
    ASSERT_EQ(p.SetValue(true), 0u);
    bool b = false;
    ASSERT_EQ(p.GetValue(b), 0u);
    unsigned long long w;
    std::string s;
    EXPECT_EQ(RaisedCode([&] { p.GetValue(w); }), kWrongType);
    CProperty unset(static_cast<PI::_PROPERTY_ID>(23475), false);
    EXPECT_EQ(RaisedCode([&] { unset.GetValue(s); }), kInvalidData);
    PI::GetModuleInfo().SetTraceMask(~kLevel); // nothing is traced while the level is off
    EXPECT_EQ(RaisedCode([&] { unset.GetValue(s); }), kInvalidData);
    RVX::Internals::SetTraceSink(oldSink);
    PI::GetModuleInfo().SetTraceMask(oldMask);
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].Text, "Property 23001 has type=4 but should have 5!");
    EXPECT_EQ(records[1].Text, "Property 23475 has no or invalid data!");
    for (const RVX::Internals::TraceRecord& record : records) {
        EXPECT_EQ(record.Level, kLevel);
        EXPECT_EQ(record.Module, 275u);
    }
}

} // namespace
