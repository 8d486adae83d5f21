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

    static std::size_t bytes(const TileExtents& extents, bool isMasked);

private:
    TileExtents m_extents;
    access::Buffer<Key> m_keys;
    access::Buffer<std::uint8_t> m_mask;
};

/// The largest block of a plan, at the beginning of its image.
access::Block largestBlock(const access::Plan& plan);

}  // namespace rix::filtering::rank
