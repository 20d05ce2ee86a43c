#pragma once

#include "RVX/Export.h"

#include <cstddef>
#include <cstring>
#include <string>

namespace RVX {
namespace Output_Streams {
class CFormatStream;
}

namespace Strings {

class CStringVar;

// A read-only view of characters and a length. The characters need not be
// terminated; c_str() is terminated only when the source was.
class RVX_API CStringRef {
public:
    CStringRef() noexcept : m_Data(""), m_Length(0) {}
    CStringRef(const char* text) noexcept
        : m_Data(text ? text : ""), m_Length(text ? std::strlen(text) : 0) {}
    CStringRef(const char* text, size_t length) noexcept
        : m_Data(text ? text : ""), m_Length(text ? length : 0) {}
    CStringRef(const std::string& text) noexcept : m_Data(text.data()), m_Length(text.size()) {}
    CStringRef(const CStringVar& text) noexcept;

    const char* c_str() const noexcept { return m_Data; }
    const char* Data() const noexcept { return m_Data; }
    size_t Length() const noexcept { return m_Length; }
    bool IsEmpty() const noexcept { return m_Length == 0; }
    char operator[](size_t i) const noexcept { return m_Data[i]; }
    std::string ToString() const { return std::string(m_Data, m_Length); }

    friend bool operator==(const CStringRef& a, const CStringRef& b) noexcept {
        return a.m_Length == b.m_Length && std::memcmp(a.m_Data, b.m_Data, a.m_Length) == 0;
    }
    friend bool operator!=(const CStringRef& a, const CStringRef& b) noexcept { return !(a == b); }

private:
    const char* m_Data;
    size_t m_Length;
};

// An owning, growable text. It may hold no buffer at all (never allocated);
// emptying keeps the buffer it has.
class RVX_API CStringVar {
public:
    CStringVar() = default;
    CStringVar(const char* text) : m_Text(text ? text : "") {}
    CStringVar(const char* text, size_t length) : m_Text(text ? text : "", text ? length : 0) {}
    CStringVar(const std::string& text) : m_Text(text) {}
    CStringVar(const CStringRef& text) : m_Text(text.Data(), text.Length()) {}

    // Replaces the content with `length` characters of `text`; a length of 0
    // takes the text up to its terminating NUL.
    CStringVar& AllocCopy(const char* text, size_t length = 0);
    // Makes room for at least `capacity` characters; the content is kept.
    CStringVar& Alloc(size_t capacity);
    // Starts a formatted text: the content is replaced by `format`, whose
    // conversions are filled in turn through the returned stream.
    Output_Streams::CFormatStream Format(const char* format);

    void Empty() noexcept { m_Text.clear(); }
    CStringVar& Append(const char* text, size_t length) {
        m_Text.append(text, length);
        return *this;
    }
    CStringVar& Append(const CStringRef& text) { return Append(text.Data(), text.Length()); }
    CStringVar& operator+=(const CStringRef& text) { return Append(text); }
    CStringVar& operator=(const char* text) { return AllocCopy(text ? text : ""); }
    CStringVar& operator=(const std::string& text) {
        m_Text = text;
        return *this;
    }

    const char* c_str() const noexcept { return m_Text.c_str(); }
    size_t Length() const noexcept { return m_Text.size(); }
    bool IsEmpty() const noexcept { return m_Text.empty(); }
    size_t Capacity() const noexcept { return m_Text.capacity(); }
    const std::string& Str() const noexcept { return m_Text; }
    std::string& Str() noexcept { return m_Text; }
    operator CStringRef() const noexcept { return CStringRef(m_Text); }

    friend bool operator==(const CStringVar& a, const CStringVar& b) noexcept {
        return a.m_Text == b.m_Text;
    }
    friend bool operator!=(const CStringVar& a, const CStringVar& b) noexcept { return !(a == b); }
    friend bool operator==(const CStringVar& a, const char* b) noexcept {
        return b && a.m_Text == b;
    }
    friend bool operator==(const CStringVar& a, const std::string& b) noexcept {
        return a.m_Text == b;
    }

private:
    std::string m_Text;
};

inline CStringRef::CStringRef(const CStringVar& text) noexcept
    : m_Data(text.c_str()), m_Length(text.Length()) {}

// A text with room for N characters before it needs the heap; used for
// temporaries and the short texts of records.
template <size_t N> class TString : public CStringVar {
public:
    TString() = default;
    TString(const char* text) : CStringVar(text) {}
    TString(const std::string& text) : CStringVar(text) {}
    TString(const CStringRef& text) : CStringVar(text) {}
    using CStringVar::operator=;
};

// The owning text of string lists.
class RVX_API CStringEx : public CStringVar {
public:
    CStringEx() = default;
    CStringEx(const char* text) : CStringVar(text) {}
    CStringEx(const char* text, size_t length) : CStringVar(text, length) {}
    CStringEx(const std::string& text) : CStringVar(text) {}
    CStringEx(const CStringRef& text) : CStringVar(text) {}
    using CStringVar::operator=;
};

} // namespace Strings
} // namespace RVX
