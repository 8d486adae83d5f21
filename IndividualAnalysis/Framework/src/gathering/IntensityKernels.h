#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>

#include "Runs.h"

namespace rix::individual_analysis {

/// Sums over the grey values v of one run.
struct RunSums {
    double sum;      ///< of v - shift
    double squares;  ///< of (v - shift)^2
    double minimum;  ///< NaN is passed over
    double maximum;
};

/// The kernels for one type of grey values. Sums of integers of 8 and 16 bits are exact; those of other types are made
/// of eight partial sums over every eighth value, in double precision, so that no level and no width of vectors changes
/// a bit.
template <class T>
struct IntensityKernels {
    /// @param shifts of each run; integers of 8 and 16 bits have integer shifts
    void (*sum)(const T* row, const Run* runs, std::size_t count, const double* shifts, RunSums* sums);
    /// The sums of v * (x - begin).
    void (*moments)(const T* row, const Run* runs, std::size_t count, double* moments);
};

template <class T>
IntensityKernels<T> intensityKernels(OptimLevelType level);

}  // namespace rix::individual_analysis
