#pragma once

// A compile-time index from the ids of a dense band to the rows of a constant
// table, so that a lookup costs one array access and still returns the row a
// first-match search in table order would find.

#include <cstddef>

namespace PI {
namespace Detail {

template <int First, int Last> struct DirectIndex {
    static constexpr int kSpan = Last - First + 1;

    short row[kSpan]; // the first row with the id, or -1
    int duplicates;   // rows whose id an earlier row already has
    int outsideBand;  // rows whose id lies outside First..Last

    // The row of `id`, or -1.
    constexpr int Find(int id) const { return id < First || id > Last ? -1 : row[id - First]; }
};

template <int First, int Last, typename Row, size_t N>
constexpr DirectIndex<First, Last> BuildDirectIndex(const Row (&rows)[N]) {
    static_assert(N < 32768, "row numbers are held as short");
    DirectIndex<First, Last> index{};
    for (short& r : index.row)
        r = -1;
    for (size_t i = 0; i < N; ++i) {
        const int id = rows[i].id;
        if (id < First || id > Last)
            ++index.outsideBand;
        else if (index.row[id - First] >= 0)
            ++index.duplicates;
        else
            index.row[id - First] = static_cast<short>(i);
    }
    return index;
}

// A found text with its length, so that the copy need not measure it again;
// `text` is nullptr when nothing was found.
struct FoundText {
    const char* text;
    size_t length;
};

constexpr size_t TextLength(const char* text) {
    size_t n = 0;
    while (text[n] != '\0')
        ++n;
    return n;
}

// The lengths of the texts of a table's rows, by row number.
template <size_t N> struct TextLengths {
    unsigned char length[N];
    int overlong; // texts longer than a length byte holds
    int empty;    // empty texts (a copy would take a length of 0 as "measure it")
};

template <typename Row, size_t N>
constexpr TextLengths<N> BuildTextLengths(const Row (&rows)[N], const char* const Row::*text) {
    TextLengths<N> lengths{};
    for (size_t i = 0; i < N; ++i) {
        const size_t length = TextLength(rows[i].*text);
        if (length > 255)
            ++lengths.overlong;
        if (length == 0)
            ++lengths.empty;
        lengths.length[i] = static_cast<unsigned char>(length);
    }
    return lengths;
}

} // namespace Detail
} // namespace PI
