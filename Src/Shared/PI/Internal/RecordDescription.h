#pragma once

// The one description of every record class: each member in declared order,
// with its name (the interchange form's), its default (the value a new record
// has, which the interchange form leaves out), whether operator== compares
// it, and for a list how the elements of two lists are paired. Every view of
// the records takes its members from here: the interchange form, the diff
// and patch, pitool's record view, the Python binding and the tests'
// generator and comparer. A member added to a record class is added here
// too, or test_record_description fails.
//
// Description<R>::Members is a tuple of member descriptions, each with Name,
// Default, Compared, Match and a static Of(record) that reaches the member
// (a reference, const when the record is). Those of plain data members also
// have Pointer, the member pointer. Fields<R>(f, r...) calls
// `f(name, default, compared, match, member...)` for each member, with that
// member of each record given: one record to encode, decode or patch, two to
// diff, none to learn the names alone.
//
// Internal to this tree (not installed); in-tree targets get it by linking PI.

#include "PI/Internal/EventRawAccess.h"
#include "PI/ObjectModel.h"

#include <cstddef>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace PI {
namespace Records {

using namespace std::string_view_literals;

// Defaults that are not a value of the member's own type.
struct Empty {};    // an empty list or text
struct Required {}; // no default: always written, must be present
// CProperty only: SecondaryID defaults to the PropertyID, SubType to what
// the setter of the property's kind writes.
struct OwnId {};
struct KindSubType {};
// CProperty only: a piece of the value block (DataSize, SplitSize, Data).
// With Type and SubType these make one value, the block: `DataSize` bytes at
// `Data` (from malloc, or null), laid out as the kind in Type says;
// SplitSize divides the two lists of a pair and holds the length table of
// a string list. The interchange form writes the block as one member,
// "Value" in the natural form of its kind or "Raw" beside DataSize and
// SplitSize, after the other members.
struct Block {};

// Whether operator== compares a member. Ignored members travel in the
// interchange form and a diff of all fields reports them.
constexpr bool COMPARED = true;
constexpr bool IGNORED = false;

// How the elements of a list are paired between two records.
enum class EMatch {
    None,       // not a list
    Position,   // the i-th with the i-th
    ObjectId,   // objects by ObjectID
    PropertyId, // properties by PropertyID and SecondaryID
    DrivePiece, // member drives by ObjectID and StartAddress
};

// The SubType that a property of `type` has unless told otherwise: what the
// kind's setter writes.
constexpr unsigned int DefaultSubType(unsigned int type) noexcept {
    return type == VT_UINT64 || type == VT_UINT64_LIST ? PROPERTY_SUBTYPE_64BIT
                                                       : PROPERTY_SUBTYPE_PLAIN;
}

// The object part of a task: a CObject whose ObjectType defaults to the
// task's kind rather than to 1.
template <class O> struct TaskBase { O& Object; };
struct TaskBaseDefault {};
constexpr int TASK_OBJECT_TYPE = OBJECT_TYPE_TASK;

template <class R, class T> using Like = std::conditional_t<std::is_const_v<R>, const T, T>;

// A data member, reached through its member pointer.
template <auto P, class D> struct Member {
    std::string_view Name;
    D Default;
    bool Compared;
    EMatch Match;
    static constexpr auto Pointer = P;
    template <class R> static auto& Of(R& r) { return r.*P; }
};
template <auto P, class D>
constexpr Member<P, D> M(std::string_view name, D fallback, bool compared = COMPARED,
                         EMatch match = EMatch::None) {
    return {name, fallback, compared, match};
}

// Whether a member description has a member pointer (the object part and
// the placeholders have none).
template <class M, class = void> constexpr bool HAS_POINTER = false;
template <class M> constexpr bool HAS_POINTER<M, std::void_t<decltype(M::Pointer)>> = true;

// The task's object part, "Object" in the interchange form.
struct ObjectPart {
    std::string_view Name = "Object"sv;
    TaskBaseDefault Default{};
    bool Compared = COMPARED;
    EMatch Match = EMatch::None;
    template <class R> static TaskBase<Like<R, CObject>> Of(R& r) { return {r}; }
};

// A stored event placeholder ("T:text", "I:number" or anything else), which
// the event keeps private.
template <unsigned int Slot> struct Placeholder {
    std::string_view Name;
    Empty Default{};
    bool Compared = IGNORED;
    EMatch Match = EMatch::None;
    template <class R> static auto& Of(R& e) { return CEventRawAccess::Stored(e, Slot); }
};

template <int DefaultType> constexpr auto ObjectMembers() {
    return std::make_tuple(
        M<&CObject::ObjectID>("ObjectID"sv, 0ull),
        M<&CObject::ObjectType>("ObjectType"sv, DefaultType),
        M<&CObject::Parents>("Parents"sv, Empty{}, COMPARED, EMatch::Position),
        M<&CObject::Children>("Children"sv, Empty{}, COMPARED, EMatch::Position),
        M<&CObject::Value64>("Value64"sv, 0ull), M<&CObject::Flag>("Flag"sv, false),
        M<&CObject::Properties>("Properties"sv, Empty{}, COMPARED, EMatch::PropertyId));
}

template <class R> struct Description;

template <> struct Description<CProperty> {
    static constexpr const char* Name = "CProperty";
    using P = CProperty;
    static constexpr auto Members = std::make_tuple(
        M<&P::PropertyID>("PropertyID"sv, Required{}), M<&P::SecondaryID>("SecondaryID"sv, OwnId{}),
        M<&P::Attribute1>("Attribute1"sv, 1u), M<&P::Attribute2>("Attribute2"sv, 1u),
        M<&P::Attribute3>("Attribute3"sv, -1), M<&P::Attribute4>("Attribute4"sv, 1u),
        M<&P::Attribute5>("Attribute5"sv, 1u), M<&P::Type>("Type"sv, Required{}),
        M<&P::SubType>("SubType"sv, KindSubType{}), M<&P::Flag>("Flag"sv, false),
        M<&P::Attribute6>("Attribute6"sv, 1u), M<&P::Flag2>("Flag2"sv, true),
        M<&P::Attribute7>("Attribute7"sv, 0u), M<&P::Attribute8>("Attribute8"sv, -1),
        M<&P::SelectionMask>("SelectionMask"sv, 0xFFFFFFFFu),
        M<&P::DataSize>("DataSize"sv, Block{}), M<&P::SplitSize>("SplitSize"sv, Block{}),
        M<&P::Data>("Data"sv, Block{}));
};

template <> struct Description<CObject> {
    static constexpr const char* Name = "CObject";
    static constexpr auto Members = ObjectMembers<1>();
};

template <> struct Description<CTask> {
    static constexpr const char* Name = "CTask";
    using T = CTask;
    static constexpr auto Members = std::make_tuple(
        ObjectPart{}, M<&T::Text1>("Text1"sv, Empty{}), M<&T::Text2>("Text2"sv, Empty{}),
        M<&T::Text3>("Text3"sv, Empty{}), M<&T::Attribute1>("Attribute1"sv, 0ull),
        M<&T::Attribute2>("Attribute2"sv, 0), M<&T::Time1>("Time1"sv, Required{}),
        M<&T::Time2>("Time2"sv, 0ull), M<&T::Time3>("Time3"sv, ~0ull),
        M<&T::Attribute3>("Attribute3"sv, 0ull), M<&T::Attribute4>("Attribute4"sv, 0),
        M<&T::Attribute5>("Attribute5"sv, 0), M<&T::Flag>("Flag"sv, false),
        M<&T::Attribute6>("Attribute6"sv, TASK_ATTRIBUTE_DEFAULT),
        M<&T::Attribute7>("Attribute7"sv, 0));
};

template <> struct Description<CDrive> {
    static constexpr const char* Name = "CDrive";
    using D = CDrive;
    static constexpr auto Members = std::make_tuple(
        M<&D::ObjectID>("ObjectID"sv, 0ull), M<&D::StartAddress>("StartAddress"sv, 0ull),
        M<&D::UsedSize>("UsedSize"sv, 0ull, IGNORED),
        M<&D::Properties>("Properties"sv, Empty{}, IGNORED, EMatch::PropertyId),
        M<&D::Attribute1>("Attribute1"sv, 0ull, IGNORED),
        M<&D::Attribute2>("Attribute2"sv, 0ull, IGNORED), M<&D::Flag>("Flag"sv, true, IGNORED));
};

template <> struct Description<CContainer> {
    static constexpr const char* Name = "CContainer";
    static constexpr auto Members =
        std::make_tuple(M<&CContainer::Drives>("Drives"sv, Empty{}, COMPARED, EMatch::DrivePiece));
};

template <> struct Description<CLogicalDrive> {
    static constexpr const char* Name = "CLogicalDrive";
    using L = CLogicalDrive;
    static constexpr auto Members =
        std::make_tuple(M<&L::Attribute1>("Attribute1"sv, 0),
                        M<&L::Properties>("Properties"sv, Empty{}, COMPARED, EMatch::PropertyId),
                        M<&L::Attribute2>("Attribute2"sv, 0), M<&L::Size>("Size"sv, 0ull),
                        M<&L::Units>("Units"sv, UNITS_LOGICAL_DRIVE_DEFAULT),
                        M<&L::Containers>("Containers"sv, Empty{}, COMPARED, EMatch::Position),
                        M<&L::GHS>("GHS"sv, Empty{}, IGNORED, EMatch::Position),
                        M<&L::DHS>("DHS"sv, Empty{}, IGNORED, EMatch::Position),
                        M<&L::ALD>("ALD"sv, Empty{}, IGNORED, EMatch::Position));
};

template <> struct Description<CLevel> {
    static constexpr const char* Name = "CLevel";
    using L = CLevel;
    static constexpr auto Members =
        std::make_tuple(M<&L::Attribute0>("Attribute0"sv, 0),
                        M<&L::StripeSizes>("StripeSizes"sv, Empty{}, COMPARED, EMatch::Position),
                        M<&L::Attribute1>("Attribute1"sv, 0),
                        M<&L::Properties>("Properties"sv, Empty{}, COMPARED, EMatch::PropertyId),
                        M<&L::Attribute2>("Attribute2"sv, 0), M<&L::Attribute3>("Attribute3"sv, 0),
                        M<&L::Attribute4>("Attribute4"sv, 0), M<&L::Attribute5>("Attribute5"sv, 0),
                        M<&L::Size1>("Size1"sv, 0ull), M<&L::Size2>("Size2"sv, 0ull),
                        M<&L::Units>("Units"sv, UNITS_LOGICAL_DRIVE_DEFAULT),
                        M<&L::Attribute6>("Attribute6"sv, 0), M<&L::Attribute7>("Attribute7"sv, 0),
                        M<&L::Flag>("Flag"sv, true), M<&L::Attribute8>("Attribute8"sv, 0));
};

template <> struct Description<CMigration> {
    static constexpr const char* Name = "CMigration";
    using G = CMigration;
    static constexpr auto Members =
        std::make_tuple(M<&G::Attribute1>("Attribute1"sv, 0), M<&G::Attribute2>("Attribute2"sv, 0),
                        M<&G::Attribute3>("Attribute3"sv, 0),
                        M<&G::Properties>("Properties"sv, Empty{}, COMPARED, EMatch::PropertyId));
};

template <> struct Description<CPartition> {
    static constexpr const char* Name = "CPartition";
    using P = CPartition;
    static constexpr auto Members = std::make_tuple(
        M<&P::Attribute1>("Attribute1"sv, 0ull), M<&P::Attribute2>("Attribute2"sv, 0ull),
        M<&P::Attribute3>("Attribute3"sv, 0), M<&P::Text1>("Text1"sv, Empty{}),
        M<&P::Text2>("Text2"sv, Empty{}));
};

template <> struct Description<CPassThrough> {
    static constexpr const char* Name = "CPassThrough";
    static constexpr auto Members = std::make_tuple(M<&CPassThrough::Value>("Value"sv, 0ull));
};

template <> struct Description<CEvent> {
    static constexpr const char* Name = "CEvent";
    using E = CEvent;
    static constexpr auto Members = std::make_tuple(
        M<&E::Scalar1>("Scalar1"sv, 0ll), M<&E::Scalar2>("Scalar2"sv, 10000),
        M<&E::Scalar3>("Scalar3"sv, 2), M<&E::Scalar4>("Scalar4"sv, 1),
        M<&E::Scalar5>("Scalar5"sv, 0ll), Placeholder<0>{"PlaceHolder1"sv},
        Placeholder<1>{"PlaceHolder2"sv}, Placeholder<2>{"PlaceHolder3"sv},
        Placeholder<3>{"PlaceHolder4"sv}, Placeholder<4>{"PlaceHolder5"sv},
        Placeholder<5>{"PlaceHolder6"sv}, M<&E::Text1>("Text1"sv, Empty{}, IGNORED),
        M<&E::Text2>("Text2"sv, Empty{}, IGNORED), M<&E::Text3>("Text3"sv, Empty{}, IGNORED),
        M<&E::Scalar6>("Scalar6"sv, 0, IGNORED));
    // What the placeholders' getters last produced: state of the event
    // object, not of the record, after Scalar6.
    using Unrecorded = RVX::Strings::TString<16>[CEventRawAccess::SLOTS];
};

template <> struct Description<COperation> {
    static constexpr const char* Name = "COperation";
    using O = COperation;
    static constexpr auto Members = std::make_tuple(
        M<&O::Attribute1>("Attribute1"sv, 1), M<&O::Attribute2>("Attribute2"sv, 1),
        M<&O::Attribute3>("Attribute3"sv, 0),
        M<&O::Properties>("Properties"sv, Empty{}, COMPARED, EMatch::PropertyId),
        M<&O::LogicalDrives>("LogicalDrives"sv, Empty{}, COMPARED, EMatch::Position),
        M<&O::Levels>("Levels"sv, Empty{}, COMPARED, EMatch::Position),
        M<&O::Migrations>("Migrations"sv, Empty{}, COMPARED, EMatch::Position),
        M<&O::Events>("Events"sv, Empty{}, COMPARED, EMatch::Position),
        M<&O::PassThroughs>("PassThroughs"sv, Empty{}, COMPARED, EMatch::Position),
        M<&O::Partitions>("Partitions"sv, Empty{}, COMPARED, EMatch::Position),
        M<&O::Objects>("Objects"sv, Empty{}, COMPARED, EMatch::ObjectId),
        M<&O::Setting1>("Setting1"sv, 1), M<&O::Setting2>("Setting2"sv, 1),
        M<&O::Setting3>("Setting3"sv, 1), M<&O::Setting4>("Setting4"sv, 1),
        M<&O::Setting5>("Setting5"sv, -1), M<&O::Setting6>("Setting6"sv, 1),
        M<&O::Setting7>("Setting7"sv, 1), M<&O::Setting8>("Setting8"sv, 1),
        M<&O::Flag>("Flag"sv, false), M<&O::Setting9>("Setting9"sv, 1));
};

// Calls `g(member description)` for each member of R, in order.
template <class R, class G> constexpr void ForEachMember(G&& g) {
    std::apply([&](const auto&... d) { (g(d), ...); }, Description<R>::Members);
}

// Calls `f(name, default, compared, match, member...)` for each member in
// `members`, with that member of each of the records `r`.
template <class Tuple, class F, class... R> void WalkFields(const Tuple& members, F&& f, R&... r) {
    std::apply(
        [&](const auto&... d) {
            auto one = [&](const auto& m) {
                f(m.Name, m.Default, m.Compared, m.Match, m.Of(r)...);
            };
            (one(d), ...);
        },
        members);
}

// ---- operator== of the record classes (CProperty's compares its block) ----

template <class R> bool EqualByDescription(const R& a, const R& b);

template <class T, class = void> constexpr bool HAS_EQUAL = false;
template <class T>
constexpr bool
    HAS_EQUAL<T, std::void_t<decltype(std::declval<const T&>() == std::declval<const T&>())>> =
        true;
template <class T> struct ListOf { using Element = void; };
template <class E, class A> struct ListOf<std::vector<E, A>> { using Element = E; };

// Two values of a compared member: by their own ==, or, for a record
// without one (a pass-through result), by its compared members.
template <class T> bool SameMember(const T& a, const T& b) {
    using E = typename ListOf<T>::Element;
    if constexpr (!std::is_void_v<E> && !HAS_EQUAL<E>) {
        if (a.size() != b.size())
            return false;
        for (size_t i = 0; i < a.size(); ++i)
            if (!EqualByDescription(a[i], b[i]))
                return false;
        return true;
    } else if constexpr (std::is_void_v<E> && !HAS_EQUAL<T>) {
        return EqualByDescription(a, b);
    } else {
        return a == b;
    }
}

// Equal when every member that the description marks compared is, in
// order: what operator== of each record class (but CProperty) means.
template <class R> bool EqualByDescription(const R& a, const R& b) {
    bool same = true;
    ForEachMember<R>([&](const auto& d) {
        using D = std::decay_t<decltype(d)>;
        if (!same || !d.Compared)
            return;
        if constexpr (std::is_same_v<std::decay_t<decltype(d.Default)>, TaskBaseDefault>)
            same = d.Of(a).Object == d.Of(b).Object;
        else if constexpr (HAS_POINTER<D>)
            same = SameMember(a.*D::Pointer, b.*D::Pointer);
    });
    return same;
}

// The object part of a task, walked as a CObject with the task's ObjectType.
inline constexpr auto TASK_OBJECT_MEMBERS = ObjectMembers<TASK_OBJECT_TYPE>();

template <class F, class... R> void TaskObjectFields(F&& f, R&... o) {
    WalkFields(TASK_OBJECT_MEMBERS, f, o...);
}

// The member walk of each class, for the code generic over records; empty
// for any other type.
template <class R, class = void> struct SchemaOf {};
template <class R> struct SchemaOf<R, std::void_t<decltype(Description<R>::Name)>> {
    static constexpr const char* Name = Description<R>::Name;
    template <class F, class... Rs> static void Fields(F&& f, Rs&... r) {
        WalkFields(Description<R>::Members, f, r...);
    }
};

// What a default stands for on the property `p`: OwnId and KindSubType
// depend on other members; any other default is itself.
template <class D> constexpr const D& Resolve(const D& fallback, const CProperty&) {
    return fallback;
}
inline unsigned int Resolve(OwnId, const CProperty& p) {
    return static_cast<unsigned int>(p.PropertyID);
}
inline unsigned int Resolve(KindSubType, const CProperty& p) {
    return DefaultSubType(p.Type);
}

} // namespace Records
} // namespace PI
