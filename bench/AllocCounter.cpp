#include "AllocCounter.h"

#include <cstddef>

// The C library's own entry points, which the definitions below forward to.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void __libc_free(void* block);
}

namespace {
// Constant-initialised, so touching it never allocates.
thread_local unsigned long long t_Allocations = 0;
} // namespace

// Defined in the executable, these take precedence over the C library's for
// every shared object of the process, the PI library included.
extern "C" {
void* malloc(size_t size) {
    ++t_Allocations;
    return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
    ++t_Allocations;
    return __libc_calloc(count, size);
}

void* realloc(void* block, size_t size) {
    ++t_Allocations;
    return __libc_realloc(block, size);
}

void free(void* block) {
    __libc_free(block);
}
}

namespace bench {

unsigned long long ThreadAllocations() noexcept {
    return t_Allocations;
}

} // namespace bench
