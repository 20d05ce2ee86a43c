#include "PI/Helpers.h"

#include <RVX/Language.h>

#include <locale>

namespace PI {
namespace {

// White space as the C locale's isspace has it, independent of the process locale.
inline bool IsCSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

constexpr _UNITS kUnitSteps[] = {UNITS_KILOBYTES, UNITS_MEGABYTES, UNITS_GIGABYTES, UNITS_TERABYTES,
                                 UNITS_PETABYTES};

} // namespace

void Trim(const RVX::Strings::CStringRef& in, RVX::Strings::CStringVar& out) {
    out.Empty();
    const char* data = in.Data();
    size_t first = 0;
    size_t end = in.Length();
    while (first < end && IsCSpace(data[first]))
        ++first;
    while (end > first && IsCSpace(data[end - 1]))
        --end;
    if (first < end)
        out.Append(data + first, end - first);
}

void Trim(RVX::Strings::CStringRef& in, RVX::Strings::CStringVar& out) {
    Trim(static_cast<const RVX::Strings::CStringRef&>(in), out);
}

int GenXMLNodeConformantString(const std::string& in, std::string& out) {
    out.clear();
    out.reserve(in.size());
    for (char c : in) {
        switch (c) {
        case '(':
        case ')':
        case ' ':
        case '#':
        case '.':
        case '/':
        case '<':
        case '=':
        case '>':
            break;
        default:
            out.push_back(c);
        }
    }
    return 0;
}

bool MatchNLS(const std::string& text, int stringId, bool conform) {
    RVX::Strings::CStringVar resolved;
    RVX::Language_Support::CLanguageSupport::ResolveString(static_cast<unsigned int>(stringId),
                                                           resolved);
    std::string localised = resolved.Str();
    if (conform) {
        std::string conformant;
        GenXMLNodeConformantString(localised, conformant);
        localised.swap(conformant);
    }
    if (localised.size() != text.size())
        return false;
    const std::ctype<char>& ctype = std::use_facet<std::ctype<char>>(std::locale());
    for (size_t i = 0; i < text.size(); ++i) {
        if (ctype.toupper(text[i]) != ctype.toupper(localised[i]))
            return false;
    }
    return true;
}

int ConvertBytesToOtherUnit(unsigned long long bytes, float& value, _UNITS& unit) {
    value = static_cast<float>(bytes);
    unit = UNITS_BYTES;
    for (_UNITS next : kUnitSteps) {
        const long double scaled = static_cast<long double>(value) * 0.0009765625L;
        if (scaled < 1.0L)
            break;
        value = static_cast<float>(scaled);
        unit = next;
    }
    return 1;
}

bool HexDump(std::string& out, unsigned char* data, unsigned int first, unsigned int end) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    out.clear();
    if (first >= end)
        return true;
    out.reserve(static_cast<size_t>(end - first) * 3 - 1);
    for (unsigned int i = first; i < end; ++i) {
        if (i != first)
            out.push_back(' ');
        out.push_back(kHex[data[i] >> 4]);
        out.push_back(kHex[data[i] & 0x0F]);
    }
    return true;
}

} // namespace PI
