#pragma once

// What went wrong while reading or writing the interchange form.

#include "PI/Export.h"

#include <cstddef>
#include <string>

namespace PI {

// Result codes of the interchange functions (besides 0 and
// RESULT_OUT_OF_MEMORY, 20007).
constexpr unsigned int INTERCHANGE_SYNTAX = 20100; // not well-formed JSON or MessagePack
constexpr unsigned int INTERCHANGE_SCHEMA = 20101; // wrong type, unknown, missing or repeated field
constexpr unsigned int INTERCHANGE_RANGE = 20102;  // a number out of range for its field
constexpr unsigned int INTERCHANGE_VERSION_UNKNOWN =
    20103; // a format version this library does not read
constexpr unsigned int INTERCHANGE_WRONG_CLASS = 20104; // a document of another record class
constexpr unsigned int INTERCHANGE_BAD_BLOCK = 20105;   // a property block malformed for its kind
constexpr unsigned int INTERCHANGE_LIMIT = 20106;       // input size, nesting depth or memory limit
constexpr unsigned int INTERCHANGE_BAD_TEXT = 20107;    // invalid UTF-8 or invalid Base64

struct PI_API CInterchangeError {
    unsigned int Code = 0;
    // The JSON Pointer of the first offending element ("" for the whole
    // input), relative to what was read: a document or a value.
    std::string Pointer;
    // What was expected there, e.g. "an integer from 0 to 4294967295".
    std::string Expected;
    // Where in the input the fault was found, in bytes from its start.
    size_t Offset = 0;

    // "<Pointer>: expected <Expected> (code <Code>, at byte <Offset>)"; a
    // whole-input fault names the pointer as "(document)".
    std::string Text() const;
};

} // namespace PI
