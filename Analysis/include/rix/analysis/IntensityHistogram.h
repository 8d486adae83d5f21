#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>
#include <rix/analysis/IntensityHistogramMsr.h>

namespace rix {
class EnumInfo;
}

namespace rix::analysis {

/// Counts how many voxels of an image lie in each of some classes of equal width.
///
/// **Input** `inputImage`: any extents on all five axes, all of which are counted together; scalar elements, any real
/// type (`uint8` to `float64`). A binary image counts as 0 and 1.
/// **Input** `numberOfClasses`: from 1 to 65535.
/// **Choice** `rangeMode`: the classes go from the smallest to the greatest finite value (`MIN_MAX`), or from
/// `rangeMinimum` to `rangeMaximum` (`OTHER`), beyond which voxels are not counted.
/// **Output** `outputMeasurement`: the table. When it is unset the algorithm makes one, which lives as long as the
/// algorithm. It has no rows when the range is to be measured and no voxel is finite.
///
/// With a range from a to b and n classes, a value v is in the class k = floor((v - a) / ((b - a) / n)), b itself in
/// the last; class k starts at a + k (b - a) / n. So every integer from a to b - 1 has a class of its own where n = b -
/// a. NaN and infinities are in no class. Counts are exact.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a number of classes out of
///         range, and a range whose maximum is not above its minimum.
/// Cost: one pass to count, one to measure the range. Extra memory: a table a thread.
class RIX_EXPORT IntensityHistogram : public BaseAlgorithm {
    RIX_ALGORITHM(IntensityHistogram)

    enum RangeMode : int { MIN_MAX = 0, OTHER };
    static const EnumInfo& getInfoRangeMode();

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 256.
    RIX_INPUT(std::int32_t, NumberOfClasses, numberOfClasses)
    /// Default `MIN_MAX`.
    RIX_CHOICE(RangeMode, RangeMode, rangeMode, getInfoRangeMode)
    /// Default 0.
    RIX_INPUT(double, RangeMinimum, rangeMinimum)
    /// Default 256, so that each value of 8 bits has a class.
    RIX_INPUT(double, RangeMaximum, rangeMaximum)
    RIX_RESULT(IntensityHistogramMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::analysis
