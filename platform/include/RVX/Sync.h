#pragma once

#include "RVX/Export.h"

#include <mutex>

namespace RVX {
namespace Threading {
namespace Native_OS {

// A recursive lock between threads of one process.
class RVX_API CCriticalSection {
public:
    CCriticalSection() = default;
    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;

    // Kept for the callers that pass a spin count; the lock does not spin.
    void Init(unsigned int spinCount) noexcept { m_SpinCount = spinCount; }
    void Enter() { m_Mutex.lock(); }
    void Leave() { m_Mutex.unlock(); }
    unsigned int SpinCount() const noexcept { return m_SpinCount; }

private:
    std::recursive_mutex m_Mutex;
    unsigned int m_SpinCount = 0;
};

} // namespace Native_OS

// Holds a critical section for the lifetime of the guard.
class CSyncGuard {
public:
    explicit CSyncGuard(Native_OS::CCriticalSection& section) : m_Section(section) {
        m_Section.Enter();
    }
    ~CSyncGuard() { m_Section.Leave(); }
    CSyncGuard(const CSyncGuard&) = delete;
    CSyncGuard& operator=(const CSyncGuard&) = delete;

private:
    Native_OS::CCriticalSection& m_Section;
};

} // namespace Threading
} // namespace RVX
