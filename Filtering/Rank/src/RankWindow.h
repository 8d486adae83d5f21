#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/Blocks.h>
#include <rix/access/Buffer.h>

namespace rix::filtering::rank {

/// The voxels that are compared: a box, or those of its box whose distance from the middle is at most the radius.
struct RankWindow {
    std::size_t columns = 1;
    std::size_t rows = 1;
    std::size_t planes = 1;
    bool isRound = false;
    std::size_t radius = 0;  ///< when round

    static constexpr std::size_t mostVoxels = std::size_t{1} << 20;
    static constexpr std::size_t longestSide = 1023;

    static RankWindow box(std::size_t columns, std::size_t rows, std::size_t planes) { return {columns, rows, planes}; }
    static RankWindow round(std::size_t radius, bool ofVolumes) {
        const std::size_t side = 2 * radius + 1;
        return {side, side, ofVolumes ? side : 1, true, radius};
    }

    access::Reach reach() const { return access::reachOfWindow(columns, rows, planes); }
    /// Voxels of the box.
    std::size_t boxVoxels() const { return columns * rows * planes; }
    /// Voxels on either side of the middle in a row of the window, or -1 where the row has none.
    /// @param row,plane from 0 on. For round windows
    std::int64_t halfChord(std::size_t row, std::size_t plane) const;
    /// Voxels of the window.
    std::size_t voxels() const;
};

/// The index of the value of a rank among n.
inline std::size_t indexOfRank(double rank, std::size_t n) {
    return static_cast<std::size_t>(rank * static_cast<double>(n - 1) + 1e-9);
}

}  // namespace rix::filtering::rank
