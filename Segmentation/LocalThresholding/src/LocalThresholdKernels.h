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

/// Turns rows of what thresholds follow from into thresholds, less the offset: means or the like and deviations, of
/// Bernsen's the largest and the smallest values. The second row is null where a method has one.
template <class M>
using LocalThresholdRow = void (*)(const M* first, const M* second, double* thresholds, std::size_t count,
                                   const ThresholdNumbers& numbers);
template <class M>
LocalThresholdRow<M> localThresholdRow(LocalThresholdingMethod method, OptimLevelType level);

/// out[x] = side where in[x] > thresholds[x], else 1 - side.
template <class T>
using LocalComparisonRow = void (*)(const T* in, const double* thresholds, std::uint8_t* out, std::size_t count,
                                    std::uint8_t side);
template <class T>
LocalComparisonRow<T> localComparisonRow(OptimLevelType level);

}  // namespace rix::segmentation
