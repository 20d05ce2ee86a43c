#pragma once

#include "RVX/Export.h"

#include <exception>
#include <string>
#include <vector>

namespace RVX {
namespace Exceptions {

// Where an exception was raised or passed through: a source path, a line and
// the number of the module that owns the source.
struct SOURCE_INFO {
    const char* Path;
    unsigned int Line;
    unsigned int Module;
};

// The exception of the platform facility: a 32-bit code plus the source
// records that were added while it travelled out.
class RVX_API CException : public std::exception {
public:
    explicit CException(unsigned int code);
    // With a description of the failure (for a system call: the path and the
    // system's error text), which what() gives after the code.
    CException(unsigned int code, std::string detail);
    // A failed system call: also keeps the system's error number.
    CException(unsigned int code, std::string detail, int systemError);
    CException(const CException&) = default;
    CException& operator=(const CException&) = default;
    ~CException() override;

    unsigned int GetCode() const noexcept { return m_Code; }
    const std::vector<SOURCE_INFO>& GetSources() const noexcept { return m_Sources; }
    const std::string& GetDetail() const noexcept { return m_Detail; }
    // The errno of the failed system call behind the exception, else 0.
    int GetSystemError() const noexcept { return m_SystemError; }
    void AddSource(const SOURCE_INFO& source);
    // Names the code, the module of the first source, the detail text and
    // every source record.
    const char* what() const noexcept override;

    // Raises `code` from the location that the thread's last StartException
    // named. While the thread's throw state is disabled it records the code
    // and returns instead; the caller then goes on and reports the code.
    static void Throw(unsigned int code);

private:
    void Describe();

    unsigned int m_Code;
    std::string m_Detail;
    int m_SystemError = 0;
    std::vector<SOURCE_INFO> m_Sources;
    std::string m_What;
};

} // namespace Exceptions

namespace Internals {

// The per-thread state of the exception facility.
struct RVX_API CThrowStateData {
    // While non-zero, CException::Throw does not throw on this thread.
    static thread_local unsigned int m_DisableCnt;

    Exceptions::SOURCE_INFO Start{nullptr, 0, 0};
    unsigned int PendingCode = 0; // code that a disabled Throw did not raise
    unsigned int Continued = 0;   // exceptions ended by Continue/EndException

    static CThrowStateData& Current() noexcept;
};

} // namespace Internals

namespace Threading {

class RVX_API CThrowState {
public:
    // Opens a throw state at a source location.
    static void StartException(const Exceptions::SOURCE_INFO& where) noexcept;
    // Inside a catch handler: adds `where` to the exception being handled
    // and throws it on. Does nothing outside a handler.
    static void ThrowNext(const Exceptions::SOURCE_INFO& where);
    // Inside a catch handler: logs the exception with `where` as a trace
    // record and ends it, so the caller can carry on with a result code.
    static void ContinueException(const Exceptions::SOURCE_INFO& where) noexcept;
    // As ContinueException, for the last handler of a chain.
    static void EndException(const Exceptions::SOURCE_INFO& where) noexcept;

    // Saves the thread's state; Restore puts it back.
    void Init() noexcept;
    void Restore() noexcept;

    // The code that the last disabled Throw on this thread recorded, or 0.
    static unsigned int PendingCode() noexcept;

private:
    Internals::CThrowStateData m_Saved;
    bool m_Active = false;
};

// Saves the thread's throw state while throwing is disabled, and restores it
// on every way out of the scope.
class RVX_API CThrowStateGuard {
public:
    CThrowStateGuard() noexcept;
    ~CThrowStateGuard();
    CThrowStateGuard(const CThrowStateGuard&) = delete;
    CThrowStateGuard& operator=(const CThrowStateGuard&) = delete;

private:
    CThrowState m_State;
};

// Disables throwing on this thread for the lifetime of the object.
class RVX_API CDisableThrow {
public:
    CDisableThrow() noexcept { ++Internals::CThrowStateData::m_DisableCnt; }
    ~CDisableThrow() { --Internals::CThrowStateData::m_DisableCnt; }
    CDisableThrow(const CDisableThrow&) = delete;
    CDisableThrow& operator=(const CDisableThrow&) = delete;
};

} // namespace Threading
} // namespace RVX
