#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include <rix/access/MemoryAccount.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/analysis/GreyCounts.h>
#include <rix/image/ImageModel.h>

namespace rix::manipulation {

/// How one axis is divided into tiles, and between which two tiles each of its elements lies.
class TileAxis {
public:
    struct Between {
        std::size_t first;   ///< the tile whose centre lies before the element, or the nearest
        std::size_t second;  ///< the next one, or the same
        float share;         ///< of the second
    };

    TileAxis(std::size_t extent, std::size_t size);

    std::size_t tiles() const { return m_tiles; }
    std::size_t begin(std::size_t tile) const { return tile * m_size; }
    std::size_t end(std::size_t tile) const;
    Between at(std::size_t element) const;

private:
    double centre(std::size_t tile) const;

    std::size_t m_extent;
    std::size_t m_size;
    std::size_t m_tiles;
};

/// What `ContrastLimitedEqualization2d/3d` does to one plane or volume.
class TileEqualization {
public:
    /// @param clipLimit share of a tile's voxels that a class keeps
    TileEqualization(const std::array<std::size_t, 3>& sizes, double clipLimit)
        : m_sizes(sizes), m_clipLimit(clipLimit) {}

    /// One step of the run, and one more where the image is not of 8 bits. @param output of the extents and the type of
    /// the result; may be the input
    void run(BaseAlgorithm& algorithm, OptimLevelType level, const ImageModel& input, ImageModel& output) const;

    /// Peak bytes of working memory for an image whose spatial extents are given.
    std::size_t memory(const std::array<std::size_t, 3>& extents, std::size_t threads) const;

private:
    std::array<std::size_t, 3> m_sizes;
    double m_clipLimit;
};

}  // namespace rix::manipulation
