#pragma once

#include "Json.h"

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace pitool {

// Exit statuses of every subcommand.
constexpr int EXIT_OK = 0;
constexpr int EXIT_NOT_FOUND = 1; // a lookup found nothing
constexpr int EXIT_USAGE = 2;     // bad usage or input

// Ends a subcommand with an exit status and one line for standard error.
class ToolError : public std::runtime_error {
public:
    ToolError(int status, const std::string& message)
        : std::runtime_error(message), m_Status(status) {}
    int Status() const noexcept { return m_Status; }

private:
    int m_Status;
};

// Bad usage or input: exit status 2.
[[noreturn]] void Fail(const std::string& message);
// A lookup that found nothing and has nothing else to show: exit status 1.
[[noreturn]] void NotFound(const std::string& message);

// What a subcommand produced: the same content as text and as JSON. A status
// of EXIT_NOT_FOUND with output means a partial answer (for example a sense
// key whose ASC/ASCQ pair is unknown); `note` then says what was missing.
struct Result {
    int status = EXIT_OK;
    std::string text;
    Json json;
    std::string note;
    // When set, written as it is instead of text and json: a document in a
    // format of its own (a change list, MessagePack bytes).
    std::string raw;
};

// ---- Reading numbers from the command line -------------------------------

// An unsigned decimal number, or hexadecimal with a 0x prefix. `what` names
// the argument in the error message.
std::uint64_t ParseUnsigned(const std::string& text, const std::string& what,
                            std::uint64_t max = UINT64_MAX);
// A signed decimal number in [min, max].
long long ParseSigned(const std::string& text, const std::string& what, long long min,
                      long long max);
// One byte written in hexadecimal: "5", "24", "0x24" or "24h".
unsigned char ParseHexByte(const std::string& text, const std::string& what);
// A run of hexadecimal bytes separated by blanks, commas or colons; a token
// of more than two digits is read as consecutive pairs ("700005" = 70 00 05).
// "#" starts a comment up to the end of the line.
std::vector<unsigned char> ParseHexBytes(const std::string& text, const std::string& what);

// ---- Files ------------------------------------------------------------------

// The whole content of a file, or of standard input for "-".
std::string ReadFileOrStdin(const std::string& path);

// ---- Text layout --------------------------------------------------------------

// "label   value" lines with the labels padded to one width.
using Rows = std::vector<std::pair<std::string, std::string>>;
// `width` is the least label width, to line up several blocks.
std::string FormatRows(const Rows& rows, size_t indent = 0, size_t width = 0);

// Two upper-case hex digits.
std::string HexByte(unsigned int value);

} // namespace pitool
