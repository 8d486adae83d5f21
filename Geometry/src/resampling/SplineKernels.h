#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>

#include "resampling/SplineWeights.h"

namespace rix::geometry {

/// The filter of a pole over lines side by side.
template <class T>
struct PoleJob {
    T* first;            ///< the first element of all lines; results take its place
    std::size_t stride;  ///< from an element of the lines to the next
    std::size_t width;   ///< lines, whole vectors of every level
    std::size_t length;  ///< elements, at least 1
    T pole;
    T gain;  ///< (1 - pole) (1 - 1 / pole)
};

/// Kernels for `float` and `double`; every level computes the same bits.
template <class T>
struct SplineKernels {
    /// Divides lines, reflected at both ends with the end element repeated, by the pole's part of the samples of a
    /// spline: forwards and backwards, each begun with the sum over all that is beyond the end.
    void (*filter)(const PoleJob<T>& job);
};

template <class T>
SplineKernels<T> splineKernels(OptimLevelType level);

}  // namespace rix::geometry
