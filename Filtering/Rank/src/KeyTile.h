#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/Blocks.h>
#include <rix/access/Buffer.h>
#include <rix/access/Plan.h>
#include <rix/image/ImageModel.h>

#include "RankJob.h"
#include "SampleKeys.h"

namespace rix::filtering::rank {

/// The extents of the voxels that the windows of a block look at.
struct TileExtents {
    /// So that 32 bits tell a voxel of a tile: see `VoxelPlace`.
    static constexpr std::size_t mostColumns = 2048;
    static constexpr std::size_t mostRows = 2048;
    static constexpr std::size_t mostPlanes = 1024;

    TileExtents(const access::Block& block, const RankWindow& window);
    std::size_t voxels() const { return columns * rows * planes; }

    std::size_t columns;
    std::size_t rows;
    std::size_t planes;
};

/// The keys of the voxels of one block and of what its windows reach beyond it, and where these count.
template <class T>
class KeyTile {
public:
    using Key = KeyOf<T>;

    KeyTile(const ImageModel& input, const RankJob& job, const access::Block& block);

    const TileExtents& extents() const { return m_extents; }
    /// A row; kernels may read a vector behind it.
    const Key* keysOf(std::size_t row, std::size_t plane) const { return m_keys.data() + offset(row, plane); }
    /// Where the voxels of a row count, or null.
    const std::uint8_t* maskOf(std::size_t row, std::size_t plane) const {
        return m_mask.data() == nullptr ? nullptr : m_mask.data() + offset(row, plane);
    }
    std::size_t offset(std::size_t row, std::size_t plane) const {
        return (plane * m_extents.rows + row) * m_extents.columns;
    }

    /// The most bytes that a tile holds, while it is made too.
    static std::size_t bytes(const TileExtents& extents, bool isMasked);

private:
    TileExtents m_extents;
    access::Buffer<Key> m_keys;
    access::Buffer<std::uint8_t> m_mask;
};

/// The voxels of a block, where the image has so many.
struct TileSize {
    std::size_t columns;
    std::size_t rows;
    std::size_t planes;
};

/// The cut of an image into the blocks of tiles. @param nanosecondsPerVoxel rough cost of the work
access::Plan cutTiles(const ImageModel& input, const RankWindow& window, const TileSize& size,
                      double nanosecondsPerVoxel);

/// The tile of the largest block of a plan.
TileExtents largestTile(const access::Plan& plan, const RankWindow& window);

/// The most bytes that a run holds. @param tileBytes that a thread needs for a block
std::size_t workingBytes(const access::Plan& plan, std::size_t tileBytes, std::size_t sampleBytes, std::size_t threads);

}  // namespace rix::filtering::rank
