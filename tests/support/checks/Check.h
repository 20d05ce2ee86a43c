#pragma once

// What the fuzz targets and the regression test share: a failed check throws
// CheckFailure, which a fuzz target turns into a crash (so that libFuzzer
// keeps the input) and the regression test into a test failure.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace pi_fuzz {

struct CheckFailure : std::logic_error {
    using std::logic_error::logic_error;
};

[[noreturn]] inline void Fail(const char* file, int line, const std::string& what) {
    throw CheckFailure(std::string(file) + ":" + std::to_string(line) + ": " + what);
}

#define PI_FUZZ_CHECK(condition, detail)                                                           \
    do {                                                                                           \
        if (!(condition))                                                                          \
            ::pi_fuzz::Fail(__FILE__, __LINE__,                                                    \
                            std::string("check failed: " #condition "; ") + (detail));             \
    } while (0)

// A printable form of arbitrary bytes for failure messages.
inline std::string Printable(const std::string& bytes) {
    static const char hex[] = "0123456789abcdef";
    std::string out = "\"";
    for (const unsigned char c : bytes) {
        if (c >= 0x20 && c < 0x7f && c != '"' && c != '\\') {
            out += static_cast<char>(c);
        } else {
            out += "\\x";
            out += hex[c >> 4];
            out += hex[c & 15];
        }
    }
    return out + "\"";
}

// A small generator seeded from the input, for choices that need not be
// spelled out in the input itself.
struct Random {
    std::uint64_t state;

    explicit Random(const std::uint8_t* data, size_t size) : state(0x9E3779B97F4A7C15ull) {
        for (size_t i = 0; i < size; ++i)
            state = (state ^ data[i]) * 0x100000001B3ull;
    }
    std::uint32_t Next() {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<std::uint32_t>(state >> 33);
    }
    std::uint32_t Below(std::uint32_t bound) { return bound == 0 ? 0 : Next() % bound; }
};

// The input cut at every `separator`: n separators give n + 1 fields.
inline std::vector<std::string> Fields(const std::uint8_t* data, size_t size, char separator) {
    std::vector<std::string> fields(1);
    for (size_t i = 0; i < size; ++i) {
        if (static_cast<char>(data[i]) == separator)
            fields.emplace_back();
        else
            fields.back() += static_cast<char>(data[i]);
    }
    return fields;
}

using CheckFunction = void (*)(const std::uint8_t* data, size_t size);

// A fuzz target as the regression test replays it: its name (fuzz_<name>.cpp)
// and its check.
struct Target {
    const char* name;
    CheckFunction check;
};
// How a test case that replays a target shows it: by name, not as raw bytes.
inline void PrintTo(const Target& target, std::ostream* out) {
    *out << target.name;
}

// Every target linked into the regression test, in the order they were linked.
inline std::vector<Target>& ReplayedTargets() {
    static std::vector<Target> targets;
    return targets;
}

struct TargetRegistration {
    TargetRegistration(const char* name, CheckFunction check) {
        ReplayedTargets().push_back({name, check});
    }
};

} // namespace pi_fuzz

#if defined(PI_FUZZ_REPLAY_NAME)
// Built into the regression test (which names the target): the file registers
// its check instead of being a fuzz target.
#define PI_FUZZ_TARGET(check)                                                                      \
    static const ::pi_fuzz::TargetRegistration pi_fuzz_registration(PI_FUZZ_REPLAY_NAME, &check);
#else
// The entry point of a fuzz target that runs `check` on every input.
#define PI_FUZZ_TARGET(check)                                                                      \
    extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {                 \
        try {                                                                                      \
            check(data, size);                                                                     \
        } catch (const ::pi_fuzz::CheckFailure& failure) {                                         \
            std::fprintf(stderr, "%s\n", failure.what());                                          \
            std::abort();                                                                          \
        }                                                                                          \
        return 0;                                                                                  \
    }
#endif
