#pragma once

#include <cstddef>

#include <rix/algorithms/AlgorithmDescription.h>
#include <rix/image/DiskImage.h>

namespace rix::cli {

using Extents = io::DiskImage::Extents;

/// A part of an image.
struct Box {
    Extents first{};
    Extents count{};

    bool operator==(const Box&) const = default;
};

/// How the images of a round are cut into blocks: boxes of whole chunks, so that no two blocks write one chunk.
/// Channels are not cut, and are left out of these extents: images of one grid may have different numbers of them.
struct BlockGrid {
    Extents image{};
    Extents chunk{};
    Extents parts{};  ///< on each axis; 0 without blocks

    std::size_t blocks() const;
    /// The elements that a block makes.
    Box boxOf(std::size_t block) const;
    /// Those that it computes them from: so many voxels more to each side, where the image has them.
    Box sourceOf(std::size_t block, const BorderInfluence& grownBy) const;
    /// The longest part on each axis.
    Extents longestParts() const;
    /// Elements of the largest source, and of all of them together. Beyond 64 bits they are as many as these hold.
    std::size_t largestSource(const BorderInfluence& grownBy) const;
    std::size_t allSources(const BorderInfluence& grownBy) const;
};

/// Cuts an image into as many blocks as it gives up to a number, so that they read little beside what they make. Its
/// chunks are made smaller, down to 32 columns and rows, where there would be few for each block.
BlockGrid cutIntoBlocks(const Extents& image, std::size_t blocks, const BorderInfluence& grownBy);

/// The influence of one step after another.
BorderInfluence sumOf(const BorderInfluence& a, const BorderInfluence& b);
/// What reaches as far as both.
BorderInfluence largestOf(const BorderInfluence& a, const BorderInfluence& b);

}  // namespace rix::cli
