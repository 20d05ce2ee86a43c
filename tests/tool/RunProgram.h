#pragma once

#include <string>
#include <utility>
#include <vector>

// What a finished program left behind.
struct ProgramResult {
    int status = -1; // exit status; 128 + signal number when killed by a signal
    std::string out;
    std::string err;
};

// Runs `program` with `args`, feeding `input` to its standard input, with the
// extra environment `env` (name, value; an empty value unsets the name).
ProgramResult RunProgram(const std::string& program, const std::vector<std::string>& args,
                         const std::string& input = "",
                         const std::vector<std::pair<std::string, std::string>>& env = {});
