#pragma once

// Seeded random records of every class, for round trips and for the diff's
// tests. Values lean on the edges: extreme numbers, empty and long lists,
// texts with NULs, multi-byte characters and bytes that are not UTF-8,
// encrypted texts, and properties in the raw form (a size without a block,
// an unknown kind, a NaN float, a bool word of 7, an empty string list
// without its block).

#include <PI/Internal/EventRawAccess.h>
#include <PI/ObjectModel.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace PI {
namespace Testing {

class RecordGenerator {
public:
    explicit RecordGenerator(std::uint64_t seed) : m_Engine(seed) {}

    // The largest list of records that Operation and the others build, and
    // the longest list of numbers; raise them for inventories.
    size_t MaxRecords = 3;
    size_t MaxNumbers = 6;

    std::mt19937_64& Engine() { return m_Engine; }

    std::uint64_t U64() {
        switch (Below(8)) {
        case 0:
            return 0;
        case 1:
            return std::numeric_limits<std::uint64_t>::max();
        case 2:
            return (std::uint64_t(1) << 53) + 1; // beyond exact doubles
        case 3:
            return Below(1000);
        default:
            return m_Engine();
        }
    }
    std::int64_t I64() {
        switch (Below(6)) {
        case 0:
            return std::numeric_limits<std::int64_t>::min();
        case 1:
            return std::numeric_limits<std::int64_t>::max();
        case 2:
            return -static_cast<std::int64_t>(Below(1000));
        default:
            return static_cast<std::int64_t>(m_Engine());
        }
    }
    std::uint32_t U32() {
        switch (Below(6)) {
        case 0:
            return 0;
        case 1:
            return 0xFFFFFFFFu;
        case 2:
            return static_cast<std::uint32_t>(Below(100));
        default:
            return static_cast<std::uint32_t>(m_Engine());
        }
    }
    std::int32_t I32() {
        switch (Below(6)) {
        case 0:
            return std::numeric_limits<std::int32_t>::min();
        case 1:
            return std::numeric_limits<std::int32_t>::max();
        case 2:
            return static_cast<std::int32_t>(Below(200)) - 100;
        default:
            return static_cast<std::int32_t>(static_cast<std::uint32_t>(m_Engine()));
        }
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
            p.SecondaryID = U32();
            p.Attribute1 = U32();
            p.Attribute2 = U32();
            p.Attribute3 = I32();
            p.Attribute4 = U32();
            p.Attribute5 = U32();
            p.Attribute6 = U32();
            p.Flag2 = Bool();
            p.Attribute7 = U32();
            p.Attribute8 = I32();
            p.SelectionMask = U32();
        }
        if (Below(40) == 0)
            p.PropertyID = static_cast<_PROPERTY_ID>(I32());
        FillValue(p);
        if (Below(30) == 0)
            p.SubType = U32();
        return p;
    }

    CObject Object() {
        CObject o(U64(), static_cast<_OBJECT_TYPE>(Below(5) == 0 ? I32() : 19000 + int(Below(50))));
        FillObject(o);
        return o;
    }
    CTask Task() {
        CTask t;
        FillObject(t);
        if (Below(3) == 0)
            t.ObjectType = static_cast<_OBJECT_TYPE>(I32());
        t.Text1 = Text();
        t.Text2 = Text();
        t.Text3 = Text();
        t.Attribute1 = U64();
        t.Attribute2 = I32();
        t.Time1 = U64();
        t.Time2 = U64();
        t.Time3 = U64();
        t.Attribute3 = U64();
        t.Attribute4 = I32();
        t.Attribute5 = I32();
        t.Flag = Bool();
        t.Attribute6 = Below(2) ? 40024 : I32();
        t.Attribute7 = I32();
        return t;
    }
    CDrive Drive() {
        CDrive d;
        d.ObjectID = U64();
        d.StartAddress = U64();
        d.UsedSize = U64();
        d.Properties = Properties();
        d.Attribute1 = U64();
        d.Attribute2 = U64();
        d.Flag = Bool();
        return d;
    }
    CContainer Container() {
        CContainer c;
        for (size_t i = Count(MaxRecords); i > 0; --i)
            c.Drives.push_back(Drive());
        return c;
    }
    CLogicalDrive LogicalDrive() {
        CLogicalDrive l;
        l.Attribute1 = I32();
        l.Properties = Properties();
        l.Attribute2 = I32();
        l.Size = U64();
        l.Units = static_cast<_UNITS>(Below(2) ? UNITS_GIGABYTES : I32());
        for (size_t i = Count(MaxRecords); i > 0; --i)
            l.Containers.push_back(Container());
        l.GHS = Ids();
        l.DHS = Ids();
        l.ALD = Ids();
        return l;
    }
    CLevel Level() {
        CLevel l;
        l.Attribute0 = I32();
        l.StripeSizes = Ints();
        l.Attribute1 = I32();
        l.Properties = Properties();
        l.Attribute2 = I32();
        l.Attribute3 = I32();
        l.Attribute4 = I32();
        l.Attribute5 = I32();
        l.Size1 = U64();
        l.Size2 = U64();
        l.Units = static_cast<_UNITS>(I32());
        l.Attribute6 = I32();
        l.Attribute7 = I32();
        l.Flag = Bool();
        l.Attribute8 = I32();
        return l;
    }
    CMigration Migration() {
        CMigration m;
        m.Attribute1 = I32();
        m.Attribute2 = I32();
        m.Attribute3 = I32();
        m.Properties = Properties();
        return m;
    }
    CPartition Partition() {
        CPartition p;
        p.Attribute1 = U64();
        p.Attribute2 = U64();
        p.Attribute3 = I32();
        p.Text1 = Text();
        p.Text2 = Text();
        return p;
    }
    CPassThrough PassThrough() {
        CPassThrough p;
        p.Value = U64();
        return p;
    }
    CEvent Event() {
        CEvent e;
        if (Below(4) == 0)
            return e;
        e.Scalar1 = I64();
        e.Scalar2 = I32();
        e.Scalar3 = I32();
        e.Scalar4 = I32();
        e.Scalar5 = I64();
        for (unsigned int slot = 0; slot < CEventRawAccess::SLOTS; ++slot) {
            switch (Below(4)) {
            case 0:
                break; // never set
            case 1:
                CEventRawAccess::Stored(e, slot) = "T:" + Text();
                break;
            case 2:
                CEventRawAccess::Stored(e, slot) = "I:" + std::to_string(I32());
                break;
            default:
                CEventRawAccess::Stored(e, slot) = Text(); // stored raw
                break;
            }
        }
        e.Text1 = Text();
        e.Text2 = Text();
        e.Text3 = Text();
        e.Scalar6 = I32();
        return e;
    }
    COperation Operation() {
        COperation o;
        o.Attribute1 = I32();
        o.Attribute2 = I32();
        o.Attribute3 = I32();
        o.Properties = Properties();
        for (size_t i = Count(MaxRecords); i > 0; --i)
            o.LogicalDrives.push_back(LogicalDrive());
        for (size_t i = Count(MaxRecords); i > 0; --i)
            o.Levels.push_back(Level());
        for (size_t i = Count(MaxRecords); i > 0; --i)
            o.Migrations.push_back(Migration());
        for (size_t i = Count(MaxRecords); i > 0; --i)
            o.Events.push_back(Event());
        for (size_t i = Count(MaxRecords); i > 0; --i)
            o.PassThroughs.push_back(PassThrough());
        for (size_t i = Count(MaxRecords); i > 0; --i)
            o.Partitions.push_back(Partition());
        for (size_t i = Count(MaxRecords); i > 0; --i)
            o.Objects.push_back(Object());
        o.Setting1 = I32();
        o.Setting2 = I32();
        o.Setting3 = I32();
        o.Setting4 = I32();
        o.Setting5 = I32();
        o.Setting6 = I32();
        o.Setting7 = I32();
        o.Setting8 = I32();
        o.Flag = Bool();
        o.Setting9 = I32();
        return o;
    }

    std::vector<CProperty> Properties() {
        std::vector<CProperty> list(Count(MaxRecords * 2));
        for (auto& p : list)
            p = Property();
        return list;
    }

    size_t Below(size_t bound) { return static_cast<size_t>(m_Engine() % bound); }
    // Mostly small, sometimes 0, sometimes the maximum.
    size_t Count(size_t maximum) {
        switch (Below(5)) {
        case 0:
            return 0;
        case 1:
            return maximum;
        default:
            return Below(maximum + 1);
        }
    }

private:
    void FillObject(CObject& o) {
        o.Parents = Ids();
        o.Children = Ids();
        o.Value64 = U64();
        o.Flag = Bool();
        o.Properties = Properties();
    }

    // A block of the given bytes, from malloc as the property expects.
    static void SetBlock(CProperty& p, const void* bytes, unsigned int size) {
        std::free(p.Data);
        p.Data = static_cast<unsigned char*>(std::malloc(size == 0 ? 1 : size));
        if (size > 0)
            std::memcpy(p.Data, bytes, size);
        p.DataSize = size;
    }

    void FillValue(CProperty& p) {
        switch (Below(16)) {
        case 0:
            break; // VT_NONE
        case 1: {
            const std::string text = Text();
            p.Type = VT_STRING;
            SetBlock(p, (text + '\0').data(), static_cast<unsigned int>(text.size() + 1));
            break;
        }
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
        case 9: {
            const std::string text = "<r a=\"" + std::to_string(U32()) + "\">" + Text() + "</r>";
            p.Type = VT_XML;
            SetBlock(p, (text + '\0').data(), static_cast<unsigned int>(text.size() + 1));
            break;
        }
        case 10: {
            std::vector<std::string> list(Count(MaxNumbers));
            for (auto& text : list)
                text = Text();
            p.SetValue(list, U32());
            break;
        }
        case 11: {
            // An encrypted text travels as stored.
            const std::string text = "ENC1(" + Text() + ")";
            p.Type = VT_STRING;
            p.SubType = PROPERTY_SUBTYPE_ENCRYPTED;
            SetBlock(p, (text + '\0').data(), static_cast<unsigned int>(text.size() + 1));
            break;
        }
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
