// The record description against the classes it describes: no member left
// out, the defaults those of a new record, and Compared as operator== has it.
#include <PI/Internal/RecordDescription.h>

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace {

using namespace PI;
using namespace PI::Records;

template <class T> using Bare = std::remove_cv_t<std::remove_reference_t<T>>;
template <class D> constexpr bool IS_PART = std::is_same_v<Bare<D>, TaskBaseDefault>;

// Each described member must begin where the one before it ends, after at
// most the padding its alignment asks for, and the last must end the class
// the same way; a member left out of the description leaves a gap at least
// as wide as its alignment. The limit: a member small enough to sit in
// padding the compiler leaves anyway (a bool between an int and an 8-byte
// member) is not seen.
template <class R> void ExpectLayout() {
    const R r;
    const auto* base = reinterpret_cast<const char*>(&r);
    size_t end = std::is_polymorphic_v<R> ? sizeof(void*) : 0;
    const auto next = [&](std::string_view name, const void* at, size_t size, size_t align) {
        const size_t offset = static_cast<size_t>(static_cast<const char*>(at) - base);
        EXPECT_TRUE(offset >= end && offset - end < align)
            << Description<R>::Name << "::" << name << " at " << offset << ", not just after "
            << end << ": a member missing from the description?";
        end = offset + size;
    };
    ForEachMember<R>([&](const auto& d) {
        if constexpr (IS_PART<decltype(d.Default)>) {
            end = sizeof(CObject);
        } else {
            const auto& member = d.Of(r);
            next(d.Name, &member, sizeof member, alignof(Bare<decltype(member)>));
        }
    });
    if constexpr (std::is_same_v<R, CEvent>) {
        using Unrecorded = Description<CEvent>::Unrecorded;
        next("(resolved placeholders)", &CEventRawAccess::Resolved(r, 0), sizeof(Unrecorded),
             alignof(Unrecorded));
    }
    EXPECT_LT(sizeof(R) - end, alignof(R)) << Description<R>::Name << ": members after the last";
}

template <class T> bool IsEmpty(const T& value) {
    if constexpr (std::is_base_of_v<RVX::Strings::CStringVar, T>)
        return value.IsEmpty();
    else
        return value.empty();
}

template <class D, class T>
void ExpectObjectDefault(std::string_view name, const D& fallback, bool, EMatch, const T& member) {
    if constexpr (std::is_same_v<D, Empty>)
        EXPECT_TRUE(member.empty()) << "CTask::Object::" << name;
    else
        EXPECT_EQ(member, static_cast<T>(fallback)) << "CTask::Object::" << name;
}

template <class R> void ExpectDefaults(const R& r) {
    const auto check = [&](std::string_view name, const auto& fallback, bool, EMatch,
                           const auto& member) {
        using D = Bare<decltype(fallback)>;
        using T = Bare<decltype(member)>;
        if constexpr (std::is_same_v<D, Empty>)
            EXPECT_TRUE(IsEmpty(member)) << Description<R>::Name << "::" << name;
        else if constexpr (std::is_same_v<D, OwnId> || std::is_same_v<D, KindSubType>)
            EXPECT_EQ(member, Resolve(fallback, r)) << name;
        else if constexpr (std::is_arithmetic_v<D>)
            EXPECT_EQ(member, static_cast<T>(fallback)) << Description<R>::Name << "::" << name;
        else if constexpr (IS_PART<D>)
            WalkFields(
                TASK_OBJECT_MEMBERS, [&](auto&&... a) { ExpectObjectDefault(a...); },
                member.Object);
    };
    SchemaOf<R>::Fields(check, r);
}
// Some other value for a member.
template <class T> void Change(T& value) {
    if constexpr (std::is_same_v<T, bool>)
        value = !value;
    else if constexpr (std::is_enum_v<T>)
        value = static_cast<T>(value + 1);
    else if constexpr (std::is_arithmetic_v<T>)
        value = static_cast<T>(value + 1);
    else if constexpr (std::is_base_of_v<RVX::Strings::CStringVar, T>)
        value = value.Str() + "x";
    else if constexpr (std::is_same_v<T, std::string>)
        value += "x";
    else
        value.emplace_back();
}

template <class R> void ExpectCompared() {
    ForEachMember<R>([&](const auto& d) {
        R a;
        R b = a;
        if constexpr (IS_PART<decltype(d.Default)>)
            Change(d.Of(b).Object.ObjectID);
        else if constexpr (!std::is_pointer_v<Bare<decltype(d.Of(b))>>)
            Change(d.Of(b));
        else
            return; // the block's bytes: compared with DataSize
        EXPECT_EQ(a == b, !d.Compared) << Description<R>::Name << "::" << d.Name;
    });
}

template <class... R> void ForEachRecord() {
    (ExpectLayout<R>(), ...);
    (ExpectDefaults(R()), ...);
    (ExpectCompared<R>(), ...);
}

TEST(RecordDescription, MatchesTheClasses) {
    ForEachRecord<CProperty, CObject, CTask, CDrive, CContainer, CLogicalDrive, CLevel, CMigration,
                  CPartition, CEvent, COperation>();
    // Compared only inside an operation, by Value.
    ExpectLayout<CPassThrough>();
    ExpectDefaults(CPassThrough());
}

} // namespace
