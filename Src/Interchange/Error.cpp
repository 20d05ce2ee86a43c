// The text of an interchange fault.
#include "PI/InterchangeError.h"

namespace PI {

std::string CInterchangeError::Text() const {
    return (Pointer.empty() ? std::string("(document)") : Pointer) + ": expected " + Expected +
           " (code " + std::to_string(Code) + ", at byte " + std::to_string(Offset) + ")";
}

} // namespace PI
