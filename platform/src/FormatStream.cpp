#include "RVX/FormatStream.h"

#include <cctype>
#include <string>

namespace RVX {
namespace Output_Streams {

CFormatStream::CFormatStream(std::string& target, const char* format)
    : m_Target(&target), m_Format(format ? format : "") {
    m_Target->clear();
}

CFormatStream::CFormatStream(Strings::CStringVar& target, const char* format)
    : CFormatStream(target.Str(), format) {}

CFormatStream::CFormatStream(CFormatStream&& other) noexcept
    : m_Target(other.m_Target), m_Format(other.m_Format), m_Finished(other.m_Finished) {
    other.m_Finished = true;
}

CFormatStream::~CFormatStream() {
    try {
        Finish();
    } catch (...) {
        // Out of memory while writing the tail: the text stays as far as it got.
    }
}

CFormatStream::Conversion CFormatStream::NextConversion() {
    Conversion conv;
    if (m_Finished)
        return conv;
    while (*m_Format) {
        if (m_Format[0] != '%') {
            const char* end = m_Format;
            while (*end && *end != '%')
                ++end;
            m_Target->append(m_Format, end);
            m_Format = end;
            continue;
        }
        if (m_Format[1] == '%') {
            m_Target->push_back('%');
            m_Format += 2;
            continue;
        }
        const char* p = m_Format + 1;
        for (;; ++p) {
            if (*p == '-')
                conv.leftAlign = true;
            else if (*p == '0')
                conv.zeroPad = true;
            else
                break;
        }
        while (std::isdigit(static_cast<unsigned char>(*p)) && conv.width < 1000)
            conv.width = conv.width * 10 + static_cast<unsigned>(*p++ - '0');
        while (*p == 'l' || *p == 'h' || *p == 'z' || *p == 'j')
            ++p;
        if (*p == '\0') {
            // A lone '%' at the end is literal text.
            m_Target->append(m_Format, p);
            m_Format = p;
            return Conversion{};
        }
        conv.conversion = *p;
        m_Format = p + 1;
        return conv;
    }
    return conv;
}

void CFormatStream::Pad(const std::string& digits, const Conversion& conv) {
    size_t fill = conv.width > digits.size() ? conv.width - digits.size() : 0;
    if (conv.leftAlign) {
        m_Target->append(digits);
        m_Target->append(fill, ' ');
        return;
    }
    if (conv.zeroPad && fill > 0 && !digits.empty() && digits[0] == '-') {
        m_Target->push_back('-');
        m_Target->append(fill, '0');
        m_Target->append(digits, 1, std::string::npos);
        return;
    }
    m_Target->append(fill, conv.zeroPad ? '0' : ' ');
    m_Target->append(digits);
}

namespace {

std::string Digits(unsigned long long value, char conversion) {
    char buf[32];
    char* end = buf + sizeof buf;
    char* p = end;
    const bool hex = conversion == 'x' || conversion == 'X';
    const char* digits = conversion == 'x' ? "0123456789abcdef" : "0123456789ABCDEF";
    const unsigned base = hex ? 16 : (conversion == 'o' ? 8 : 10);
    do {
        *--p = digits[value % base];
        value /= base;
    } while (value != 0);
    return std::string(p, end);
}

} // namespace

void CFormatStream::PutUnsigned(unsigned long long value, const Conversion& conv) {
    Pad(Digits(value, conv.conversion), conv);
}

void CFormatStream::PutSigned(long long value, const Conversion& conv) {
    if (conv.conversion != 'd' && conv.conversion != 'i') {
        PutUnsigned(static_cast<unsigned long long>(value), conv);
        return;
    }
    const unsigned long long magnitude = value < 0 ? 0ULL - static_cast<unsigned long long>(value)
                                                   : static_cast<unsigned long long>(value);
    Pad(value < 0 ? "-" + Digits(magnitude, 'u') : Digits(magnitude, 'u'), conv);
}

CFormatStream& CFormatStream::FormatInt(unsigned int value) {
    Conversion conv = NextConversion();
    if (conv.conversion == 'd' || conv.conversion == 'i')
        PutSigned(static_cast<int>(value), conv); // a %d shows the bits as a signed int
    else if (conv.conversion != 0)
        PutUnsigned(value, conv);
    return *this;
}

CFormatStream& CFormatStream::FormatInt(int value) {
    Conversion conv = NextConversion();
    if (conv.conversion == 'd' || conv.conversion == 'i')
        PutSigned(value, conv);
    else if (conv.conversion != 0)
        PutUnsigned(static_cast<unsigned int>(value), conv);
    return *this;
}

CFormatStream& CFormatStream::FormatInt64(unsigned long long value) {
    Conversion conv = NextConversion();
    if (conv.conversion == 'd' || conv.conversion == 'i')
        PutSigned(static_cast<long long>(value), conv);
    else if (conv.conversion != 0)
        PutUnsigned(value, conv);
    return *this;
}

CFormatStream& CFormatStream::FormatInt64(long long value) {
    Conversion conv = NextConversion();
    if (conv.conversion != 0)
        PutSigned(value, conv);
    return *this;
}

CFormatStream& CFormatStream::FormatStr(const Strings::CStringRef& value) {
    Conversion conv = NextConversion();
    if (conv.conversion != 0)
        Pad(value.ToString(), Conversion{conv.leftAlign, false, conv.width, 's'});
    return *this;
}

void CFormatStream::Finish() {
    if (m_Finished)
        return;
    NextConversion(); // writes the literal tail; a conversion without argument is dropped
    while (*m_Format)
        NextConversion();
    m_Finished = true;
}

} // namespace Output_Streams
} // namespace RVX
