// MessagePack bytes to tokens through msgpack-cxx's parser and a visitor of
// our own: nothing is built from the declared sizes, so a map or array that
// claims more elements than the input holds costs nothing before the parser
// finds the input too short.
#include "Text.h"
#include "Tokens.h"

#include "PI/Interchange.h"

#include <msgpack.hpp>

#include <algorithm>
#include <string>

namespace PI {
namespace Interchange {
namespace {

class MsgPackTokenVisitor {
public:
    MsgPackTokenVisitor(const char* input, std::vector<Token>& tokens, CInterchangeError& error)
        : m_Input(input), m_Tokens(tokens), m_Error(error) {}

    bool visit_nil() { return Scalar(TokenKind::Null); }
    bool visit_boolean(bool value) {
        if (!Scalar(TokenKind::Bool))
            return false;
        m_Tokens.back().Flag = value;
        return true;
    }
    bool visit_positive_integer(uint64_t value) {
        if (!Scalar(TokenKind::Unsigned))
            return false;
        m_Tokens.back().Unsigned = value;
        return true;
    }
    bool visit_negative_integer(int64_t value) {
        if (value >= 0)
            return visit_positive_integer(static_cast<uint64_t>(value));
        if (!Scalar(TokenKind::Negative))
            return false;
        m_Tokens.back().Negative = value;
        return true;
    }
    bool visit_float32(float value) {
        if (!Scalar(TokenKind::Float))
            return false;
        m_Tokens.back().Float = value;
        return true;
    }
    bool visit_float64(double value) {
        if (!Scalar(TokenKind::Double))
            return false;
        m_Tokens.back().Double = value;
        return true;
    }
    bool visit_str(const char* text, uint32_t size) {
        m_Offset = static_cast<std::uint32_t>(text - m_Input) + size;
        if (!IsValidUtf8(text, size))
            return Fail(INTERCHANGE_BAD_TEXT, "a str of valid UTF-8");
        Token& token = Add(m_InKey ? TokenKind::Key : TokenKind::Text);
        token.Text = text;
        token.Count = size;
        return true;
    }
    bool visit_bin(const char* bytes, uint32_t size) {
        m_Offset = static_cast<std::uint32_t>(bytes - m_Input) + size;
        if (!Scalar(TokenKind::Bytes))
            return false;
        m_Tokens.back().Text = bytes;
        m_Tokens.back().Count = size;
        return true;
    }
    bool visit_ext(const char* bytes, uint32_t size) {
        m_Offset = static_cast<std::uint32_t>(bytes - m_Input) + size;
        return Fail(INTERCHANGE_SCHEMA, "no extension types");
    }
    bool start_array(uint32_t count) { return Open(TokenKind::BeginArray, count); }
    bool start_array_item() { return true; }
    bool end_array_item() { return true; }
    bool end_array() { return Close(TokenKind::EndArray); }
    bool start_map(uint32_t count) { return Open(TokenKind::BeginObject, count); }
    bool start_map_key() {
        m_InKey = true;
        return true;
    }
    bool end_map_key() {
        m_InKey = false;
        return true;
    }
    bool start_map_value() { return true; }
    bool end_map_value() { return true; }
    bool end_map() { return Close(TokenKind::EndObject); }
    void parse_error(size_t, size_t offset) {
        if (m_Error.Code == 0) {
            m_Error.Code = INTERCHANGE_SYNTAX;
            m_Error.Expected = "well-formed MessagePack";
            m_Error.Offset = offset;
        }
    }
    void insufficient_bytes(size_t, size_t offset) {
        if (m_Error.Code == 0) {
            m_Error.Code = INTERCHANGE_SYNTAX;
            m_Error.Expected = "more bytes: the input ends inside a value";
            m_Error.Offset = offset;
        }
    }
    bool referenced() const { return false; }
    void set_referenced(bool) {}

private:
    Token& Add(TokenKind kind) { return AppendToken(m_Tokens, kind, m_Offset); }
    // Only texts name the members of a map.
    bool Scalar(TokenKind kind) {
        if (m_InKey)
            return Fail(INTERCHANGE_SCHEMA, "a str as the key of a map member");
        Add(kind);
        return true;
    }
    bool Open(TokenKind kind, uint32_t count) {
        if (m_InKey)
            return Fail(INTERCHANGE_SCHEMA, "a str as the key of a map member");
        if (m_Open.size() >= INTERCHANGE_MAX_DEPTH)
            return Fail(INTERCHANGE_LIMIT, "at most " + std::to_string(INTERCHANGE_MAX_DEPTH) +
                                               " nested maps and arrays");
        m_Open.push_back(static_cast<std::uint32_t>(m_Tokens.size()));
        Add(kind).Count = count;
        return true;
    }
    bool Close(TokenKind kind) {
        const std::uint32_t begin = m_Open.back();
        m_Open.pop_back();
        m_Tokens[begin].Match = static_cast<std::uint32_t>(m_Tokens.size());
        Add(kind).Count = m_Tokens[begin].Count;
        return true;
    }
    bool Fail(unsigned int code, const std::string& expected) {
        if (m_Error.Code == 0) {
            m_Error.Code = code;
            m_Error.Expected = expected;
            m_Error.Offset = m_Offset;
        }
        return false;
    }

    const char* m_Input;
    std::vector<Token>& m_Tokens;
    CInterchangeError& m_Error;
    std::vector<std::uint32_t> m_Open;
    std::uint32_t m_Offset = 0;
    bool m_InKey = false;
};

} // namespace

unsigned int TokenizeMsgPack(const std::uint8_t* bytes, size_t length, TokenList& out,
                             CInterchangeError& error) {
    if (length > INTERCHANGE_MAX_INPUT) {
        error.Code = INTERCHANGE_LIMIT;
        error.Expected = "an input of at most 1 GiB";
        return error.Code;
    }
    const char* input = reinterpret_cast<const char*>(bytes);
    // Room for the tokens of a typical document (one per 2 or 3 bytes);
    // longer inputs grow the list as they need.
    out.Tokens.reserve(std::min<size_t>(length / 3 + 4, size_t(1) << 20));
    MsgPackTokenVisitor visitor(input, out.Tokens, error);
    size_t offset = 0;
    bool parsed = false;
    try {
        parsed = msgpack::parse(input, length, offset, visitor);
    } catch (const std::bad_alloc&) {
        error.Code = RESULT_OUT_OF_MEMORY;
        error.Expected = "memory for the tokens";
        return error.Code;
    } catch (const std::exception&) {
        if (error.Code == 0) {
            error.Code = INTERCHANGE_SYNTAX;
            error.Expected = "well-formed MessagePack";
            error.Offset = offset;
        }
    }
    if (error.Code != 0)
        return error.Code;
    if (!parsed) {
        error.Code = INTERCHANGE_SYNTAX;
        error.Expected = "well-formed MessagePack";
        error.Offset = offset;
        return error.Code;
    }
    if (offset != length) {
        error.Code = INTERCHANGE_SYNTAX;
        error.Expected = "the end of the input after the value";
        error.Offset = offset;
        return error.Code;
    }
    return 0;
}

} // namespace Interchange
} // namespace PI
