#pragma once

// The interchange decoders read a flat list of tokens that the JSON and the
// MessagePack library produce while parsing, so that one decoder serves both
// formats and may look at an object's members in any order.

#include "PI/InterchangeError.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace PI {
namespace Interchange {

enum class TokenKind : std::uint8_t {
    Null,
    Bool,
    Unsigned, // a non-negative integer
    Negative, // a negative integer
    Double,   // a JSON number with fraction or exponent, a MessagePack float 64
    Float,    // a MessagePack float 32
    Text,     // a JSON string, a MessagePack str
    Bytes,    // a MessagePack bin
    Key,
    BeginObject,
    EndObject,
    BeginArray,
    EndArray,
};

struct Token {
    TokenKind Kind;
    bool Flag;            // Bool
    std::uint32_t Count;  // text and bytes: length; Begin*: elements; End*: -
    std::uint32_t Offset; // JSON: where the token begins; MessagePack: about where it ends
    std::uint32_t Match;  // Begin*: index of the matching End*
    union {
        std::uint64_t Unsigned;
        std::int64_t Negative;
        double Double;
        float Float;
        const char* Text; // into the input (or its in-place parsed copy)
    };
};

// Appends a token of `kind` that ends about at `offset`; every other field
// is zero (the token is value-initialised).
inline Token& AppendToken(std::vector<Token>& tokens, TokenKind kind, std::uint32_t offset) {
    Token& token = tokens.emplace_back();
    token.Kind = kind;
    token.Offset = offset;
    return token;
}

// The parsed input: the tokens and, for JSON, the copy of the text that
// strings point into.
struct TokenList {
    std::vector<Token> Tokens;
    std::vector<char> Text;
};

// Parse `length` bytes into `out`; 0 or a failure code with `error` filled
// (syntax, invalid UTF-8, nesting or size limits).
unsigned int TokenizeJson(const char* text, size_t length, TokenList& out,
                          CInterchangeError& error);
unsigned int TokenizeMsgPack(const std::uint8_t* bytes, size_t length, TokenList& out,
                             CInterchangeError& error);

} // namespace Interchange
} // namespace PI
