#include "Json.h"

#include <PI/Internal/Utf8.h>

#include <charconv>
#include <cmath>
#include <system_error>
#include <type_traits>
#include <utility>

namespace pitool {

namespace {

void WriteString(std::string& out, const std::string& text) {
    static const char hex[] = "0123456789abcdef";
    out += '"';
    for (size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\r') {
            out += "\\r";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c < 0x20) {
            out += "\\u00";
            out += hex[c >> 4];
            out += hex[c & 0x0F];
        } else {
            // Configuration values and file names are arbitrary bytes, so
            // invalid sequences must not leak into the JSON text.
            const size_t length = PI::Internal::Utf8SequenceLength(
                reinterpret_cast<const unsigned char*>(text.data()) + i, text.size() - i);
            if (length == 0) {
                out += "\\ufffd";
                ++i;
                continue;
            }
            out.append(text, i, length);
            i += length;
            continue;
        }
        ++i;
    }
    out += '"';
}

template <typename T> void WriteNumber(std::string& out, T value) {
    if constexpr (std::is_floating_point_v<T>) {
        if (!std::isfinite(value)) {
            out += "null";
            return;
        }
    }
    char buffer[64];
    const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
    if (error == std::errc()) {
        out.append(buffer, end);
    } else {
        out += "null";
    }
}

void Indent(std::string& out, int depth) {
    out += '\n';
    out.append(static_cast<size_t>(depth) * 2, ' ');
}

} // namespace

Json::Json(bool value) : m_Kind(Kind::Bool), m_Bool(value) {}
Json::Json(int value) : m_Kind(Kind::Signed), m_Signed(value) {}
Json::Json(unsigned int value) : m_Kind(Kind::Unsigned), m_Unsigned(value) {}
Json::Json(long long value) : m_Kind(Kind::Signed), m_Signed(value) {}
Json::Json(unsigned long long value) : m_Kind(Kind::Unsigned), m_Unsigned(value) {}
Json::Json(float value) : m_Kind(Kind::Float), m_Float(value) {}
Json::Json(double value) : m_Kind(Kind::Double), m_Double(value) {}
Json::Json(const char* value) : m_Kind(Kind::String), m_String(value ? value : "") {}
Json::Json(std::string value) : m_Kind(Kind::String), m_String(std::move(value)) {}

Json Json::Object() {
    Json json;
    json.m_Kind = Kind::Object;
    return json;
}

Json Json::Array() {
    Json json;
    json.m_Kind = Kind::Array;
    return json;
}

Json& Json::Set(const std::string& key, Json value) {
    if (m_Kind == Kind::Null) {
        m_Kind = Kind::Object;
    }
    m_Keys.push_back(key);
    m_Items.push_back(std::move(value));
    return *this;
}

Json& Json::Push(Json value) {
    if (m_Kind == Kind::Null) {
        m_Kind = Kind::Array;
    }
    m_Items.push_back(std::move(value));
    return *this;
}

std::string Json::Dump() const {
    std::string out;
    Write(out, 0);
    return out;
}

void Json::Write(std::string& out, int depth) const {
    switch (m_Kind) {
    case Kind::Null:
        out += "null";
        break;
    case Kind::Bool:
        out += m_Bool ? "true" : "false";
        break;
    case Kind::Signed:
        WriteNumber(out, m_Signed);
        break;
    case Kind::Unsigned:
        WriteNumber(out, m_Unsigned);
        break;
    case Kind::Float:
        WriteNumber(out, m_Float);
        break;
    case Kind::Double:
        WriteNumber(out, m_Double);
        break;
    case Kind::String:
        WriteString(out, m_String);
        break;
    case Kind::Array:
    case Kind::Object: {
        const bool object = m_Kind == Kind::Object;
        out += object ? '{' : '[';
        for (size_t i = 0; i < m_Items.size(); ++i) {
            out += i == 0 ? "" : ",";
            Indent(out, depth + 1);
            if (object) {
                WriteString(out, m_Keys[i]);
                out += ": ";
            }
            m_Items[i].Write(out, depth + 1);
        }
        if (!m_Items.empty()) {
            Indent(out, depth);
        }
        out += object ? '}' : ']';
        break;
    }
    }
}

} // namespace pitool
