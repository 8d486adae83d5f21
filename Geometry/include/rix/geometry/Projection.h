#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::geometry {

/// Projects an image along an axis: each voxel of the result tells of the n voxels of a line along it.
///
/// `MAXIMUM` and `MINIMUM` are values of the line, `INDEX_OF_MAXIMUM` the index of the first of the largest. `MEAN`,
/// `SUM` and `STANDARD_DEVIATION` (whose variance is divided by n) are of all values, `MEDIAN` is the middle one of the
/// values in ascending order, of an even number the mean of the middle two.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// Spacings of axes with neighbours are finite and not 0; if the spatial ones are all 0, they count as 1, and the
/// output has it.
/// **Output** `outputImage`: one voxel along the axis, where the first of the line lay in the world; the other axes
/// keep extents and calibration. `MAXIMUM` and `MINIMUM` keep type and interpretation; the others are values: of
/// `INDEX_OF_MAXIMUM` `uint32`, of `SUM` `float64`, of `MEAN`, `MEDIAN` and `STANDARD_DEVIATION` `float32`, or
/// `float64` for an input of 32-bit integers or `float64`. The colour interpretation is unknown where channels are
/// projected. It shares no samples with the input.
///
/// **Exactness.** Extremes, indices and medians are exact, -0 below +0. Sums are added in double precision in the order
/// of the line, those of integers exactly; deviations from the mean likewise. The same bits on every level of
/// optimisation, for every number of threads and every storage. NaN takes no part in extremes and their index, and is
/// what a line of nothing else gives (index 0); in medians it comes after all values; the others become NaN.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a spacing that is none, an
///         unknown axis or projection, frames or channels that are to be runs of their own and are projected, and an
///         output that shares samples with the input; ResizeImageError or MemoryError when there is no memory.
/// Cost: each voxel is read once, for deviations twice; medians are selected in time linear in n. Memory: some rows of
/// the output a thread, for medians n times; see `describe`.
class RIX_EXPORT Projection : public BaseAlgorithm {
    RIX_ALGORITHM(Projection)

    /// The axis along which lines lie.
    enum Axis : int { COLUMNS = 0, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES };
    static const EnumInfo& getInfoAxis();
    /// What is told of a line.
    enum Statistic : int { MAXIMUM = 0, MINIMUM, MEAN, SUM, MEDIAN, STANDARD_DEVIATION, INDEX_OF_MAXIMUM };
    static const EnumInfo& getInfoStatistic();

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `PLANS`.
    RIX_CHOICE(Axis, Axis, axis, getInfoAxis)
    /// Default `MAXIMUM`.
    RIX_CHOICE(Statistic, Statistic, statistic, getInfoStatistic)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
