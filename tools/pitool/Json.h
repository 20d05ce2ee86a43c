#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace pitool {

// A JSON value built up by the subcommands for --json output. Objects keep
// their members in insertion order so that the output reads like the text
// form. Only writing is needed; nothing here parses JSON.
class Json {
public:
    Json() = default; // null
    Json(std::nullptr_t) {}
    Json(bool value);
    Json(int value);
    Json(unsigned int value);
    Json(long long value);
    Json(unsigned long long value);
    Json(float value);
    Json(double value);
    Json(const char* value);
    Json(std::string value);

    static Json Object();
    static Json Array();

    // Appends a member to an object (a null value becomes an object first).
    Json& Set(const std::string& key, Json value);
    // Appends an element to an array (a null value becomes an array first).
    Json& Push(Json value);

    bool IsNull() const { return m_Kind == Kind::Null; }

    // The value as JSON text, indented by two blanks per level.
    std::string Dump() const;

private:
    enum class Kind { Null, Bool, Signed, Unsigned, Float, Double, String, Array, Object };

    void Write(std::string& out, int depth) const;

    Kind m_Kind = Kind::Null;
    bool m_Bool = false;
    long long m_Signed = 0;
    unsigned long long m_Unsigned = 0;
    double m_Double = 0;
    float m_Float = 0;
    std::string m_String;
    std::vector<std::string> m_Keys; // object member names, parallel to m_Items
    std::vector<Json> m_Items;
};

} // namespace pitool
