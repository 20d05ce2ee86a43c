#pragma once

// Value blocks of CProperty: obtained and released only through these two.

#include <cstddef>

namespace PI {
namespace Internal {

// A block of `size` bytes from malloc (a request for 0 bytes still gives a
// distinct block), or null when memory is exhausted or the test hook
// (test-hooks/include/PI/AllocHook.h, in a build with PI_TEST_HOOKS) says so.
unsigned char* AllocBlock(size_t size) noexcept;
// Releases a block of AllocBlock with free; null is ignored.
void FreeBlock(void* block) noexcept;

} // namespace Internal
} // namespace PI
