#include "PropertyBlock.h"

#if defined(PI_WITH_TEST_HOOKS)
#include "PI/AllocHook.h"
#endif

#include <atomic>
#include <cstdlib>

namespace PI {
namespace {

#if defined(PI_WITH_TEST_HOOKS)
struct HookState {
    unsigned int Skip = 0;
    unsigned int FailCount = 0;
    Test::AllocFilter Filter = nullptr;
    void* Context = nullptr;
    unsigned long long Attempts = 0;
    unsigned long long Failures = 0;
    bool Armed = false; // this thread's settings hold one count of g_Armed
};

thread_local HookState t_Hook;

// Scopes and threads with settings that need the hook. While it is zero,
// blocks come straight from malloc: no thread-local state is looked up and
// no shared counter is touched, so the library built for the tests costs
// nearly what the one without the hook does.
std::atomic<unsigned int> g_Armed{0};
std::atomic<long long> g_LiveBlocks{0};

bool HookArmed() noexcept {
    return g_Armed.load(std::memory_order_relaxed) != 0;
}

// True when the hook makes this allocation fail.
bool HookRefuses(size_t size) noexcept {
    HookState& hook = t_Hook;
    ++hook.Attempts;
    bool refuse = false;
    if (hook.Skip > 0)
        --hook.Skip;
    else if (hook.FailCount > 0) {
        --hook.FailCount;
        refuse = true;
    }
    if (!refuse && hook.Filter != nullptr && !hook.Filter(size, hook.Context))
        refuse = true;
    if (refuse)
        ++hook.Failures;
    return refuse;
}

[[gnu::noinline]] unsigned char* HookedAlloc(size_t size) noexcept {
    if (HookRefuses(size))
        return nullptr;
    void* block = std::malloc(size != 0 ? size : 1);
    if (block != nullptr)
        g_LiveBlocks.fetch_add(1, std::memory_order_relaxed);
    return static_cast<unsigned char*>(block);
}

// Settings of this thread keep the hook armed until the next reset.
void ArmThread() noexcept {
    if (!t_Hook.Armed) {
        t_Hook.Armed = true;
        g_Armed.fetch_add(1, std::memory_order_relaxed);
    }
}
#endif

} // namespace

namespace Internal {

unsigned char* AllocBlock(size_t size) noexcept {
#if defined(PI_WITH_TEST_HOOKS)
    if (HookArmed())
        return HookedAlloc(size);
#endif
    return static_cast<unsigned char*>(std::malloc(size != 0 ? size : 1));
}

void FreeBlock(void* block) noexcept {
#if defined(PI_WITH_TEST_HOOKS)
    if (block != nullptr && HookArmed())
        g_LiveBlocks.fetch_sub(1, std::memory_order_relaxed);
#endif
    std::free(block);
}

} // namespace Internal

#if defined(PI_WITH_TEST_HOOKS)
namespace Test {

bool AllocHooksAvailable() noexcept {
    return true;
}

void ArmAllocHook() noexcept {
    g_Armed.fetch_add(1, std::memory_order_relaxed);
}

void DisarmAllocHook() noexcept {
    g_Armed.fetch_sub(1, std::memory_order_relaxed);
}

void FailAllocations(unsigned int skip, unsigned int count) noexcept {
    ArmThread();
    t_Hook.Skip = skip;
    t_Hook.FailCount = count;
}

void SetAllocFilter(AllocFilter filter, void* context) noexcept {
    ArmThread();
    t_Hook.Filter = filter;
    t_Hook.Context = context;
}

void ResetAllocHook() noexcept {
    if (t_Hook.Armed)
        g_Armed.fetch_sub(1, std::memory_order_relaxed);
    t_Hook = HookState{};
}

unsigned long long AllocationCount() noexcept {
    return t_Hook.Attempts;
}

unsigned long long FailedAllocationCount() noexcept {
    return t_Hook.Failures;
}

long long LiveBlockCount() noexcept {
    return g_LiveBlocks.load(std::memory_order_relaxed);
}
} // namespace Test
#endif
} // namespace PI
