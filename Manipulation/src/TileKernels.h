#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::manipulation {

/// The classes of grey values that the tiles of an equalisation tell apart.
struct TileClasses {
    static constexpr std::size_t count = 256;
    /// Shares at the lower ends of the classes, and 1; of values, shares up to each, and one that is not looked at.
    static constexpr std::size_t entries = count + 1;

    double minimum;
    double maximum;
    bool areValues;  ///< class k is the value minimum + k
};

/// A share of a tile beside that of the next tile: both are looked up together.
struct SharePair {
    float ofTile = 0.0F;
    float ofNext = 0.0F;
};

/// A row of tiles that lies beside a row of voxels: the entries of its tiles, one tile behind the other, and its
/// weight.
struct TileRow {
    const SharePair* shares;
    float weight;
};

/// How the voxels of a row become shares.
struct TileMap {
    TileClasses classes;
    double low;  ///< the value of share 0
    double high;
    const TileRow* tileRows;
    std::size_t numberOfTileRows;
};

/// Rows of values, in whole vectors: `count` is a multiple of `TileKernels::vector`.
struct TileKernels {
    static constexpr std::size_t vector = 16;
    static constexpr std::size_t mostValues = 512;  ///< a row is longer in pieces, which the first-level cache holds

    /// The classes of values. Those of values that are not finite are any.
    void (*classesOf)(const double* values, std::size_t count, const TileClasses& classes, std::int32_t* out);
    /// Replaces values by those of their shares, between those of four or more tiles; NaN stays.
    /// @param tiles the tile of which the entries are looked up, and of the next one, of each column
    /// @param ways the share of the next tile
    void (*map)(double* values, std::size_t count, const TileMap& map, const std::int32_t* tiles, const float* ways);
};

TileKernels tileKernels(OptimLevelType level);

}  // namespace rix::manipulation
