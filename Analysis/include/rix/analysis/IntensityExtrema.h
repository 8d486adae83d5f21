#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/analysis/IntensityExtremaMsr.h>

namespace rix::analysis {

/// Finds the smallest and the greatest value of an image, over all its planes, frames and channels.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputMeasurement`: minimum, maximum and the numbers of NaN and of infinite voxels. When it is unset the
/// algorithm makes one, which lives as long as the algorithm.
///
/// Only finite voxels have a part in the extrema; without any, both are NaN. A zero is reported as +0. The results are
/// exact, in double precision.
///
/// @throws RuleException from `run` for an unset or empty image and for a complex or vector image.
/// Cost: one pass at memory speed; no extra memory.
class RIX_EXPORT IntensityExtrema : public BaseAlgorithm {
    RIX_ALGORITHM(IntensityExtrema)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    RIX_RESULT(IntensityExtremaMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::analysis
