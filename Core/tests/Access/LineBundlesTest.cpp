// Bundles of lines: every line once, whole, with its border, whatever the axis, the storage and the cut.

#include <algorithm>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include <rix/access/BlockScheduler.h>
#include <rix/access/LineBundles.h>
#include <rix/exceptions/Exception.h>

#include "AccessTestTools.h"
#include "ImageComparison.h"
#include "ImageFactories.h"
#include "Sanitizers.h"

namespace rix::access {
namespace {

using test::CopyOnly;
using test::Extents;
using test::TestContext;

constexpr Components allAxes[] = {COLUMNS, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES};

std::int64_t sampleAt(const Extents& at, std::size_t sample) {
    return static_cast<std::int64_t>((at[0] * 7 + at[1] * 3 + at[2] * 5 + at[3] + 2 * at[4] + sample) % 11);
}

/// Sums of windows around each element, from the definition; a reach before of the whole axis makes prefix sums.
io::MemoryImage referenceSums(const test::ImageTraits& traits, Components axis, const BundleNeeds& needs) {
    const auto n = static_cast<std::int64_t>(traits.extents[axis]);
    return test::makeImage(
        traits, [&](std::size_t x, std::size_t y, std::size_t z, std::size_t t, std::size_t s, std::size_t sample) {
            Extents at{x, y, z, t, s};
            const auto i = static_cast<std::int64_t>(at[axis]);
            std::int64_t sum = 0;
            for (std::int64_t j = i - static_cast<std::int64_t>(needs.reach.before);
                 j <= i + static_cast<std::int64_t>(needs.reach.after); ++j) {
                const bool inside = j >= 0 && j < n;
                if (!inside && needs.border == BorderPolicy::FIXED) {
                    sum += static_cast<std::int64_t>(needs.borderValue);
                    continue;
                }
                const std::int64_t reflected = ((j % (2 * n)) + 2 * n) % (2 * n);
                const std::int64_t mirrored = reflected < n ? reflected : 2 * n - 1 - reflected;
                at[axis] = static_cast<std::size_t>(
                    needs.border == BorderPolicy::CONTINUE ? std::clamp<std::int64_t>(j, 0, n - 1) : mirrored);
                sum += sampleAt(at, sample);
            }
            return sum;
        });
}

/// Puts each sum where the first element of its window was.
template <class Work>
void sumWindows(Bundle<Work>& bundle, const Reach::Axis& reach) {
    const auto before = static_cast<std::int64_t>(reach.before);
    for (std::int64_t i = 0; i < static_cast<std::int64_t>(bundle.length()); ++i) {
        for (std::size_t x = 0; x < bundle.paddedWidth(); ++x) {
            Work sum{};
            for (std::int64_t j = i - before; j <= i + static_cast<std::int64_t>(reach.after); ++j) {
                sum = static_cast<Work>(sum + bundle.row(j)[x]);
            }
            bundle.row(i - before)[x] = sum;
        }
    }
    bundle.setResult(-before);
}

template <class Work>
void compareSums(ExecutionContext& context, const ImageModel& input, ImageModel& output, Components axis,
                 const BundleNeeds& needs, const io::MemoryImage& expected) {
    forEachBundle<Work>(context, input, output, axis, needs,
                        [&](Bundle<Work>& bundle) { sumWindows(bundle, needs.reach); });
    EXPECT_TRUE(test::imagesEqual(expected, output, {.headers = test::ComparisonOptions::Headers::ExtentsAndTypes}));
}

TEST(LineBundles, GiveEveryLineWithItsBorder) {
    struct Case {
        test::ImageTraits traits;
        std::size_t bytes;
    };
    const Case cases[] = {
        {{.voxelType = RIX_UINT8, .extents = {37, 21, 5, 3, 2}}, 1024},
        {{.voxelType = RIX_FLOAT32, .extents = {37, 21, 5, 1, 1}}, 1024},
        {{.voxelType = RIX_INT16, .extents = {131, 3, 17, 1, 1}}, usualBlockBytes},
        {{.voxelType = RIX_FLOAT64, .extents = {1, 67, 2, 2, 1}, .elementType = VECTOR_3}, 1024},
        {{.voxelType = RIX_UINT32, .extents = {19, 1, 1, 1, 1}}, 1},
    };
    const BundleNeeds needs[] = {{.reach = {2, 1}},
                                 {.reach = {3, 40}, .border = BorderPolicy::CONTINUE},
                                 {.reach = {1, 2}, .border = BorderPolicy::FIXED, .borderValue = 4},
                                 {}};
    ShuffledScheduler shuffled(7);
    test::Sampling sampling(3);
    for (const Case& c : cases) {
        const ScopedBlockBytes blocks(c.bytes);
        const io::MemoryImage memory =
            test::makeImage(c.traits, [](std::size_t x, std::size_t y, std::size_t z, std::size_t t, std::size_t s,
                                         std::size_t sample) { return sampleAt({x, y, z, t, s}, sample); });
        CopyOnly copied;
        ASSERT_NO_FATAL_FAILURE(test::copyInto(copied, memory));
        for (const Components axis : allAxes) {
            for (const BundleNeeds& need : needs) {
                if (!sampling.takesNext()) {
                    continue;
                }
                SCOPED_TRACE(helper::describeImage(memory) + ", axis " + std::to_string(axis));
                const io::MemoryImage expected = referenceSums(c.traits, axis, need);
                TestContext parallel(parallelScheduler());
                TestContext random(shuffled);
                io::MemoryImage output = memory;
                compareSums<float>(parallel, memory, output, axis, need, expected);
                EXPECT_GT(parallel.blocks, 0U);
                output = memory;
                compareSums<std::int32_t>(random, output, output, axis, need, expected);
                CopyOnly target;
                ASSERT_NO_FATAL_FAILURE(test::copyInto(target, memory));
                compareSums<double>(random, copied, target, axis, need, expected);
                EXPECT_EQ(random.done, random.announced);
            }
        }
    }
}

TEST(LineBundles, RefuseExtentsThatDifferAndReachesWithoutEnd) {
    const io::MemoryImage image = test::imageOf(RIX_UINT8, {70, 41, 3, 1, 1});
    io::MemoryImage output = test::imageOf(RIX_FLOAT32, {70, 41, 3, 1, 1});
    io::MemoryImage other = test::imageOf(RIX_FLOAT32, {70, 40, 3, 1, 1});
    TestContext context(serialScheduler());
    const auto sum = [&](io::MemoryImage& out, Components axis, const BundleNeeds& needs) {
        forEachBundle<float>(context, image, out, axis, needs,
                             [&](Bundle<float>& bundle) { sumWindows(bundle, needs.reach); });
    };
    constexpr std::size_t huge = std::size_t{1} << 62;
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        EXPECT_THROW(sum(output, axis, {{huge, 0}}), MemoryError);
        EXPECT_THROW(sum(output, axis, {{huge * 2, huge * 2}}), MemoryError);
    }
    EXPECT_THROW(sum(other, ROWS, {}), UnexpectedError);
}

}  // namespace
}  // namespace rix::access
