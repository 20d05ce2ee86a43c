// JSON text to tokens through RapidJSON's SAX reader, parsing a copy of the
// text in place so that strings need no copies of their own.
#include "Tokens.h"

#include "PI/Interchange.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

namespace PI {
namespace Interchange {
namespace {

class JsonTokenHandler {
public:
    JsonTokenHandler(std::vector<Token>& tokens, rapidjson::InsituStringStream& stream,
                     CInterchangeError& error)
        : m_Tokens(tokens), m_Stream(stream), m_Error(error) {}

    // The reader reports literals and closing brackets once it has taken
    // them, and everything else before: each token steps back to its own
    // first byte, where an error points.
    bool Null() {
        Add(TokenKind::Null, 4);
        return true;
    }
    bool Bool(bool value) {
        Add(TokenKind::Bool, value ? 4 : 5).Flag = value;
        return true;
    }
    bool Int(int value) { return Int64(value); }
    bool Uint(unsigned value) { return Uint64(value); }
    bool Int64(int64_t value) {
        if (value >= 0)
            return Uint64(static_cast<uint64_t>(value));
        Add(TokenKind::Negative).Negative = value;
        return true;
    }
    bool Uint64(uint64_t value) {
        Add(TokenKind::Unsigned).Unsigned = value;
        return true;
    }
    bool Double(double value) {
        Add(TokenKind::Double).Double = value;
        return true;
    }
    // Numbers arrive as their text (RapidJSON's own conversion of long
    // numbers is not safe in 1.1.0) and are converted here, exactly:
    // integers that fit 64 bits as integers, everything else as the nearest
    // double.
    bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
        const char* end = text + length;
        const bool integral =
            std::find_if(text, end, [](char c) { return c == '.' || c == 'e' || c == 'E'; }) == end;
        if (integral) {
            if (text[0] == '-') {
                std::int64_t value = 0;
                const std::from_chars_result r = std::from_chars(text, end, value);
                if (r.ec == std::errc() && r.ptr == end)
                    return Int64(value);
            } else {
                std::uint64_t value = 0;
                const std::from_chars_result r = std::from_chars(text, end, value);
                if (r.ec == std::errc() && r.ptr == end)
                    return Uint64(value);
            }
        }
        double value = 0;
        const std::from_chars_result r = std::from_chars(text, end, value);
        if (r.ec == std::errc::result_out_of_range)
            value = text[0] == '-' ? -HUGE_VAL : HUGE_VAL; // beyond every field's range
        else if (r.ec != std::errc() || r.ptr != end)
            return false;
        return Double(value);
    }
    bool String(const char* text, rapidjson::SizeType length, bool) {
        return AddText(TokenKind::Text, text, length);
    }
    bool Key(const char* text, rapidjson::SizeType length, bool) {
        return AddText(TokenKind::Key, text, length);
    }
    bool StartObject() { return Open(TokenKind::BeginObject); }
    bool EndObject(rapidjson::SizeType members) { return Close(TokenKind::EndObject, members); }
    bool StartArray() { return Open(TokenKind::BeginArray); }
    bool EndArray(rapidjson::SizeType elements) { return Close(TokenKind::EndArray, elements); }

private:
    Token& Add(TokenKind kind, size_t taken = 0) {
        return AppendToken(m_Tokens, kind, static_cast<std::uint32_t>(m_Stream.Tell() - taken));
    }
    bool AddText(TokenKind kind, const char* text, rapidjson::SizeType length) {
        Token& token = Add(kind);
        token.Text = text;
        token.Count = length;
        return true;
    }
    bool Open(TokenKind kind) {
        if (m_Open.size() >= INTERCHANGE_MAX_DEPTH) {
            m_Error.Code = INTERCHANGE_LIMIT;
            m_Error.Expected =
                "at most " + std::to_string(INTERCHANGE_MAX_DEPTH) + " nested objects and arrays";
            m_Error.Offset = m_Stream.Tell();
            return false;
        }
        m_Open.push_back(static_cast<std::uint32_t>(m_Tokens.size()));
        Add(kind);
        return true;
    }
    bool Close(TokenKind kind, rapidjson::SizeType count) {
        const std::uint32_t begin = m_Open.back();
        m_Open.pop_back();
        m_Tokens[begin].Count = count;
        m_Tokens[begin].Match = static_cast<std::uint32_t>(m_Tokens.size());
        Add(kind, 1).Count = count;
        return true;
    }

    std::vector<Token>& m_Tokens;
    rapidjson::InsituStringStream& m_Stream;
    CInterchangeError& m_Error;
    std::vector<std::uint32_t> m_Open;
};

} // namespace

unsigned int TokenizeJson(const char* text, size_t length, TokenList& out,
                          CInterchangeError& error) {
    if (length > INTERCHANGE_MAX_INPUT) {
        error.Code = INTERCHANGE_LIMIT;
        error.Expected = "an input of at most 1 GiB";
        return error.Code;
    }
    out.Text.assign(text, text + length);
    out.Text.push_back('\0');
    // A UTF-8 byte order mark, which some editors write first, reads as
    // blanks; offsets stay those of the input as given.
    if (length >= 3 && std::memcmp(text, "\xEF\xBB\xBF", 3) == 0)
        std::memset(out.Text.data(), ' ', 3);
    // Room for the tokens of a typical document (one per 6 characters or
    // so); longer inputs grow the list as they need.
    out.Tokens.reserve(std::min<size_t>(length / 6 + 4, size_t(1) << 20));
    rapidjson::InsituStringStream stream(out.Text.data());
    JsonTokenHandler handler(out.Tokens, stream, error);
    rapidjson::Reader reader;
    constexpr unsigned flags = rapidjson::kParseInsituFlag | rapidjson::kParseValidateEncodingFlag |
                               rapidjson::kParseIterativeFlag |
                               rapidjson::kParseNumbersAsStringsFlag;
    const rapidjson::ParseResult result = reader.Parse<flags>(stream, handler);
    if (result.IsError() || stream.Tell() != length) {
        if (error.Code != 0)
            return error.Code;
        const rapidjson::ParseErrorCode code =
            result.IsError() ? result.Code() : rapidjson::kParseErrorDocumentRootNotSingular;
        error.Code = code == rapidjson::kParseErrorStringInvalidEncoding ? INTERCHANGE_BAD_TEXT
                                                                         : INTERCHANGE_SYNTAX;
        error.Expected = std::string("well-formed JSON: ") + rapidjson::GetParseError_En(code);
        error.Offset = result.IsError() ? result.Offset() : stream.Tell();
        return error.Code;
    }
    return 0;
}

} // namespace Interchange
} // namespace PI
