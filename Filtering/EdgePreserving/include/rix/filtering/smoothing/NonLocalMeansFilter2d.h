#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::filtering::smoothing {

/// Takes noise away by averaging voxels whose surroundings look alike, each plane by itself (A. Buades, B. Coll and
/// J.-M. Morel, 2005):
///
///     out(p) = sum w(p, q) in(q) / sum w(p, q),   w(p, q) = exp(-d(p, q) / strength^2)
///
/// over all q of a square of 2 `searchRadius` + 1 voxels around p. d(p, q) is the mean squared difference of the
/// squares of 2 `patchRadius` + 1 voxels around p and q.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputImage`: takes the input's extents, calibration and colour interpretation; interpretation value;
/// the input's type, or `float32` as `outputType` says. It may be the input image when the type stays; the run then
/// needs a temporary image.
///
/// **Border.** Beyond its edges the image is mirrored with the edge voxel repeated (`MIRROR`), goes on with the edge
/// voxel (`CONTINUE`), or has the value `borderValue` (`FIXED`).
///
/// **Exactness.** Computed in `float32`, for `float64` and integers of 32 bits in `float64`, in one order and without
/// fused operations: results are the same, bit for bit, on every level of optimisation and for every number of threads.
/// They are within 1e-5 of the range of the input of the formula in double precision; in an integer type they are
/// rounded to the nearest integer, ties to even, and clamped. NaN spreads to the windows that hold it, patches
/// included; an infinite voxel becomes NaN, and what has it in its window infinite or NaN.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a patch radius outside [0,
/// 20],
///         a search radius outside [0, 50], a strength that is not positive and finite, an unknown
///         choice, a `borderValue` of NaN, and an in-place output of another type; ResizeImageError or MemoryError when
///         there is no memory.
/// Cost: half an exponential and some additions a voxel of the searched square and voxel, as two voxels weigh for each
/// other what the other one weighs for them (B. Goossens, H. Luong, A. Pizurica and W. Philips, 2008); squared
/// differences are summed over patches that neighbours share (J. Darbon et al., 2008), by additions alone. Memory: a
/// tile and what is searched around it a thread; see `describe`.
class RIX_EXPORT NonLocalMeansFilter2d : public BaseAlgorithm {
    RIX_ALGORITHM(NonLocalMeansFilter2d)

    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;
    /// The type of the result.
    using OutputType = algorithms::OutputType;
    using enum algorithms::OutputType;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// In voxels; default 1.
    RIX_INPUT(std::int32_t, PatchRadius, patchRadius)
    /// In voxels; default 5.
    RIX_INPUT(std::int32_t, SearchRadius, searchRadius)
    /// In grey levels; default 10.
    RIX_INPUT(double, Strength, strength)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    /// Default `SAME_AS_INPUT`.
    RIX_CHOICE(OutputType, OutputType, outputType, algorithms::getInfoOutputType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::smoothing
