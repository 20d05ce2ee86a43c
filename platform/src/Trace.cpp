#include "RVX/Trace.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <utility>

namespace RVX {
namespace {

struct Registry {
    std::mutex Lock;
    std::map<unsigned int, const Misc::CModuleInfo*> Modules;
    Internals::TraceSink Sink;
};

// Never destroyed: modules unregister from their own static destructors,
// which may run after this file's.
Registry& TheRegistry() {
    static Registry* registry = new Registry;
    return *registry;
}

void WriteToEnvironmentTarget(const Internals::TraceRecord& record) {
    const char* target = std::getenv("RVX_TRACE");
    if (target == nullptr || *target == '\0')
        return;
    const bool toStderr = std::strcmp(target, "stderr") == 0;
    FILE* out = toStderr ? stderr : std::fopen(target, "a");
    if (out == nullptr)
        return;
    std::fprintf(out, "[%08X] module %u %s:%u %s\n", record.Level, record.Module,
                 record.SourcePath ? record.SourcePath : "?", record.Line, record.Text.c_str());
    if (!toStderr)
        std::fclose(out);
}

} // namespace

namespace Misc {

CModuleInfo::CModuleInfo(unsigned int number, const char* name, const char* version,
                         unsigned int traceMask)
    : m_Number(number), m_Name(name), m_Version(version), m_TraceMask(traceMask) {
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> lock(registry.Lock);
    registry.Modules[number] = this;
}

CModuleInfo::~CModuleInfo() {
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> lock(registry.Lock);
    auto it = registry.Modules.find(m_Number);
    if (it != registry.Modules.end() && it->second == this)
        registry.Modules.erase(it);
}

const CModuleInfo* CModuleInfo::Find(unsigned int number) noexcept {
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> lock(registry.Lock);
    auto it = registry.Modules.find(number);
    return it == registry.Modules.end() ? nullptr : it->second;
}

} // namespace Misc

namespace Internals {

TraceSink SetTraceSink(TraceSink sink) {
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> lock(registry.Lock);
    std::swap(registry.Sink, sink);
    return sink;
}

CTraceStreamBuffer::CTraceStreamBuffer(unsigned int level, const Misc::CModuleInfo& module,
                                       const char* sourcePath, unsigned int line)
    : m_Record{level, module.GetNumber(), sourcePath, line, std::string()} {}

CTraceStreamBuffer::~CTraceStreamBuffer() {
    TraceSink sink;
    {
        Registry& registry = TheRegistry();
        std::lock_guard<std::mutex> lock(registry.Lock);
        sink = registry.Sink;
    }
    try {
        if (sink)
            sink(m_Record);
        else
            WriteToEnvironmentTarget(m_Record);
    } catch (...) {
        // A failing sink must not turn a trace record into a crash.
    }
}

} // namespace Internals
} // namespace RVX
