#pragma once

// The tool under test and the sample files it ships with, for the suites
// that run pitool as a user would (PITOOL_PATH and PI_EXAMPLES_DIR come
// from the build).

#include "RunProgram.h"

#include <string>
#include <vector>

inline ProgramResult Pitool(const std::vector<std::string>& args, const std::string& input = "") {
    return RunProgram(PITOOL_PATH, args, input, {{"PI_EXAMPLES_DIR", PI_EXAMPLES_DIR}});
}

inline std::string Example(const std::string& name) {
    return std::string(PI_EXAMPLES_DIR) + "/" + name;
}
