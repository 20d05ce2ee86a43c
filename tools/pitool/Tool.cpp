#include "Tool.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <sys/stat.h>

namespace pitool {

void Fail(const std::string& message) {
    throw ToolError(EXIT_USAGE, message);
}

void NotFound(const std::string& message) {
    throw ToolError(EXIT_NOT_FOUND, message);
}

namespace {

bool IsHexDigit(char c) {
    return std::isxdigit(static_cast<unsigned char>(c)) != 0;
}

std::string Quoted(const std::string& text) {
    return "'" + text + "'";
}

} // namespace

std::uint64_t ParseUnsigned(const std::string& text, const std::string& what, std::uint64_t max) {
    int base = 10;
    size_t start = 0;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        start = 2;
    }
    std::uint64_t value = 0;
    const char* first = text.data() + start;
    const char* last = text.data() + text.size();
    // from_chars alone would accept a leading "-" for nothing and stop at junk;
    // insist on digits only.
    const bool digits =
        first != last && std::all_of(first, last, [base](char c) {
            return base == 16 ? IsHexDigit(c) : std::isdigit(static_cast<unsigned char>(c)) != 0;
        });
    if (!digits) {
        // A negative number is a number, only not one that fits here.
        const bool negative = text.size() > 1 && text[0] == '-' &&
                              std::all_of(text.begin() + 1, text.end(), [](char c) {
                                  return std::isdigit(static_cast<unsigned char>(c)) != 0;
                              });
        if (negative) {
            Fail(what + " " + Quoted(text) + " is out of range (0 to " + std::to_string(max) + ")");
        }
        Fail(what + " " + Quoted(text) + " is not a number");
    }
    const auto [end, error] = std::from_chars(first, last, value, base);
    if (error == std::errc::result_out_of_range || value > max) {
        Fail(what + " " + Quoted(text) + " is out of range (0 to " + std::to_string(max) + ")");
    }
    if (error != std::errc() || end != last) {
        Fail(what + " " + Quoted(text) + " is not a number");
    }
    return value;
}

long long ParseSigned(const std::string& text, const std::string& what, long long min,
                      long long max) {
    long long value = 0;
    const char* first = text.data();
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(first, last, value, 10);
    if (error == std::errc::result_out_of_range ||
        (error == std::errc() && end == last && (value < min || value > max))) {
        Fail(what + " " + Quoted(text) + " is out of range (" + std::to_string(min) + " to " +
             std::to_string(max) + ")");
    }
    if (text.empty() || error != std::errc() || end != last) {
        Fail(what + " " + Quoted(text) + " is not a number");
    }
    return value;
}

unsigned char ParseHexByte(const std::string& text, const std::string& what) {
    std::string digits = text;
    if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) {
        digits.erase(0, 2);
    } else if (digits.size() > 1 && (digits.back() == 'h' || digits.back() == 'H')) {
        digits.pop_back();
    }
    if (digits.empty() || !std::all_of(digits.begin(), digits.end(), IsHexDigit)) {
        Fail(what + " " + Quoted(text) + " is not a hexadecimal byte");
    }
    const size_t significant = digits.find_first_not_of('0');
    if (significant != std::string::npos && digits.size() - significant > 2) {
        Fail(what + " " + Quoted(text) + " is out of range (00h to FFh)");
    }
    const auto value = std::stoul(
        significant == std::string::npos ? "0" : digits.substr(significant), nullptr, 16);
    return static_cast<unsigned char>(value);
}

std::vector<unsigned char> ParseHexBytes(const std::string& text, const std::string& what) {
    std::vector<unsigned char> bytes;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        line = line.substr(0, line.find('#'));
        std::replace_if(
            line.begin(), line.end(), [](char c) { return c == ',' || c == ':'; }, ' ');
        std::istringstream tokens(line);
        std::string token;
        while (tokens >> token) {
            if (token.size() > 2 && token[0] == '0' && (token[1] == 'x' || token[1] == 'X')) {
                bytes.push_back(ParseHexByte(token, what));
                continue;
            }
            if (token.size() > 2 && token.size() % 2 == 1) {
                Fail("malformed hex byte " + Quoted(token) + " in " + what +
                     " (an odd number of digits)");
            }
            for (size_t i = 0; i < token.size(); i += 2) {
                const std::string pair = token.substr(i, 2);
                if (!std::all_of(pair.begin(), pair.end(), IsHexDigit)) {
                    Fail("malformed hex byte " + Quoted(token) + " in " + what);
                }
                bytes.push_back(static_cast<unsigned char>(std::stoul(pair, nullptr, 16)));
            }
        }
    }
    return bytes;
}

std::string ReadFileOrStdin(const std::string& path) {
    if (path == "-") {
        return std::string(std::istreambuf_iterator<char>(std::cin),
                           std::istreambuf_iterator<char>());
    }
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) {
        Fail("cannot open " + Quoted(path) + ": " + std::strerror(errno));
    }
    if (S_ISDIR(info.st_mode)) {
        Fail("cannot read " + Quoted(path) + ": it is a directory");
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        Fail("cannot open " + Quoted(path) + ": " + std::strerror(errno));
    }
    std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) {
        Fail("cannot read " + Quoted(path));
    }
    return content;
}

std::string FormatRows(const Rows& rows, size_t indent, size_t width) {
    for (const auto& row : rows) {
        width = std::max(width, row.first.size());
    }
    std::string out;
    for (const auto& [label, value] : rows) {
        out.append(indent, ' ');
        out += label;
        if (!value.empty()) {
            out.append(width - label.size() + 2, ' ');
            out += value;
        }
        out += '\n';
    }
    return out;
}

std::string HexByte(unsigned int value) {
    static const char digits[] = "0123456789ABCDEF";
    std::string out;
    out += digits[(value >> 4) & 0x0F];
    out += digits[value & 0x0F];
    return out;
}

} // namespace pitool
