// CProperty: setters and their byte encodings, copy, comparison,
// the encrypted string route and the out-of-memory paths.
#include <PI/AllocHook.h>
#include <PI/Identifiers.h>
#include <PI/Property.h>

#include <RVX/AES.h>
#include <RVX/Exceptions.h>
#include <RVX/Markup.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <stdlib.h>
#include <string>
#include <type_traits>
#include <vector>

using PI::CProperty;
using RVX::Strings::CStringEx;
using RVX::Strings::CStringRef;
using RVX::Strings::CStringVar;

namespace {

const PI::_PROPERTY_ID kId = static_cast<PI::_PROPERTY_ID>(23001);

std::vector<unsigned char> BlockOf(const CProperty& p) {
    if (p.Data == nullptr)
        return {};
    return std::vector<unsigned char>(p.Data, p.Data + p.DataSize);
}

// Little-endian bytes, built independently of the library's memcpy.
void PutLE(std::vector<unsigned char>& out, unsigned long long value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out.push_back(static_cast<unsigned char>(value >> (8 * i)));
}
std::vector<unsigned char> Words32(std::initializer_list<long long> words) {
    std::vector<unsigned char> out;
    for (long long w : words)
        PutLE(out, static_cast<unsigned long long>(w), 4);
    return out;
}
std::vector<unsigned char> Chars(const char* text, size_t length) {
    return std::vector<unsigned char>(text, text + length);
}
std::vector<unsigned char> operator+(std::vector<unsigned char> a,
                                     const std::vector<unsigned char>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

std::string StoredText(const CProperty& p) {
    EXPECT_NE(p.Data, nullptr);
    EXPECT_GT(p.DataSize, 0u);
    if (p.Data == nullptr || p.DataSize == 0)
        return std::string();
    EXPECT_EQ(p.Data[p.DataSize - 1], '\0');
    return std::string(reinterpret_cast<const char*>(p.Data), p.DataSize - 1);
}

const unsigned char kKey[32] = {9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 9, 8, 7, 6, 5, 4,
                                3, 2, 1, 0, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 9, 8};

std::string Decrypt(const std::string& text) {
    RVX::Crypt::CAES aes;
    CStringVar plain;
    EXPECT_TRUE(aes.Decrypt(CStringRef(text), plain)) << RVX::Crypt::CAES::LastError();
    return plain.Str();
}

// ---- Encodings --------------------------------------------------------------

// Each setter's kind, split and block, starting from a property that holds a
// string: empty pairs and empty 64-bit lists hold no block, an empty string
// list a zero-byte one.
TEST(PropertyTest, ValuesEncodeAsLittleEndianWordsWithTheirKind) {
    std::vector<unsigned char> wide, wideList;
    PutLE(wide, 0x0102030405060708ull, 8);
    PutLE(wideList, 1, 8);
    PutLE(wideList, 0xFFFFFFFF00000002ull, 8);
    std::vector<int> list{1, -2}, first{1, 2}, second{3, 4, -5}, none;
    std::vector<unsigned long long> wides{1, 0xFFFFFFFF00000002ull}, noWides;
    using Set = std::function<unsigned int(CProperty&)>;
    const struct {
        const char* name;
        Set set;
        unsigned int type, subType, split;
        std::vector<unsigned char> block;
        bool hasBlock;
    } cases[] = {
        {"int list", [&](CProperty& p) { return p.SetValue(7, list); }, 3, 0, 0,
         Words32({7, 1, -2}), true},
        {"true", [](CProperty& p) { return p.SetValue(true); }, 4, 0, 0, Words32({1}), true},
        {"false", [](CProperty& p) { return p.SetValue(false); }, 4, 0, 0, Words32({0}), true},
        {"uint64", [](CProperty& p) { return p.SetValue(0x0102030405060708ull); }, 5, 1, 0, wide,
         true},
        {"float", [](CProperty& p) { return p.SetValue(1.5f); }, 8, 0, 0, Words32({0x3FC00000}),
         true},
        {"uint64 list", [&](CProperty& p) { return p.SetValue(wides); }, 9, 1, 0, wideList, true},
        {"empty uint64 list",
         [&](CProperty& p) { return p.SetValue(noWides); },
         9,
         1,
         0,
         {},
         false},
        {"pair", [&](CProperty& p) { return p.SetValue(first, second); }, 7, 0, 8,
         Words32({1, 2, 3, 4, -5}), true},
        {"pair, empty first", [&](CProperty& p) { return p.SetValue(none, second); }, 7, 0, 0,
         Words32({3, 4, -5}), true},
        {"pair, empty second", [&](CProperty& p) { return p.SetValue(first, none); }, 7, 0, 8,
         Words32({1, 2}), true},
        {"empty pair", [&](CProperty& p) { return p.SetValue(none, none); }, 7, 0, 0, {}, false},
        {"string list",
         [](CProperty& p) {
             return p.SetValue(std::vector<std::string>{"a", "bc"}, 1u);
         },
         11, 0, 8, Words32({2, 3}) + Chars("a\0bc", 5), true},
        {"empty string list",
         [](CProperty& p) { return p.SetValue(std::vector<std::string>{}, 0u); },
         11,
         0,
         0,
         {},
         true},
    };
    for (const auto& c : cases) {
        CProperty p(kId, false);
        ASSERT_EQ(p.SetValue(CStringRef("old")), 0u);
        ASSERT_EQ(c.set(p), 0u) << c.name;
        EXPECT_EQ(p.Type, c.type) << c.name;
        EXPECT_EQ(p.SubType, c.subType) << c.name;
        EXPECT_EQ(p.DataSize, c.block.size()) << c.name;
        EXPECT_EQ(p.SplitSize, c.split) << c.name;
        EXPECT_EQ(BlockOf(p), c.block) << c.name;
        EXPECT_EQ(p.Data != nullptr, c.hasBlock) << c.name;
    }
    EXPECT_EQ(list, (std::vector<int>{1, -2})); // the caller's list is not changed
}

TEST(PropertyTest, IntWithEmptyListIsRefusedAndChangesNothing) {
    CProperty p(kId, false);
    ASSERT_EQ(p.SetValue(true), 0u);
    const CProperty before(p);
    const unsigned char* block = p.Data;
    std::vector<int> empty;
    EXPECT_EQ(p.SetValue(5, empty), PI::RESULT_EMPTY_LIST);
    EXPECT_TRUE(p == before);
    EXPECT_EQ(p.Data, block);
}

TEST(PropertyTest, RangeClampsInTheDocumentedOrder) {
    struct Case {
        int value, minimum, maximum, stored;
    };
    const Case cases[] = {{15, 0, 10, 10}, {-3, 0, 10, 0}, {10, 0, 10, 10},
                          {5, 0, 10, 5},   {0, 0, 10, 0},  {10, 9, 3, 3},
                          {7, 9, 3, 9},    {9, 9, 3, 3},   {-2147483647 - 1, -5, 5, -5}};
    for (const Case& c : cases) {
        CProperty p(kId, false);
        ASSERT_EQ(p.SetValue(c.value, c.minimum, c.maximum, 1u), 0u);
        EXPECT_EQ(p.Type, 6u);
        EXPECT_EQ(BlockOf(p), Words32({c.stored, c.minimum, c.maximum, 1}))
            << c.value << " in " << c.minimum << ".." << c.maximum;
    }
    CProperty big(kId, false);
    ASSERT_EQ(big.SetValue(1, 0, 2, 0xFFFFFFFFu), 0u);
    EXPECT_EQ(BlockOf(big), Words32({1, 0, 2, 0xFFFFFFFFll}));
}

TEST(PropertyTest, StringsAreTrimmedOnEveryRoute) {
    CProperty p(kId, false);
    ASSERT_EQ(p.SetValue(std::string("  abc  ")), 0u);
    EXPECT_EQ(BlockOf(p), Chars("abc", 4));
    EXPECT_EQ(p.Type, 2u);
    ASSERT_EQ(p.SetValue(CStringRef(" \t\r\n\v\f ")), 0u);
    EXPECT_EQ(BlockOf(p), Chars("", 1));
    ASSERT_EQ(p.SetValue(CStringRef("a b")), 0u);
    EXPECT_EQ(StoredText(p), "a b");
    // Only the referenced characters count, terminated or not.
    ASSERT_EQ(p.SetValue(CStringRef("xyz-tail", 3)), 0u);
    EXPECT_EQ(BlockOf(p), Chars("xyz", 4));
    ASSERT_EQ(p.SetValue(std::string("")), 0u);
    EXPECT_EQ(p.DataSize, 1u);
}

TEST(PropertyTest, StringMayComeFromTheOwnBlock) {
    CProperty p(kId, false);
    ASSERT_EQ(p.SetValue(CStringRef("  own text ")), 0u);
    CStringRef own(reinterpret_cast<const char*>(p.Data), p.DataSize - 1);
    ASSERT_EQ(p.SetValue(own), 0u);
    EXPECT_EQ(StoredText(p), "own text");
    p.SubType = PI::PROPERTY_SUBTYPE_ENCRYPTED;
    ASSERT_TRUE(RVX::Crypt::CAES::SetKey(kKey, sizeof kKey));
    ASSERT_EQ(p.SetValue(CStringRef("x")), 0u);
    const std::string stored = StoredText(p);
    CStringRef ownEncrypted(reinterpret_cast<const char*>(p.Data), p.DataSize - 1);
    ASSERT_EQ(p.SetValue(ownEncrypted), 0u);
    EXPECT_EQ(StoredText(p), stored);
    RVX::Crypt::CAES::ClearKey();
}

// ---- Encrypted strings ------------------------------------------------------

class EncryptedPropertyTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(RVX::Crypt::CAES::SetKey(kKey, sizeof kKey)); }
    void TearDown() override { RVX::Crypt::CAES::ClearKey(); }
    static CProperty Secret() {
        CProperty p(kId, false);
        p.SubType = PI::PROPERTY_SUBTYPE_ENCRYPTED;
        return p;
    }
};

TEST_F(EncryptedPropertyTest, PlainTextIsEncryptedUntrimmed) {
    CProperty p = Secret();
    ASSERT_EQ(p.SetValue(CStringRef("  pass word ")), 0u);
    EXPECT_EQ(p.Type, 2u);
    EXPECT_EQ(p.SubType, 4u);
    const std::string stored = StoredText(p);
    EXPECT_EQ(stored.compare(0, 5, "ENC1("), 0);
    EXPECT_EQ(p.DataSize, stored.size() + 1);
    EXPECT_EQ(stored.find("pass"), std::string::npos);
    EXPECT_EQ(Decrypt(stored), "  pass word ");
}

TEST_F(EncryptedPropertyTest, AlreadyEncryptedTextIsKeptAsGiven) {
    CProperty p = Secret();
    ASSERT_EQ(p.SetValue(CStringRef("secret")), 0u);
    const std::string stored = StoredText(p);
    // Its own stored text, a bare marker and an untrimmed one: all kept as given.
    for (const std::string& text : {stored, std::string("ENC1("), std::string("ENC1(abc) ")}) {
        CProperty q = Secret();
        ASSERT_EQ(q.SetValue(CStringRef(text)), 0u);
        EXPECT_EQ(StoredText(q), text);
        EXPECT_EQ(q.SubType, 4u);
    }
    EXPECT_EQ(Decrypt(stored), "secret");
}

TEST_F(EncryptedPropertyTest, WithoutAKeyNothingReadableIsStored) {
    RVX::Crypt::CAES::ClearKey();
    ::setenv("RVX_AES_KEY_FILE", "/nonexistent/pi-test.key", 1);
    CProperty p = Secret();
    const unsigned int result = p.SetValue(CStringRef("secret"));
    ::unsetenv("RVX_AES_KEY_FILE");
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(p.SubType, 4u);
    EXPECT_EQ(StoredText(p), ""); // the cipher's (empty) result, never the plain text
}

// ---- Equality ---------------------------------------------------------------

// The fields' part in equality is checked with the record description; the
// block is compared byte by byte, to its last byte.
TEST(PropertyTest, EveryByteOfTheBlockTakesPartInEquality) {
    CProperty base(kId, false);
    ASSERT_EQ(base.SetValue(std::vector<std::string>{"a", "b"}, 3u), 0u);
    for (const unsigned int at : {0u, base.DataSize - 1}) {
        CProperty other(base);
        other.Data[at] ^= 1;
        EXPECT_FALSE(other == base) << at;
        EXPECT_TRUE(base != other) << at;
    }
    CProperty plus(kId, false), minus(kId, false);
    ASSERT_EQ(plus.SetValue(0.0f), 0u);
    ASSERT_EQ(minus.SetValue(-0.0f), 0u);
    EXPECT_FALSE(plus == minus) << "floats compare by their bytes";
}

// ---- Copy, assignment, move -------------------------------------------------

TEST(PropertyTest, AssignmentCopiesEveryFieldAndTheBlock) {
    CProperty source(kId, true);
    source.Attribute7 = 42;
    std::vector<int> first{1}, second{2, 3};
    ASSERT_EQ(source.SetValue(first, second), 0u);
    CProperty target;
    ASSERT_EQ(target.SetValue(CStringRef("will go")), 0u);
    target = source;
    EXPECT_TRUE(target == source);
    EXPECT_NE(target.Data, source.Data);
    target.Data[0] = 9;
    EXPECT_EQ(BlockOf(source), Words32({1, 2, 3}));

    const CProperty before(target);
    CProperty& alias = target;
    target = alias;
    EXPECT_TRUE(target == before) << "self-assignment keeps the block";

    CProperty none;
    target = none; // no value: the block goes
    EXPECT_EQ(target.Data, nullptr);
    EXPECT_TRUE(target == none);
}

TEST(PropertyTest, CopyOfASizeWithoutBlockHasNeither) {
    CProperty broken(kId, false);
    broken.Type = PI::VT_STRING;
    broken.DataSize = 10; // as after a setter that ran out of memory
    CProperty copy(broken);
    EXPECT_EQ(copy.Data, nullptr);
    EXPECT_EQ(copy.DataSize, 0u);
    EXPECT_EQ(copy.Type, 2u);
    CProperty assigned;
    ASSERT_EQ(assigned.SetValue(true), 0u);
    assigned = broken;
    EXPECT_EQ(assigned.Data, nullptr);
    EXPECT_EQ(assigned.DataSize, 0u);
    // Comparing a size without a block never touches memory.
    CProperty other(broken);
    other.DataSize = 10;
    EXPECT_TRUE(broken == other);
    ASSERT_EQ(other.SetValue(CStringRef("123456789")), 0u);
    other.SubType = broken.SubType;
    EXPECT_FALSE(broken == other);
    EXPECT_FALSE(other == broken);
}

TEST(PropertyTest, MoveTakesTheBlockAndLeavesNoValue) {
    CProperty source(kId, true);
    ASSERT_EQ(source.SetValue(CStringRef("moved")), 0u);
    const CProperty snapshot(source);
    const unsigned char* block = source.Data;
    CProperty target(std::move(source));
    EXPECT_TRUE(target == snapshot);
    EXPECT_EQ(target.Data, block);
    EXPECT_EQ(source.Data, nullptr);
    EXPECT_EQ(source.DataSize, 0u);
    EXPECT_EQ(source.Type, unsigned(PI::VT_NONE));
    EXPECT_EQ(source.PropertyID, kId);

    CProperty assigned;
    ASSERT_EQ(assigned.SetValue(1.0f), 0u);
    assigned = std::move(target);
    EXPECT_TRUE(assigned == snapshot);
    EXPECT_EQ(target.Data, nullptr);
    static_assert(std::is_nothrow_move_constructible<CProperty>::value, "");
    static_assert(std::is_nothrow_move_assignable<CProperty>::value, "");
}

// ---- Out of memory ------------------------------------------------------------

class PropertyMemoryTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!PI::Test::AllocHooksAvailable())
            GTEST_SKIP() << "library built without PI_TEST_HOOKS";
    }
    PI::Test::CAllocHookScope m_Scope;
};

TEST_F(PropertyMemoryTest, EverySetterReportsExhaustedMemoryWithTheNewKind) {
    struct Case {
        const char* name;
        std::function<unsigned int(CProperty&)> set;
        unsigned int type, subType, dataSize, splitSize;
    };
    std::vector<int> list{1, 2};
    std::vector<int> first{1}, second{2, 3};
    std::vector<unsigned long long> wide{1, 2, 3};
    RVX::XML::CMarkup markup;
    markup.SetDoc("<a/>");
    const std::vector<Case> cases = {
        {"int list", [&](CProperty& p) { return p.SetValue(4, list); }, 3, 0, 12, 0},
        {"range", [](CProperty& p) { return p.SetValue(1, 0, 2, 1u); }, 6, 0, 16, 0},
        {"ref", [](CProperty& p) { return p.SetValue(CStringRef(" ab ")); }, 2, 0, 3, 0},
        {"std", [](CProperty& p) { return p.SetValue(std::string("abc")); }, 2, 0, 4, 0},
        {"bool", [](CProperty& p) { return p.SetValue(true); }, 4, 0, 4, 0},
        {"uint64", [](CProperty& p) { return p.SetValue(5ull); }, 5, 1, 8, 0},
        {"pair", [&](CProperty& p) { return p.SetValue(first, second); }, 7, 0, 12, 4},
        {"float", [](CProperty& p) { return p.SetValue(2.0f); }, 8, 0, 4, 0},
        {"uint64 list", [&](CProperty& p) { return p.SetValue(wide); }, 9, 1, 24, 0},
        {"xml", [&](CProperty& p) { return p.SetValue(markup); }, 10, 0, 5, 0},
        {"strings", [](CProperty& p) { return p.SetValue(std::vector<std::string>{"a"}, 1u); }, 11,
         0, 6, 4},
        {"empty strings", [](CProperty& p) { return p.SetValue(std::vector<CStringEx>{}, 1u); }, 11,
         0, 0, 0},
    };
    for (const Case& c : cases) {
        CProperty p(kId, false);
        std::vector<std::string> old{"old", "value"};
        ASSERT_EQ(p.SetValue(old, 1u), 0u);
        PI::Test::FailAllocations(0, 1);
        EXPECT_EQ(c.set(p), PI::RESULT_OUT_OF_MEMORY) << c.name;
        EXPECT_EQ(p.Type, c.type) << c.name;
        EXPECT_EQ(p.SubType, c.subType) << c.name;
        EXPECT_EQ(p.DataSize, c.dataSize) << c.name;
        EXPECT_EQ(p.SplitSize, c.splitSize) << c.name;
        EXPECT_EQ(p.Data, nullptr) << c.name;
        // The next attempt succeeds again.
        EXPECT_EQ(c.set(p), 0u) << c.name;
        EXPECT_NE(p.Data, nullptr) << c.name;
    }
}

// Refuses an allocation made while more blocks are live than allowed.
bool AtMostLive(size_t, void* context) {
    return PI::Test::LiveBlockCount() <= *static_cast<const long long*>(context);
}

TEST_F(PropertyMemoryTest, SettersReleaseTheOldBlockBeforeObtainingTheNewOne) {
    CProperty p(kId, false);
    ASSERT_EQ(p.SetValue(CStringRef("old")), 0u);
    // While the new block is obtained, the old one must already be gone.
    long long allowed = PI::Test::LiveBlockCount() - 1;
    const unsigned long long before = PI::Test::AllocationCount();
    PI::Test::SetAllocFilter(&AtMostLive, &allowed);
    EXPECT_EQ(p.SetValue(true), 0u);
    EXPECT_EQ(p.SetValue(CStringRef("new")), 0u);
    EXPECT_EQ(p.SetValue(std::vector<std::string>{"x"}, 1u), 0u);
    std::vector<int> list{1};
    EXPECT_EQ(p.SetValue(2, list), 0u);
    EXPECT_EQ(PI::Test::FailedAllocationCount(), 0u);
    EXPECT_EQ(PI::Test::AllocationCount(), before + 4);
    PI::Test::SetAllocFilter(nullptr, nullptr);
    CProperty other(kId, false);
    ASSERT_EQ(other.SetValue(1.0f), 0u); // two blocks live now
    allowed = PI::Test::LiveBlockCount() - 1;
    PI::Test::SetAllocFilter(&AtMostLive, &allowed);
    other = p; // assignment, too, releases first
    EXPECT_EQ(PI::Test::FailedAllocationCount(), 0u);
}

TEST_F(PropertyMemoryTest, EveryBlockComesFromTheHookAndIsReleased) {
    const long long live = PI::Test::LiveBlockCount();
    {
        CProperty p(kId, false);
        std::vector<unsigned long long> empty;
        ASSERT_EQ(p.SetValue(empty), 0u); // no block for an empty list
        EXPECT_EQ(PI::Test::AllocationCount(), 0u);
        ASSERT_EQ(p.SetValue(CStringRef("a")), 0u);
        ASSERT_EQ(p.SetValue(std::vector<std::string>{}, 1u), 0u); // a zero-byte block
        ASSERT_EQ(p.SetValue(1.0f), 0u);
        CProperty copy(p);
        CProperty moved(std::move(copy));
        CProperty assigned;
        assigned = moved;
        EXPECT_EQ(PI::Test::AllocationCount(), 5u); // three setters, a copy, an assignment
        assigned = CProperty();
        ASSERT_EQ(moved.SetValue(empty), 0u);
        EXPECT_EQ(PI::Test::LiveBlockCount(), live + 1);
    }
    EXPECT_EQ(PI::Test::LiveBlockCount(), live);
}

TEST_F(PropertyMemoryTest, CopyAndAssignmentRaiseInvalidDataWhenMemoryRunsOut) {
    CProperty source(kId, false);
    ASSERT_EQ(source.SetValue(CStringRef("abc")), 0u);
    PI::Test::FailAllocations(0, 1);
    try {
        CProperty copy(source);
        ADD_FAILURE() << "no exception";
    } catch (const RVX::Exceptions::CException& e) {
        EXPECT_EQ(e.GetCode(), PI::EXCEPTION_INVALID_DATA);
        EXPECT_EQ(e.GetCode(), 0x21130003u);
        ASSERT_FALSE(e.GetSources().empty());
        EXPECT_STREQ(e.GetSources()[0].Path, "Src/Objects");
        EXPECT_EQ(e.GetSources()[0].Module, 275u);
    }
    CProperty target;
    ASSERT_EQ(target.SetValue(true), 0u);
    PI::Test::FailAllocations(0, 1);
    EXPECT_THROW(target = source, RVX::Exceptions::CException);
    EXPECT_EQ(target.Data, nullptr);
    EXPECT_EQ(target.Type, 2u); // the fields were copied before the block
}

} // namespace
