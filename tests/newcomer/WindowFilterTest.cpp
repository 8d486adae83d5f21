// The window filter that the documentation shows: it must work as it is printed there.

#include <algorithm>

#include <gtest/gtest.h>

#include <rix/access/BlockSize.h>
#include <rix/exceptions/Exception.h>

#include "ImageComparison.h"
#include "ImageFactories.h"
#include "LocalRange2d.h"
#include "WindowReference.h"

namespace rix::filtering {
namespace {

using Policy = LocalRange2d::BorderPolicy;
/// Straight from the definition.
io::MemoryImage referenceOf(const io::MemoryImage& image, std::int64_t radius, bool lessVoxel, Policy policy) {
    return test::windowReference(image, RIX_FLOAT32, policy, -7.0, [&](const test::Neighbours& at) {
        double smallest = at(0, 0);
        double largest = smallest;
        for (std::int64_t dy = -radius; dy <= radius; ++dy) {
            for (std::int64_t dx = -radius; dx <= radius; ++dx) {
                smallest = std::min(smallest, at(dx, dy));
                largest = std::max(largest, at(dx, dy));
            }
        }
        return static_cast<float>(largest - (lessVoxel ? at(0, 0) : smallest));
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
