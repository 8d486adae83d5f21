#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>

#include <rix/access/Blocks.h>
#include <rix/access/BorderPolicy.h>
#include <rix/access/ExecutionContext.h>
#include <rix/access/Regions.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

namespace rix::geometry {

/// Finds the places of elements that lie on no even grid. Made by the thread that uses it, once a block.
class PlaceFinder {
public:
    PlaceFinder() = default;
    PlaceFinder(const PlaceFinder&) = delete;
    PlaceFinder& operator=(const PlaceFinder&) = delete;
    virtual ~PlaceFinder() = default;
    /// Writes, for each axis of the job, the place of each element of a segment of an output. What is no number counts
    /// as far before the first element.
    virtual void find(const access::RowSegment& segment, const std::array<double*, 3>& places) = 0;
};

/// Where the elements of an output lie in the input, and how its samples there are found.
struct PlaceJob {
    access::RegionMap map;
    /// Finds the places where they follow no map.
    std::function<std::unique_ptr<PlaceFinder>()> makeFinder{};
    std::size_t finderBytes = 0;  ///< that a finder holds, for rows of so many elements as a tile has
    std::size_t axes = 3;         ///< 2: planes by themselves, each place in the plane of its element
    int degree = 1;               ///< 0: the nearest element; 1: linear; 2 to 5: splines
    access::BorderPolicy border = access::BorderPolicy::FIXED;
    double borderValue = 0.0;
};

/// No place may be farther from the input's first element, on an axis: beyond, doubles are too coarse.
inline constexpr double farthestPlace = 0x1p40;

/// Whether the places of all elements of an output are finite and not too far.
bool placesAreNear(const access::RegionMap& map, const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents);

/// Samples an image at places. Takes as many steps of the run as it needs.
/// @param input real; `output` of its type, frames and channels, and of its planes where these are by themselves; they
///        share no samples
void samplePlaces(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const PlaceJob& job,
                  OptimLevelType level);

/// The most columns that a row has whose places are found together.
std::size_t placeTileColumns(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, std::size_t axes);

/// The most bytes that it holds. @param extents of the output
std::size_t placeSamplingMemory(const ImageModel& input, const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents,
                                const PlaceJob& job, std::size_t threads);

}  // namespace rix::geometry
