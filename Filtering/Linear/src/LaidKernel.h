#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include <rix/access/Blocks.h>
#include <rix/filtering/linear/ConvolutionChoices.h>
#include <rix/image/ImageModel.h>

namespace rix::filtering::linear {

using KernelExtents = std::array<std::size_t, 3>;

/// A kernel as it is laid on an image: its element (x, y, z) is the weight of the neighbour at the offset
/// (x, y, z) - before.
struct LaidKernel {
    /// @param weights row by row, plane by plane, not turned over
    LaidKernel(const KernelExtents& kernelExtents, std::vector<double> kernelWeights, ConvolutionMode mode);

    double at(std::size_t x, std::size_t y, std::size_t z) const {
        return weights[(z * extents[1] + y) * extents[0] + x];
    }
    access::Reach reach() const;

    KernelExtents extents;
    KernelExtents before{};
    std::vector<double> weights;
};

/// The samples of an image of one frame and channel.
std::vector<double> weightsOf(const ImageModel& image);

/// As many coefficients as there may be: a table of 2 MiB.
inline constexpr std::size_t mostCoefficients = std::size_t{1} << 18;

}  // namespace rix::filtering::linear
