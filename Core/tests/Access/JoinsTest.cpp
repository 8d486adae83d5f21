// Reductions: sums of reals that no cut, schedule or storage changes.

#include <rix/access/Joins.h>

#include "AccessTestTools.h"

namespace rix::access {
namespace {

using test::CopyOnly;
using test::Extents;
using test::TestContext;

/// Four running sums: element i of a leaf belongs to the sum i % 4.
struct LaneSums {
    double lane[4] = {};
    double total() const { return (lane[0] + lane[1]) + (lane[2] + lane[3]); }
};

double sumOf(BlockScheduler& scheduler, const ImageModel& image) {
    TestContext context(scheduler);
    const LaneSums sums = reduceLeaves<float, LaneSums>(
        context, image, 1.0,
        [](LaneSums& leaf, const float* samples, std::size_t count, std::size_t index) {
            for (std::size_t i = 0; i < count; ++i) {
                leaf.lane[(index + i) % 4] += double{samples[i]};
            }
        },
        [](LaneSums& left, const LaneSums& right) {
            for (std::size_t i = 0; i < 4; ++i) {
                left.lane[i] += right.lane[i];
            }
        });
    return sums.total();
}

TEST(ReduceLeaves, GivesTheSameBitsForEveryCutScheduleAndStorage) {
    test::Sampling sampling(7);
    for (const Extents& n : {Extents{731, 412, 1, 1, 1}, Extents{3, 41000, 2, 1, 3}, Extents{300000, 2, 1, 1, 1},
                             Extents{65536, 5, 1, 1, 1}, Extents{10, 10, 1, 1, 1}}) {
        SCOPED_TRACE(testing::PrintToString(n));
        const io::MemoryImage image =
            test::makeRandomImage({.voxelType = RIX_FLOAT32, .extents = n}, 5, test::Extremes::None);
        CopyOnly copied;
        ASSERT_NO_FATAL_FAILURE(test::copyInto(copied, image));
        const double expected = sumOf(serialScheduler(), image);
        double plain = 0;
        std::size_t count = 0;
        ASSERT_TRUE(helper::getElementCount(image, count));
        for (std::size_t i = 0; i < count; ++i) {
            plain += double{reinterpret_cast<const float*>(image.getImageBuffer())[i]};
        }
        EXPECT_NEAR(expected, plain, 1e-9 * static_cast<double>(count));
        ShuffledScheduler shuffled(3);
        for (const std::size_t bytes : {usualBlockBytes, std::size_t{1024}, std::size_t{1} << 24}) {
            const ScopedBlockBytes blocks(bytes);
            for (const char* mode : {"0", "1", "2", "3"}) {
                globalSettings().setValue("RIX_PARTITIONER_MODE", mode);
                for (BlockScheduler* scheduler :
                     {&serialScheduler(), &parallelScheduler(), static_cast<BlockScheduler*>(&shuffled)}) {
                    for (const ImageModel* each :
                         {static_cast<const ImageModel*>(&image), static_cast<const ImageModel*>(&copied)}) {
                        if (!sampling.takesNext()) {
                            continue;
                        }
                        EXPECT_EQ(std::bit_cast<std::uint64_t>(sumOf(*scheduler, *each)),
                                  std::bit_cast<std::uint64_t>(expected));
                    }
                }
            }
        }
        globalSettings().remove("RIX_PARTITIONER_MODE");
    }
    const io::MemoryImage empty = test::imageOf(RIX_FLOAT32, {10, 0, 1, 1, 1});
    EXPECT_EQ(sumOf(serialScheduler(), empty), 0.0);
}

}  // namespace
}  // namespace rix::access
