#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageTypes.h>

namespace rix::manipulation {

/// Keeps samples between two of their type; what compares with neither bound, NaN, stays.
using ClampRow = void (*)(const void* in, const void* bounds, void* out, std::size_t count);
/// @param type a real one; `bounds` are two samples of it
ClampRow clampRow(VoxelTypes type, OptimLevelType level);

/// The largest value less the sample for unsigned types, the negative for others, of which that of the most negative
/// integer is the largest. `isBinary`: of 0 and 1.
using InvertRow = void (*)(const void* in, void* out, std::size_t count);
InvertRow invertRow(VoxelTypes type, bool isBinary, OptimLevelType level);

/// A range that becomes another one.
struct Rescaling {
    double inputMinimum;
    double inputMaximum;
    double outputMinimum;
    double outputMaximum;
};
/// Within the input's range linear, outside the end; above an empty range the output's maximum, else its minimum. NaN
/// stays.
template <class T>
using RescaleRow = void (*)(const T* in, T* out, std::size_t count, const Rescaling& rescaling);
/// @tparam T float or double
template <class T>
RescaleRow<T> rescaleRow(OptimLevelType level);

}  // namespace rix::manipulation
