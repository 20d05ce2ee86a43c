#pragma once

// Seeded random records of every class, for round trips and for the diff's
// tests, member by member as the record description lists them. Values lean
// on the edges: extreme numbers, empty and long lists, texts with NULs,
// multi-byte characters and bytes that are not UTF-8, encrypted texts, and
// properties in the raw form (a size without a block, an unknown kind, a NaN
// float, a bool word of 7, an empty string list without its block).

#include <PI/Internal/RecordDescription.h>
#include <PI/ObjectModel.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace PI {
namespace Testing {

template <class T> constexpr bool IS_PLACEHOLDER = false;
template <unsigned int S> constexpr bool IS_PLACEHOLDER<Records::Placeholder<S>> = true;

class RecordGenerator {
public:
    explicit RecordGenerator(std::uint64_t seed) : m_Engine(seed) {}

    // The largest list of records that Operation and the others build, and
    // the longest list of numbers; raise them for inventories.
    size_t MaxRecords = 3;
    size_t MaxNumbers = 6;

    // Each mostly random, often one of its edge values.
    std::uint64_t U64() {
        const size_t k = Below(8);
        return k == 0   ? 0
               : k == 1 ? std::numeric_limits<std::uint64_t>::max()
               : k == 2 ? (std::uint64_t(1) << 53) + 1 // beyond exact doubles
               : k == 3 ? Below(1000)
                        : m_Engine();
    }
    std::int64_t I64() {
        const size_t k = Below(6);
        return k == 0   ? std::numeric_limits<std::int64_t>::min()
               : k == 1 ? std::numeric_limits<std::int64_t>::max()
               : k == 2 ? -static_cast<std::int64_t>(Below(1000))
                        : static_cast<std::int64_t>(m_Engine());
    }
    std::uint32_t U32() {
        const size_t k = Below(6);
        return k == 0   ? 0
               : k == 1 ? 0xFFFFFFFFu
                        : static_cast<std::uint32_t>(k == 2 ? Below(100) : m_Engine());
    }
    std::int32_t I32() {
        const size_t k = Below(6);
        return k == 0   ? std::numeric_limits<std::int32_t>::min()
               : k == 1 ? std::numeric_limits<std::int32_t>::max()
               : k == 2 ? static_cast<std::int32_t>(Below(200)) - 100
                        : static_cast<std::int32_t>(static_cast<std::uint32_t>(m_Engine()));
    }
    bool Bool() { return Below(2) == 1; }

    // Mostly short texts of printable ASCII; some empty, some long, some with
    // NULs, multi-byte UTF-8 or bytes that are not UTF-8.
    std::string Text() {
        static const char* const pieces[] = {
            "a",  "Z",   " ",   "\"",       "\\",           "/",
            "~",  "\n",  "\t",  "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x92\xBE",
            "T:", "I:7", "<x/>"};
        std::string text;
        const size_t length = Below(10) == 0 ? 200 + Below(300) : Below(12);
        for (size_t i = 0; i < length; ++i) {
            const size_t pick = Below(40);
            if (pick == 0)
                text += '\0';
            else if (pick == 1 && Below(3) == 0)
                text += static_cast<char>(0x80 + Below(0x80)); // not UTF-8 here
            else if (pick < 16)
                text += pieces[pick % (sizeof pieces / sizeof pieces[0])];
            else
                text += static_cast<char>(' ' + Below(95));
        }
        return text;
    }
    std::vector<unsigned long long> Ids() {
        std::vector<unsigned long long> ids(Count(MaxNumbers));
        for (auto& id : ids)
            id = U64();
        return ids;
    }
    std::vector<int> Ints(size_t minimum = 0) {
        std::vector<int> list(std::max(minimum, Count(MaxNumbers)));
        for (auto& value : list)
            value = I32();
        return list;
    }

    CProperty Property() {
        CProperty p(static_cast<_PROPERTY_ID>(23001 + Below(475)), Bool());
        if (Below(4) == 0) {
            // The members besides the identifier and the value block.
            Records::ForEachMember<CProperty>([&](const auto& d) {
                using D = std::decay_t<decltype(d.Default)>;
                if constexpr (std::is_arithmetic_v<D> || std::is_same_v<D, Records::OwnId>)
                    Random(d.Of(p));
            });
        }
        if (Below(40) == 0)
            p.PropertyID = static_cast<_PROPERTY_ID>(I32());
        FillValue(p);
        if (Below(30) == 0)
            p.SubType = U32();
        return p;
    }

    // Any record: each member random, or left at its default one time in four.
    template <class R> R Record() {
        if constexpr (std::is_same_v<R, CProperty>) {
            return Property();
        } else {
            R r;
            Fill(r);
            return r;
        }
    }
    CEvent Event() { return Record<CEvent>(); }
    COperation Operation() { return Record<COperation>(); }

    std::vector<CProperty> Properties() {
        std::vector<CProperty> list(Count(MaxRecords * 2));
        for (auto& p : list)
            p = Property();
        return list;
    }

    size_t Below(size_t bound) { return static_cast<size_t>(m_Engine() % bound); }
    // Mostly small, sometimes 0, sometimes the maximum.
    size_t Count(size_t maximum) {
        const size_t k = Below(5);
        return k == 0 ? 0 : k == 1 ? maximum : Below(maximum + 1);
    }

private:
    template <class R> void Fill(R& r) {
        Records::ForEachMember<R>([&](const auto& d) {
            if (Below(4) == 0)
                return;
            if constexpr (std::is_same_v<std::decay_t<decltype(d.Default)>,
                                         Records::TaskBaseDefault>)
                Fill(d.Of(r).Object);
            else if constexpr (IS_PLACEHOLDER<std::decay_t<decltype(d)>>)
                d.Of(r) = Placeholder();
            else
                Random(d.Of(r));
        });
    }

    // "T:" and a text, "I:" and a number, or any text stored raw.
    std::string Placeholder() {
        const size_t k = Below(3);
        return k == 0 ? "T:" + Text() : k == 1 ? "I:" + std::to_string(I32()) : Text();
    }

    void Random(unsigned long long& v) { v = U64(); }
    void Random(long long& v) { v = I64(); }
    void Random(unsigned int& v) { v = U32(); }
    void Random(int& v) { v = I32(); }
    void Random(bool& v) { v = Bool(); }
    template <class E, std::enable_if_t<std::is_enum_v<E>, int> = 0> void Random(E& v) {
        v = static_cast<E>(I32());
    }
    void Random(std::string& v) { v = Text(); }
    void Random(RVX::Strings::CStringVar& v) { v = Text(); }
    void Random(std::vector<unsigned long long>& v) { v = Ids(); }
    void Random(std::vector<int>& v) { v = Ints(); }
    void Random(std::vector<CProperty>& v) { v = Properties(); }
    template <class R> void Random(std::vector<R>& v) {
        for (size_t i = Count(MaxRecords); i > 0; --i)
            v.push_back(Record<R>());
    }

    // A block of the given bytes, from malloc as the property expects.
    static void SetBlock(CProperty& p, const void* bytes, unsigned int size) {
        std::free(p.Data);
        p.Data = static_cast<unsigned char*>(std::malloc(size == 0 ? 1 : size));
        if (size > 0)
            std::memcpy(p.Data, bytes, size);
        p.DataSize = size;
    }
    // A text block of the kind, with its NUL.
    static void SetText(CProperty& p, unsigned int type, const std::string& text) {
        p.Type = type;
        SetBlock(p, (text + '\0').data(), static_cast<unsigned int>(text.size() + 1));
    }

    void FillValue(CProperty& p) {
        switch (Below(16)) {
        case 0:
            break; // VT_NONE
        case 1:
            SetText(p, VT_STRING, Text());
            break;
        case 2: {
            std::vector<int> list = Ints(1);
            p.SetValue(I32(), list);
            break;
        }
        case 3:
            p.SetValue(Bool());
            break;
        case 4:
            p.SetValue(static_cast<unsigned long long>(U64()));
            break;
        case 5: {
            // Stored as given: build the words directly, not clamped.
            const std::int32_t words[4] = {I32(), I32(), I32(), static_cast<std::int32_t>(U32())};
            p.Type = VT_RANGE;
            SetBlock(p, words, 16);
            break;
        }
        case 6: {
            std::vector<int> first = Ints(), second = Ints();
            p.SetValue(first, second);
            break;
        }
        case 7: {
            // Any bits, also NaN payloads and infinities (those go raw).
            const std::uint32_t bits = Below(3) == 0 ? U32() : 0;
            float value;
            if (bits != 0)
                std::memcpy(&value, &bits, 4);
            else
                value = static_cast<float>(static_cast<double>(I64()) / (1.0 + Below(1000)));
            p.SetValue(value);
            break;
        }
        case 8: {
            std::vector<unsigned long long> list = Ids();
            p.SetValue(list);
            break;
        }
        case 9:
            SetText(p, VT_XML, "<r a=\"" + std::to_string(U32()) + "\">" + Text() + "</r>");
            break;
        case 10: {
            std::vector<std::string> list(Count(MaxNumbers));
            for (auto& text : list)
                text = Text();
            p.SetValue(list, U32());
            break;
        }
        case 11: // an encrypted text travels as stored
            SetText(p, VT_STRING, "ENC1(" + Text() + ")");
            p.SubType = PROPERTY_SUBTYPE_ENCRYPTED;
            break;
        default:
            FillRaw(p);
            break;
        }
    }

    // Properties that only the raw form carries.
    void FillRaw(CProperty& p) {
        switch (Below(7)) {
        case 0: // a size without a block, as a failed setter leaves it
            p.Type = static_cast<unsigned int>(1 + Below(11));
            p.DataSize = U32();
            p.SplitSize = U32();
            break;
        case 1: { // a kind that does not exist, with any block
            const std::string bytes = Text();
            p.Type = Below(2) ? 0 : 12 + static_cast<unsigned int>(Below(1000));
            SetBlock(p, bytes.data(), static_cast<unsigned int>(bytes.size()));
            p.SplitSize = U32();
            break;
        }
        case 2: { // a bool word other than 0 and 1
            const std::uint32_t word = 2 + static_cast<std::uint32_t>(Below(1000));
            p.Type = VT_BOOL;
            SetBlock(p, &word, 4);
            break;
        }
        case 3: { // NaN with a payload
            const std::uint32_t bits = 0x7FC00000u | static_cast<std::uint32_t>(Below(0x3FFFFF));
            p.Type = VT_FLOAT;
            SetBlock(p, &bits, 4);
            break;
        }
        case 4: { // an empty string list copied: no block
            std::vector<std::string> none;
            p.SetValue(none, U32());
            CProperty copy(p);
            p = copy;
            break;
        }
        case 5: { // a block on VT_NONE
            const std::string bytes = Text();
            SetBlock(p, bytes.data(), static_cast<unsigned int>(bytes.size()));
            break;
        }
        default: { // a text whose SplitSize is not the setter's
            p.SetValue(std::string("split"));
            p.SplitSize = 1 + U32() % 1000;
            break;
        }
        }
    }

    std::mt19937_64 m_Engine;
};

} // namespace Testing
} // namespace PI
