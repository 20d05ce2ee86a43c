// The interchange form back to records: one decoder over the tokens of
// either format (Tokens.h). Every record is built in a temporary and handed
// over only when the whole input has been read.
#include "Classes.h"
#include "Pointer.h"
#include "PropertyForm.h"
#include "Text.h"
#include "Tokens.h"

#include "../Objects/PropertyBlock.h"
#include "PI/Interchange.h"
#include "PI/Internal/RecordDescription.h"

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <string>

namespace PI {
namespace Interchange {
using namespace Records;
using Internal::PutWord;
namespace {

template <class D> constexpr bool IsRequired = std::is_same_v<std::decay_t<D>, Required>;

constexpr double kFloatLimit = 3.4028235677973366e38; // FLT_MAX and half a step: rounds to inf

bool IsNumber(TokenKind kind) {
    return kind == TokenKind::Unsigned || kind == TokenKind::Negative ||
           kind == TokenKind::Double || kind == TokenKind::Float;
}

// Member names are short: a loop beats a call to memcmp.
inline bool SameKey(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (a[i] != b[i])
            return false;
    return true;
}

std::string Name(std::string_view name) {
    return std::string(name);
}

class Decoder {
public:
    Decoder(const TokenList& list, size_t inputLength, CInterchangeError& error)
        : m_Base(list.Tokens.data()), m_At(list.Tokens.data()),
          m_End(list.Tokens.data() + list.Tokens.size()), m_Error(error),
          m_Budget(INTERCHANGE_MEMORY_BASE + INTERCHANGE_MEMORY_PER_BYTE * inputLength) {}

    const Token* At() const { return m_At; }
    CInterchangeError& Error() { return m_Error; }
    void MoveTo(const Token* at) { m_At = at; }
    void Skip() {
        if (m_At->Kind == TokenKind::BeginObject || m_At->Kind == TokenKind::BeginArray)
            m_At = m_Base + m_At->Match + 1;
        else
            ++m_At;
    }

    bool Fail(unsigned int code, std::string expected) {
        m_Error.Code = code;
        m_Error.Expected = std::move(expected);
        m_Error.Pointer.clear();
        m_Error.Offset = m_At < m_End ? m_At->Offset : (m_End > m_Base ? m_End[-1].Offset : 0);
        return false;
    }
    bool TypeFault(const char* expected) {
        return Fail(IsNumber(m_At->Kind) ? INTERCHANGE_RANGE : INTERCHANGE_SCHEMA, expected);
    }
    bool Charge(size_t bytes) {
        if (bytes > m_Budget - m_Used)
            return Fail(INTERCHANGE_LIMIT,
                        "an input whose records fit the decoder's memory limit (" +
                            std::to_string(INTERCHANGE_MEMORY_PER_BYTE) +
                            " bytes per input byte and 1 MiB)");
        m_Used += bytes;
        return true;
    }

    // --- scalars ---
    bool Get(unsigned int& value) {
        if (m_At->Kind != TokenKind::Unsigned || m_At->Unsigned > 0xFFFFFFFFull)
            return TypeFault("an integer from 0 to 4294967295");
        value = static_cast<unsigned int>(m_At->Unsigned);
        ++m_At;
        return true;
    }
    bool Get(int& value) {
        if (m_At->Kind == TokenKind::Unsigned && m_At->Unsigned <= 0x7FFFFFFFull)
            value = static_cast<int>(m_At->Unsigned);
        else if (m_At->Kind == TokenKind::Negative && m_At->Negative >= -0x80000000ll)
            value = static_cast<int>(m_At->Negative);
        else
            return TypeFault("an integer from -2147483648 to 2147483647");
        ++m_At;
        return true;
    }
    bool Get(unsigned long long& value) {
        if (m_At->Kind != TokenKind::Unsigned)
            return TypeFault("an integer from 0 to 18446744073709551615");
        value = m_At->Unsigned;
        ++m_At;
        return true;
    }
    bool Get(long long& value) {
        if (m_At->Kind == TokenKind::Unsigned && m_At->Unsigned <= 0x7FFFFFFFFFFFFFFFull)
            value = static_cast<long long>(m_At->Unsigned);
        else if (m_At->Kind == TokenKind::Negative)
            value = m_At->Negative;
        else
            return TypeFault("an integer from -9223372036854775808 to 9223372036854775807");
        ++m_At;
        return true;
    }
    bool Get(bool& value) {
        if (m_At->Kind != TokenKind::Bool)
            return Fail(INTERCHANGE_SCHEMA, "true or false");
        value = m_At->Flag;
        ++m_At;
        return true;
    }
    template <class E, std::enable_if_t<std::is_enum_v<E>, int> = 0> bool Get(E& value) {
        int number = 0;
        if (!Get(number))
            return false;
        value = static_cast<E>(number);
        return true;
    }
    bool GetFloat(float& value) {
        double number;
        switch (m_At->Kind) {
        case TokenKind::Unsigned:
            number = static_cast<double>(m_At->Unsigned);
            break;
        case TokenKind::Negative:
            number = static_cast<double>(m_At->Negative);
            break;
        case TokenKind::Double:
            number = m_At->Double;
            break;
        case TokenKind::Float:
            number = m_At->Float;
            break;
        default:
            return Fail(INTERCHANGE_SCHEMA, "a number");
        }
        if (!std::isfinite(number) || std::fabs(number) >= kFloatLimit)
            return Fail(INTERCHANGE_RANGE, "a finite number within the range of a 32-bit float");
        value = static_cast<float>(number);
        ++m_At;
        return true;
    }

    // --- texts and bytes ---
    bool GetText(std::string& out) {
        if (m_At->Kind == TokenKind::Text || m_At->Kind == TokenKind::Bytes)
            return TakeString(out);
        if (m_At->Kind == TokenKind::BeginObject)
            return GetBase64(out);
        return Fail(INTERCHANGE_SCHEMA, "a text");
    }
    bool GetBytes(std::string& out) {
        if (m_At->Kind == TokenKind::Bytes)
            return TakeString(out);
        if (m_At->Kind == TokenKind::BeginObject)
            return GetBase64(out);
        return Fail(INTERCHANGE_SCHEMA, "bytes: {\"Base64\": text} or a MessagePack bin");
    }
    // The string or bin token's bytes as they stand, counted against the limit.
    bool TakeString(std::string& out) {
        if (!Charge(m_At->Count))
            return false;
        out.assign(m_At->Text, m_At->Count);
        ++m_At;
        return true;
    }
    bool Get(RVX::Strings::CStringVar& text) { return GetText(text.Str()); }
    bool Get(std::string& text) { return GetText(text); }

    // --- lists ---
    template <class T> bool GetList(std::vector<T>& out, size_t elementSize) {
        if (m_At->Kind != TokenKind::BeginArray)
            return Fail(INTERCHANGE_SCHEMA, "a list");
        const size_t count = m_At->Count;
        if (!Charge(count * elementSize))
            return false;
        std::vector<T> list;
        list.reserve(count);
        ++m_At;
        while (m_At->Kind != TokenKind::EndArray) {
            list.emplace_back();
            if (!GetElement(list.back())) {
                PrependIndex(m_Error.Pointer, list.size() - 1);
                return false;
            }
        }
        ++m_At;
        out.swap(list);
        return true;
    }
    // Numbers into a list that keeps its capacity from earlier use.
    template <class T> bool GetInto(std::vector<T>& list) {
        if (m_At->Kind != TokenKind::BeginArray)
            return Fail(INTERCHANGE_SCHEMA, "a list");
        if (!Charge(m_At->Count * sizeof(T)))
            return false;
        list.clear();
        list.reserve(m_At->Count);
        ++m_At;
        while (m_At->Kind != TokenKind::EndArray) {
            list.emplace_back();
            if (!Get(list.back())) {
                PrependIndex(m_Error.Pointer, list.size() - 1);
                return false;
            }
        }
        ++m_At;
        return true;
    }
    bool Get(std::vector<unsigned long long>& out) {
        return GetList(out, sizeof(unsigned long long));
    }
    bool Get(std::vector<int>& out) { return GetList(out, sizeof(int)); }
    template <class R> bool Get(std::vector<R>& out) { return GetList(out, sizeof(R)); }

    // --- records ---
    bool Get(const TaskBase<CObject>& base) {
        return GetFields(base.Object, "CObject", [](auto& o, auto&& f) { TaskObjectFields(f, o); });
    }
    template <class R, class = decltype(SchemaOf<R>::Name)> bool Get(R& record) {
        return GetFields(record, SchemaOf<R>::Name,
                         [](auto& r, auto&& f) { SchemaOf<R>::Fields(f, r); });
    }
    bool Get(CProperty& p);

private:
    bool GetElement(unsigned long long& value) { return Get(value); }
    bool GetElement(int& value) { return Get(value); }
    template <class R> bool GetElement(R& record) { return Get(record); }

    bool GetBase64(std::string& out);
    template <class R, class Walk> bool GetFields(R& record, const char* className, Walk walk);
    // Members of a small fixed object (the values of the kinds 3, 6 and 7),
    // all required; `member(index)` reads each.
    template <size_t N, class F>
    bool GetFixedObject(const std::string_view (&names)[N], const char* what, F&& member);
    bool GetValue(CProperty& p);
    bool SetBlock(CProperty& p, size_t size, unsigned char*& block);

    // Reused between properties, so that a value needs no allocation besides
    // its block.
    std::string m_Text;
    std::vector<int> m_Ints[2];
    std::vector<unsigned long long> m_Ids;
    std::vector<std::string> m_Texts;

    const Token* m_Base;
    const Token* m_At;
    const Token* m_End;
    CInterchangeError& m_Error;
    size_t m_Budget;
    size_t m_Used = 0;
};

bool Decoder::GetBase64(std::string& out) {
    const Token* begin = m_At;
    ++m_At;
    if (m_At->Kind != TokenKind::Key || std::string_view(m_At->Text, m_At->Count) != "Base64") {
        m_At = begin;
        return Fail(INTERCHANGE_SCHEMA, "a text, or bytes as {\"Base64\": text}");
    }
    ++m_At;
    if (m_At->Kind != TokenKind::Text) {
        Fail(INTERCHANGE_SCHEMA, "a Base64 text");
        PrependKey(m_Error.Pointer, "Base64");
        return false;
    }
    if (!Charge(m_At->Count) || !DecodeBase64(m_At->Text, m_At->Count, out)) {
        if (m_Error.Code == 0 || m_Error.Code != INTERCHANGE_LIMIT)
            Fail(INTERCHANGE_BAD_TEXT, "standard Base64 with padding");
        PrependKey(m_Error.Pointer, "Base64");
        return false;
    }
    ++m_At;
    if (m_At->Kind != TokenKind::EndObject) {
        return Fail(INTERCHANGE_SCHEMA, "bytes as {\"Base64\": text} with no other member");
    }
    ++m_At;
    return true;
}

template <class R, class Walk>
bool Decoder::GetFields(R& record, const char* className, Walk walk) {
    if (m_At->Kind != TokenKind::BeginObject)
        return Fail(INTERCHANGE_SCHEMA, std::string("an object (") + className + ")");
    const Token* begin = m_At;
    ++m_At;
    std::uint64_t seen = 0;
    while (m_At->Kind != TokenKind::EndObject) {
        const std::string_view key(m_At->Text, m_At->Count);
        int index = -1;
        int i = 0;
        walk(record, [&](std::string_view name, const auto&, bool, EMatch, auto&&) {
            if (index < 0 && SameKey(name, key))
                index = i;
            ++i;
        });
        if (index < 0 || (seen >> index & 1) != 0) {
            Fail(INTERCHANGE_SCHEMA, index < 0 ? std::string("a member of ") + className
                                               : std::string("each member once"));
            PrependKey(m_Error.Pointer, key);
            return false;
        }
        seen |= std::uint64_t(1) << index;
        ++m_At;
        bool ok = true;
        i = 0;
        walk(record, [&](std::string_view, const auto&, bool, EMatch, auto&& member) {
            if (i++ == index)
                ok = Get(member);
        });
        if (!ok) {
            PrependKey(m_Error.Pointer, key);
            return false;
        }
    }
    ++m_At;
    std::string_view missing;
    int i = 0;
    walk(record, [&](std::string_view name, const auto& fallback, bool, EMatch, auto&&) {
        if (IsRequired<decltype(fallback)> && (seen >> i & 1) == 0 && missing.empty())
            missing = name;
        ++i;
    });
    if (!missing.empty()) {
        m_At = begin;
        return Fail(INTERCHANGE_SCHEMA, "the member " + Name(missing));
    }
    return true;
}

template <size_t N, class F>
bool Decoder::GetFixedObject(const std::string_view (&names)[N], const char* what, F&& member) {
    if (m_At->Kind != TokenKind::BeginObject)
        return Fail(INTERCHANGE_SCHEMA, what);
    const Token* begin = m_At;
    ++m_At;
    unsigned int seen = 0;
    while (m_At->Kind != TokenKind::EndObject) {
        const std::string_view key(m_At->Text, m_At->Count);
        size_t index = 0;
        while (index < N && names[index] != key)
            ++index;
        if (index == N || (seen >> index & 1) != 0) {
            Fail(INTERCHANGE_SCHEMA, index == N ? what : "each member once");
            PrependKey(m_Error.Pointer, key);
            return false;
        }
        seen |= 1u << index;
        ++m_At;
        if (!member(index)) {
            PrependKey(m_Error.Pointer, key);
            return false;
        }
    }
    ++m_At;
    for (size_t index = 0; index < N; ++index) {
        if ((seen >> index & 1) == 0) {
            m_At = begin;
            return Fail(INTERCHANGE_SCHEMA, "the member " + Name(names[index]));
        }
    }
    return true;
}

// The members of a property in the interchange form: those of the
// description but the block's pieces, then the block as Value, or as Raw
// with DataSize and SplitSize.
template <class D> constexpr bool IS_BLOCK = std::is_same_v<std::decay_t<D>, Block>;

constexpr int PropertyOwnMembers() {
    int count = 0;
    ForEachMember<CProperty>(
        [&](const auto& d) { count += IS_BLOCK<decltype(d.Default)> ? 0 : 1; });
    return count;
}

enum PropertyMember : int {
    M_PROPERTY_ID = 0,
    M_SECONDARY_ID = 1,
    M_TYPE = 7,
    M_SUB_TYPE = 8,
    M_VALUE = PropertyOwnMembers(),
    M_RAW,
    M_DATA_SIZE,
    M_SPLIT_SIZE,
    M_PROPERTY_MEMBERS
};

constexpr std::array<std::string_view, M_PROPERTY_MEMBERS> PropertyMemberNames() {
    std::array<std::string_view, M_PROPERTY_MEMBERS> names{};
    int i = 0;
    ForEachMember<CProperty>([&](const auto& d) {
        if (!IS_BLOCK<decltype(d.Default)>)
            names[i++] = d.Name;
    });
    names[M_VALUE] = "Value";
    names[M_RAW] = "Raw";
    names[M_DATA_SIZE] = "DataSize";
    names[M_SPLIT_SIZE] = "SplitSize";
    return names;
}

constexpr std::array<std::string_view, M_PROPERTY_MEMBERS> kPropertyMembers = PropertyMemberNames();
static_assert(kPropertyMembers[M_PROPERTY_ID] == "PropertyID" &&
                  kPropertyMembers[M_SECONDARY_ID] == "SecondaryID" &&
                  kPropertyMembers[M_TYPE] == "Type" && kPropertyMembers[M_SUB_TYPE] == "SubType",
              "the members the decoder resolves itself");

// Members come in the table's order from our own encoder, so the search
// starts after the last one found.
int FindPropertyMember(std::string_view key, int after) {
    for (int k = 1; k <= M_PROPERTY_MEMBERS; ++k) {
        const int i = (after + k) % M_PROPERTY_MEMBERS;
        if (SameKey(kPropertyMembers[i], key))
            return i;
    }
    return -1;
}

bool Decoder::Get(CProperty& p) {
    if (m_At->Kind != TokenKind::BeginObject)
        return Fail(INTERCHANGE_SCHEMA, "an object (CProperty)");
    const Token* begin = m_At;
    ++m_At;
    std::uint32_t seen = 0;
    const Token* value = nullptr;
    const Token* raw = nullptr;
    unsigned int dataSize = 0;
    unsigned int splitSize = 0;
    int last = -1;
    while (m_At->Kind != TokenKind::EndObject) {
        const std::string_view key(m_At->Text, m_At->Count);
        const int index = FindPropertyMember(key, last);
        if (index < 0 || (seen >> index & 1) != 0) {
            Fail(INTERCHANGE_SCHEMA, index < 0 ? "a member of CProperty" : "each member once");
            PrependKey(m_Error.Pointer, key);
            return false;
        }
        seen |= 1u << index;
        last = index;
        ++m_At;
        bool ok = true;
        switch (index) {
        case M_VALUE:
            value = m_At;
            Skip();
            break;
        case M_RAW:
            raw = m_At;
            Skip();
            break;
        case M_DATA_SIZE:
            ok = Get(dataSize);
            break;
        case M_SPLIT_SIZE:
            ok = Get(splitSize);
            break;
        default: {
            int i = 0;
            SchemaOf<CProperty>::Fields(
                [&](std::string_view, const auto& fallback, bool, EMatch, auto& member) {
                    if constexpr (!IS_BLOCK<decltype(fallback)>) {
                        if (i++ == index)
                            ok = Get(member);
                    }
                },
                p);
            break;
        }
        }
        if (!ok) {
            PrependKey(m_Error.Pointer, key);
            return false;
        }
    }
    const Token* end = m_At + 1;
    m_At = begin;
    for (int required : {M_PROPERTY_ID, M_TYPE}) {
        if ((seen >> required & 1) == 0)
            return Fail(INTERCHANGE_SCHEMA, "the member " + Name(kPropertyMembers[required]));
    }
    if ((seen >> M_SECONDARY_ID & 1) == 0)
        p.SecondaryID = static_cast<unsigned int>(p.PropertyID);
    if ((seen >> M_SUB_TYPE & 1) == 0)
        p.SubType = DefaultSubType(p.Type);
    const bool sizes = (seen >> M_DATA_SIZE & 1) != 0 || (seen >> M_SPLIT_SIZE & 1) != 0;
    if (value != nullptr && raw != nullptr)
        return Fail(INTERCHANGE_SCHEMA, "either Value or Raw, not both");
    if (sizes && raw == nullptr)
        return Fail(INTERCHANGE_SCHEMA, "DataSize and SplitSize only beside Raw");

    if (raw != nullptr) {
        m_At = raw;
        if (raw->Kind == TokenKind::Null) {
            if ((seen >> M_DATA_SIZE & 1) == 0) {
                m_At = begin;
                return Fail(INTERCHANGE_SCHEMA, "the member DataSize beside a Raw of null");
            }
            p.DataSize = dataSize;
            p.SplitSize = splitSize;
        } else {
            std::string bytes;
            if (!GetBytes(bytes)) {
                PrependKey(m_Error.Pointer, "Raw");
                return false;
            }
            if (bytes.size() > 0xFFFFFFFFu) {
                Fail(INTERCHANGE_LIMIT, "a block of at most 4294967295 bytes");
                PrependKey(m_Error.Pointer, "Raw");
                return false;
            }
            if ((seen >> M_DATA_SIZE & 1) != 0 && dataSize != bytes.size()) {
                Fail(INTERCHANGE_RANGE,
                     "the number of bytes of Raw (" + std::to_string(bytes.size()) + ")");
                PrependKey(m_Error.Pointer, "DataSize");
                return false;
            }
            const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
            const auto size = static_cast<std::uint32_t>(bytes.size());
            if (p.Type >= VT_STRING && p.Type <= VT_STRING_LIST) {
                if (const char* expected = CheckBlock(p.Type, data, size, splitSize)) {
                    m_At = raw;
                    Fail(INTERCHANGE_BAD_BLOCK, expected);
                    PrependKey(m_Error.Pointer, "Raw");
                    return false;
                }
            }
            unsigned char* block = nullptr;
            if (!SetBlock(p, size, block)) {
                PrependKey(m_Error.Pointer, "Raw");
                return false;
            }
            if (size > 0)
                std::memcpy(block, data, size);
            p.SplitSize = splitSize;
        }
    } else if (value != nullptr) {
        m_At = value;
        if (!GetValue(p)) {
            PrependKey(m_Error.Pointer, "Value");
            return false;
        }
    } else if (p.Type != VT_NONE) {
        return Fail(INTERCHANGE_SCHEMA,
                    "a Value or Raw for a property of kind " + std::to_string(p.Type));
    }
    m_At = end;
    return true;
}

// A new block of `size` bytes for `p`, charged to the memory limit.
bool Decoder::SetBlock(CProperty& p, size_t size, unsigned char*& block) {
    if (size > 0xFFFFFFFFu)
        return Fail(INTERCHANGE_LIMIT, "a value of at most 4294967295 bytes");
    if (!Charge(size))
        return false;
    block = Internal::AllocBlock(size);
    if (block == nullptr)
        return Fail(RESULT_OUT_OF_MEMORY,
                    "memory for a block of " + std::to_string(size) + " bytes");
    Internal::FreeBlock(p.Data);
    p.Data = block;
    p.DataSize = static_cast<unsigned int>(size);
    p.SplitSize = 0;
    return true;
}

bool Decoder::GetValue(CProperty& p) {
    unsigned char* block = nullptr;
    switch (p.Type) {
    case VT_STRING:
    case VT_XML: {
        std::string& text = m_Text;
        if (!GetText(text) || !SetBlock(p, text.size() + 1, block))
            return false;
        std::memcpy(block, text.data(), text.size());
        block[text.size()] = 0;
        return true;
    }
    case VT_INT_LIST: {
        static constexpr std::string_view names[] = {"Value", "List"};
        int leading = 0;
        std::vector<int>& list = m_Ints[0];
        const bool ok = GetFixedObject(names, "an object with Value and List", [&](size_t index) {
            if (index == 0)
                return Get(leading);
            if (!Get(list))
                return false;
            if (list.empty())
                return Fail(INTERCHANGE_SCHEMA, "a list of at least one integer");
            return true;
        });
        if (!ok || !SetBlock(p, 4 * (list.size() + 1), block))
            return false;
        PutWord<std::int32_t>(block, 0, leading);
        for (size_t i = 0; i < list.size(); ++i)
            PutWord<std::int32_t>(block, i + 1, list[i]);
        return true;
    }
    case VT_BOOL: {
        bool flag = false;
        if (!Get(flag) || !SetBlock(p, 4, block))
            return false;
        PutWord<std::uint32_t>(block, 0, flag ? 1 : 0);
        return true;
    }
    case VT_UINT64: {
        unsigned long long number = 0;
        if (!Get(number) || !SetBlock(p, 8, block))
            return false;
        PutWord<std::uint64_t>(block, 0, number);
        return true;
    }
    case VT_RANGE: {
        static constexpr std::string_view names[] = {"Value", "Minimum", "Maximum", "Step"};
        int words[3] = {0, 0, 0};
        unsigned int step = 0;
        const bool ok =
            GetFixedObject(names, "an object with Value, Minimum, Maximum and Step",
                           [&](size_t index) { return index < 3 ? Get(words[index]) : Get(step); });
        if (!ok || !SetBlock(p, Internal::RANGE_WORDS * Internal::BLOCK_WORD, block))
            return false;
        for (size_t i = 0; i < 3; ++i)
            PutWord<std::int32_t>(block, Internal::RANGE_VALUE + i, words[i]);
        PutWord<std::uint32_t>(block, Internal::RANGE_STEP, step);
        return true;
    }
    case VT_INT_LIST_PAIR: {
        static constexpr std::string_view names[] = {"First", "Second"};
        std::vector<int>(&lists)[2] = m_Ints;
        const bool ok = GetFixedObject(names, "an object with First and Second",
                                       [&](size_t index) { return GetInto(lists[index]); });
        if (!ok)
            return false;
        const size_t count = lists[0].size() + lists[1].size();
        if (count == 0)
            return true; // no block, as the setter leaves it
        if (!SetBlock(p, 4 * count, block))
            return false;
        size_t i = 0;
        for (const std::vector<int>& list : lists)
            for (int word : list)
                PutWord<std::int32_t>(block, i++, word);
        p.SplitSize = static_cast<unsigned int>(4 * lists[0].size());
        return true;
    }
    case VT_FLOAT: {
        float number = 0;
        if (!GetFloat(number) || !SetBlock(p, 4, block))
            return false;
        PutWord<float>(block, 0, number);
        return true;
    }
    case VT_UINT64_LIST: {
        std::vector<unsigned long long>& list = m_Ids;
        if (!GetInto(list))
            return false;
        if (list.empty())
            return true;
        if (!SetBlock(p, 8 * list.size(), block))
            return false;
        std::memcpy(block, list.data(), 8 * list.size());
        return true;
    }
    case VT_STRING_LIST: {
        std::vector<std::string>& texts = m_Texts;
        if (m_At->Kind != TokenKind::BeginArray)
            return Fail(INTERCHANGE_SCHEMA, "a list of texts");
        if (!Charge(m_At->Count * sizeof(std::string)))
            return false;
        if (texts.size() < m_At->Count)
            texts.resize(m_At->Count);
        ++m_At;
        size_t size = 0;
        size_t count = 0;
        while (m_At->Kind != TokenKind::EndArray) {
            if (!GetText(texts[count])) {
                PrependIndex(m_Error.Pointer, count);
                return false;
            }
            size += texts[count++].size() + 5;
        }
        ++m_At;
        if (!SetBlock(p, size, block))
            return false;
        size_t position = 4 * count;
        for (size_t i = 0; i < count; ++i) {
            PutWord<std::uint32_t>(block, i, static_cast<std::uint32_t>(texts[i].size() + 1));
            std::memcpy(block + position, texts[i].data(), texts[i].size());
            block[position + texts[i].size()] = 0;
            position += texts[i].size() + 1;
        }
        p.SplitSize = static_cast<unsigned int>(4 * count);
        return true;
    }
    case VT_NONE:
        return Fail(INTERCHANGE_SCHEMA, "no Value for a property of kind 1");
    default:
        return Fail(INTERCHANGE_SCHEMA,
                    "Raw: a property of kind " + std::to_string(p.Type) + " has no natural form");
    }
}

// --- documents --------------------------------------------------------------

template <class Record> bool DecodeRecord(Decoder& decoder, Record& out) {
    Record record;
    if (!decoder.Get(record))
        return false;
    out = std::move(record);
    return true;
}

template <size_t I = 0> bool DecodeAny(Decoder& decoder, ERecordClass recordClass, AnyRecord& out) {
    if constexpr (I < std::variant_size_v<AnyRecord>) {
        if (static_cast<size_t>(recordClass) != I)
            return DecodeAny<I + 1>(decoder, recordClass, out);
        std::variant_alternative_t<I, AnyRecord> record;
        if (!decoder.Get(record))
            return false;
        out.emplace<I>(std::move(record));
        return true;
    } else {
        return decoder.Fail(INTERCHANGE_SCHEMA, "a record class");
    }
}

// Finds the version and the record of a document; `wanted` is null when any
// class will do. Leaves the decoder at the record.
bool FindRecord(Decoder& decoder, const ERecordClass* wanted, ERecordClass& found) {
    const Token* begin = decoder.At();
    if (begin->Kind != TokenKind::BeginObject)
        return decoder.Fail(INTERCHANGE_SCHEMA,
                            "a document: an object with Version and one record class member");
    decoder.MoveTo(begin + 1);
    const Token* record = nullptr;
    bool version = false;
    while (decoder.At()->Kind != TokenKind::EndObject) {
        const Token* key = decoder.At();
        const std::string_view name(key->Text, key->Count);
        decoder.MoveTo(key + 1);
        ERecordClass recordClass;
        if (name == "Version") {
            if (version) {
                decoder.Fail(INTERCHANGE_SCHEMA, "each member once");
                PrependKey(decoder.Error().Pointer, name);
                return false;
            }
            const Token* v = decoder.At();
            if (v->Kind != TokenKind::Unsigned || v->Unsigned != INTERCHANGE_VERSION) {
                decoder.Fail(IsNumber(v->Kind) ? INTERCHANGE_VERSION_UNKNOWN : INTERCHANGE_SCHEMA,
                             "format version 1");
                PrependKey(decoder.Error().Pointer, name);
                return false;
            }
            version = true;
            decoder.Skip();
        } else if (RecordClassFromName(key->Text, key->Count, recordClass)) {
            if (record != nullptr) {
                decoder.Fail(INTERCHANGE_SCHEMA, "one record class member only");
                PrependKey(decoder.Error().Pointer, name);
                return false;
            }
            record = decoder.At();
            found = recordClass;
            decoder.Skip();
        } else {
            decoder.Fail(INTERCHANGE_SCHEMA,
                         "the members Version and one record class (CProperty, CObject, CTask, "
                         "CDrive, CContainer, CLogicalDrive, CLevel, CMigration, CPartition, "
                         "CPassThrough, CEvent, COperation)");
            PrependKey(decoder.Error().Pointer, name);
            return false;
        }
    }
    decoder.MoveTo(begin);
    if (!version)
        return decoder.Fail(INTERCHANGE_SCHEMA, "the member Version");
    if (record == nullptr)
        return decoder.Fail(INTERCHANGE_SCHEMA, "a record class member, such as COperation");
    decoder.MoveTo(record);
    if (wanted != nullptr && *wanted != found) {
        decoder.Fail(INTERCHANGE_WRONG_CLASS,
                     std::string("a document of class ") + RecordClassName(*wanted));
        PrependKey(decoder.Error().Pointer, RecordClassName(found));
        return false;
    }
    return true;
}

enum class Format { Json, MsgPack };

// Runs `decode` over the tokens of the input; the error is reset first and
// filled on failure, and nothing escapes.
template <class Decode>
unsigned int Run(Format format, const void* input, size_t length, CInterchangeError* error,
                 Decode&& decode) noexcept {
    CInterchangeError local;
    CInterchangeError& e = error != nullptr ? *error : local;
    e = CInterchangeError();
    try {
        // The token list of this thread, kept between calls so that its pages
        // are already there; a list grown beyond 24 MB is given back.
        thread_local TokenList tokens;
        struct Release {
            TokenList& List;
            ~Release() {
                List.Tokens.clear();
                List.Text.clear();
                if (List.Tokens.capacity() > (size_t(1) << 20))
                    std::vector<Token>().swap(List.Tokens);
                if (List.Text.capacity() > (size_t(1) << 24))
                    std::vector<char>().swap(List.Text);
            }
        } release{tokens};
        const unsigned int code =
            format == Format::Json
                ? TokenizeJson(static_cast<const char*>(input), length, tokens, e)
                : TokenizeMsgPack(static_cast<const std::uint8_t*>(input), length, tokens, e);
        if (code != 0)
            return code;
        Decoder decoder(tokens, length, e);
        return decode(decoder) ? 0 : (e.Code != 0 ? e.Code : INTERCHANGE_SCHEMA);
    } catch (const std::bad_alloc&) {
        e = CInterchangeError();
        e.Code = RESULT_OUT_OF_MEMORY;
        e.Expected = "memory for the decoded records";
        return e.Code;
    } catch (...) {
        e = CInterchangeError();
        e.Code = INTERCHANGE_SYNTAX;
        e.Expected = "an input that the parser can read";
        return e.Code;
    }
}

template <class Record>
unsigned int ReadDocument(Format format, const void* input, size_t length, Record& out,
                          CInterchangeError* error) {
    return Run(format, input, length, error, [&](Decoder& decoder) {
        const ERecordClass wanted = ClassOf<Record>();
        ERecordClass found = wanted;
        if (!FindRecord(decoder, &wanted, found))
            return false;
        if (!DecodeRecord(decoder, out)) {
            PrependKey(decoder.Error().Pointer, RecordClassName(found));
            return false;
        }
        return true;
    });
}

unsigned int ReadAnyDocument(Format format, const void* input, size_t length, AnyRecord& out,
                             CInterchangeError* error) {
    return Run(format, input, length, error, [&](Decoder& decoder) {
        ERecordClass found = ERecordClass::Property;
        if (!FindRecord(decoder, nullptr, found))
            return false;
        if (!DecodeAny(decoder, found, out)) {
            PrependKey(decoder.Error().Pointer, RecordClassName(found));
            return false;
        }
        return true;
    });
}

template <class Record>
unsigned int ReadValue(Format format, const void* input, size_t length, Record& out,
                       CInterchangeError* error) {
    return Run(format, input, length, error,
               [&](Decoder& decoder) { return DecodeRecord(decoder, out); });
}

} // namespace
} // namespace Interchange

template <class Record>
unsigned int ReadJsonDocument(const char* text, size_t length, Record& out,
                              CInterchangeError* error) {
    return Interchange::ReadDocument(Interchange::Format::Json, text, length, out, error);
}
template <class Record>
unsigned int ReadMsgPackDocument(const std::uint8_t* bytes, size_t length, Record& out,
                                 CInterchangeError* error) {
    return Interchange::ReadDocument(Interchange::Format::MsgPack, bytes, length, out, error);
}
template <class Record>
unsigned int ReadJsonValue(const char* text, size_t length, Record& out, CInterchangeError* error) {
    return Interchange::ReadValue(Interchange::Format::Json, text, length, out, error);
}
template <class Record>
unsigned int ReadMsgPackValue(const std::uint8_t* bytes, size_t length, Record& out,
                              CInterchangeError* error) {
    return Interchange::ReadValue(Interchange::Format::MsgPack, bytes, length, out, error);
}

unsigned int ReadJsonDocument(const char* text, size_t length, AnyRecord& out,
                              CInterchangeError* error) {
    return Interchange::ReadAnyDocument(Interchange::Format::Json, text, length, out, error);
}
unsigned int ReadMsgPackDocument(const std::uint8_t* bytes, size_t length, AnyRecord& out,
                                 CInterchangeError* error) {
    return Interchange::ReadAnyDocument(Interchange::Format::MsgPack, bytes, length, out, error);
}

#define PI_INTERCHANGE_READERS(Record)                                                             \
    template PI_API unsigned int ReadJsonDocument<Record>(const char*, size_t, Record&,            \
                                                          CInterchangeError*);                     \
    template PI_API unsigned int ReadMsgPackDocument<Record>(const std::uint8_t*, size_t, Record&, \
                                                             CInterchangeError*);                  \
    template PI_API unsigned int ReadJsonValue<Record>(const char*, size_t, Record&,               \
                                                       CInterchangeError*);                        \
    template PI_API unsigned int ReadMsgPackValue<Record>(const std::uint8_t*, size_t, Record&,    \
                                                          CInterchangeError*);
PI_INTERCHANGE_READERS(CProperty)
PI_INTERCHANGE_READERS(CObject)
PI_INTERCHANGE_READERS(CTask)
PI_INTERCHANGE_READERS(CDrive)
PI_INTERCHANGE_READERS(CContainer)
PI_INTERCHANGE_READERS(CLogicalDrive)
PI_INTERCHANGE_READERS(CLevel)
PI_INTERCHANGE_READERS(CMigration)
PI_INTERCHANGE_READERS(CPartition)
PI_INTERCHANGE_READERS(CPassThrough)
PI_INTERCHANGE_READERS(CEvent)
PI_INTERCHANGE_READERS(COperation)
#undef PI_INTERCHANGE_READERS

} // namespace PI
