#pragma once

#include <cstddef>

#include <rix/access/Plan.h>
#include <rix/algorithms/OptimLevel.h>

namespace rix::edge_detection {

/// Two of the longest vectors: sums along a row that look far make what they look at of whole vectors.
template <class T>
inline constexpr std::size_t besideRow = 128 / sizeof(T);
inline constexpr std::size_t shortReach = 1;

/// Row kernels for `float` and `double`. Every level computes the same bits.
template <class T>
struct FieldKernels {
    /// The sums of 2 reach + 1 rows, rows[reach + i] with the weight half[|i|], or with its negative for i < 0: from
    /// the outer pairs to the middle. `isMore`: added to what is there.
    void (*sumEven)(const T* const* rows, const T* half, std::size_t reach, T* out, std::size_t count, bool isMore);
    void (*sumOdd)(const T* const* rows, const T* half, std::size_t reach, T* out, std::size_t count, bool isMore);
    /// Two sums, the second of rows from rows[1] on: whole lines of the cache of results.
    void (*twoEven)(const T* const* rows, const T* half, std::size_t reach, T* const* outs, std::size_t count,
                    bool isMore);
    void (*twoOdd)(const T* const* rows, const T* half, std::size_t reach, T* const* outs, std::size_t count,
                   bool isMore);
    /// Rows of results that lie `stride` apart, whole lines of the cache, as those that are summed do from the first
    /// one on.
    void (*stackEven)(const T* first, std::size_t stride, const T* half, std::size_t reach, T* out, std::size_t rows,
                      bool isMore);
    void (*stackOdd)(const T* first, std::size_t stride, const T* half, std::size_t reach, T* out, std::size_t rows,
                     bool isMore);
    /// Sums along a row, of which `from` is the first voxel; whole lines of the cache of results. Where sums
    /// look farther than `shortReach`, the samples around it have `besideRow<T>` more on both sides, whatever they are.
    void (*rowEven)(const T* from, const T* half, std::size_t reach, T* out, std::size_t count);
    void (*rowOdd)(const T* from, const T* half, std::size_t reach, T* out, std::size_t count);
    /// Two such sums of the same row.
    void (*rowEvenEven)(const T* from, const T* const* halves, std::size_t reach, T* const* outs, std::size_t count);
    void (*rowEvenOdd)(const T* from, const T* const* halves, std::size_t reach, T* const* outs, std::size_t count);

    /// Of 1 to 3 components, as results: their sum, the root of the sum of their squares, the angle of the first two.
    void (*sum)(const T* const* components, std::size_t n, T* out, std::size_t count, access::Stores stores);
    void (*magnitude)(const T* const* components, std::size_t n, T* out, std::size_t count, access::Stores stores);
    void (*orientation)(const T* const* components, T* out, std::size_t count);
};

template <class T>
FieldKernels<T> fieldKernels(OptimLevelType level);

}  // namespace rix::edge_detection
