// Applying a change list. The patch works on a copy and hands it over only
// when every change has been checked and applied, so a refused patch leaves
// the record as it was.
//
// Paths name elements by their place in the new record, except the last
// step of a removed element's path and a move's From, which name the place
// in the old list. Each list is rebuilt at once: added and moved elements
// take their new places, the others (neither removed nor moved) fill the
// remaining places in their old order; then the changes below the list's
// elements apply.
#include "PI/Diff.h"

#include "Failure.h"
#include "Fields.h"
#include "Leaf.h"

#include <cstdint>
#include <new>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace PI {
namespace DiffInternal {
namespace {

struct Item {
    const CChange* change;
    std::vector<std::string> steps;
    std::vector<std::string> from;
};

struct Patcher {
    CInterchangeError* error;
    Interchange::JsonValueWriter writer;

    [[noreturn]] void Fail(const Item& item, unsigned int code, const std::string& what) {
        if (error != nullptr) {
            error->Code = code;
            error->Pointer = item.change->Path;
            error->Expected = what;
            error->Offset = item.change->Offset;
        }
        throw Failure{code};
    }
};

bool SplitPointer(const std::string& pointer, std::vector<std::string>& steps) {
    steps.clear();
    if (pointer.empty())
        return true;
    if (pointer[0] != '/')
        return false;
    std::string step;
    for (size_t k = 1; k <= pointer.size(); ++k) {
        if (k == pointer.size() || pointer[k] == '/') {
            steps.push_back(std::move(step));
            step.clear();
        } else if (pointer[k] == '~') {
            if (k + 1 >= pointer.size() || (pointer[k + 1] != '0' && pointer[k + 1] != '1'))
                return false;
            step += pointer[k + 1] == '0' ? '~' : '/';
            ++k;
        } else {
            step += pointer[k];
        }
    }
    return true;
}

// A list index: decimal digits without leading zeros.
bool ParseIndex(const std::string& step, size_t& index) {
    if (step.empty() || step.size() > 9 || (step.size() > 1 && step[0] == '0'))
        return false;
    size_t value = 0;
    for (char c : step) {
        if (c < '0' || c > '9')
            return false;
        value = value * 10 + static_cast<size_t>(c - '0');
    }
    index = value;
    return true;
}

template <class T>
constexpr bool IS_LEAF = IS_NUMBER<T> || IS_TEXT<T> || std::is_same_v<T, CProperty>;

// Equal field by field: leaves by their own operator== (a property's
// compares every field and its block), records by their interchange form,
// which carries every field.
template <class T> bool SameValue(Patcher& p, const Item& item, const T& a, const T& b) {
    if constexpr (IS_LEAF<T>) {
        return a == b;
    } else {
        std::string x, y;
        unsigned int result = EncodeLeaf(a, x, nullptr, p.writer);
        if (result == 0)
            result = EncodeLeaf(b, y, nullptr, p.writer);
        if (result == RESULT_OUT_OF_MEMORY)
            p.Fail(item, result, "memory to compare the old value");
        return result == 0 && x == y;
    }
}

template <class T>
T DecodeOrFail(Patcher& p, const Item& item, const std::string& json, const char* which) {
    if (json.empty())
        p.Fail(item, INTERCHANGE_SCHEMA,
               std::string("the change to carry its ") + which + " value");
    T value{};
    std::string what;
    const unsigned int result = DecodeLeaf(json, value, what);
    if (result == RESULT_OUT_OF_MEMORY)
        p.Fail(item, result, what);
    if (result != 0)
        p.Fail(item, result, std::string("as ") + which + " value " + what);
    return value;
}

template <class T> void CheckOld(Patcher& p, const Item& item, const T& current) {
    const T old = DecodeOrFail<T>(p, item, item.change->Old, "old");
    if (!SameValue(p, item, old, current)) {
        std::string text;
        EncodeLeaf(current, text, nullptr, p.writer);
        if (text.size() > 200)
            text = text.substr(0, 200) + "...";
        p.Fail(item, DIFF_MISMATCH, "the old value that the record holds, " + text);
    }
}

template <class T> void ReplaceLeaf(Patcher& p, const Item& item, T& current) {
    if (item.change->Kind != EChangeKind::Changed)
        p.Fail(item, DIFF_BAD_PATH, "a list element here: a field can only be changed");
    CheckOld(p, item, current);
    current = DecodeOrFail<T>(p, item, item.change->New, "new");
}

template <class R> void PatchRecord(Patcher& p, R& record, std::vector<Item*>& items, size_t depth);

template <class E>
void PatchList(Patcher& p, std::vector<E>& list, std::vector<Item*>& items, size_t depth) {
    const size_t oldCount = list.size();
    std::vector<char> oldState(oldCount, 0);       // 1 removed, 2 moved away
    std::vector<std::pair<size_t, Item*>> placed;  // added and moved, by new index
    std::vector<std::pair<size_t, Item*>> changed; // whole elements changed in place
    std::unordered_map<size_t, std::vector<Item*>> below;
    size_t removed = 0;
    for (Item* item : items) {
        size_t index = 0;
        if (item->steps.size() <= depth)
            p.Fail(*item, DIFF_BAD_PATH, "a path to one element of the list, not the list");
        if (!ParseIndex(item->steps[depth], index))
            p.Fail(*item, DIFF_BAD_PATH, "a list index at '" + item->steps[depth] + "'");
        if (item->steps.size() > depth + 1) {
            below[index].push_back(item);
            continue;
        }
        switch (item->change->Kind) {
        case EChangeKind::Removed:
            if (index >= oldCount)
                p.Fail(*item, DIFF_BAD_PATH,
                       "an index below " + std::to_string(oldCount) + " in the old list");
            if (oldState[index] != 0)
                p.Fail(*item, DIFF_CONFLICT, "one change of this element");
            CheckOld(p, *item, list[index]);
            oldState[index] = 1;
            ++removed;
            break;
        case EChangeKind::Moved: {
            size_t from = 0;
            const bool sameList =
                item->from.size() == depth + 1 &&
                std::equal(item->from.begin(), item->from.begin() + depth, item->steps.begin());
            if (!sameList || !ParseIndex(item->from[depth], from) || from >= oldCount)
                p.Fail(*item, DIFF_BAD_PATH, "From to name an element of the same old list");
            if (oldState[from] != 0)
                p.Fail(*item, DIFF_CONFLICT, "one change of the element at From");
            oldState[from] = 2;
            placed.emplace_back(index, item);
            break;
        }
        case EChangeKind::Added:
            placed.emplace_back(index, item);
            break;
        case EChangeKind::Changed:
            changed.emplace_back(index, item);
            break;
        }
    }
    size_t added = 0;
    for (const auto& entry : placed)
        added += entry.second->change->Kind == EChangeKind::Added ? 1 : 0;
    const size_t newCount = oldCount - removed + added;

    std::vector<Item*> slot(newCount, nullptr);
    for (const auto& entry : placed) {
        if (entry.first >= newCount)
            p.Fail(*entry.second, DIFF_CONFLICT,
                   "an index below " + std::to_string(newCount) + " in the new list");
        if (slot[entry.first] != nullptr)
            p.Fail(*entry.second, DIFF_CONFLICT, "one element to take this place");
        slot[entry.first] = entry.second;
    }

    std::vector<E> result;
    result.reserve(newCount);
    size_t next = 0; // the next old element that keeps its order
    for (size_t j = 0; j < newCount; ++j) {
        const Item* item = slot[j];
        if (item == nullptr) {
            while (next < oldCount && oldState[next] != 0)
                ++next;
            result.push_back(std::move(list[next++])); // counts agree, so `next` is in range
        } else if (item->change->Kind == EChangeKind::Added) {
            result.push_back(DecodeOrFail<E>(p, *item, item->change->New, "new"));
        } else {
            size_t from = 0;
            ParseIndex(item->from[depth], from);
            result.push_back(std::move(list[from]));
        }
    }

    std::vector<char> seen(newCount, 0);
    for (const auto& entry : changed) {
        if (entry.first >= newCount)
            p.Fail(*entry.second, DIFF_BAD_PATH,
                   "an index below " + std::to_string(newCount) + " in the new list");
        if (seen[entry.first] != 0)
            p.Fail(*entry.second, DIFF_CONFLICT, "one change of this element");
        seen[entry.first] = 1;
        ReplaceLeaf(p, *entry.second, result[entry.first]);
    }
    for (auto& entry : below) {
        Item& item = *entry.second.front();
        if (entry.first >= newCount)
            p.Fail(item, DIFF_BAD_PATH,
                   "an index below " + std::to_string(newCount) + " in the new list");
        if constexpr (IS_LEAF<E>) {
            p.Fail(item, DIFF_BAD_PATH, "no step below a list element that has no fields");
        } else {
            if (seen[entry.first] != 0)
                p.Fail(item, DIFF_CONFLICT, "no change below an element replaced whole");
            PatchRecord(p, result[entry.first], entry.second, depth + 1);
        }
    }
    list = std::move(result);
}

// Applies the changes below one member of a record; the member walk calls it
// for each.
struct PatchVisitor {
    Patcher& p;
    std::unordered_map<std::string_view, std::vector<Item*>>& groups;
    size_t depth;
    size_t used = 0;

    std::vector<Item*>* Take(std::string_view name) {
        const auto found = groups.find(name);
        if (found == groups.end())
            return nullptr;
        ++used;
        return &found->second;
    }
    template <class D, class T>
    void operator()(std::string_view name, const D&, bool, EMatch, T&& member) {
        std::vector<Item*>* items = Take(name);
        if (items == nullptr)
            return;
        if constexpr (IS_LIST<T>) {
            PatchList(p, member, *items, depth + 1);
        } else if constexpr (IS_PART<T>) {
            for (Item* item : *items)
                if (item->steps.size() == depth + 1)
                    p.Fail(*item, DIFF_BAD_PATH,
                           "a path to a field of '" + std::string(name) + "'");
            PatchRecord(p, member.Object, *items, depth + 1);
        } else {
            Item& item = *items->front();
            if (items->size() > 1)
                p.Fail(*(*items)[1], DIFF_CONFLICT, "one change of this field");
            if (item.steps.size() != depth + 1)
                p.Fail(item, DIFF_BAD_PATH, "no step below the field '" + std::string(name) + "'");
            ReplaceLeaf(p, item, member);
        }
    }
};

// Tells whether a record has a field of a given name: the walk over no
// record gives the names alone.
struct FieldProbe {
    std::string_view name;
    bool known = false;
    template <class D> void operator()(std::string_view field, const D&, bool, EMatch) {
        known = known || name == field;
    }
};

template <class R>
void PatchRecord(Patcher& p, R& record, std::vector<Item*>& items, size_t depth) {
    std::unordered_map<std::string_view, std::vector<Item*>> groups;
    for (Item* item : items) {
        if (item->steps.size() <= depth)
            p.Fail(*item, DIFF_BAD_PATH, "a path to a field, not the whole record");
        groups[item->steps[depth]].push_back(item);
    }
    PatchVisitor visitor{p, groups, depth};
    SchemaOf<R>::Fields(visitor, record);
    if (visitor.used == groups.size())
        return;
    // Some step names no field of the record: find it for the error.
    for (auto& group : groups) {
        FieldProbe probe{group.first};
        SchemaOf<R>::Fields(probe);
        if (!probe.known)
            p.Fail(*group.second.front(), DIFF_BAD_PATH,
                   "a field of " + std::string(RecordClassName(ClassOf<R>())) + " at '" +
                       std::string(group.first) + "'");
    }
}

template <class R> void PatchRoot(Patcher& p, R& record, std::vector<Item*>& items) {
    if constexpr (std::is_same_v<R, CProperty>) {
        if (items.size() > 1)
            p.Fail(*items[1], DIFF_CONFLICT, "one change of a property");
        if (!items.empty()) {
            if (!items[0]->steps.empty())
                p.Fail(*items[0], DIFF_BAD_PATH, "the path \"\": a property changes whole");
            ReplaceLeaf(p, *items[0], record);
        }
    } else {
        if (!items.empty())
            PatchRecord(p, record, items, 0);
    }
}

// The working copy goes through the interchange form rather than the copy
// constructor, which drops a size left without a block: the copy must hold
// exactly what the record holds for the old values to match.
template <class R> void ExactCopy(Patcher& p, const R& record, R& copy) {
    std::vector<std::uint8_t> bytes;
    CInterchangeError error;
    unsigned int result = WriteMsgPackValue(record, bytes, &error);
    if (result == 0)
        result = ReadMsgPackValue(bytes, copy, &error);
    if (result == 0)
        return;
    if (p.error != nullptr)
        *p.error = error;
    throw Failure{result};
}

} // namespace
} // namespace DiffInternal

template <class Record>
unsigned int Patch(Record& record, const ChangeList& changes, CInterchangeError* error) {
    using namespace DiffInternal;
    Patcher patcher{error, {}};
    try {
        std::vector<Item> items(changes.size());
        std::vector<Item*> pointers;
        pointers.reserve(changes.size());
        for (size_t k = 0; k < changes.size(); ++k) {
            Item& item = items[k];
            item.change = &changes[k];
            if (!SplitPointer(changes[k].Path, item.steps))
                patcher.Fail(item, DIFF_BAD_PATH, "a JSON Pointer");
            if (changes[k].Kind == EChangeKind::Moved && !SplitPointer(changes[k].From, item.from))
                patcher.Fail(item, DIFF_BAD_PATH, "a JSON Pointer in From");
            pointers.push_back(&item);
        }
        Record copy;
        ExactCopy(patcher, record, copy);
        PatchRoot(patcher, copy, pointers);
        record = std::move(copy);
        return 0;
    } catch (const Failure& failure) {
        return failure.Code;
    } catch (const std::bad_alloc&) {
        if (error != nullptr) {
            error->Code = RESULT_OUT_OF_MEMORY;
            error->Pointer.clear();
            error->Expected = "memory for the patched record";
        }
        return RESULT_OUT_OF_MEMORY;
    }
}

#define PI_PATCH_INSTANTIATE(Record)                                                               \
    template PI_API unsigned int Patch<Record>(Record&, const ChangeList&, CInterchangeError*);
PI_PATCH_INSTANTIATE(CProperty)
PI_PATCH_INSTANTIATE(CObject)
PI_PATCH_INSTANTIATE(CTask)
PI_PATCH_INSTANTIATE(CDrive)
PI_PATCH_INSTANTIATE(CContainer)
PI_PATCH_INSTANTIATE(CLogicalDrive)
PI_PATCH_INSTANTIATE(CLevel)
PI_PATCH_INSTANTIATE(CMigration)
PI_PATCH_INSTANTIATE(CPartition)
PI_PATCH_INSTANTIATE(CPassThrough)
PI_PATCH_INSTANTIATE(CEvent)
PI_PATCH_INSTANTIATE(COperation)
#undef PI_PATCH_INSTANTIATE

} // namespace PI
