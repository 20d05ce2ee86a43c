#pragma once

// Value blocks of CProperty: obtained and released only through these two,
// and read and written in the one layout below.

#include <cstddef>
#include <cstring>

namespace PI {
namespace Internal {

// A block of `size` bytes from malloc (a request for 0 bytes still gives a
// distinct block), or null when memory is exhausted or the test hook
// (test-hooks/include/PI/AllocHook.h, in a build with PI_TEST_HOOKS) says so.
unsigned char* AllocBlock(size_t size) noexcept;
// Releases a block of AllocBlock with free; null is ignored.
void FreeBlock(void* block) noexcept;

// The layout of a block by the property's kind (Type). Words are 32 bits
// unless said otherwise, in the machine's byte order, unaligned:
//   VT_STRING, VT_XML   the text's bytes, then one NUL;
//   VT_INT_LIST         the value, then the list (at least the value);
//   VT_BOOL             one word, 1 or 0;
//   VT_UINT64           one 64-bit word;
//   VT_RANGE            the words RANGE_VALUE to RANGE_STEP below;
//   VT_INT_LIST_PAIR    the first list, then the second; SplitSize is the
//                       byte count of the first;
//   VT_FLOAT            one 32-bit float;
//   VT_UINT64_LIST      64-bit words;
//   VT_STRING_LIST      a table of SplitSize/4 words, each text's length + 1,
//                       then each text and its NUL.
// An empty pair and an empty 64-bit list have no block at all.
constexpr size_t BLOCK_WORD = 4;
constexpr size_t BLOCK_WIDE_WORD = 8;
enum ERangeWord : size_t { RANGE_VALUE, RANGE_MINIMUM, RANGE_MAXIMUM, RANGE_STEP, RANGE_WORDS };

// The word of type T at `at`, and the `index`-th one of a block of them.
template <class T> T Word(const unsigned char* at) noexcept {
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}
template <class T> T WordAt(const unsigned char* block, size_t index) noexcept {
    return Word<T>(block + index * sizeof(T));
}
template <class T> void PutWord(unsigned char* block, size_t index, T value) noexcept {
    std::memcpy(block + index * sizeof(T), &value, sizeof value);
}

} // namespace Internal
} // namespace PI
