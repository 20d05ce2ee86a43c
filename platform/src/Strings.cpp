#include "RVX/Strings.h"

#include "RVX/FormatStream.h"

#include <cstring>

namespace RVX {
namespace Strings {

CStringVar& CStringVar::AllocCopy(const char* text, size_t length) {
    if (text == nullptr) {
        m_Text.clear();
        return *this;
    }
    if (length == 0)
        length = std::strlen(text);
    m_Text.assign(text, length);
    return *this;
}

CStringVar& CStringVar::Alloc(size_t capacity) {
    m_Text.reserve(capacity);
    return *this;
}

Output_Streams::CFormatStream CStringVar::Format(const char* format) {
    return Output_Streams::CFormatStream(*this, format);
}

} // namespace Strings
} // namespace RVX
