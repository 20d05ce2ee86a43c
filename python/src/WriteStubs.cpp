// Writes the type stubs of the pi module (_core.pyi) from their template,
// filling each line "    #: members of CName" with the annotations of that
// record's members, taken from the record description as the bindings take
// them, and leaving out the template's own notes (lines starting "#:").
// Run by the build:
//
//   pi_write_stubs TEMPLATE OUTPUT
//
// Exit status 1, with the reason on standard error and no output file, when
// the template cannot be read, names a record that has no description, or
// the output cannot be written.
#include "PythonNames.h"

#include <PI/Interchange.h>
#include <PI/Internal/RecordDescription.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <utility>
#include <variant>

namespace {

using namespace PI;
using pibind::ENUMERATION;
using pibind::IsVector;
using pibind::LIST_VIEW;

template <class T> std::string Annotation() {
    if constexpr (std::is_enum_v<T>)
        return std::string("Union[") + ENUMERATION<T> + ", int]";
    else if constexpr (std::is_same_v<T, bool>)
        return "bool";
    else if constexpr (std::is_integral_v<T>)
        return "int";
    else if constexpr (IsVector<T>::value)
        return LIST_VIEW<typename T::value_type>;
    else
        return "str";
}

// The members as the bindings show them: the placeholders as one tuple, the
// task's object part as a CObject view, CProperty's kind and block sizes
// read-only, and its block itself as `data` and `value` (in the template).
template <class R> std::string Members() {
    std::ostringstream out;
    bool placeholders = false;
    Records::ForEachMember<R>([&](const auto& d) {
        using M = std::decay_t<decltype(d)>;
        using D = std::decay_t<decltype(d.Default)>;
        const std::string name(d.Name);
        if constexpr (std::is_same_v<D, Records::TaskBaseDefault>) {
            out << "    # The object part; the task's own Flag hides the object part's Flag.\n"
                << "    " << name << ": CObject\n";
        } else if constexpr (!Records::HAS_POINTER<M>) {
            placeholders = true;
        } else {
            using T = std::decay_t<decltype(std::declval<R&>().*M::Pointer)>;
            if constexpr (pibind::IS_PROPERTY_KIND<M::Pointer>)
                out << "    @property\n    def " << name << "(self) -> ValueType: ...\n";
            else if constexpr (std::is_pointer_v<T>)
                ; // the block
            else if constexpr (std::is_same_v<D, Records::Block>)
                out << "    @property\n    def " << name << "(self) -> int: ...\n";
            else
                out << "    " << name << ": " << Annotation<T>() << "\n";
        }
    });
    if (placeholders)
        out << "    PlaceHolders: Tuple[str, str, str, str, str, str]\n";
    return out.str();
}

// The members of the record class called `name`, one of AnyRecord's; false
// when no class has that name.
template <size_t... I>
bool MembersOf(const std::string& name, std::string& out, std::index_sequence<I...>) {
    const auto one = [&](auto record) {
        using R = decltype(record);
        if (name != Records::Description<R>::Name)
            return false;
        out = Members<R>();
        return true;
    };
    return (one(std::variant_alternative_t<I, AnyRecord>()) || ...);
}

int Fail(const std::string& why) {
    std::cerr << "pi_write_stubs: " << why << "\n";
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3)
        return Fail("usage: pi_write_stubs TEMPLATE OUTPUT");
    std::ifstream in(argv[1]);
    if (!in)
        return Fail(std::string("cannot read ") + argv[1]);
    const std::string marker = "    #: members of ";
    std::ostringstream out;
    out << "# Written by pi_write_stubs (python/src/WriteStubs.cpp) from _core.pyi.in and the\n"
        << "# record description; edit those, not this file.\n";
    for (std::string line; std::getline(in, line);) {
        if (line.compare(0, 2, "#:") == 0)
            continue;
        if (line.compare(0, marker.size(), marker) != 0) {
            out << line << "\n";
            continue;
        }
        const std::string name = line.substr(marker.size());
        std::string members;
        if (!MembersOf(name, members, std::make_index_sequence<std::variant_size_v<AnyRecord>>()))
            return Fail("no record description for '" + name + "'");
        out << members;
    }
    // Written beside the output and renamed, so that a failed run leaves no
    // half-written stub for the next build to take as done.
    const std::string temporary = std::string(argv[2]) + ".tmp";
    std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
    file << out.str();
    file.close();
    if (!file || std::rename(temporary.c_str(), argv[2]) != 0) {
        std::remove(temporary.c_str());
        return Fail(std::string("cannot write ") + argv[2]);
    }
    return 0;
}
