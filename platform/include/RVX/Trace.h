#pragma once

#include "RVX/Export.h"

#include <atomic>
#include <functional>
#include <string>

namespace RVX {
namespace Misc {

// The registration of one module with the trace and error facility.
class RVX_API CModuleInfo {
public:
    CModuleInfo(unsigned int number, const char* name, const char* version,
                unsigned int traceMask = 0);
    ~CModuleInfo();
    CModuleInfo(const CModuleInfo&) = delete;
    CModuleInfo& operator=(const CModuleInfo&) = delete;

    unsigned int GetNumber() const noexcept { return m_Number; }
    const char* GetName() const noexcept { return m_Name; }
    const char* GetVersion() const noexcept { return m_Version; }
    unsigned int GetTraceMask() const noexcept {
        return m_TraceMask.load(std::memory_order_relaxed);
    }
    void SetTraceMask(unsigned int mask) noexcept {
        m_TraceMask.store(mask, std::memory_order_relaxed);
    }
    // True when records of `level` are wanted: every bit of the level is in the mask.
    bool IsTraceEnabled(unsigned int level) const noexcept {
        return level != 0 && (GetTraceMask() & level) == level;
    }

    // The registered module with that number, or null.
    static const CModuleInfo* Find(unsigned int number) noexcept;

private:
    unsigned int m_Number;
    const char* m_Name;
    const char* m_Version;
    std::atomic<unsigned int> m_TraceMask;
};

} // namespace Misc

namespace Internals {

struct TraceRecord {
    unsigned int Level;
    unsigned int Module;
    const char* SourcePath;
    unsigned int Line;
    std::string Text;
};

using TraceSink = std::function<void(const TraceRecord&)>;

// Installs the receiver of every trace record and returns the one it
// replaces. With no sink, the environment variable RVX_TRACE may name
// "stderr" or a file to append records to; otherwise records are dropped.
RVX_API TraceSink SetTraceSink(TraceSink sink);

// Collects the text of one trace record; the record is handed to the sink
// when the buffer is destroyed.
class RVX_API CTraceStreamBuffer {
public:
    CTraceStreamBuffer(unsigned int level, const Misc::CModuleInfo& module, const char* sourcePath,
                       unsigned int line);
    ~CTraceStreamBuffer();
    CTraceStreamBuffer(const CTraceStreamBuffer&) = delete;
    CTraceStreamBuffer& operator=(const CTraceStreamBuffer&) = delete;

    std::string& Text() noexcept { return m_Record.Text; }

private:
    TraceRecord m_Record;
};

} // namespace Internals
} // namespace RVX
