#pragma once

// The string-list readers of CProperty on an arbitrary block whose sizes are
// consistent: DataSize is the block's size and SplitSize is not larger. Each
// reader gives the entries that lie in the block (or raises the data fault
// for a malformed block), all readers agree, and the single-string readers
// join the entries the mask selects.

#include "Check.h"

#include <PI/Identifiers.h>
#include <PI/Property.h>
#include <RVX/Exceptions.h>
#include <RVX/Strings.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace pi_fuzz {

// The entries of a kind 11 block: a table of SplitSize/4 words (length + 1
// of each entry), then the texts, each read up to its NUL. An entry whose
// table word or text would lie outside the block ends the list.
inline std::vector<std::string> ReferenceEntries(const unsigned char* block, size_t size,
                                                 size_t split) {
    std::vector<std::string> entries;
    size_t position = split;
    for (size_t i = 0; i < split / 4; ++i) {
        if (4 * i + 4 > size || position >= size)
            break;
        const char* text = reinterpret_cast<const char*>(block + position);
        entries.emplace_back(text, strnlen(text, size - position));
        std::uint32_t advance = 0;
        std::memcpy(&advance, block + 4 * i, 4);
        position += advance;
    }
    return entries;
}

inline std::string ReferenceJoin(const std::vector<std::string>& entries, unsigned int mask) {
    std::string joined;
    bool any = false;
    for (size_t i = 0; i < entries.size(); ++i) {
        if ((mask >> (i % 32) & 1u) == 0)
            continue;
        if (any)
            joined += ", ";
        joined += entries[i];
        any = true;
    }
    return joined;
}

// Runs `read`; true when it returned 0, false when it raised the data fault.
template <class Read> bool ReadsOrDataFault(Read read, const std::string& where) {
    try {
        PI_FUZZ_CHECK(read() == 0, "a reader returned a code" + where);
        return true;
    } catch (const RVX::Exceptions::CException& e) {
        PI_FUZZ_CHECK(e.GetCode() == PI::EXCEPTION_INVALID_DATA,
                      "exception " + std::to_string(e.GetCode()) + where);
        return false;
    }
}

inline std::vector<std::string> Texts(const std::vector<RVX::Strings::CStringEx>& list) {
    std::vector<std::string> out;
    for (const RVX::Strings::CStringEx& entry : list)
        out.push_back(entry.Str());
    return out;
}

inline void CheckStringList(const std::uint8_t* data, size_t size) {
    const std::string where =
        " in " + Printable(std::string(reinterpret_cast<const char*>(data), size));
    unsigned int word = 0, mask = 0xFFFFFFFFu;
    std::memcpy(&word, data, size < 4 ? size : 4);
    if (size >= 8)
        std::memcpy(&mask, data + size - 4, 4);

    PI::CProperty property(PI::PHYSICAL_DRIVE_OS_DEVICE, false);
    property.Type = PI::VT_STRING_LIST;
    property.DataSize = static_cast<unsigned int>(size);
    property.SplitSize = static_cast<unsigned int>(word % (size + 1));
    property.SelectionMask = mask;
    property.Data = static_cast<unsigned char*>(std::malloc(size != 0 ? size : 1));
    PI_FUZZ_CHECK(property.Data != nullptr, "out of memory");
    if (size != 0)
        std::memcpy(property.Data, data, size);

    const std::vector<std::string> expected =
        ReferenceEntries(property.Data, size, property.SplitSize);
    const std::string joined = ReferenceJoin(expected, mask);

    std::vector<RVX::Strings::CStringEx> exList{"stale"}, exPlain{"stale"};
    std::vector<std::string> list{"stale"}, plain{"stale"};
    unsigned int exMask = 0, listMask = 0;
    RVX::Strings::CStringVar var("stale");
    std::string text = "stale";
    const bool ok[] = {
        ReadsOrDataFault([&] { return property.GetValue(exList, exMask); }, where),
        ReadsOrDataFault([&] { return property.GetValue(exPlain); }, where),
        ReadsOrDataFault([&] { return property.GetValue(list, listMask); }, where),
        ReadsOrDataFault([&] { return property.GetValue(plain); }, where),
        ReadsOrDataFault([&] { return property.GetValue(var); }, where),
        ReadsOrDataFault([&] { return property.GetValue(text); }, where),
    };
    for (const bool each : ok)
        PI_FUZZ_CHECK(each == ok[0], "readers disagree on the block" + where);
    if (ok[0]) {
        PI_FUZZ_CHECK(list == expected, "entries differ" + where);
        PI_FUZZ_CHECK(plain == expected && Texts(exList) == expected && Texts(exPlain) == expected,
                      "readers give different entries" + where);
        PI_FUZZ_CHECK(exMask == mask && listMask == mask, "mask" + where);
        PI_FUZZ_CHECK(text == joined && var.Str() == joined,
                      "joined as " + Printable(text) + " / " + Printable(var.Str()) + where);
    } else {
        PI_FUZZ_CHECK(list.size() == 1 && list[0] == "stale" && text == "stale" && var == "stale",
                      "a fault changed an output" + where);
    }

    // A copy holds the same block and reads the same; a copy of a zero-byte
    // block holds no block at all and so reads as a data fault.
    PI::CProperty copy(property);
    PI_FUZZ_CHECK(copy == property, "a copy is unequal" + where);
    std::vector<std::string> copied{"stale"};
    PI_FUZZ_CHECK(ReadsOrDataFault([&] { return copy.GetValue(copied); }, where) ==
                      (ok[0] && size != 0),
                  "the copy reads otherwise" + where);
    if (ok[0] && size != 0)
        PI_FUZZ_CHECK(copied == expected, "the copy's entries" + where);
}

} // namespace pi_fuzz
