#pragma once

// Programs run as a user would, and pitool with the sample files it ships
// with (PITOOL_PATH and PI_EXAMPLES_DIR come from the build).

#include <string>
#include <vector>

// What a finished program left behind.
struct ProgramResult {
    int status = -1; // exit status; 128 + signal number when killed by a signal
    std::string out;
    std::string err;
};

// Runs `program` with `args`, feeding `input` to its standard input.
ProgramResult RunProgram(const std::string& program, const std::vector<std::string>& args,
                         const std::string& input = "");

inline ProgramResult Pitool(const std::vector<std::string>& args, const std::string& input = "") {
    return RunProgram(PITOOL_PATH, args, input);
}

inline std::string Example(const std::string& name) {
    return std::string(PI_EXAMPLES_DIR) + "/" + name;
}
