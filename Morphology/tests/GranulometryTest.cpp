// Sizes of what an image is made of, by openings that stand for themselves.

#include <rix/morphology/Granulometry2d.h>
#include <rix/morphology/Granulometry3d.h>
#include <rix/morphology/Opening2d.h>

#include "Testing.h"

namespace rix::test {
namespace {

template <class Filter>
morphology::GranulometryMsr sizesOf(const ImageModel& image, double radius, bool inWorld = false) {
    Filter filter;
    morphology::GranulometryMsr table;
    filter.setInputImage(&image);
    filter.setMaximumRadius(radius);
    filter.setLengthUnit(inWorld ? Filter::WORLD : Filter::VOXEL);
    filter.setOutputMeasurement(&table);
    const std::size_t stated = filter.describe().extraMemory;
    filter.run();
    EXPECT_LE(filter.getPeakExtraMemory(), stated);
    return table;
}

TEST(Granulometry, HasTheSumsOfOpenings) {
    const io::MemoryImage image = makeRandomImage({.voxelType = RIX_INT16, .extents = {50, 41, 2, 1, 1}}, 11);
    const morphology::GranulometryMsr table = sizesOf<morphology::Granulometry2d>(image, 4.5);
    ASSERT_EQ(table.sum.size(), 5U);
    double left = 0;
    for (std::size_t i = 0; i < 5; ++i) {
        morphology::Opening2d opening;
        io::MemoryImage opened;
        opening.setInputImage(&image);
        opening.setStructuringElement(morphology::Opening2d::DISK);
        opening.setRadius(static_cast<double>(i));
        opening.setOutputImage(&opened);
        opening.run();
        const std::vector<double> samples = samplesOf<double>(opened);
        EXPECT_EQ(table.radius[i], static_cast<double>(i));
        EXPECT_EQ(table.sum[i], std::accumulate(samples.begin(), samples.end(), 0.0)) << i;
        left += table.share[i];
    }
    EXPECT_NEAR(left, 1, 1e-12);
    for (const double radius : {0.5, 1001.0, std::nan("")}) {
        EXPECT_THROW(sizesOf<morphology::Granulometry2d>(image, radius), RuleException);
    }
}

/// A ball that is round in the world stays as it is until the opening with the next larger one takes it, whatever else
/// is in the image. (Smaller balls take some of its corners: those of a grid are not unions of smaller ones.)
TEST(Granulometry, FindsTheRadiiOfBalls) {
    const auto makeBalls = [](double small) {
        io::MemoryImage image =
            makeImage({.extents = {40, 20, 26, 1, 1}, .interpretation = RIX_BINARY},
                      [small](std::size_t x, std::size_t y, std::size_t z, auto...) {
                          const auto isNear = [&](double a, double b, double c, double radius) {
                              const double dx = 0.5 * (static_cast<double>(x) - a);
                              const double dy = static_cast<double>(y) - b;
                              const double dz = 0.5 * (static_cast<double>(z) - c);
                              return dx * dx + dy * dy + dz * dz <= radius * radius;
                          };
                          return (small > 0 && isNear(6, 9, 6, small)) || isNear(25, 9, 13, 5) ? 1 : 0;
                      });
        image.setSpacingOf(COLUMNS, 0.5);
        image.setSpacingOf(ROWS, 1.0);
        image.setSpacingOf(PLANS, -0.5);
        return image;
    };
    const io::MemoryImage image = makeBalls(2);
    const auto both = sizesOf<morphology::Granulometry3d>(image, 5.5, true);
    const auto large = sizesOf<morphology::Granulometry3d>(makeBalls(-1), 5.5, true);
    ASSERT_EQ(both.radius.size(), 12U);
    const double small = both.sum[0] - large.sum[0];
    EXPECT_EQ(both.radius[4], 2.0);
    EXPECT_EQ(both.sum[4] - large.sum[4], small);
    for (std::size_t i = 5; i < 12; ++i) {
        EXPECT_EQ(both.sum[i], large.sum[i]) << i;
    }
    EXPECT_EQ(both.radius[10], 5.0);
    EXPECT_EQ(both.sum[10], large.sum[0]);
    EXPECT_EQ(both.sum[11], 0.0);
    // Discs that hold whole planes leave the least of each.
    const io::MemoryImage planes = makeImage(
        {.voxelType = RIX_INT16, .extents = {6, 5, 2, 1, 1}},
        [](std::size_t x, std::size_t y, std::size_t z, auto...) { return (x * 7 + y * 5) % 11 + 3 * z - 4; });
    const auto flat = sizesOf<morphology::Granulometry2d>(planes, 9);
    for (std::size_t i = 7; i < 10; ++i) {
        EXPECT_EQ(flat.sum[i], 30.0 * (-4 - 1)) << i;
    }
}

}  // namespace
}  // namespace rix::test
