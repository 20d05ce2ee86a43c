#include "Raise.h"

#include "PI/Identifiers.h"

#include <RVX/Exceptions.h>

namespace PI {
namespace Internal {

void Raise(const char* source, unsigned int line, unsigned int code) {
    const RVX::Exceptions::SOURCE_INFO where{source, line, MODULE_NUMBER};
    try {
        RVX::Threading::CThrowState::StartException(where);
        RVX::Exceptions::CException::Throw(code);
    } catch (...) {
        RVX::Threading::CThrowState::ThrowNext(where);
        throw;
    }
}

} // namespace Internal
} // namespace PI
