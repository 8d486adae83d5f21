#pragma once

#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>

namespace rix::filtering::smoothing {

/// Takes noise away by averaging voxels whose surroundings look alike, each volume by itself.
///
/// The three-dimensional form of `NonLocalMeansFilter2d`, with which it shares formula, types, borders, exactness and
/// failures; squares become cubes, of a search radius of at most 10 and a patch radius of at most 5. Frames and
/// channels are volumes of their own.
///
/// Cost: half an exponential and some additions a voxel of the searched cube and voxel. Memory: a tile and what is
/// searched around it a thread; see `describe`.
class RIX_EXPORT NonLocalMeansFilter3d : public BaseAlgorithm {
    RIX_ALGORITHM(NonLocalMeansFilter3d)

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
