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
using Bytes = std::vector<unsigned char>;

Bytes BlockOf(const CProperty& p) {
    return p.Data == nullptr ? Bytes() : Bytes(p.Data, p.Data + p.DataSize);
}

// Little-endian words of `size` bytes, built independently of the library's memcpy.
Bytes Words(std::initializer_list<long long> words, int size = 4) {
    Bytes out;
    for (long long w : words)
        for (int i = 0; i < size; ++i)
            out.push_back(
                static_cast<unsigned char>(static_cast<unsigned long long>(w) >> (8 * i)));
    return out;
}
Bytes Chars(const char* text, size_t length) {
    return Bytes(text, text + length);
}

std::string StoredText(const CProperty& p) {
    EXPECT_TRUE(p.Data != nullptr && p.DataSize > 0 && p.Data[p.DataSize - 1] == '\0');
    if (p.Data == nullptr || p.DataSize == 0)
        return std::string();
    return std::string(reinterpret_cast<const char*>(p.Data), p.DataSize - 1);
}

const unsigned char kKey[32] = {9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 9, 8, 7, 6, 5, 4,
                                3, 2, 1, 0, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 9, 8};

// ---- Encodings --------------------------------------------------------------

// Each setter's kind, split and block, starting from a property that holds a
// string: empty pairs and empty 64-bit lists hold no block, an empty string
// list a zero-byte one. When the block cannot be obtained, the setter says so
// and leaves the new kind and sizes without a block; the next attempt succeeds.
TEST(PropertyTest, ValuesEncodeAsLittleEndianWordsWithTheirKind) {
    std::vector<int> list{1, -2}, first{1, 2}, second{3, 4, -5}, none;
    std::vector<unsigned long long> wides{1, 0xFFFFFFFF00000002ull}, noWides;
    const std::vector<std::string> texts{"a", "bc"}, noTexts;
    Bytes strings = Words({2, 3});
    strings.insert(strings.end(), {'a', 0, 'b', 'c', 0});
    RVX::XML::CMarkup markup;
    markup.SetDoc("<a/>");
    using Set = std::function<unsigned int(CProperty&)>;
    const struct {
        const char* name;
        Set set;
        unsigned int type, subType, split;
        Bytes block;
        bool hasBlock;
    } cases[] = {
        {"int list", [&](CProperty& p) { return p.SetValue(7, list); }, 3, 0, 0, Words({7, 1, -2}),
         true},
        {"range", [](CProperty& p) { return p.SetValue(1, 0, 2, 1u); }, 6, 0, 0,
         Words({1, 0, 2, 1}), true},
        {"ref", [](CProperty& p) { return p.SetValue(CStringRef(" ab ")); }, 2, 0, 0,
         Chars("ab", 3), true},
        {"std", [](CProperty& p) { return p.SetValue(std::string("  abc  ")); }, 2, 0, 0,
         Chars("abc", 4), true},
        {"blank", [](CProperty& p) { return p.SetValue(CStringRef(" \t\r\n\v\f ")); }, 2, 0, 0,
         Chars("", 1), true},
        // Only the referenced characters count, terminated or not.
        {"cut", [](CProperty& p) { return p.SetValue(CStringRef("x z-tail", 3)); }, 2, 0, 0,
         Chars("x z", 4), true},
        {"xml", [&](CProperty& p) { return p.SetValue(markup); }, 10, 0, 0, Chars("<a/>", 5), true},
        {"true", [](CProperty& p) { return p.SetValue(true); }, 4, 0, 0, Words({1}), true},
        {"false", [](CProperty& p) { return p.SetValue(false); }, 4, 0, 0, Words({0}), true},
        {"uint64", [](CProperty& p) { return p.SetValue(0x0102030405060708ull); }, 5, 1, 0,
         Words({0x0102030405060708ll}, 8), true},
        {"float", [](CProperty& p) { return p.SetValue(1.5f); }, 8, 0, 0, Words({0x3FC00000}),
         true},
        {"uint64 list", [&](CProperty& p) { return p.SetValue(wides); }, 9, 1, 0,
         Words({1, static_cast<long long>(0xFFFFFFFF00000002ull)}, 8), true},
        {"empty uint64 list", [&](CProperty& p) { return p.SetValue(noWides); }, 9, 1, 0, Bytes(),
         false},
        {"pair", [&](CProperty& p) { return p.SetValue(first, second); }, 7, 0, 8,
         Words({1, 2, 3, 4, -5}), true},
        {"pair, empty first", [&](CProperty& p) { return p.SetValue(none, second); }, 7, 0, 0,
         Words({3, 4, -5}), true},
        {"pair, empty second", [&](CProperty& p) { return p.SetValue(first, none); }, 7, 0, 8,
         Words({1, 2}), true},
        {"empty pair", [&](CProperty& p) { return p.SetValue(none, none); }, 7, 0, 0, Bytes(),
         false},
        {"string list", [&](CProperty& p) { return p.SetValue(texts, 1u); }, 11, 0, 8, strings,
         true},
        {"empty string list", [&](CProperty& p) { return p.SetValue(noTexts, 0u); }, 11, 0, 0,
         Bytes(), true},
    };
    for (const auto& c : cases) {
        CProperty p(kId, false);
        ASSERT_EQ(p.SetValue(CStringRef("old")), 0u);
        if (PI::Test::AllocHooksAvailable()) {
            PI::Test::CAllocHookScope scope;
            PI::Test::FailAllocations(0, 1);
            EXPECT_EQ(c.set(p), c.hasBlock ? PI::RESULT_OUT_OF_MEMORY : 0u) << c.name;
            EXPECT_TRUE(p.Type == c.type && p.SubType == c.subType && p.SplitSize == c.split &&
                        p.DataSize == c.block.size() && p.Data == nullptr)
                << c.name;
        }
        ASSERT_EQ(c.set(p), 0u) << c.name;
        EXPECT_TRUE(p.Type == c.type && p.SubType == c.subType && p.SplitSize == c.split &&
                    p.DataSize == c.block.size() && (p.Data != nullptr) == c.hasBlock)
            << c.name;
        EXPECT_EQ(BlockOf(p), c.block) << c.name;
    }
}

TEST(PropertyTest, IntWithEmptyListIsRefusedAndChangesNothing) {
    CProperty p(kId, false);
    ASSERT_EQ(p.SetValue(true), 0u);
    const CProperty before(p);
    std::vector<int> empty;
    EXPECT_EQ(p.SetValue(5, empty), PI::RESULT_EMPTY_LIST);
    EXPECT_TRUE(p == before);
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
        EXPECT_EQ(BlockOf(p), Words({c.stored, c.minimum, c.maximum, 1}))
            << c.value << " in " << c.minimum << ".." << c.maximum;
    }
}

TEST(PropertyTest, StringMayComeFromTheOwnBlock) {
    CProperty p(kId, false);
    ASSERT_EQ(p.SetValue(CStringRef("  own text ")), 0u);
    ASSERT_EQ(p.SetValue(CStringRef(reinterpret_cast<const char*>(p.Data), p.DataSize - 1)), 0u);
    EXPECT_EQ(StoredText(p), "own text");
    p.SubType = PI::PROPERTY_SUBTYPE_ENCRYPTED;
    ASSERT_TRUE(RVX::Crypt::CAES::SetKey(kKey, sizeof kKey));
    ASSERT_EQ(p.SetValue(CStringRef("x")), 0u);
    const std::string stored = StoredText(p);
    ASSERT_EQ(p.SetValue(CStringRef(reinterpret_cast<const char*>(p.Data), p.DataSize - 1)), 0u);
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
    static std::string Decrypt(const std::string& text) {
        RVX::Crypt::CAES aes;
        CStringVar plain;
        EXPECT_TRUE(aes.Decrypt(CStringRef(text), plain)) << RVX::Crypt::CAES::LastError();
        return plain.Str();
    }
};

// Plain text is encrypted untrimmed; text already encrypted (its own stored
// text, a bare marker, an untrimmed one) is kept as given.
TEST_F(EncryptedPropertyTest, PlainTextIsEncryptedUntrimmedAndEncryptedTextKept) {
    CProperty p = Secret();
    ASSERT_EQ(p.SetValue(CStringRef("  pass word ")), 0u);
    EXPECT_EQ(p.Type, 2u);
    EXPECT_EQ(p.SubType, 4u);
    const std::string stored = StoredText(p);
    EXPECT_EQ(stored.compare(0, 5, "ENC1("), 0);
    EXPECT_EQ(stored.find("pass"), std::string::npos);
    EXPECT_EQ(Decrypt(stored), "  pass word ");
    for (const std::string& text : {stored, std::string("ENC1("), std::string("ENC1(abc) ")}) {
        CProperty q = Secret();
        ASSERT_EQ(q.SetValue(CStringRef(text)), 0u);
        EXPECT_EQ(StoredText(q), text);
        EXPECT_EQ(q.SubType, 4u);
    }
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

// ---- Equality, copy, assignment, move ----------------------------------------

// The fields' part in equality is checked with the record description; the
// block is compared byte by byte, to its last byte.
TEST(PropertyTest, EveryByteOfTheBlockTakesPartInEquality) {
    CProperty base(kId, false);
    ASSERT_EQ(base.SetValue(std::vector<std::string>{"a", "b"}, 3u), 0u);
    for (const unsigned int at : {0u, base.DataSize - 1}) {
        CProperty other(base);
        other.Data[at] ^= 1;
        EXPECT_TRUE(!(other == base) && base != other) << at;
    }
    CProperty plus(kId, false), minus(kId, false);
    ASSERT_EQ(plus.SetValue(0.0f), 0u);
    ASSERT_EQ(minus.SetValue(-0.0f), 0u);
    EXPECT_FALSE(plus == minus) << "floats compare by their bytes";
}

TEST(PropertyTest, CopiesAreDeepMovesTakeTheBlockAndASizeWithoutBlockHasNeither) {
    CProperty source(kId, true);
    std::vector<int> first{1}, second{2, 3};
    ASSERT_EQ(source.SetValue(first, second), 0u);
    CProperty target;
    ASSERT_EQ(target.SetValue(CStringRef("will go")), 0u);
    target = source;
    EXPECT_TRUE(target == source);
    target.Data[0] = 9;
    EXPECT_EQ(BlockOf(source), Words({1, 2, 3}));
    const CProperty before(target);
    CProperty& alias = target;
    target = alias;
    EXPECT_TRUE(target == before) << "self-assignment keeps the block";
    target = CProperty(); // no value: the block goes
    EXPECT_EQ(target.Data, nullptr);

    const unsigned char* block = source.Data;
    CProperty moved(std::move(source));
    EXPECT_EQ(moved.Data, block);
    EXPECT_TRUE(source.Data == nullptr && source.DataSize == 0u && source.Type == PI::VT_NONE);
    EXPECT_EQ(source.PropertyID, kId);
    CProperty assigned;
    ASSERT_EQ(assigned.SetValue(1.0f), 0u);
    assigned = std::move(moved);
    EXPECT_EQ(assigned.Data, block);
    EXPECT_EQ(moved.Data, nullptr);
    static_assert(std::is_nothrow_move_constructible<CProperty>::value, "");
    static_assert(std::is_nothrow_move_assignable<CProperty>::value, "");
    CProperty broken(kId, false);
    broken.Type = PI::VT_STRING;
    broken.DataSize = 10; // as after a setter that ran out of memory
    CProperty copy(broken);
    EXPECT_TRUE(copy.Data == nullptr && copy.DataSize == 0u && copy.Type == 2u);
    assigned = broken; // over a block
    EXPECT_TRUE(assigned.Data == nullptr && assigned.DataSize == 0u);
    // Comparing a size without a block never touches memory.
    CProperty other(broken);
    other.DataSize = 10;
    EXPECT_TRUE(broken == other);
    ASSERT_EQ(other.SetValue(CStringRef("123456789")), 0u);
    other.SubType = broken.SubType;
    EXPECT_FALSE(broken == other || other == broken);
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

// Refuses an allocation made while more blocks are live than allowed.
bool AtMostLive(size_t, void* context) {
    return PI::Test::LiveBlockCount() <= *static_cast<const long long*>(context);
}

TEST_F(PropertyMemoryTest, SettersReleaseTheOldBlockBeforeObtainingTheNewOne) {
    CProperty p(kId, false);
    ASSERT_EQ(p.SetValue(CStringRef("old")), 0u);
    // While the new block is obtained, the old one must already be gone.
    long long allowed = PI::Test::LiveBlockCount() - 1;
    PI::Test::SetAllocFilter(&AtMostLive, &allowed);
    EXPECT_EQ(p.SetValue(true), 0u);
    EXPECT_EQ(p.SetValue(CStringRef("new")), 0u);
    EXPECT_EQ(p.SetValue(std::vector<std::string>{"x"}, 1u), 0u);
    std::vector<int> list{1};
    EXPECT_EQ(p.SetValue(2, list), 0u);
    EXPECT_EQ(PI::Test::FailedAllocationCount(), 0u);
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
    }
    CProperty target;
    ASSERT_EQ(target.SetValue(true), 0u);
    PI::Test::FailAllocations(0, 1);
    EXPECT_THROW(target = source, RVX::Exceptions::CException);
    EXPECT_EQ(target.Data, nullptr);
    EXPECT_EQ(target.Type, 2u); // the fields were copied before the block
}

} // namespace
