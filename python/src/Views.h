#pragma once

// Records in Python own their C++ record, or are live views of a record held
// inside another one: an element of a list (op.Objects[0]) or a task's object
// part (task.Object). A change made through a view changes the record that
// holds it.
//
// A view never keeps a pointer into a list: it holds its parent's Python
// object and the step from the parent to its element, and takes that step
// again on every use. Every change to the length or order of a list made
// from Python, and every replacement of a list or of an element, counts one
// more change of that list; a view made before the count moved, or whose
// element is past the end, raises pi.StaleViewError instead of reaching a
// different element or freed memory.
//
// The record classes are bound with RecordHolder, and their type casters
// (below) take that step whenever a view is passed to a bound function, so
// every source that binds or takes a record must include this header (it
// comes with Binding.h).

#include <PI/Records.h>

#include <pybind11/pybind11.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>

namespace pibind {

namespace py = pybind11;

// How many times each list and element of one owned record changed, by path
// ("Objects", "Objects[2]", "Objects[2].Properties").
struct ListCounts {
    std::unordered_map<std::string, unsigned long long> counts;
    unsigned long long& operator[](const std::string& key) { return counts[key]; }
    unsigned long long Get(const std::string& key) const {
        auto found = counts.find(key);
        return found == counts.end() ? 0 : found->second;
    }
    // The element or list `prefix` and everything below it, as when a record
    // was replaced as a whole.
    void BumpUnder(const std::string& prefix);
};

// How a view reaches its element.
struct ViewLink {
    py::object parent; // the record object the step starts from: owned or a view
    // The element's address, reached from the parent (resolved through its
    // own caster), or null when the index is past the end.
    std::function<void*(py::handle parent, std::size_t index)> step;
    std::size_t index = 0;
    std::shared_ptr<ListCounts> counts;
    std::string list;             // the list's path; empty for an object part
    unsigned long long count = 0; // the list's count when the view was made
    unsigned long long own = 0;   // the element's count (replacements) then
    std::string path;             // the element's path, for messages and its lists
};

// The state every record object keeps in its holder.
struct HolderState {
    void* owned = nullptr;
    void (*destroy)(void*) = nullptr;
    std::shared_ptr<ListCounts> counts; // of an owned record, made with its first view
    std::unique_ptr<ViewLink> view;     // set for a view

    HolderState() = default;
    HolderState(HolderState&& other) noexcept
        : owned(std::exchange(other.owned, nullptr)), destroy(other.destroy),
          counts(std::move(other.counts)), view(std::move(other.view)) {}
    HolderState(const HolderState&) = delete;
    HolderState& operator=(const HolderState&) = delete;
    HolderState& operator=(HolderState&&) = delete;
    ~HolderState() {
        if (owned != nullptr)
            destroy(owned);
    }

    // The element a view stands for now; raises StaleViewError when it is gone.
    void* Resolve() const;
};

template <class T> class RecordHolder {
public:
    HolderState state; // first member: sources reach it without knowing T

    RecordHolder() = default;
    explicit RecordHolder(T* owned) {
        state.owned = owned;
        state.destroy = [](void* p) { delete static_cast<T*>(p); };
    }
    RecordHolder(RecordHolder&&) noexcept = default;
    T* get() const { return static_cast<T*>(state.owned); }
};

// The record classes, which are bound with RecordHolder.
template <class R> struct IsRecord : std::false_type {};
template <class R>
using HolderFor = std::conditional_t<IsRecord<R>::value, RecordHolder<R>, std::unique_ptr<R>>;

// Where a record object's lists are counted, and the path its lists are
// named under ("" for an owned record).
struct ListBase {
    std::shared_ptr<ListCounts> counts;
    std::string path;
};
ListBase ListBaseOf(py::handle record);

// A new view of a T, the Python object of the class bound for T.
py::object NewViewObject(const std::type_info& type, void* holder);
template <class T> py::object NewView(std::unique_ptr<ViewLink> link) {
    RecordHolder<T> holder;
    holder.state.view = std::move(link);
    return NewViewObject(typeid(T), &holder);
}

} // namespace pibind

PYBIND11_DECLARE_HOLDER_TYPE(T, pibind::RecordHolder<T>)

namespace pybind11 {
namespace detail {

// Loads a record argument: an owned record as usual, a view by taking its
// step again (or raising StaleViewError).
template <class T> class RecordCaster : public type_caster_base<T> {
public:
    bool load(handle src, bool convert) {
        return this->template load_impl<RecordCaster<T>>(src, convert);
    }
    void load_value(value_and_holder&& v_h) {
        if (v_h.holder_constructed()) {
            const auto& state = v_h.template holder<pibind::HolderState>();
            if (state.view) {
                this->value = state.Resolve();
                return;
            }
        }
        type_caster_base<T>::load_value(std::move(v_h));
    }
};

#define PIBIND_RECORD_CASTER(R)                                                                    \
    template <> class type_caster<R> : public RecordCaster<R> {};
PIBIND_RECORD_CASTER(PI::CProperty)
PIBIND_RECORD_CASTER(PI::CObject)
PIBIND_RECORD_CASTER(PI::CTask)
PIBIND_RECORD_CASTER(PI::CDrive)
PIBIND_RECORD_CASTER(PI::CContainer)
PIBIND_RECORD_CASTER(PI::CLogicalDrive)
PIBIND_RECORD_CASTER(PI::CLevel)
PIBIND_RECORD_CASTER(PI::CMigration)
PIBIND_RECORD_CASTER(PI::CPartition)
PIBIND_RECORD_CASTER(PI::CPassThrough)
PIBIND_RECORD_CASTER(PI::CEvent)
PIBIND_RECORD_CASTER(PI::COperation)
#undef PIBIND_RECORD_CASTER

} // namespace detail
} // namespace pybind11

namespace pibind {
template <> struct IsRecord<PI::CProperty> : std::true_type {};
template <> struct IsRecord<PI::CObject> : std::true_type {};
template <> struct IsRecord<PI::CTask> : std::true_type {};
template <> struct IsRecord<PI::CDrive> : std::true_type {};
template <> struct IsRecord<PI::CContainer> : std::true_type {};
template <> struct IsRecord<PI::CLogicalDrive> : std::true_type {};
template <> struct IsRecord<PI::CLevel> : std::true_type {};
template <> struct IsRecord<PI::CMigration> : std::true_type {};
template <> struct IsRecord<PI::CPartition> : std::true_type {};
template <> struct IsRecord<PI::CPassThrough> : std::true_type {};
template <> struct IsRecord<PI::CEvent> : std::true_type {};
template <> struct IsRecord<PI::COperation> : std::true_type {};
} // namespace pibind
