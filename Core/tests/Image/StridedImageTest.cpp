#include <rix/image/StridedImage.h>

#include "ImageTestTools.h"

namespace rix {
namespace {

using test::Extents;
using test::huge;
using test::readRow;
using testing::HasSubstr;

TEST(StridedImage, ReachesRowsOfAnyPitch) {
    // A gap of one element behind each row, channels beside each other, the planes from the last to the first.
    std::vector<std::uint16_t> pixels(53);
    std::iota(pixels.begin(), pixels.end(), std::uint16_t{0});
    const ImageHeader header{.extents = {2, 3, 2, 1, 3}, .voxelType = RIX_UINT16};
    StridedImage image(pixels.data() + 27, header, {2, 6, -54, 999, 18});
    EXPECT_EQ(readRow(image, 2, {0, 1, 1, 0, 2}), (std::vector<std::uint16_t>{21, 22}));
    const std::uint16_t mark = 999;
    EXPECT_TRUE(image.writeRowAt(1, reinterpret_cast<ConstRawData>(&mark), 1, 2, 0, 0, 0));
    EXPECT_EQ(pixels[34], mark);
    RawData row = nullptr;
    EXPECT_TRUE(image.getRowAt(2, row, 0, 0, 1, 0, 0));
    EXPECT_EQ(row, reinterpret_cast<RawData>(pixels.data()));
    EXPECT_EQ(image.getImageBuffer(), nullptr);
    for (std::size_t axis = 0; axis < 5; ++axis) {
        for (const std::size_t position : {header.extents[axis], huge}) {
            Extents p{};
            p[axis] = position;
            EXPECT_FALSE(image.getRowAt(1, row, p[0], p[1], p[2], p[3], p[4])) << axis;
        }
    }
    EXPECT_FALSE(image.getRowAt(huge, row, 1, 0, 0, 0, 0));

    const StridedImage::Pitches turned{6, 18, 6, 6, 6};
    const StridedImage vectors(pixels.data(),
                               {.extents = {3, 2, 1, 1, 1}, .voxelType = RIX_UINT16, .elementType = VECTOR_3}, turned);
    EXPECT_EQ(vectors.getImageBuffer(), reinterpret_cast<ConstRawData>(pixels.data()));
}

TEST(StridedImage, KeepsItsShapeAndGuardsReadOnlyMemory) {
    std::vector<std::uint8_t> pixels(12, 7);
    const ImageHeader header{.extents = {4, 3, 1, 1, 1}};
    StridedImage image(pixels.data(), header);
    EXPECT_EQ(image.getImageBuffer(), pixels.data());
    EXPECT_EQ(image.getSpacingOf(ROWS), 1.0);
    EXPECT_TRUE(image.setSpacingOf(ROWS, 0.5));
    EXPECT_EQ(image.header().spacing[ROWS], 0.5);
    EXPECT_TRUE(image.reserve(RIX_UINT8, 4, 3, 1, 1, 1));
    EXPECT_FALSE(image.reserve(RIX_INT8, 4, 3, 1, 1, 1));
    EXPECT_FALSE(image.reserve(RIX_UINT8, 3, 4, 1, 1, 1));
    EXPECT_FALSE(image.reserve(VECTOR_2, RIX_UINT8, 4, 3, 1, 1, 1));
    EXPECT_EQ(helper::getExtents(image), header.extents);

    StridedImage readOnly(static_cast<const void*>(pixels.data()), header);
    const ImageModel& looked = readOnly;
    RawData row = nullptr;
    ConstRawData constRow = nullptr;
    EXPECT_FALSE(readOnly.isWritable());
    EXPECT_FALSE(readOnly.getRowAt(1, row, 0, 0, 0, 0, 0));
    EXPECT_FALSE(readOnly.writeRowAt(1, pixels.data(), 0, 0, 0, 0, 0));
    EXPECT_FALSE(readOnly.reserve(RIX_UINT8, 4, 3, 1, 1, 1));
    EXPECT_EQ(readOnly.getImageBuffer(), nullptr);
    EXPECT_EQ(looked.getImageBuffer(), pixels.data());
    EXPECT_TRUE(readOnly.getConstRowAt(4, constRow, 0, 2, 0, 0, 0));
    EXPECT_EQ(constRow, pixels.data() + 8);
    EXPECT_TRUE(readOnly.setInterpretation(RIX_LABEL));
}

TEST(StridedImage, RefusesMemoryThatIsNoImage) {
    std::vector<std::uint8_t> pixels(100);
    void* const writable = pixels.data();
    const void* const readOnly = pixels.data();
    constexpr std::ptrdiff_t far = std::numeric_limits<std::ptrdiff_t>::max();
    const auto strided = [](auto* memory, std::ptrdiff_t x, std::ptrdiff_t y, std::ptrdiff_t z) {
        return [=] { StridedImage(memory, {.extents = {4, 3, 2, 1, 1}, .voxelType = RIX_INT16}, {x, y, z, 0, 0}); };
    };
    const struct {
        const char* text;
        std::function<void()> make;
    } cases[] = {
        {"no memory", strided(static_cast<void*>(nullptr), 2, 8, 24)},
        {"does not exist",
         [&] { StridedImage(writable, ImageHeader{.extents = {1, 1, 1, 1, 1}, .voxelType = VoxelTypes(3)}); }},
        {"does not fit", [&] { StridedImage(writable, ImageHeader{.extents = {huge, 2, 1, 1, 1}}); }},
        {"16 bytes on the axis \"columns\": elements of a row have to lie side by side, which takes 2",
         strided(readOnly, 16, 2, 48)},
        {"6 bytes on the axis \"rows\": of a writable image it must be at least 8", strided(writable, 2, 6, 24)},
        {"-23 bytes on the axis \"plans\": of a writable image it must be at least 24", strided(writable, 2, 8, -23)},
        {"0 bytes on the axis \"plans\"", strided(writable, 2, 8, 0)},
        {"does not fit", strided(readOnly, 2, 8, far)},
        {"does not fit", strided(readOnly, 2, -far - 1, 8)},
    };
    for (const auto& c : cases) {
        EXPECT_THAT(test::infoOf<InvalidCall>([&] { c.make(); }), HasSubstr(c.text));
    }
    // What is only read may be shown several times; nothing lies nowhere.
    EXPECT_NO_THROW(strided(readOnly, 2, 8, 0)());
    EXPECT_NO_THROW(StridedImage(static_cast<void*>(nullptr), {.extents = {0, huge, huge, 1, 1}}));
}

}  // namespace
}  // namespace rix
