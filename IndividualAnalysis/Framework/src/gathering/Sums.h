#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace rix::individual_analysis {

__extension__ typedef __int128 Int128;

/// Always gathered. Positions are indices of elements; all sums are exact. One cache line.
struct ShapeSums {
    std::uint64_t count = 0;                  ///< pixels
    std::uint64_t runs = 0;                   ///< maximal runs of pixels along the columns
    std::array<std::uint64_t, 3> position{};  ///< sums of the column, row and plane
    std::array<std::uint32_t, 3> lower{none, none, none};
    std::array<std::uint32_t, 3> upper{};  ///< of the last element, not past it

    static constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();
};

/// Sums of products of two coordinates, exact.
struct SecondMoments {
    Int128 xx = 0, yy = 0, zz = 0, xy = 0, xz = 0, yz = 0;
};

/// The 13 directions to half of the neighbours of a voxel: along the columns; to the row above; to the plane below.
inline constexpr std::size_t directionCount = 13;
inline constexpr std::size_t directionsInPlane = 4;
inline constexpr std::array<std::array<int, 3>, directionCount> directions{{{1, 0, 0},
                                                                            {-1, -1, 0},
                                                                            {0, -1, 0},
                                                                            {1, -1, 0},
                                                                            {-1, -1, -1},
                                                                            {0, -1, -1},
                                                                            {1, -1, -1},
                                                                            {-1, 0, -1},
                                                                            {0, 0, -1},
                                                                            {1, 0, -1},
                                                                            {-1, 1, -1},
                                                                            {0, 1, -1},
                                                                            {1, 1, -1}}};

/// How the pixels of an object lie to each other.
struct ContactSums {
    /// Pairs of pixels that are neighbours in a direction; not counted for the columns, where they follow from the
    /// runs.
    std::array<std::uint64_t, directionCount> pairs{};
    std::int64_t euler = 0;  ///< what is added to the number of runs to make the Euler number
};

/// Sums of the grey values of one channel.
struct IntensitySums {
    double sum = 0.0;      ///< within a band of v - shift, then of v
    double squares = 0.0;  ///< within a band of (v - shift)^2, then about the mean
    double minimum = std::numeric_limits<double>::infinity();
    double maximum = -std::numeric_limits<double>::infinity();
    double shift = std::numeric_limits<double>::quiet_NaN();  ///< of a band; not set before its first value
};

/// Sums of v times column, row and plane.
using WeightedPosition = std::array<double, 3>;

/// The first and last pixel of an object in a row; [begin, end) may contain other pixels.
struct OutlineRow {
    std::uint32_t slot;
    std::uint32_t row;
    std::uint32_t plane;
    std::uint32_t begin;
    std::uint32_t end;
};

}  // namespace rix::individual_analysis
