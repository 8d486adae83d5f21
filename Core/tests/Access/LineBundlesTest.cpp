// Bundles of lines: every line of every axis once and whole. Their borders are tested with the filters along lines.

#include <rix/access/ForcedStores.h>
#include <rix/access/LineBundles.h>

#include "AccessTestTools.h"

namespace rix::access {
namespace {

using test::Extents;
using test::TestContext;

TEST(LineBundles, TurnTheLinesOfEveryAxisAround) {
    const test::ImageTraits images[] = {
        {.voxelType = RIX_INT16, .extents = {37, 21, 5, 3, 2}, .elementType = VECTOR_3},
        {.voxelType = RIX_FLOAT32, .extents = {131, 3, 37, 1, 1}},
        // Of the type of the work, and rows of whole lines of the cache.
        {.voxelType = RIX_FLOAT64, .extents = {72, 35, 4, 2, 1}},
    };
    for (const test::ImageTraits& traits : images) {
        const auto made = [&](const auto& move) {
            return test::makeImage(traits, [&](std::size_t x, std::size_t y, std::size_t z, std::size_t t,
                                               std::size_t s, std::size_t sample) {
                const Extents at = move(Extents{x, y, z, t, s});
                return at[0] * 7 + at[1] * 3 + at[2] * 500 + at[3] * 50 + at[4] * 1000 + sample;
            });
        };
        const io::MemoryImage image = made([](const Extents& at) { return at; });
        for (const Components axis : {COLUMNS, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES}) {
            const io::MemoryImage expected = made([&](Extents at) {
                at[axis] = traits.extents[axis] - 1 - at[axis];
                return at;
            });
            for (const std::size_t bytes : {std::size_t{1024}, usualBlockBytes}) {
                for (const Stores stores : {Stores::Cached, Stores::Streaming}) {
                    const ScopedBlockBytes blocks(bytes);
                    const ForcedStores forced(stores);
                    io::MemoryImage output = image;
                    TestContext context(parallelScheduler());
                    forEachBundle<double>(context, output, output, axis, {}, [](Bundle<double>& bundle) {
                        const auto last = static_cast<std::int64_t>(bundle.length()) - 1;
                        for (std::int64_t i = 0; i < last - i; ++i) {
                            std::swap_ranges(bundle.row(i), bundle.row(i) + bundle.paddedWidth(), bundle.row(last - i));
                        }
                    });
                    EXPECT_TRUE(test::imagesEqual(expected, output)) << "axis " << axis << ", blocks of " << bytes;
                    EXPECT_GT(context.blocks, 0U);
                }
            }
        }
    }
}

TEST(LineBundles, TransposeSamplesOfFourBytes) {
    const test::ImageTraits traits{.voxelType = RIX_FLOAT32, .extents = {208, 37, 3, 1, 1}};
    const io::MemoryImage image =
        test::makeImage(traits, [](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t, std::size_t) {
            return x * 7 + y * 2000 + z * 90000;
        });
    const io::MemoryImage zeros = test::makeImage(
        traits, [](std::size_t, std::size_t, std::size_t, std::size_t, std::size_t, std::size_t) { return 0; });
    for (const Stores stores : {Stores::Cached, Stores::Streaming}) {
        const ForcedStores forced(stores);
        io::MemoryImage output = zeros;
        TestContext context(serialScheduler());
        std::size_t wrong = 0;
        forEachBundle<float>(context, image, output, COLUMNS, {}, [&](Bundle<float>& bundle) {
            const Block& block = bundle.block();
            for (std::size_t i = 0; i < bundle.length(); ++i) {
                for (std::size_t line = 0; line < bundle.width(); ++line) {
                    const std::size_t y = block.rows().begin + line % block.rows().length();
                    const std::size_t z = block.planes().begin + line / block.rows().length();
                    const auto expected = static_cast<float>(i * 7 + y * 2000 + z * 90000);
                    wrong += bundle.row(static_cast<std::int64_t>(i))[line] != expected;
                }
            }
        });
        EXPECT_EQ(wrong, 0U);
        EXPECT_TRUE(test::imagesEqual(image, output));
    }
}

TEST(LineBundles, RefuseExtentsThatDifferAndReachesWithoutEnd) {
    const io::MemoryImage image = test::imageOf(RIX_UINT8, {70, 41, 3, 1, 1});
    io::MemoryImage output = test::imageOf(RIX_FLOAT32, {70, 41, 3, 1, 1});
    io::MemoryImage other = test::imageOf(RIX_FLOAT32, {70, 40, 3, 1, 1});
    TestContext context(serialScheduler());
    const auto sum = [&](io::MemoryImage& out, Components axis, const BundleNeeds& needs) {
        forEachBundle<float>(context, image, out, axis, needs, [](Bundle<float>& bundle) { bundle.setResult(0); });
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
