// Whole images as arrays: the image's own memory where it is one, else a copy that comes back.

#include <rix/access/WholeImage.h>
#include <rix/image/ImageModelFull3d.h>

#include "AccessTestTools.h"

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

TEST(WholeImage, IsACopyOfRowsThatComesBackAndFailsWithThem) {
    const io::MemoryImage image =
        test::makeRandomImage({.voxelType = RIX_INT32, .extents = {37, 21, 5, 3, 2}, .elementType = VECTOR_2}, 4);
    constexpr std::size_t count = 37 * 21 * 5 * 3 * 2 * 2;
    const auto* const samples = reinterpret_cast<const std::int32_t*>(image.getImageBuffer());
    CopyOnly source;
    CopyOnly target;
    ASSERT_NO_FATAL_FAILURE(test::copyInto(source, image));
    ASSERT_TRUE(target.reserve(VECTOR_2, RIX_INT32, 37, 21, 5, 3, 2));
    TestContext context(parallelScheduler());
    const WholeInput<double> in(context, source);
    EXPECT_TRUE(std::equal(in.data(), in.data() + count, samples));
    WholeOutput<double> out(target);
    ASSERT_TRUE(out.isTemporary());
    std::copy_n(in.data(), count, out.data());
    out.commit(context);
    const WholeInput<std::int32_t> back(context, target);
    EXPECT_TRUE(std::equal(back.data(), back.data() + count, samples));

    source.allowedReads = source.reads + 20;
    EXPECT_THROW(WholeInput<double>(context, source), UnexpectedError);
    target.fails = true;
    EXPECT_THROW(out.commit(context), UnexpectedError);
}

}  // namespace
}  // namespace rix::access
