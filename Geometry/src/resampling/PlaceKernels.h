#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::geometry {

/// Elements of a row of an output, and where they lie in the samples of a region of an input. Element i lies, on each
/// axis, at the place slope (first + i) + start, or where a table tells.
struct PlaceRow {
    double first;
    std::size_t count;
    double slope[3];
    double start[3];
    const double* table[3];  ///< the place of each element, with numbers behind for whole vectors; or null
    double last[3];          ///< the greatest index of the input
    bool clamps;             ///< places beyond the outermost elements are those of these
    bool mixes;              ///< and take more and more of a value, as do all of them beyond half an element out
    const void* region;      ///< its first sample
    double begin[3];         ///< the element of the input that this is
    double stride[3];        ///< in samples
    std::size_t axes;        ///< 2 or 3
};

/// Kernels for `float` and `double`; every level computes the same bits. Rows of results have space for whole vectors,
/// up to the next multiple of 16; some samples behind those of a place, as many as a row of it has at most, may be read
/// and are nobody's.
template <class T>
struct PlaceKernels {
    /// Linear (degree 1), or splines of the coefficients in the region (2 to 5).
    void (*interpolate)(const PlaceRow& row, int degree, T value, T* out);
};
template <class T>
PlaceKernels<T> placeKernels(OptimLevelType level);

/// Linear between bytes of planes; the region has pairs of them, of a row and the next. The same as `interpolate` of
/// these bytes as `float`.
using BytesRow = void (*)(const PlaceRow& row, float value, float* out);
BytesRow bytesRow(OptimLevelType level);

/// The samples of the nearest elements as bytes of a size, 1, 2, 4 or 8. @param value one of them, where places mix
using NearestRow = void (*)(const PlaceRow& row, const void* value, void* out);
NearestRow nearestRow(std::size_t size, OptimLevelType level);

/// The first and the last element of the taps about a place, from the element at or next below it (of odd degrees), or
/// the nearest (of even ones).
constexpr int tapsBefore(int degree) {
    return degree / 2;
}
constexpr int tapsAfter(int degree) {
    return degree - tapsBefore(degree);
}
/// So many samples from the first tap of a row on may be read.
constexpr std::size_t tapsRead = 8;

}  // namespace rix::geometry
