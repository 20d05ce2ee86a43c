// pitool: the command-line face of the PI library.
#include "Commands.h"

#include <exception>
#include <iostream>
#include <new>
#include <string>

namespace {

// Standard error gets one line per failure, whatever bytes a file name, key
// or library message carried.
std::string OneLine(const std::string& text) {
    std::string line;
    for (const char c : text) {
        if (c == '\n') {
            line += "\\n";
        } else if (c == '\r' || c == '\t') {
            line += ' ';
        } else {
            line += c;
        }
    }
    return line;
}

} // namespace

int main(int argc, char** argv) {
    using namespace pitool;
    Invocation call;
    const auto prefix = [&call] {
        return call.command.empty() ? std::string("pitool: ") : "pitool " + call.command + ": ";
    };
    try {
        std::string help;
        const Result result = Dispatch(std::vector<std::string>(argv + 1, argv + argc), call, help);
        if (!help.empty()) {
            std::cout << help;
            return EXIT_OK;
        }
        if (!result.raw.empty()) {
            std::cout << result.raw;
        } else if (call.json) {
            std::cout << result.json.Dump() << '\n';
        } else {
            std::cout << result.text;
        }
        if (!result.note.empty()) {
            std::cerr << prefix() << OneLine(result.note) << '\n';
        }
        std::cout.flush();
        if (!std::cout) {
            std::cerr << prefix() << "cannot write the output\n";
            return EXIT_USAGE;
        }
        return result.status;
    } catch (const ToolError& e) {
        // A check plugin answers bad usage as UNKNOWN, on its one line.
        if (call.command == "check") {
            std::cout << "PI UNKNOWN - " << OneLine(e.what()) << '\n';
            return 3;
        }
        std::cerr << prefix() << OneLine(e.what()) << '\n';
        return e.Status();
    } catch (const std::bad_alloc&) {
        std::cerr << prefix() << "out of memory\n";
        return EXIT_USAGE;
    } catch (const std::exception& e) {
        // Anything the library throws on input it cannot take.
        std::cerr << prefix() << OneLine(e.what()) << '\n';
        return EXIT_USAGE;
    }
}
