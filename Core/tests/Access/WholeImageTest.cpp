// Whole images as arrays: the image's own memory where it is one, else a copy that comes back.

#include <cstdint>
#include <numeric>

#include <gtest/gtest.h>

#include <rix/access/BlockScheduler.h>
#include <rix/access/ImageModelProxy.h>
#include <rix/access/WholeImage.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageModelFull3d.h>

#include "AccessTestTools.h"
#include "ImageComparison.h"
#include "ImageFactories.h"

namespace rix::access {
namespace {

using test::CopyOnly;
using test::TestContext;

TEST(WholeImage, IsTheImagesMemoryWhereThatIsOneArray) {
    io::MemoryImage image = test::makeRandomImage({.voxelType = RIX_INT16, .extents = {30, 20, 4, 3, 2}}, 4);
    auto* const samples = reinterpret_cast<std::int16_t*>(image.getInternalBuffer());
    TestContext context(parallelScheduler());
    ImageModelFull3d volume(&image, 1, 1);
    EXPECT_EQ(WholeInput<std::int16_t>(context, image).data(), samples);
    EXPECT_EQ(WholeInput<std::int16_t>(context, volume).data(), samples + 4 * 2400);
    EXPECT_EQ(WholeOutput<std::int16_t>(volume).data(), samples + 4 * 2400);
    const WholeInput<std::int16_t> copy(context, image, Sharing::Never);
    EXPECT_TRUE(copy.isCopy());
    EXPECT_TRUE(std::equal(copy.data(), copy.data() + 14400, samples));
    EXPECT_TRUE(WholeInput<float>(context, image).isCopy());
}

TEST(WholeImage, CopiesEveryStorageAndBack) {
    const ScopedBlockBytes blocks(1024);
    ShuffledScheduler shuffled(5);
    for (const ElementTypes elements : {SINGLE, VECTOR_2}) {
        const io::MemoryImage image =
            test::makeRandomImage({.voxelType = RIX_UINT16, .extents = {37, 21, 5, 3, 2}, .elementType = elements}, 4);
        const std::size_t count = 37 * 21 * 5 * 3 * 2 * helper::getElementNumber(elements);
        CopyOnly source;
        CopyOnly target;
        ASSERT_NO_FATAL_FAILURE(test::copyInto(source, image));
        ASSERT_TRUE(target.reserve(elements, RIX_INT32, 37, 21, 5, 3, 2));
        for (BlockScheduler* scheduler : {&parallelScheduler(), static_cast<BlockScheduler*>(&shuffled)}) {
            TestContext context(*scheduler);
            for (const ImageModel* input :
                 {static_cast<const ImageModel*>(&image), static_cast<const ImageModel*>(&source)}) {
                const WholeInput<double> in(context, *input);
                EXPECT_EQ(in.data()[count - 1],
                          reinterpret_cast<const std::uint16_t*>(image.getInternalBuffer())[count - 1]);
                WholeOutput<double> out(target);
                ASSERT_TRUE(out.isTemporary());
                std::transform(in.data(), in.data() + count, out.data(), [](double value) { return value - 7; });
                out.commit(context);
                const io::MemoryImage expected = test::makeImage(
                    {.voxelType = RIX_INT32, .extents = {37, 21, 5, 3, 2}, .elementType = elements},
                    [&, next = std::size_t{0}](std::size_t, std::size_t, std::size_t, std::size_t, std::size_t,
                                               std::size_t) mutable {
                        return reinterpret_cast<const std::uint16_t*>(image.getInternalBuffer())[next++] - 7;
                    });
                EXPECT_TRUE(test::imagesEqual(expected, target,
                                              {.headers = test::ComparisonOptions::Headers::ExtentsAndTypes}));
            }
            source.allowedReads = source.reads + 20;
            EXPECT_THROW(WholeInput<double>(context, source), UnexpectedError);
            source.allowedReads = std::numeric_limits<std::size_t>::max();
            WholeOutput<double> out(target);
            std::fill_n(out.data(), count, 0.0);
            target.fails = true;
            EXPECT_THROW(out.commit(context), UnexpectedError);
            target.fails = false;
        }
    }
}

}  // namespace
}  // namespace rix::access
