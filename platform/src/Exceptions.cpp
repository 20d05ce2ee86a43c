#include "RVX/Exceptions.h"

#include "RVX/FormatStream.h"
#include "RVX/Trace.h"

#include <cstdio>
#include <utility>

namespace RVX {
namespace Internals {

thread_local unsigned int CThrowStateData::m_DisableCnt = 0;

CThrowStateData& CThrowStateData::Current() noexcept {
    static thread_local CThrowStateData state;
    return state;
}

} // namespace Internals

namespace Exceptions {

CException::CException(unsigned int code) : m_Code(code) {
    Describe();
}

CException::CException(unsigned int code, std::string detail)
    : m_Code(code), m_Detail(std::move(detail)) {
    Describe();
}

CException::CException(unsigned int code, std::string detail, int systemError)
    : m_Code(code), m_Detail(std::move(detail)), m_SystemError(systemError) {
    Describe();
}

CException::~CException() = default;

void CException::AddSource(const SOURCE_INFO& source) {
    m_Sources.push_back(source);
    Describe();
}

const char* CException::what() const noexcept {
    return m_What.c_str();
}

void CException::Describe() {
    char head[96];
    const unsigned int module = m_Sources.empty() ? ((m_Code >> 16) & 0x0FFF) : m_Sources[0].Module;
    const Misc::CModuleInfo* info = Misc::CModuleInfo::Find(module);
    std::snprintf(head, sizeof head, "exception 0x%08X of module %u (%s)", m_Code, module,
                  info ? info->GetName() : "unregistered");
    std::string text = head;
    if (!m_Detail.empty()) {
        text += ": ";
        text += m_Detail;
    }
    const char* separator = " at ";
    for (const SOURCE_INFO& source : m_Sources) {
        char where[32];
        std::snprintf(where, sizeof where, ":%u", source.Line);
        text += separator;
        text += source.Path ? source.Path : "?";
        text += where;
        separator = " <- ";
    }
    m_What.swap(text);
}

void CException::Throw(unsigned int code) {
    Internals::CThrowStateData& state = Internals::CThrowStateData::Current();
    if (Internals::CThrowStateData::m_DisableCnt != 0) {
        state.PendingCode = code;
        return;
    }
    CException exception(code);
    if (state.Start.Path != nullptr)
        exception.AddSource(state.Start);
    state.Start = SOURCE_INFO{nullptr, 0, 0};
    throw exception;
}

} // namespace Exceptions

namespace Threading {
namespace {

void LogEnded(const Exceptions::SOURCE_INFO& where) noexcept {
    Internals::CThrowStateData& state = Internals::CThrowStateData::Current();
    ++state.Continued;
    state.Start = Exceptions::SOURCE_INFO{nullptr, 0, 0};
    const Misc::CModuleInfo* module = Misc::CModuleInfo::Find(where.Module);
    const unsigned int level = 0x40000000;
    if (module == nullptr || !module->IsTraceEnabled(level))
        return;
    try {
        std::string what = "unknown exception";
        try {
            throw;
        } catch (const std::exception& e) {
            what = e.what();
        } catch (...) {
        }
        Internals::CTraceStreamBuffer buffer(level, *module, where.Path, where.Line);
        Output_Streams::CFormatStream(buffer.Text(), "continued after %s").FormatStr(what);
    } catch (...) {
        // Logging is best effort; the caller carries on either way.
    }
}

} // namespace

void CThrowState::StartException(const Exceptions::SOURCE_INFO& where) noexcept {
    Internals::CThrowStateData::Current().Start = where;
}

void CThrowState::ThrowNext(const Exceptions::SOURCE_INFO& where) {
    std::exception_ptr current = std::current_exception();
    if (!current)
        return;
    try {
        throw;
    } catch (Exceptions::CException& e) {
        e.AddSource(where);
        throw;
    }
}

void CThrowState::ContinueException(const Exceptions::SOURCE_INFO& where) noexcept {
    if (std::current_exception())
        LogEnded(where);
}

void CThrowState::EndException(const Exceptions::SOURCE_INFO& where) noexcept {
    ContinueException(where);
}

void CThrowState::Init() noexcept {
    m_Saved = Internals::CThrowStateData::Current();
    m_Active = true;
}

void CThrowState::Restore() noexcept {
    if (!m_Active)
        return;
    // The code of a suppressed exception stays readable after the scope.
    Internals::CThrowStateData& state = Internals::CThrowStateData::Current();
    const unsigned int pending = state.PendingCode;
    state = m_Saved;
    state.PendingCode = pending;
    m_Active = false;
}

unsigned int CThrowState::PendingCode() noexcept {
    return Internals::CThrowStateData::Current().PendingCode;
}

CThrowStateGuard::CThrowStateGuard() noexcept {
    if (Internals::CThrowStateData::m_DisableCnt != 0)
        m_State.Init();
}

CThrowStateGuard::~CThrowStateGuard() {
    m_State.Restore();
}

} // namespace Threading
} // namespace RVX
