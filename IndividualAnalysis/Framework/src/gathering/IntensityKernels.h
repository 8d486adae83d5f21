#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>
#include <rix/individual_analysis/Quantity.h>

namespace rix::individual_analysis {

/// Sums over the grey values v of one run.
struct RunSums {
    double sum;      ///< of v - shift
    double squares;  ///< of (v - shift)^2
    double minimum;  ///< NaN is passed over
    double maximum;
};

/// What is made of the values of a run; the rest of its `RunSums` is not touched.
enum RunSumParts : unsigned {
    RUN_SUM = 1,
    RUN_SQUARES = 2,  ///< with the sum only
    RUN_EXTREMA = 4
};

/// The kernels for one type of grey values. Sums of integers of 8 and 16 bits are exact; those of other types are made
/// of eight partial sums over every eighth value, in double precision, so that no level and no width of vectors changes
/// a bit.
template <class T>
struct IntensityKernels {
    using Sum = void (*)(const T* row, const Run* runs, std::size_t count, const double* shifts, RunSums* sums);

    /// For each set of `RunSumParts`; null for those that make no sense. Of the shifts of the runs integers of 8 and 16
    /// bits have integer ones; extrema alone need none.
    Sum sum[8];
    /// The sums of v * (x - begin).
    void (*moments)(const T* row, const Run* runs, std::size_t count, double* moments);
};

template <class T>
IntensityKernels<T> intensityKernels(OptimLevelType level);

}  // namespace rix::individual_analysis
