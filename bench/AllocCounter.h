#pragma once

// Counts the calls of malloc, calloc and realloc made on the calling thread,
// by any code in the process (operator new included, which calls malloc).
// The program defines these functions itself and passes them on to the C
// library's allocator, so nothing else about allocation changes.

namespace bench {

unsigned long long ThreadAllocations() noexcept;

} // namespace bench
