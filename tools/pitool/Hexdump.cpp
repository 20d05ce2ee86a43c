// pitool hexdump: bytes of a file or of standard input as hexadecimal.
#include "Commands.h"

#include <PI/Helpers.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace pitool {

namespace {

struct HexdumpArgs {
    std::string path = "-";
    std::string first;
    std::string end;
};

constexpr unsigned int kBytesPerLine = 16;

Result RunHexdump(const HexdumpArgs& args) {
    std::string data = ReadFileOrStdin(args.path);
    if (data.size() > UINT32_MAX) {
        Fail("'" + args.path + "' is too large to dump (more than 4 GiB)");
    }
    const auto size = static_cast<unsigned int>(data.size());
    const auto offset = [&](const std::string& text, const char* what, unsigned int fallback) {
        if (text.empty()) {
            return fallback;
        }
        const auto value = ParseUnsigned(text, what);
        if (value > size) {
            Fail(std::string(what) + " " + text + " is past the end of the data (" +
                 std::to_string(size) + " bytes)");
        }
        return static_cast<unsigned int>(value);
    };
    const unsigned int first = offset(args.first, "--first", 0);
    const unsigned int end = offset(args.end, "--end", size);
    if (first > end) {
        Fail("--first " + std::to_string(first) + " is past --end " + std::to_string(end));
    }

    auto* bytes = reinterpret_cast<unsigned char*>(data.data());
    Result result;
    // One line of 16 bytes each, with the offset in front: easier to read
    // than the library's single line, and each line is still its dump.
    for (unsigned long long start = first; start < end; start += kBytesPerLine) {
        const auto line = static_cast<unsigned int>(start);
        const unsigned int lineEnd = line + std::min(kBytesPerLine, end - line);
        std::string hex;
        PI::HexDump(hex, bytes, line, lineEnd);
        char offset[16];
        std::snprintf(offset, sizeof offset, "%08X  ", line);
        result.text += offset + hex + "\n";
    }
    std::string all;
    PI::HexDump(all, bytes, first, end);
    result.json = Json::Object()
                      .Set("file", args.path)
                      .Set("size", size)
                      .Set("first", first)
                      .Set("end", end)
                      .Set("hex", all);
    return result;
}

} // namespace

void AddHexdumpCommand(CLI::App& app, Invocation& call) {
    auto args = std::make_shared<HexdumpArgs>();
    CLI::App* sub =
        AddSubcommand(app, call, "hexdump", "Bytes of a file or of standard input in hexadecimal",
                      "Prints 16 bytes a line, each line led by its offset. --first "
                      "and --end choose the range [first, end).");
    sub->add_option("file", args->path, "File to dump; - or nothing reads standard input");
    sub->add_option("--first", args->first, "Offset of the first byte to dump (default 0)");
    sub->add_option("--end", args->end,
                    "Offset just past the last byte to dump (default: the end of the data)");
    sub->callback([&call, args] { call.run = [args] { return RunHexdump(*args); }; });
}

} // namespace pitool
