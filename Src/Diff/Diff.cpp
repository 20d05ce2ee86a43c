// The changes between two records. Lists with an identity pair their
// elements through a hash table, but only past the longest common prefix of
// identities, which in the usual case (an agent's next answer) is the whole
// list: then the walk costs about what operator== costs.
#include "PI/Diff.h"

#include "Failure.h"
#include "Fields.h"
#include "Leaf.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

namespace PI {
namespace DiffInternal {
namespace {

constexpr std::uint32_t NONE = 0xFFFFFFFFu;

// The place being compared, as steps: a field's name or a list index. The
// JSON Pointer text is only built for a change, so walking equal parts of the
// records builds no strings.
struct Step {
    std::string_view name; // empty for an index
    size_t index;
};

// The deepest place in a record has eight steps (/LogicalDrives/i/
// Containers/j/Drives/k/Properties/l); the rest is headroom.
constexpr size_t MAX_STEPS = 16;

struct Differ {
    Differ(ChangeList& changes, bool every, CInterchangeError* failure)
        : out(changes), all(every), error(failure) {}

    ChangeList& out;
    bool all;
    CInterchangeError* error;
    Step steps[MAX_STEPS] = {};
    size_t depth = 0;
    Interchange::JsonValueWriter writer;

    size_t Push(std::string_view name) { return Push(Step{name, 0}); }
    size_t Push(size_t index) { return Push(Step{{}, index}); }
    size_t Push(Step step) {
        if (depth == MAX_STEPS)
            throw Failure{INTERCHANGE_LIMIT};
        steps[depth] = step;
        return depth++;
    }
    void Pop(size_t mark) { depth = mark; }

    // The pointer of the current place. Field names need no escaping.
    std::string Path() const {
        std::string path;
        path.reserve(64);
        char digits[24];
        for (size_t k = 0; k < depth; ++k) {
            const Step& step = steps[k];
            path += '/';
            if (!step.name.empty()) {
                path += step.name;
            } else {
                const auto end = std::to_chars(digits, digits + sizeof digits, step.index).ptr;
                path.append(digits, end);
            }
        }
        return path;
    }

    template <class T> void Encode(const T& value, std::string& text) {
        const unsigned int result = EncodeLeaf(value, text, error, writer);
        if (result != 0) {
            if (error != nullptr)
                error->Pointer = Path() + error->Pointer;
            throw Failure{result};
        }
    }
    CChange& Emit(EChangeKind kind) {
        out.emplace_back();
        CChange& change = out.back();
        change.Kind = kind;
        change.Path = Path();
        return change;
    }
    template <class T> void Changed(const T& before, const T& after) {
        CChange& change = Emit(EChangeKind::Changed);
        Encode(before, change.Old);
        Encode(after, change.New);
    }
};

template <class R> void DiffRecord(Differ& d, const R& a, const R& b);

template <class T> constexpr bool IS_LEAF = IS_NUMBER<T> || std::is_same_v<T, CProperty>;

// One element present in both lists, at `index` of the new one.
template <class E> void DiffElement(Differ& d, size_t index, const E& a, const E& b) {
    if constexpr (IS_LEAF<E>) {
        if (a == b)
            return;
        const size_t mark = d.Push(index);
        d.Changed(a, b);
        d.Pop(mark);
    } else {
        const size_t mark = d.Push(index);
        DiffRecord(d, a, b);
        d.Pop(mark);
    }
}

template <class E> void EmitWhole(Differ& d, EChangeKind kind, size_t index, const E& element) {
    const size_t mark = d.Push(index);
    CChange& change = d.Emit(kind);
    d.Encode(element, kind == EChangeKind::Removed ? change.Old : change.New);
    d.Pop(mark);
}

template <class E>
void DiffByPosition(Differ& d, const std::vector<E>& a, const std::vector<E>& b) {
    const size_t common = std::min(a.size(), b.size());
    for (size_t i = 0; i < common; ++i)
        DiffElement(d, i, a[i], b[i]);
    for (size_t i = common; i < a.size(); ++i)
        EmitWhole(d, EChangeKind::Removed, i, a[i]);
    for (size_t j = common; j < b.size(); ++j)
        EmitWhole(d, EChangeKind::Added, j, b[j]);
}

inline unsigned long long KeyOf(const CObject& object) {
    return object.ObjectID;
}
inline unsigned long long KeyOf(const CProperty& property) {
    return (static_cast<unsigned long long>(static_cast<std::uint32_t>(property.PropertyID))
            << 32) |
           property.SecondaryID;
}
inline std::pair<unsigned long long, unsigned long long> KeyOf(const CDrive& drive) {
    return {drive.ObjectID, drive.StartAddress};
}

inline size_t HashOf(unsigned long long key) {
    return static_cast<size_t>((key * 0x9E3779B97F4A7C15ull) >> 32);
}
inline size_t HashOf(const std::pair<unsigned long long, unsigned long long>& key) {
    return HashOf(key.first * 0x9E3779B97F4A7C15ull ^ key.second);
}

// The old elements of each key: for every key, the first old index not yet
// paired. An open-addressed table in one block, at most half full, so that
// pairing a list costs no allocation per element.
template <class Key> class FirstOfKey {
public:
    explicit FirstOfKey(size_t count) {
        size_t size = 16;
        while (size < 2 * count)
            size *= 2;
        m_Slots.resize(size);
        m_Mask = size - 1;
    }
    // The entry of `key`; `added` tells whether it was missing (then NONE).
    std::uint32_t& Insert(const Key& key, bool& added) {
        Slot& slot = Probe(key);
        added = !slot.used;
        if (added) {
            slot.used = true;
            slot.key = key;
        }
        return slot.first;
    }
    // The entry of `key`, or null.
    std::uint32_t* Find(const Key& key) {
        Slot& slot = Probe(key);
        return slot.used ? &slot.first : nullptr;
    }

private:
    struct Slot {
        Key key{};
        std::uint32_t first = NONE;
        bool used = false;
    };
    Slot& Probe(const Key& key) {
        for (size_t k = HashOf(key) & m_Mask;; k = (k + 1) & m_Mask)
            if (!m_Slots[k].used || m_Slots[k].key == key)
                return m_Slots[k];
    }
    std::vector<Slot> m_Slots;
    size_t m_Mask = 0;
};

// Marks the elements of `sequence` (old indices in new order) that form a
// longest increasing run: those keep their order and are not moves.
void MarkLongestIncreasing(const std::vector<std::uint32_t>& sequence, std::vector<char>& kept) {
    kept.assign(sequence.size(), 0);
    if (std::is_sorted(sequence.begin(), sequence.end())) {
        std::fill(kept.begin(), kept.end(), 1);
        return;
    }
    std::vector<std::uint32_t> tails; // positions in `sequence`
    std::vector<std::uint32_t> predecessor(sequence.size(), NONE);
    for (std::uint32_t k = 0; k < sequence.size(); ++k) {
        const auto place = std::lower_bound(tails.begin(), tails.end(), sequence[k],
                                            [&](std::uint32_t position, std::uint32_t value) {
                                                return sequence[position] < value;
                                            });
        if (place != tails.begin())
            predecessor[k] = *(place - 1);
        if (place == tails.end())
            tails.push_back(k);
        else
            *place = k;
    }
    for (std::uint32_t k = tails.empty() ? NONE : tails.back(); k != NONE; k = predecessor[k])
        kept[k] = 1;
}

template <class E>
void DiffByIdentity(Differ& d, const std::vector<E>& a, const std::vector<E>& b) {
    // The common prefix pairs by position and always keeps its order, so its
    // elements are compared on the way.
    // Equal properties (the most of them) are told by operator== alone,
    // which compares their identities on the way.
    const size_t common = std::min(a.size(), b.size());
    size_t prefix = 0;
    for (;; ++prefix) {
        if constexpr (IS_LEAF<E>) {
            const E* x = a.data() + prefix;
            const E* y = b.data() + prefix;
            const E* const end = a.data() + common;
            while (x != end && *x == *y)
                ++x, ++y;
            prefix = static_cast<size_t>(x - a.data());
        }
        if (prefix == common || KeyOf(a[prefix]) != KeyOf(b[prefix]))
            break;
        DiffElement(d, prefix, a[prefix], b[prefix]);
    }
    if (prefix == a.size() && prefix == b.size())
        return;

    // Past the prefix: the k-th element of a key in the new list pairs with
    // the k-th of that key in the old one. `next` chains the old elements of
    // one key in their order.
    FirstOfKey<decltype(KeyOf(a[0]))> first(a.size() - prefix);
    std::vector<std::uint32_t> next(a.size() - prefix, NONE);
    for (size_t i = a.size(); i-- > prefix;) {
        bool added = false;
        std::uint32_t& entry = first.Insert(KeyOf(a[i]), added);
        if (!added)
            next[i - prefix] = entry;
        entry = static_cast<std::uint32_t>(i);
    }
    std::vector<std::uint32_t> pairOf(b.size(), NONE); // old index of each new element
    std::vector<char> taken(a.size(), 0);
    for (size_t j = 0; j < prefix; ++j) {
        pairOf[j] = static_cast<std::uint32_t>(j);
        taken[j] = 1;
    }
    for (size_t j = prefix; j < b.size(); ++j) {
        std::uint32_t* entry = first.Find(KeyOf(b[j]));
        if (entry == nullptr || *entry == NONE)
            continue;
        const std::uint32_t i = *entry;
        pairOf[j] = i;
        taken[i] = 1;
        *entry = next[i - prefix];
    }

    for (size_t i = prefix; i < a.size(); ++i)
        if (!taken[i])
            EmitWhole(d, EChangeKind::Removed, i, a[i]);

    std::vector<std::uint32_t> order;
    order.reserve(b.size());
    for (std::uint32_t i : pairOf)
        if (i != NONE)
            order.push_back(i);
    std::vector<char> kept;
    MarkLongestIncreasing(order, kept);

    size_t k = prefix;
    for (size_t j = prefix; j < b.size(); ++j) {
        const std::uint32_t i = pairOf[j];
        if (i == NONE) {
            EmitWhole(d, EChangeKind::Added, j, b[j]);
            continue;
        }
        if (!kept[k++]) {
            size_t mark = d.Push(static_cast<size_t>(i));
            std::string from = d.Path();
            d.Pop(mark);
            mark = d.Push(j);
            d.Emit(EChangeKind::Moved).From = std::move(from);
            d.Pop(mark);
        }
        DiffElement(d, j, a[i], b[j]);
    }
}

// Compares one member of two records; the member walk calls it for each.
struct DiffVisitor {
    Differ& d;

    template <class D, class T>
    void operator()(std::string_view name, const D&, bool compared, EMatch match, const T& x,
                    const T& y) const {
        if (!compared && !d.all)
            return;
        if constexpr (IS_LIST<T>) {
            const size_t mark = d.Push(name);
            using E = typename T::value_type;
            if constexpr (std::is_same_v<E, CObject> || std::is_same_v<E, CProperty> ||
                          std::is_same_v<E, CDrive>) {
                if (match != EMatch::Position)
                    DiffByIdentity(d, x, y);
                else
                    DiffByPosition(d, x, y);
            } else {
                DiffByPosition(d, x, y);
            }
            d.Pop(mark);
        } else if constexpr (IS_PART<T>) {
            const size_t mark = d.Push(name);
            DiffRecord(d, x.Object, y.Object);
            d.Pop(mark);
        } else {
            if (x == y)
                return;
            const size_t mark = d.Push(name);
            d.Changed(x, y);
            d.Pop(mark);
        }
    }
};

template <class R> void DiffRecord(Differ& d, const R& a, const R& b) {
    SchemaOf<R>::Fields(DiffVisitor{d}, a, b);
}

template <class R> void DiffRoot(Differ& d, const R& a, const R& b) {
    if constexpr (std::is_same_v<R, CProperty>) {
        if (a != b)
            d.Changed(a, b);
    } else {
        DiffRecord(d, a, b);
    }
}

} // namespace
} // namespace DiffInternal

const char* ChangeKindName(EChangeKind kind) noexcept {
    switch (kind) {
    case EChangeKind::Added:
        return "added";
    case EChangeKind::Removed:
        return "removed";
    case EChangeKind::Changed:
        return "changed";
    case EChangeKind::Moved:
        return "moved";
    }
    return "?";
}

template <class Record>
unsigned int Diff(const Record& before, const Record& after, ChangeList& changes,
                  EDiffFields fields, CInterchangeError* error) {
    const size_t size = changes.size();
    try {
        DiffInternal::Differ differ(changes, fields == EDiffFields::All, error);
        DiffInternal::DiffRoot(differ, before, after);
        return 0;
    } catch (const DiffInternal::Failure& failure) {
        changes.resize(size);
        return failure.Code;
    } catch (const std::bad_alloc&) {
        changes.resize(size);
        if (error != nullptr) {
            error->Code = RESULT_OUT_OF_MEMORY;
            error->Expected = "memory for the change list";
        }
        return RESULT_OUT_OF_MEMORY;
    }
}

#define PI_DIFF_INSTANTIATE(Record)                                                                \
    template PI_API unsigned int Diff<Record>(const Record&, const Record&, ChangeList&,           \
                                              EDiffFields, CInterchangeError*);
PI_DIFF_INSTANTIATE(CProperty)
PI_DIFF_INSTANTIATE(CObject)
PI_DIFF_INSTANTIATE(CTask)
PI_DIFF_INSTANTIATE(CDrive)
PI_DIFF_INSTANTIATE(CContainer)
PI_DIFF_INSTANTIATE(CLogicalDrive)
PI_DIFF_INSTANTIATE(CLevel)
PI_DIFF_INSTANTIATE(CMigration)
PI_DIFF_INSTANTIATE(CPartition)
PI_DIFF_INSTANTIATE(CPassThrough)
PI_DIFF_INSTANTIATE(CEvent)
PI_DIFF_INSTANTIATE(COperation)
#undef PI_DIFF_INSTANTIATE

} // namespace PI
