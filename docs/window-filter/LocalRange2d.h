#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>

namespace rix::filtering {

/// Replaces every voxel by what its neighbours in a square differ by: the largest value less the smallest one, or less
/// the voxel itself. Each plane by itself.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type.
/// **Output** `outputImage`: takes the input's extents and calibration; `float32`. It shares no samples with the input.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a radius outside [0, 1000],
///         an unknown choice and an output that overlaps the input.
/// Cost: (2 radius + 1)^2 comparisons a voxel; memory: 2 radius + 1 rows a thread.
class RIX_EXPORT LocalRange2d : public BaseAlgorithm {
    RIX_ALGORITHM(LocalRange2d)

    enum Difference : int { LARGEST_LESS_SMALLEST = 0, LARGEST_LESS_VOXEL };
    static const EnumInfo& getInfoDifference();
    using BorderPolicy = access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// In voxels; default 1.
    RIX_INPUT(std::int32_t, Radius, radius)
    /// Default `LARGEST_LESS_SMALLEST`.
    RIX_CHOICE(Difference, Difference, difference, getInfoDifference)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Beyond the edges with `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering
