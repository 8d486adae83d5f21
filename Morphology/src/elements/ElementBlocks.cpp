#include "ElementBlocks.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include <rix/access/BlockSize.h>

#include "CheapestBlocks.h"

namespace rix::morphology {

namespace {

/// A line of the cache more than a multiple of two, so that rows below each other don't share places in the cache.
std::size_t pitchOf(std::size_t columns, std::size_t keyBytes) {
    constexpr std::size_t line = 64;
    const std::size_t lines = (columns * keyBytes + line - 1) / line + 1;
    return (lines | 1U) * line / keyBytes;
}

/// Minima of rows for a voxel of the windows, and for one of the results.
struct Work {
    double ofWindows;
    double ofResults;
};

Work workOf(const Element& element) {
    if (!element.isBox()) {
        return {2.0 + static_cast<double>(std::bit_width(static_cast<std::size_t>(element.longestChord()))),
                2.0 * static_cast<double>(element.chordCount())};
    }
    const access::Reach reach = element.reach();
    double steps = 2.0;
    for (const std::size_t more : {reach.columns.sum(), reach.rows.sum(), reach.planes.sum()}) {
        steps += static_cast<double>(std::bit_width(more)) / 2;
    }
    return {steps, 1.0};
}

double nanosecondsOf(double minima, std::size_t keyBytes) {
    constexpr double perMinimum = 0.015;  // of a byte, out of the cache
    return minima * perMinimum * static_cast<double>(keyBytes);
}

}  // namespace

ElementBlock blockOf(const std::array<std::size_t, 3>& voxels, const Element& element, std::size_t keyBytes) {
    const access::Reach reach = element.reach();
    ElementBlock block;
    block.extents = {voxels[0] + reach.columns.sum(), voxels[1] + reach.rows.sum(), voxels[2] + reach.planes.sum()};
    block.pitch = pitchOf(block.extents[0], keyBytes);
    block.tables = element.isBox()
                       ? 1
                       : static_cast<std::size_t>(std::bit_width(static_cast<std::size_t>(element.longestChord())));
    return block;
}

access::Plan planElement(const ImageModel& image, const Element& element, std::size_t keyBytes) {
    const Work work = workOf(element);
    const bool deep = element.reach().planes.sum() > 0;
    constexpr double perDoubling = 0.06;  // beyond the cache everything takes longer
    constexpr double mostExcess = 16;
    access::Plan plan = cutIntoCheapest(
        helper::getExtents(image), {{128, 8, 1}, {16384, 1024, deep ? 128U : 1U}},
        [&](const std::array<std::size_t, 3>& voxels) {
            const ElementBlock block = blockOf(voxels, element, keyBytes);
            const double bytes = static_cast<double>(block.tableLength() * block.tables * keyBytes);
            const auto windows = static_cast<double>(block.extents[0] * block.extents[1] * block.extents[2]);
            const std::size_t count = voxels[0] * voxels[1] * voxels[2];
            const auto results = static_cast<double>(count);
            const double rowStarts = perRowStart * static_cast<double>(block.extents[1] * block.extents[2]);
            const double excess = std::max(1.0, bytes / static_cast<double>(access::blockBytes()));
            const double minima = nanosecondsOf(windows * work.ofWindows + results * work.ofResults, keyBytes);
            return BlockCost{(minima * (1 + perDoubling * std::log2(excess)) + rowStarts) / results,
                             excess > mostExcess || count > mostBlockVoxels};
        });
    plan.setSmall(static_cast<double>(plan.voxelCount()) * nanosecondsOf(work.ofWindows + work.ofResults, keyBytes) <
                  access::smallWorkNanoseconds());
    return plan;
}

}  // namespace rix::morphology
