#include "ConvolutionTiles.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <rix/access/BlockSize.h>
#include <rix/exceptions/Exception.h>

namespace rix::filtering::frequency {

namespace {

/// Tiles of single precision and their spectra are 1 MiB, half a level-2 cache: larger ones cost more a voxel.
constexpr std::size_t extentOfPlanes = 360;
constexpr std::size_t extentOfVolumes = 50;

/// Rough cost of all of a tile but the transforms themselves, and of these a sample and a halving.
constexpr double nanosecondsPerSample = 4.0;
constexpr double nanosecondsPerHalving = 0.4;

constexpr std::size_t largestExtent = std::size_t{1} << 40;

/// The extent of tiles on an axis for which the least is computed: for a longer one less is computed twice, but the
/// last one of the axis may be nearly empty.
std::size_t bestExtent(std::size_t extent, std::size_t kernel, std::size_t usual) {
    if (extent > largestExtent || kernel > largestExtent) {
        throw MemoryError("The tiles of the convolution have more elements than can be counted.");
    }
    const std::size_t longest = std::max(fastExtent(2 * kernel), fastExtent(usual));
    const std::size_t largest = extent + kernel - 1 < longest ? fastExtent(extent + kernel - 1) : longest;
    std::size_t best = 0;
    double lowestCost = std::numeric_limits<double>::infinity();
    for (std::size_t n = fastExtent(kernel); n <= largest; n = fastExtent(n + 1)) {
        const std::size_t results = n - kernel + 1;
        const auto tiles = static_cast<double>((extent + results - 1) / results);
        const double cost = tiles * static_cast<double>(n) *
                            (nanosecondsPerSample + nanosecondsPerHalving * std::log2(static_cast<double>(n)));
        if (cost < lowestCost) {
            lowestCost = cost;
            best = n;
        }
    }
    return best;
}

double nanosecondsOf(const ConvolutionTiles& tiles) {
    const auto samples = static_cast<double>(tiles.samples());
    return samples * (nanosecondsPerSample + nanosecondsPerHalving * std::log2(samples));
}

}  // namespace

access::Reach ConvolutionTiles::reach() const {
    // The kernel is turned over: its last element lies where the window begins.
    const auto axis = [](std::size_t extent) { return access::Reach::Axis{extent - 1 - extent / 2, extent / 2}; };
    return {axis(kernel[0]), axis(kernel[1]), axis(kernel[2])};
}

ConvolutionTiles tilesOf(const ImageModel& image, const ImageModel& kernel, bool volumes) {
    const std::array<std::size_t, RIX_COMPONENTS_SIZE> extents = helper::getExtents(image);
    ConvolutionTiles tiles{.plan = access::Plan(extents, access::JoinedAxes::None)};
    const bool flat = !volumes || kernel.getNumOf(PLANS) == 1;
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        tiles.kernel[axis] = kernel.getNumOf(axis);
        const bool single = axis == PLANS && flat;
        tiles.tile[axis] =
            single ? 1 : bestExtent(extents[axis], tiles.kernel[axis], flat ? extentOfPlanes : extentOfVolumes);
        tiles.results[axis] = tiles.tile[axis] - tiles.kernel[axis] + 1;
        tiles.plan.cut(axis, {.step = tiles.results[axis]});
    }
    tiles.plan.cut(SEQUENCE, {.step = 1});
    tiles.plan.cut(SPECTRAL_SERIES, {.step = 1});
    std::size_t samples = 0;
    if (!helper::multiplyExtents({tiles.tile[0], tiles.tile[1], tiles.tile[2], 4 * sizeof(double), 1}, samples)) {
        throw MemoryError("The tiles of the convolution have more elements than can be counted.");
    }
    tiles.plan.setSmall(static_cast<double>(tiles.plan.blockCount()) * nanosecondsOf(tiles) <
                        access::smallWorkNanoseconds());
    return tiles;
}

}  // namespace rix::filtering::frequency
