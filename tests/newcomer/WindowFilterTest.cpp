// The window filter that the documentation shows: it must work as it is printed there.

#include <algorithm>
#include <limits>

#include <gtest/gtest.h>

#include <rix/access/BlockSize.h>
#include <rix/access/BorderConditions.h>
#include <rix/exceptions/Exception.h>

#include "ImageComparison.h"
#include "ImageFactories.h"
#include "LocalRange2d.h"

namespace rix::filtering {
namespace {

using Policy = LocalRange2d::BorderPolicy;
using Index = std::size_t;

/// Straight from the definition.
io::MemoryImage referenceOf(const io::MemoryImage& image, std::int64_t radius, bool lessVoxel, Policy policy) {
    const auto n = helper::getExtents(image);
    const auto* const samples = reinterpret_cast<const std::int16_t*>(image.getImageBuffer());
    const auto at = [&](std::int64_t x, std::int64_t y, Index plane) -> double {
        const auto columns = static_cast<std::int64_t>(n[COLUMNS]);
        const auto rows = static_cast<std::int64_t>(n[ROWS]);
        const bool inside = x >= 0 && x < columns && y >= 0 && y < rows;
        if (!inside && policy == Policy::FIXED) {
            return -7.0;
        }
        const auto onAxis = [&](std::int64_t i, std::int64_t extent) {
            return policy == Policy::MIRROR ? access::computeCoord(i, extent)
                                            : std::clamp<std::int64_t>(i, 0, extent - 1);
        };
        const std::int64_t row = static_cast<std::int64_t>(plane * n[ROWS]) + onAxis(y, rows);
        return samples[row * columns + onAxis(x, columns)];
    };
    return test::makeImage({.voxelType = RIX_FLOAT32, .extents = n}, [&](Index x, Index y, Index z, Index, Index) {
        double smallest = std::numeric_limits<double>::infinity();
        double largest = -smallest;
        const auto column = static_cast<std::int64_t>(x);
        const auto row = static_cast<std::int64_t>(y);
        for (std::int64_t dy = -radius; dy <= radius; ++dy) {
            for (std::int64_t dx = -radius; dx <= radius; ++dx) {
                smallest = std::min(smallest, at(column + dx, row + dy, z));
                largest = std::max(largest, at(column + dx, row + dy, z));
            }
        }
        return static_cast<float>(largest - (lessVoxel ? at(column, row, z) : smallest));
    });
}

TEST(WindowFilter, TheDocumentedFilterFollowsItsDefinition) {
    const io::MemoryImage image = test::makeRandomImage({.voxelType = RIX_INT16, .extents = {230, 19, 2, 1, 1}}, 4);
    for (const std::size_t bytes : {access::usualBlockBytes, std::size_t{1024}}) {
        const access::ScopedBlockBytes blocks(bytes);
        for (const Policy policy : {Policy::MIRROR, Policy::CONTINUE, Policy::FIXED}) {
            for (const int radius : {0, 1, 3}) {
                for (const auto difference : {LocalRange2d::LARGEST_LESS_SMALLEST, LocalRange2d::LARGEST_LESS_VOXEL}) {
                    io::MemoryImage output;
                    LocalRange2d filter;
                    filter.setInputImage(&image);
                    filter.setRadius(radius);
                    filter.setDifference(difference);
                    filter.setBorderPolicy(policy);
                    filter.setBorderValue(-7.0);
                    filter.setOutputImage(&output);
                    filter.run();
                    const bool lessVoxel = difference == LocalRange2d::LARGEST_LESS_VOXEL;
                    EXPECT_TRUE(test::imagesEqual(referenceOf(image, radius, lessVoxel, policy), output))
                        << "radius " << radius << ", policy " << static_cast<int>(policy);
                    EXPECT_LE(filter.getPeakExtraMemory(), filter.describe().extraMemory);
                }
            }
        }
    }
}

TEST(WindowFilter, TheDocumentedRulesRefuse) {
    io::MemoryImage image = test::makeRandomImage({.voxelType = RIX_FLOAT32, .extents = {9, 9, 1, 1, 1}}, 4);
    LocalRange2d filter;
    filter.setInputImage(&image);
    filter.setOutputImage(&image);
    EXPECT_THROW(filter.run(), RuleException) << "what is written must not be read again";
    io::MemoryImage output;
    filter.setOutputImage(&output);
    filter.setRadius(-1);
    EXPECT_THROW(filter.run(), RuleException);
}

}  // namespace
}  // namespace rix::filtering
