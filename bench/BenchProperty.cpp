// CProperty set, copy, compare and read for every kind, against a baseline
// struct with the same fields whose value lives in a std::vector<unsigned char>
// and is encoded the same way.
#include "AllocCounter.h"
#include "Compare.h"

#include <PI/Property.h>
#include <RVX/Markup.h>
#include <RVX/Strings.h>

#include <benchmark/benchmark.h>

#include <cctype>
#include <cstring>
#include <string>
#include <vector>

namespace {

using PI::CProperty;

// The baseline: the fields of CProperty, the value in a vector.
struct PlainProperty {
    int PropertyID = 1;
    unsigned int SecondaryID = 1;
    unsigned int Attribute1 = 1;
    unsigned int Attribute2 = 1;
    int Attribute3 = -1;
    unsigned int Attribute4 = 1;
    unsigned int Attribute5 = 1;
    unsigned int Type = PI::VT_NONE;
    unsigned int SubType = 0;
    bool Flag = false;
    unsigned int Attribute6 = 1;
    bool Flag2 = false;
    unsigned int Attribute7 = 1;
    int Attribute8 = 1;
    unsigned int SelectionMask = 0xFFFFFFFFu;
    unsigned int DataSize = 0;
    unsigned int SplitSize = 0;
    std::vector<unsigned char> Data;

    PlainProperty() = default;
    PlainProperty(int id, bool flag) : PropertyID(id), SecondaryID(id), Flag(flag) {}

    bool operator==(const PlainProperty& o) const {
        return PropertyID == o.PropertyID && SecondaryID == o.SecondaryID &&
               Attribute1 == o.Attribute1 && Attribute2 == o.Attribute2 &&
               Attribute3 == o.Attribute3 && Attribute4 == o.Attribute4 &&
               Attribute5 == o.Attribute5 && Type == o.Type && SubType == o.SubType &&
               Flag == o.Flag && Attribute6 == o.Attribute6 && Flag2 == o.Flag2 &&
               Attribute7 == o.Attribute7 && Attribute8 == o.Attribute8 &&
               SelectionMask == o.SelectionMask && DataSize == o.DataSize &&
               SplitSize == o.SplitSize && Data == o.Data;
    }

    // The common steps of the baseline's setters.
    unsigned char* Reset(unsigned int type, size_t size, unsigned int split = 0) {
        Type = type;
        SubType = 0;
        DataSize = static_cast<unsigned int>(size);
        SplitSize = split;
        Data.resize(size);
        return Data.data();
    }
    // The checks of the baseline's readers: false when they fail.
    bool Check(unsigned int type, size_t size) const {
        return Type == type && !Data.empty() && (size == 0 || Data.size() == size);
    }
};

template <class T> void Put(unsigned char* at, T value) {
    std::memcpy(at, &value, sizeof value);
}
template <class T> T Get(const unsigned char* at) {
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

// One value kind: its name, the value it sets and how each side sets and
// reads it. Every kind writes the same bytes on both sides.

struct KindString {
    static constexpr const char* kName = "string";
    static constexpr PI::_PROPERTY_ID kId = PI::PHYSICAL_DRIVE_PRODUCT;
    std::string input = "  ST3500418AS  ";
    std::string output;

    void Set(CProperty& p) { p.SetValue(input); }
    void Set(PlainProperty& p) {
        size_t begin = 0, end = input.size();
        while (begin < end && std::isspace(static_cast<unsigned char>(input[begin])))
            ++begin;
        while (end > begin && std::isspace(static_cast<unsigned char>(input[end - 1])))
            --end;
        unsigned char* block = p.Reset(PI::VT_STRING, end - begin + 1);
        std::memcpy(block, input.data() + begin, end - begin);
        block[end - begin] = 0;
    }
    void Read(CProperty& p) { p.GetValue(output); }
    void Read(PlainProperty& p) {
        if (p.Check(PI::VT_STRING, 0))
            output.assign(reinterpret_cast<const char*>(p.Data.data()),
                          strnlen(reinterpret_cast<const char*>(p.Data.data()), p.Data.size()));
    }
};

struct KindIntList {
    static constexpr const char* kName = "int list";
    static constexpr PI::_PROPERTY_ID kId = PI::PHYSICAL_DRIVE_GUARDED_LOGICAL_DRIVES;
    int value = 2;
    std::vector<int> input{0, 1, 5, 6, 10, 50, 60, 1};
    int outValue = 0;
    std::vector<int> output;

    void Set(CProperty& p) { p.SetValue(value, input); }
    void Set(PlainProperty& p) {
        unsigned char* block = p.Reset(PI::VT_INT_LIST, 4 * (input.size() + 1));
        Put(block, value);
        std::memcpy(block + 4, input.data(), 4 * input.size());
    }
    void Read(CProperty& p) { p.GetValue(outValue, output); }
    void Read(PlainProperty& p) {
        if (!p.Check(PI::VT_INT_LIST, 0) || p.Data.size() < 8)
            return;
        outValue = Get<int>(p.Data.data());
        output.clear();
        for (size_t i = 1; i < p.Data.size() / 4; ++i)
            output.push_back(Get<int>(p.Data.data() + 4 * i));
    }
};

struct KindBool {
    static constexpr const char* kName = "bool";
    static constexpr PI::_PROPERTY_ID kId = PI::PHYSICAL_DRIVE_NCQ;
    bool output = false;

    void Set(CProperty& p) { p.SetValue(true); }
    void Set(PlainProperty& p) { Put(p.Reset(PI::VT_BOOL, 4), 1u); }
    void Read(CProperty& p) { p.GetValue(output); }
    void Read(PlainProperty& p) {
        if (p.Check(PI::VT_BOOL, 4))
            output = Get<unsigned int>(p.Data.data()) != 0;
    }
};

struct KindUInt64 {
    static constexpr const char* kName = "uint64";
    static constexpr PI::_PROPERTY_ID kId = PI::PHYSICAL_DRIVE_PHYSICAL_SIZE;
    unsigned long long input = 500107862016ull;
    unsigned long long output = 0;

    void Set(CProperty& p) { p.SetValue(input); }
    void Set(PlainProperty& p) {
        Put(p.Reset(PI::VT_UINT64, 8), input);
        p.SubType = 1;
    }
    void Read(CProperty& p) { p.GetValue(output); }
    void Read(PlainProperty& p) {
        if (p.Check(PI::VT_UINT64, 8))
            output = Get<unsigned long long>(p.Data.data());
    }
};

struct KindRange {
    static constexpr const char* kName = "range";
    static constexpr PI::_PROPERTY_ID kId = PI::PHYSICAL_DRIVE_TEMPERATURE;
    int value = 0, minimum = 0, maximum = 0;
    unsigned int step = 0;

    void Set(CProperty& p) { p.SetValue(38, 0, 70, 1); }
    void Set(PlainProperty& p) {
        unsigned char* block = p.Reset(PI::VT_RANGE, 16);
        const int in = 38, lo = 0, hi = 70;
        Put(block, in < lo ? lo : in < hi ? in : hi);
        Put(block + 4, lo);
        Put(block + 8, hi);
        Put(block + 12, 1u);
    }
    void Read(CProperty& p) { p.GetValue(value, minimum, maximum, step); }
    void Read(PlainProperty& p) {
        if (!p.Check(PI::VT_RANGE, 16))
            return;
        value = Get<int>(p.Data.data());
        minimum = Get<int>(p.Data.data() + 4);
        maximum = Get<int>(p.Data.data() + 8);
        step = Get<unsigned int>(p.Data.data() + 12);
    }
};

struct KindIntListPair {
    static constexpr const char* kName = "int list pair";
    static constexpr PI::_PROPERTY_ID kId = PI::PHYSICAL_DRIVE_SLOT;
    std::vector<int> first{1, 2, 3, 4}, second{5, 6, 7, 8};
    std::vector<int> outFirst, outSecond;

    void Set(CProperty& p) { p.SetValue(first, second); }
    void Set(PlainProperty& p) {
        unsigned char* block = p.Reset(PI::VT_INT_LIST_PAIR, 4 * (first.size() + second.size()),
                                       static_cast<unsigned int>(4 * first.size()));
        std::memcpy(block, first.data(), 4 * first.size());
        std::memcpy(block + 4 * first.size(), second.data(), 4 * second.size());
    }
    void Read(CProperty& p) { p.GetValue(outFirst, outSecond); }
    void Read(PlainProperty& p) {
        if (!p.Check(PI::VT_INT_LIST_PAIR, 0))
            return;
        const size_t words = p.Data.size() / 4, split = p.SplitSize / 4;
        outFirst.clear();
        outSecond.clear();
        for (size_t i = 0; i < words; ++i)
            (i < split ? outFirst : outSecond).push_back(Get<int>(p.Data.data() + 4 * i));
    }
};

struct KindFloat {
    static constexpr const char* kName = "float";
    static constexpr PI::_PROPERTY_ID kId = PI::PHYSICAL_DRIVE_TRANSFER_SPEED;
    float output = 0;

    void Set(CProperty& p) { p.SetValue(6.0f); }
    void Set(PlainProperty& p) { Put(p.Reset(PI::VT_FLOAT, 4), 6.0f); }
    void Read(CProperty& p) { p.GetValue(output); }
    void Read(PlainProperty& p) {
        if (p.Check(PI::VT_FLOAT, 4))
            output = Get<float>(p.Data.data());
    }
};

struct KindUInt64List {
    static constexpr const char* kName = "uint64 list";
    static constexpr PI::_PROPERTY_ID kId = PI::PHYSICAL_DRIVE_SAS_ADDRESS;
    std::vector<unsigned long long> input{
        0x5000c50012345671ull, 0x5000c50012345672ull, 0x5000c50012345673ull, 0x5000c50012345674ull,
        0x5000c50012345675ull, 0x5000c50012345676ull, 0x5000c50012345677ull, 0x5000c50012345678ull};
    std::vector<unsigned long long> output;

    void Set(CProperty& p) { p.SetValue(input); }
    void Set(PlainProperty& p) {
        std::memcpy(p.Reset(PI::VT_UINT64_LIST, 8 * input.size()), input.data(), 8 * input.size());
    }
    void Read(CProperty& p) { p.GetValue(output); }
    void Read(PlainProperty& p) {
        if (!p.Check(PI::VT_UINT64_LIST, 0))
            return;
        output.resize(p.Data.size() / 8);
        std::memcpy(output.data(), p.Data.data(), 8 * output.size());
    }
};

struct KindXml {
    static constexpr const char* kName = "xml";
    static constexpr PI::_PROPERTY_ID kId = PI::PHYSICAL_DRIVE_LAST_SHIELD_DIAGNOSTICS;
    RVX::XML::CMarkup input, output;

    KindXml() {
        input.SetDoc("<Diagnostics Result=\"0\" Passes=\"3\"><Step Name=\"read\" Errors=\"0\"/>"
                     "<Step Name=\"write\" Errors=\"0\"/></Diagnostics>");
    }
    void Set(CProperty& p) { p.SetValue(input); }
    void Set(PlainProperty& p) {
        const std::string& doc = input.GetDoc();
        unsigned char* block = p.Reset(PI::VT_XML, doc.size() + 1);
        std::memcpy(block, doc.c_str(), doc.size() + 1);
    }
    void Read(CProperty& p) { p.GetValue(output); }
    void Read(PlainProperty& p) {
        if (p.Check(PI::VT_XML, 0))
            output.SetDoc(
                std::string(reinterpret_cast<const char*>(p.Data.data()),
                            strnlen(reinterpret_cast<const char*>(p.Data.data()), p.Data.size())));
    }
};

struct KindStringList {
    static constexpr const char* kName = "string list";
    static constexpr PI::_PROPERTY_ID kId = PI::PHYSICAL_DRIVE_OS_DEVICE;
    std::vector<std::string> input{"RAID 0", "RAID 1", "RAID 5", "RAID 6", "RAID 10", "RAID 50"};
    std::vector<std::string> output;
    unsigned int mask = 0;

    void Set(CProperty& p) { p.SetValue(input, 0x3Fu); }
    void Set(PlainProperty& p) {
        size_t size = 0;
        for (const std::string& s : input)
            size += 4 + s.size() + 1;
        unsigned char* block =
            p.Reset(PI::VT_STRING_LIST, size, static_cast<unsigned int>(4 * input.size()));
        p.SelectionMask = 0x3F;
        unsigned char* text = block + 4 * input.size();
        for (size_t i = 0; i < input.size(); ++i) {
            Put(block + 4 * i, static_cast<unsigned int>(input[i].size() + 1));
            std::memcpy(text, input[i].c_str(), input[i].size() + 1);
            text += input[i].size() + 1;
        }
    }
    void Read(CProperty& p) { p.GetValue(output, mask); }
    void Read(PlainProperty& p) {
        if (!p.Check(PI::VT_STRING_LIST, 0))
            return;
        const unsigned char* block = p.Data.data();
        const size_t count = p.SplitSize / 4;
        size_t position = p.SplitSize;
        output.clear();
        for (size_t i = 0; i < count && position < p.Data.size(); ++i) {
            const char* text = reinterpret_cast<const char*>(block + position);
            output.emplace_back(text, strnlen(text, p.Data.size() - position));
            position += Get<unsigned int>(block + 4 * i);
        }
        mask = p.SelectionMask;
    }
};

template <class P> P Make(PI::_PROPERTY_ID id) {
    return P(id, false);
}

template <class Kind, class P> void BenchSet(benchmark::State& state) {
    Kind kind;
    P property = Make<P>(Kind::kId);
    for (auto _ : state) {
        kind.Set(property);
        benchmark::DoNotOptimize(&property);
        benchmark::ClobberMemory();
    }
}

template <class Kind, class P> void BenchCopy(benchmark::State& state) {
    Kind kind;
    P source = Make<P>(Kind::kId);
    kind.Set(source);
    const unsigned long long mallocsBefore = bench::ThreadAllocations();
    for (auto _ : state) {
        P copy(source);
        benchmark::DoNotOptimize(&copy);
        benchmark::ClobberMemory();
    }
    const double iterations = static_cast<double>(state.iterations());
    state.counters["allocs/copy"] =
        static_cast<double>(bench::ThreadAllocations() - mallocsBefore) / iterations;
}

template <class Kind, class P> void BenchCompare(benchmark::State& state) {
    Kind kind;
    P a = Make<P>(Kind::kId);
    kind.Set(a);
    // Both sides are read from memory each time, as when comparing two
    // records received: otherwise an inlined copy lets the compiler fold the
    // baseline's comparison against values it still knows.
    P b(a);
    bool equal = true;
    for (auto _ : state) {
        benchmark::DoNotOptimize(&a);
        benchmark::DoNotOptimize(&b);
        equal = a == b;
        benchmark::DoNotOptimize(equal);
    }
    if (!equal)
        state.SkipWithError("a copy does not compare equal");
}

template <class Kind, class P> void BenchRead(benchmark::State& state) {
    Kind kind;
    P property = Make<P>(Kind::kId);
    kind.Set(property);
    for (auto _ : state) {
        kind.Read(property);
        benchmark::DoNotOptimize(&kind);
        benchmark::ClobberMemory();
    }
}

std::string Name(const char* op, const char* kind, const char* side) {
    std::string name = std::string("property/") + op + "/" + kind + "/" + side;
    for (char& c : name)
        if (c == ' ')
            c = '_';
    return name;
}

template <class Kind> int RegisterKind() {
    struct Op {
        const char* name;
        void (*ours)(benchmark::State&);
        void (*plain)(benchmark::State&);
        double target; // 0: measured, no target
    };
    const Op ops[] = {
        {"set", &BenchSet<Kind, CProperty>, &BenchSet<Kind, PlainProperty>, 0},
        {"copy", &BenchCopy<Kind, CProperty>, &BenchCopy<Kind, PlainProperty>, 1.0},
        {"compare", &BenchCompare<Kind, CProperty>, &BenchCompare<Kind, PlainProperty>, 1.0},
        {"read", &BenchRead<Kind, CProperty>, &BenchRead<Kind, PlainProperty>, 0},
    };
    for (const Op& op : ops) {
        const std::string ours = Name(op.name, Kind::kName, "ours");
        const std::string plain = Name(op.name, Kind::kName, "vector");
        benchmark::RegisterBenchmark(ours.c_str(), op.ours);
        benchmark::RegisterBenchmark(plain.c_str(), op.plain);
        bench::AddComparison(
            {"property", std::string(op.name) + " " + Kind::kName, ours, plain, op.target});
        if (std::string(op.name) == "copy") {
            bench::AddMetric({"property",
                              std::string("heap allocations per copy, ") + Kind::kName + " (ours)",
                              ours, "allocs/copy", "", 1, true});
        }
    }
    return 0;
}

template <class... Kinds> int RegisterKinds() {
    const int all[] = {RegisterKind<Kinds>()...};
    return all[0];
}

[[maybe_unused]] const int kRegistered =
    RegisterKinds<KindString, KindIntList, KindBool, KindUInt64, KindRange, KindIntListPair,
                  KindFloat, KindUInt64List, KindXml, KindStringList>();

} // namespace
