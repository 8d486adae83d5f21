#pragma once

#include <rix/algorithms/Declaration.h>
#include <cstdint>

namespace rix::filtering::smoothing {

/// Replaces every voxel by the sum or the mean of the voxels in a box around it.
///
/// The three-dimensional form of `BoxFilter2d`, with which it shares types, borders, exactness and failures; windows
/// span planes as they span rows and columns, and `computeWorkType` is given kx * ky * kz voxels. An image of one plane
/// is mirrored along z, so that its one plane counts kz times; in a binary sum planes beyond the edges count 0. Frames
/// and channels are volumes of their own.
///
/// The sum of reals differs from the exact one by at most (kx + ky + kz) * 2^-53 times the sum of the magnitudes in the
/// window.
///
/// Cost: a few additions a voxel for every kernel size. Memory: for integers less than a plane of 32 bit sums a thread;
/// for reals at most 10 + kz / 8 planes of `float64`, cut to bands of rows; see `describe`.
class RIX_EXPORT BoxFilter3d : public BaseAlgorithm {
    RIX_ALGORITHM(BoxFilter3d)

    /// Whether a sum is divided by the number of voxels of the window.
    enum AutoScaleType : int { NO = 0, YES };
    static const EnumInfo& getInfoAutoScaleType();

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// In voxels; default 0, which is refused.
    RIX_INPUT(std::int32_t, KernelSizeX, kernelSizeX)
    /// In voxels; default 0, which is refused.
    RIX_INPUT(std::int32_t, KernelSizeY, kernelSizeY)
    /// In voxels; default 0, which is refused.
    RIX_INPUT(std::int32_t, KernelSizeZ, kernelSizeZ)
    /// Default `NO`.
    RIX_CHOICE(AutoScaleType, AutoScale, autoScale, getInfoAutoScaleType)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::smoothing
