#pragma once

// The JSON values of many records written one after another through one
// buffer and writer. WriteJsonValue sets up a fresh writer, buffer and error
// record for every call, which costs more than the value itself when the
// value is one property; a caller that writes many small values (a diff's
// changes) keeps one of these instead. The text is byte for byte what
// WriteJsonValue writes. One object per thread: it holds the writer's state.

#include "PI/InterchangeError.h"

#include <cstddef>
#include <memory>
#include <string>

namespace PI {
namespace Interchange {

class JsonValueWriter {
public:
    JsonValueWriter() noexcept;
    ~JsonValueWriter();
    JsonValueWriter(const JsonValueWriter&) = delete;
    JsonValueWriter& operator=(const JsonValueWriter&) = delete;

    // As WriteJsonValue: appends the value to `out` and returns 0, or returns
    // the code (INTERCHANGE_BAD_BLOCK, RESULT_OUT_OF_MEMORY), fills `error`
    // when given and leaves `out` as it was. `error` is untouched on success.
    template <class Record>
    unsigned int Write(const Record& record, std::string& out, CInterchangeError* error) noexcept;

    // A text as the interchange form writes a text field: a JSON string when
    // the bytes are UTF-8, else {"Base64":"..."}. Throws std::bad_alloc.
    void WriteText(const char* text, size_t length, std::string& out);

private:
    struct State;
    State& Ready();

    std::unique_ptr<State> m_State; // made on first use: a diff of equal records needs none
};

} // namespace Interchange
} // namespace PI
