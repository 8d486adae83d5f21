#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>
#include <rix/segmentation/LocalThresholdingChoices.h>

namespace rix::segmentation {

/// The numbers of a method.
struct ThresholdNumbers {
    double weight = 0.0;
    double offset = 0.0;
    double contrast = 0.0;
    double lowest = 0.0;  ///< of the range of values
    double highest = 1.0;
};

/// out[x] = side where in[x] is above its threshold, else 1 - side. Thresholds follow, in doubles, from means or the
/// like and deviations, of Bernsen's method from the largest and the smallest values, and are less the offset. The
/// second row counts for nothing where a method has one.
template <class T, class M>
using LocalThresholdRow = void (*)(const T* in, const M* first, const M* second, std::uint8_t* out, std::size_t count,
                                   const ThresholdNumbers& numbers, std::uint8_t side);
template <class T, class M>
LocalThresholdRow<T, M> localThresholdRow(LocalThresholdingMethod method, OptimLevelType level);

}  // namespace rix::segmentation
