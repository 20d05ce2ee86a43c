// CProperty typed reading: kind and data checks, decoding, the
// string-list join, trace records, and the non-throwing mode.
#include <PI/AllocHook.h>
#include <PI/Identifiers.h>
#include <PI/Module.h>
#include <PI/Property.h>

#include <RVX/AES.h>
#include <RVX/Exceptions.h>
#include <RVX/Markup.h>
#include <RVX/Trace.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
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

// Captures the trace records of the test and sets the PI module's mask.
class TraceCapture {
public:
    explicit TraceCapture(unsigned int mask) : m_OldMask(PI::GetModuleInfo().GetTraceMask()) {
        PI::GetModuleInfo().SetTraceMask(mask);
        m_OldSink = RVX::Internals::SetTraceSink(
            [this](const RVX::Internals::TraceRecord& record) { Records.push_back(record); });
    }
    ~TraceCapture() {
        RVX::Internals::SetTraceSink(m_OldSink);
        PI::GetModuleInfo().SetTraceMask(m_OldMask);
    }
    std::vector<RVX::Internals::TraceRecord> Records;

private:
    unsigned int m_OldMask;
    RVX::Internals::TraceSink m_OldSink;
};

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

void PutWord(std::vector<unsigned char>& out, unsigned int word) {
    for (int i = 0; i < 4; ++i)
        out.push_back(static_cast<unsigned char>(word >> (8 * i)));
}

// ---- Round trips ------------------------------------------------------------

TEST(PropertyReadTest, NumbersAndListsReadBackAsSet) {
    CProperty intList(kId, false), range(kId, false), flag(kId, false), wide(kId, false),
        number(kId, false), pair(kId, false), wideList(kId, false);
    std::vector<int> one{-9}, a{1, 2}, b{3, 4, 5};
    std::vector<unsigned long long> wides{7, 0xFFFFFFFFFFFFFFFFull};
    ASSERT_EQ(intList.SetValue(4, one), 0u);
    ASSERT_EQ(range.SetValue(15, 0, 10, 2u), 0u);
    ASSERT_EQ(flag.SetValue(true), 0u);
    ASSERT_EQ(wide.SetValue(0xFEDCBA9876543210ull), 0u);
    ASSERT_EQ(number.SetValue(-2.25f), 0u);
    ASSERT_EQ(pair.SetValue(a, b), 0u);
    ASSERT_EQ(wideList.SetValue(wides), 0u);

    // Every output starts stale: a reader replaces lists rather than appending.
    int value = 0, minimum = -1, maximum = -1;
    unsigned int step = 0;
    std::vector<int> list{1, 2, 3}, first{99}, second{98};
    std::vector<unsigned long long> wideOut{1};
    bool boolOut = false;
    unsigned long long wideValue = 0;
    float floatOut = 0;
    ASSERT_EQ(intList.GetValue(value, list), 0u);
    EXPECT_EQ(value, 4);
    EXPECT_EQ(list, std::vector<int>{-9});
    ASSERT_EQ(range.GetValue(value, minimum, maximum, step), 0u);
    EXPECT_EQ(std::vector<int>({value, minimum, maximum}), std::vector<int>({10, 0, 10}));
    EXPECT_EQ(step, 2u);
    ASSERT_EQ(flag.GetValue(boolOut), 0u);
    EXPECT_TRUE(boolOut);
    ASSERT_EQ(flag.SetValue(false), 0u);
    ASSERT_EQ(flag.GetValue(boolOut), 0u);
    EXPECT_FALSE(boolOut);
    ASSERT_EQ(wide.GetValue(wideValue), 0u);
    EXPECT_EQ(wideValue, 0xFEDCBA9876543210ull);
    ASSERT_EQ(number.GetValue(floatOut), 0u);
    EXPECT_EQ(floatOut, -2.25f);
    ASSERT_EQ(pair.GetValue(first, second), 0u);
    EXPECT_EQ(first, a);
    EXPECT_EQ(second, b);
    ASSERT_EQ(wideList.GetValue(wideOut), 0u);
    EXPECT_EQ(wideOut, wides);
}

TEST(PropertyReadTest, NonZeroWordReadsAsTrue) {
    std::vector<unsigned char> block;
    PutWord(block, 0x100);
    CProperty p = Crafted(PI::VT_BOOL, block, 0);
    bool flag = false;
    ASSERT_EQ(p.GetValue(flag), 0u);
    EXPECT_TRUE(flag);
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
    ASSERT_EQ(p.SetValue(std::string("")), 0u);
    EXPECT_EQ(ReadText(p), "");
    EXPECT_EQ(ReadText(Crafted(PI::VT_STRING, {'a', 'b', 0, 'c', 0}, 0)), "ab");
    EXPECT_EQ(ReadText(Crafted(PI::VT_STRING, {'a', 'b', 'c'}, 0)), "abc");
    EXPECT_EQ(ReadText(Crafted(PI::VT_STRING, {}, 0)), "");
}

// ---- String lists --------------------------------------------------------------

TEST(PropertyReadTest, StringListReadsBackWithItsMask) {
    for (const std::vector<std::string>& in :
         {std::vector<std::string>{"a", "", "longer text", " x "}, std::vector<std::string>{}}) {
        CProperty p(kId, false);
        ASSERT_EQ(p.SetValue(in, 0x5u), 0u);
        std::vector<std::string> out{"stale"};
        std::vector<CStringEx> ex{CStringEx("stale")};
        unsigned int mask = 0, exMask = 0;
        ASSERT_EQ(p.GetValue(out, mask), 0u);
        ASSERT_EQ(p.GetValue(ex, exMask), 0u);
        EXPECT_EQ(out, in);
        EXPECT_EQ(ex.size(), in.size());
        EXPECT_EQ(mask, 0x5u);
        EXPECT_EQ(exMask, 0x5u);
    }
}

std::string Joined(const std::vector<std::string>& list, unsigned int mask) {
    CProperty p(kId, false);
    EXPECT_EQ(p.SetValue(list, mask), 0u);
    std::string text = "stale";
    CStringVar var("stale");
    EXPECT_EQ(p.GetValue(text), 0u);
    EXPECT_EQ(p.GetValue(var), 0u);
    EXPECT_EQ(var.Str(), text);
    return text;
}

TEST(PropertyReadTest, StringListReadAsOneStringJoinsTheSelectedEntries) {
    const std::vector<std::string> list{"a", "bc", "d"};
    EXPECT_EQ(Joined(list, 5), "a, d");
    EXPECT_EQ(Joined(list, 2), "bc");
    EXPECT_EQ(Joined(list, 4), "d");
    EXPECT_EQ(Joined(list, 0xFFFFFFFFu), "a, bc, d");
    EXPECT_EQ(Joined(list, 0), "");
    EXPECT_EQ(Joined({}, 3), "");
    EXPECT_EQ(Joined({"", "x", ""}, 7), ", x, ");
    // The mask wraps every 32 entries.
    std::vector<std::string> many;
    for (int i = 0; i < 70; ++i)
        many.push_back("e" + std::to_string(i));
    EXPECT_EQ(Joined(many, 1), "e0, e32, e64");
    EXPECT_EQ(Joined(many, 0x80000000u), "e31, e63");
}

// ---- Errors --------------------------------------------------------------------

TEST(PropertyReadTest, UnsetPropertyGivesDataErrorAsStringAndTypeErrorOtherwise) {
    CProperty p;
    std::string text;
    CStringVar var;
    float number;
    bool flag;
    std::vector<std::string> list;
    EXPECT_EQ(RaisedCode([&] { p.GetValue(text); }), kInvalidData);
    EXPECT_EQ(RaisedCode([&] { p.GetValue(var); }), kInvalidData);
    EXPECT_EQ(RaisedCode([&] { p.GetValue(number); }), kWrongType);
    EXPECT_EQ(RaisedCode([&] { p.GetValue(flag); }), kWrongType);
    EXPECT_EQ(RaisedCode([&] { p.GetValue(list); }), kWrongType);
}

TEST(PropertyReadTest, FixedSizeKindsCheckTheirSize) {
    CProperty p(kId, false);
    bool b;
    unsigned long long w;
    float f;
    int i1, i2, i3;
    unsigned int u;
    std::vector<int> list;
    ASSERT_EQ(p.SetValue(true), 0u);
    p.DataSize = 3;
    EXPECT_EQ(RaisedCode([&] { p.GetValue(b); }), kInvalidData);
    ASSERT_EQ(p.SetValue(1ull), 0u);
    p.DataSize = 4;
    EXPECT_EQ(RaisedCode([&] { p.GetValue(w); }), kInvalidData);
    ASSERT_EQ(p.SetValue(1.0f), 0u);
    p.DataSize = 2;
    EXPECT_EQ(RaisedCode([&] { p.GetValue(f); }), kInvalidData);
    ASSERT_EQ(p.SetValue(1, 0, 2, 1u), 0u);
    p.DataSize = 12;
    EXPECT_EQ(RaisedCode([&] { p.GetValue(i1, i2, i3, u); }), kInvalidData);
    std::vector<int> one{1};
    ASSERT_EQ(p.SetValue(0, one), 0u);
    p.DataSize = 4; // shorter than the leading int and one element
    EXPECT_EQ(RaisedCode([&] { p.GetValue(i1, list); }), kInvalidData);
}

TEST(PropertyReadTest, EveryReaderRefusesAMissingBlock) {
    unsigned int u;
    int i1, i2, i3;
    bool b;
    unsigned long long w;
    float f;
    std::vector<int> v1, v2;
    std::vector<unsigned long long> wl;
    RVX::XML::CMarkup m;
    std::vector<CStringEx> ex;
    std::vector<std::string> sl;
    std::string s;
    const std::vector<std::pair<unsigned int, std::function<void(CProperty&)>>> readers = {
        {3, [&](CProperty& p) { p.GetValue(i1, v1); }},
        {6, [&](CProperty& p) { p.GetValue(i1, i2, i3, u); }},
        {4, [&](CProperty& p) { p.GetValue(b); }},
        {5, [&](CProperty& p) { p.GetValue(w); }},
        {7, [&](CProperty& p) { p.GetValue(v1, v2); }},
        {8, [&](CProperty& p) { p.GetValue(f); }},
        {9, [&](CProperty& p) { p.GetValue(wl); }},
        {10, [&](CProperty& p) { p.GetValue(m); }},
        {11, [&](CProperty& p) { p.GetValue(ex, u); }},
        {11, [&](CProperty& p) { p.GetValue(sl); }},
        {2, [&](CProperty& p) { p.GetValue(s); }},
        {11, [&](CProperty& p) { p.GetValue(s); }},
    };
    // A size but no block, as after a failed setter; and no block at all, as
    // the empty pair and the empty 64-bit list hold.
    for (unsigned int size : {16u, 0u}) {
        for (const auto& reader : readers) {
            CProperty p(kId, false);
            p.Type = reader.first;
            p.DataSize = size;
            EXPECT_EQ(RaisedCode([&] { reader.second(p); }), kInvalidData)
                << "kind " << reader.first << ", size " << size;
        }
    }
}

// ---- Trace records -----------------------------------------------------------

TEST(PropertyReadTest, FailuresAreTracedWithIdentifierStoredAndWantedKind) {
    TraceCapture trace(kLevel | 0x1u);
    CProperty p(kId, false);
    ASSERT_EQ(p.SetValue(true), 0u);
    bool b = false;
    ASSERT_EQ(p.GetValue(b), 0u);
    EXPECT_TRUE(trace.Records.empty());
    unsigned long long w;
    std::string s;
    EXPECT_EQ(RaisedCode([&] { p.GetValue(w); }), kWrongType);
    EXPECT_EQ(RaisedCode([&] { p.GetValue(s); }), kWrongType);
    CProperty unset(static_cast<PI::_PROPERTY_ID>(23475), false);
    EXPECT_EQ(RaisedCode([&] { unset.GetValue(s); }), kInvalidData);
    ASSERT_EQ(trace.Records.size(), 3u);
    EXPECT_EQ(trace.Records[0].Text, "Property 23001 has type=4 but should have 5!");
    EXPECT_EQ(trace.Records[1].Text, "Property 23001 has type=4 but should have 2!");
    EXPECT_EQ(trace.Records[2].Text, "Property 23475 has no or invalid data!");
    for (const RVX::Internals::TraceRecord& record : trace.Records) {
        EXPECT_EQ(record.Level, kLevel);
        EXPECT_EQ(record.Module, 275u);
        EXPECT_STREQ(record.SourcePath, "Src/Objects");
        EXPECT_GT(record.Line, 0u);
    }
    PI::GetModuleInfo().SetTraceMask(~kLevel);
    EXPECT_EQ(RaisedCode([&] { unset.GetValue(s); }), kInvalidData);
    EXPECT_EQ(trace.Records.size(), 3u) << "nothing is traced while the level is off";
}

// ---- Non-throwing mode ----------------------------------------------------------

TEST(PropertyReadTest, WithThrowingDisabledFailuresReturnTheCodeAndTouchNothing) {
    RVX::Threading::CDisableThrow disable;
    CProperty p(kId, false);
    ASSERT_EQ(p.SetValue(CStringRef("text")), 0u);
    int i1 = 11, i2 = 12, i3 = 13;
    unsigned int u = 14;
    bool b = true;
    unsigned long long w = 15;
    float f = 16.0f;
    std::vector<int> v1{17}, v2{18};
    std::vector<unsigned long long> wl{19};
    std::vector<std::string> sl{"20"};
    std::vector<CStringEx> ex{CStringEx("21")};
    EXPECT_EQ(p.GetValue(i1, v1), kWrongType);
    EXPECT_EQ(p.GetValue(i1, i2, i3, u), kWrongType);
    EXPECT_EQ(p.GetValue(b), kWrongType);
    EXPECT_EQ(p.GetValue(w), kWrongType);
    EXPECT_EQ(p.GetValue(v1, v2), kWrongType);
    EXPECT_EQ(p.GetValue(f), kWrongType);
    EXPECT_EQ(p.GetValue(wl), kWrongType);
    EXPECT_EQ(p.GetValue(sl, u), kWrongType);
    EXPECT_EQ(p.GetValue(ex), kWrongType);
    EXPECT_EQ(RVX::Threading::CThrowState::PendingCode(), kWrongType);
    EXPECT_TRUE(i1 == 11 && i2 == 12 && i3 == 13 && u == 14u && b && w == 15u && f == 16.0f);
    EXPECT_TRUE(v1 == std::vector<int>{17} && v2 == std::vector<int>{18});
    EXPECT_TRUE(wl == std::vector<unsigned long long>{19} && sl == std::vector<std::string>{"20"});
    EXPECT_EQ(ex.size(), 1u);

    CProperty unset;
    std::string s = "22";
    CStringVar var("23");
    EXPECT_EQ(unset.GetValue(s), kInvalidData);
    EXPECT_EQ(unset.GetValue(var), kInvalidData);
    EXPECT_EQ(s, "22");
    EXPECT_EQ(var.Str(), "23");
    CProperty sizeless(kId, false);
    sizeless.Type = PI::VT_BOOL;
    sizeless.DataSize = 4;
    EXPECT_EQ(sizeless.GetValue(b), kInvalidData);
    EXPECT_TRUE(b);
}

// ---- Kind 11 on arbitrary blocks ---------------------------------------------------

std::vector<std::string> ReadList(CProperty& p) {
    std::vector<std::string> list;
    unsigned int mask = 0;
    EXPECT_EQ(p.GetValue(list, mask), 0u);
    std::vector<CStringEx> ex;
    EXPECT_EQ(p.GetValue(ex), 0u);
    EXPECT_EQ(ex.size(), list.size());
    std::string joined;
    EXPECT_EQ(p.GetValue(joined), 0u);
    return list;
}

TEST(PropertyReadTest, StringListTableIsBoundedByTheBlock) {
    { // An entry length that runs past the end: the text stops at the block end.
        std::vector<unsigned char> block;
        PutWord(block, 1000);
        PutWord(block, 2);
        block.push_back('a');
        block.push_back('b');
        CProperty p = Crafted(PI::VT_STRING_LIST, block, 8);
        EXPECT_EQ(ReadList(p), std::vector<std::string>{"ab"}); // the second starts outside
    }
    { // A table longer than the block.
        std::vector<unsigned char> block;
        PutWord(block, 1);
        CProperty p = Crafted(PI::VT_STRING_LIST, block, 4000);
        EXPECT_TRUE(ReadList(p).empty());
    }
    { // A split that is not a multiple of four, and a zero entry.
        std::vector<unsigned char> block;
        PutWord(block, 0);
        PutWord(block, 0);
        block.push_back('x');
        block.push_back(0);
        block.push_back('y');
        CProperty p = Crafted(PI::VT_STRING_LIST, block, 9);
        EXPECT_EQ(ReadList(p), (std::vector<std::string>{"", ""})); // both at byte 9, a NUL
    }
    { // Lengths whose sum wraps a 32-bit counter.
        std::vector<unsigned char> block;
        PutWord(block, 0xFFFFFFFFu);
        PutWord(block, 2);
        PutWord(block, 2);
        block.insert(block.end(), {'p', 0, 'q', 0});
        CProperty p = Crafted(PI::VT_STRING_LIST, block, 12);
        EXPECT_EQ(ReadList(p), std::vector<std::string>{"p"});
    }
}

} // namespace
