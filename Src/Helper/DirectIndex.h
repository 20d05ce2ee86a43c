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

} // namespace Detail
} // namespace PI
