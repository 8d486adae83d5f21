// Images presented as images of another type: all pairs of types, in both directions, from any storage.

#include <algorithm>
#include <complex>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include <rix/access/ImageModelProxy.h>
#include <rix/access/SampleCast.h>
#include <rix/exceptions/Exception.h>

#include "AccessTestTools.h"
#include "ImageComparison.h"
#include "ImageFactories.h"

namespace rix {
namespace {

using test::CopyOnly;
using test::sameSample;
using Bytes = std::vector<std::uint8_t>;

constexpr VoxelTypes allTypes[] = {RIX_UINT8,           RIX_UINT16,         RIX_UINT32,  RIX_INT8,
                                   RIX_INT16,           RIX_INT32,          RIX_FLOAT32, RIX_FLOAT64,
                                   RIX_COMPLEX_FLOAT32, RIX_COMPLEX_FLOAT64};

/// Calls `function(from, to)` for all hundred pairs.
void forEachPair(const std::function<void(VoxelTypes, VoxelTypes)>& function) {
    for (const VoxelTypes from : allTypes) {
        for (const VoxelTypes to : allTypes) {
            SCOPED_TRACE(helper::voxelTypesToString(from) + " and " + helper::voxelTypesToString(to));
            ASSERT_NO_FATAL_FAILURE(function(from, to));
        }
    }
}

enum class Cast : std::uint8_t { Value, Binary };

/// Samples converted one after the other, by the definition.
Bytes castOneByOne(VoxelTypes from, ConstRawData samples, VoxelTypes to, std::size_t count, Cast cast) {
    Bytes result(count * helper::getSizeOf(to));
    access::dispatch(access::AllTypes{}, from, access::AllTypes{}, to, [&](auto fromTag, auto toTag) {
        using From = typename decltype(fromTag)::type;
        using To = typename decltype(toTag)::type;
        for (std::size_t i = 0; i < count; ++i) {
            From sample;
            std::memcpy(&sample, samples + i * sizeof(From), sizeof(From));
            const To converted = cast == Cast::Value ? access::castSample<To>(sample) : To(sample == From(0) ? 0 : 1);
            std::memcpy(result.data() + i * sizeof(To), &converted, sizeof(To));
        }
    });
    return result;
}

/// The first sample that differs, or their number.
std::size_t firstDifference(VoxelTypes type, ConstRawData a, ConstRawData b, std::size_t count) {
    std::size_t same = 0;
    access::dispatch(access::AllTypes{}, type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        T left;
        T right;
        for (; same < count; ++same) {
            std::memcpy(&left, a + same * sizeof(T), sizeof(T));
            std::memcpy(&right, b + same * sizeof(T), sizeof(T));
            if (!sameSample(left, right)) {
                return;
            }
        }
    });
    return same;
}

TEST(ImageModelProxy, ReadsEveryTypeAsEveryType) {
    forEachPair([](VoxelTypes realType, VoxelTypes shownType) {
        const io::MemoryImage memory = test::makeRandomImage(
            {.voxelType = realType, .extents = {37, 3, 2, 2, 2}, .elementType = VECTOR_2}, 5, test::Extremes::All);
        CopyOnly copied;
        ASSERT_NO_FATAL_FAILURE(test::copyInto(copied, memory));
        // Row 2 of plane 1 of frame 0 of channel 1, from column 3 on.
        const std::size_t first = ((((1 * 2 + 0) * 2 + 1) * 3 + 2) * 37 + 3) * 2;
        constexpr std::size_t count = 34 * 2;
        const Bytes expected = castOneByOne(realType, memory.getImageBuffer() + first * helper::getSizeOf(realType),
                                            shownType, count, Cast::Value);
        for (const ImageModel* real :
             {static_cast<const ImageModel*>(&memory), static_cast<const ImageModel*>(&copied)}) {
            const ImageModelProxy proxy(real, shownType);
            EXPECT_EQ(proxy.getVoxelType(), shownType);
            Bytes bytes(expected.size() + 1);
            for (const std::size_t offset : {0U, 1U}) {  // a buffer that is aligned, and one that is not
                ASSERT_TRUE(proxy.readRowAt(34, bytes.data() + offset, 3, 2, 1, 0, 1));
                ASSERT_EQ(firstDifference(shownType, bytes.data() + offset, expected.data(), count), count);
            }
        }
    });
}

TEST(ImageModelProxy, WritesEveryTypeAsEveryType) {
    forEachPair([](VoxelTypes realType, VoxelTypes shownType) {
        const io::MemoryImage source =
            test::makeRandomImage({.voxelType = shownType, .extents = {29, 1, 1, 1, 1}}, 6, test::Extremes::All);
        const Bytes sevens(31, 7);
        Bytes expected = castOneByOne(RIX_UINT8, sevens.data(), realType, 31, Cast::Value);
        const Bytes untouched = expected;
        const Bytes inside = castOneByOne(shownType, source.getImageBuffer(), realType, 29, Cast::Value);
        std::copy(inside.begin(), inside.end(),
                  expected.begin() + static_cast<std::ptrdiff_t>(helper::getSizeOf(realType)));
        io::MemoryImage memory = test::imageOf(realType, {31, 2, 1, 1, 1});
        CopyOnly copied;
        ASSERT_TRUE(copied.reserve(realType, 31, 2, 1, 1, 1));
        for (ImageModel* real : {static_cast<ImageModel*>(&memory), static_cast<ImageModel*>(&copied)}) {
            test::fillImage(*real, [](auto...) { return 7; });
            ImageModelProxy proxy(real, shownType);
            ASSERT_TRUE(proxy.writeRowAt(29, source.getImageBuffer(), 1, 1, 0, 0, 0));
            Bytes written(expected.size());
            ASSERT_TRUE(real->readRowAt(31, written.data(), 0, 0, 0, 0, 0));
            EXPECT_EQ(firstDifference(realType, written.data(), untouched.data(), 31), 31U) << "row 0";
            ASSERT_TRUE(real->readRowAt(31, written.data(), 0, 1, 0, 0, 0));
            ASSERT_EQ(firstDifference(realType, written.data(), expected.data(), 31), 31U) << "row 1";
        }
    });
}

TEST(ImageModelProxy, GivesAddressesOnlyOfSamplesOfItsType) {
    io::MemoryImage image = test::imageOf(RIX_UINT16, {5, 4, 1, 1, 1});
    ImageModelProxy same(&image, RIX_UINT16);
    ImageModelProxy other(&image, RIX_INT16);
    const ImageModelProxy readOnly(static_cast<const ImageModel*>(&image), RIX_UINT16);
    RawData row = nullptr;
    ConstRawData constRow = nullptr;
    EXPECT_TRUE(same.getRowAt(5, row, 0, 1, 0, 0, 0));
    EXPECT_EQ(row, image.getImageBuffer() + 10);
    EXPECT_EQ(same.getImageBuffer(), image.getImageBuffer());
    EXPECT_FALSE(other.getRowAt(5, row, 0, 1, 0, 0, 0));
    EXPECT_FALSE(other.getConstRowAt(5, constRow, 0, 1, 0, 0, 0));
    EXPECT_EQ(other.getImageBuffer(), nullptr);
    EXPECT_TRUE(readOnly.getConstRowAt(5, constRow, 0, 1, 0, 0, 0));
    EXPECT_FALSE(readOnly.getRowAt(5, row, 0, 1, 0, 0, 0)) << "an address to write at";

    ASSERT_TRUE(image.reserve(RIX_INT16, 5, 4, 1, 1, 1));
    EXPECT_EQ(same.getImageBuffer(), nullptr) << "the real image has another type by now";
    EXPECT_EQ(other.getImageBuffer(), image.getImageBuffer());
}

TEST(ImageModelProxy, ShowsAndSetsTheRealImagesCharacteristics) {
    io::MemoryImage image = test::makeRandomImage(
        {.voxelType = RIX_FLOAT64, .extents = {6, 5, 2, 3, 2}, .elementType = VECTOR_3}, 3, test::Extremes::None);
    test::setDistinctCalibration(image);
    ImageModelProxy proxy(&image, RIX_FLOAT64);
    EXPECT_TRUE(test::imagesEqual(image, proxy));
    EXPECT_EQ(proxy.firstElement(), (std::vector<std::size_t>{0, 0, 0, 0, 0}));
    EXPECT_TRUE(proxy.setOriginOf(ROWS, 42.5));
    EXPECT_TRUE(proxy.setInterpretation(RIX_LABEL));
    EXPECT_EQ(image.getOriginOf(ROWS), 42.5);
    EXPECT_EQ(image.getInterpretation(), RIX_LABEL);
    EXPECT_FALSE(proxy.reserve(RIX_FLOAT64, 1, 1, 1, 1, 1));
    EXPECT_FALSE(proxy.reserve(VECTOR_3, RIX_FLOAT64, 6, 5, 2, 3, 2));
}

TEST(ImageModelProxy, ReportsFailures) {
    CopyOnly image;
    ASSERT_TRUE(image.reserve(RIX_UINT8, 5, 4, 1, 1, 1));
    test::fillImage(image, [](auto...) { return 9; });
    ImageModelProxy proxy(&image, RIX_FLOAT32);
    std::vector<float> row(5, 1.0F);
    const auto buffer = reinterpret_cast<RawData>(row.data());
    const std::size_t huge = std::numeric_limits<std::size_t>::max();
    EXPECT_FALSE(proxy.readRowAt(5, buffer, 1, 0, 0, 0, 0));
    EXPECT_FALSE(proxy.readRowAt(huge, buffer, 0, 0, 0, 0, 0));
    EXPECT_FALSE(proxy.readRowAt(huge / 2, buffer, 0, 0, 0, 0, 0)) << "no memory for such a row";
    EXPECT_FALSE(proxy.writeRowAt(5, buffer, 1, 0, 0, 0, 0));
    EXPECT_FALSE(proxy.writeRowAt(huge, buffer, 1, 0, 0, 0, 0)) << "the buffer must not be read that far";
    EXPECT_FALSE(proxy.writeRowAt(1000, buffer, 0, 0, 0, 0, 0)) << "nor this far";
    EXPECT_FALSE(proxy.writeRowAt(5, buffer, 0, 4, 0, 0, 0));
    EXPECT_EQ(row, std::vector<float>(5, 1.0F));
    ImageModelProxy readOnly(static_cast<const ImageModel*>(&image), RIX_FLOAT32);
    EXPECT_FALSE(readOnly.writeRowAt(5, buffer, 0, 0, 0, 0, 0));
    ImageModelProxy readOnlySame(static_cast<const ImageModel*>(&image), RIX_UINT8);
    EXPECT_FALSE(readOnlySame.writeRowAt(5, buffer, 0, 0, 0, 0, 0));
    image.fails = true;
    EXPECT_FALSE(proxy.readRowAt(5, buffer, 0, 0, 0, 0, 0));
    EXPECT_FALSE(proxy.writeRowAt(5, buffer, 0, 0, 0, 0, 0));
    EXPECT_THROW(ImageModelProxy(&image, static_cast<VoxelTypes>(7)), InvalidCall);
    EXPECT_THROW(ImageModelProxy(&image, static_cast<VoxelTypes>(-1)), InvalidCall);
}

TEST(ImageModelBinaryProxy, ReadsAndStoresNothingBut0And1) {
    forEachPair([](VoxelTypes realType, VoxelTypes shownType) {
        io::MemoryImage memory =
            test::makeRandomImage({.voxelType = realType, .extents = {300, 1, 1, 1, 1}}, 8, test::Extremes::All);
        const std::size_t size = helper::getSizeOf(realType);
        std::memset(memory.getImageBuffer() + size, 0, size);
        ImageModelBinaryProxy proxy(&memory, shownType);
        Bytes row(300 * helper::getSizeOf(shownType));
        ASSERT_TRUE(proxy.readRowAt(300, row.data(), 0, 0, 0, 0, 0));
        Bytes expected = castOneByOne(realType, memory.getImageBuffer(), shownType, 300, Cast::Binary);
        ASSERT_EQ(firstDifference(shownType, row.data(), expected.data(), 300), 300U);
        const io::MemoryImage values =
            test::makeRandomImage({.voxelType = shownType, .extents = {300, 1, 1, 1, 1}}, 9, test::Extremes::All);
        ASSERT_TRUE(proxy.writeRowAt(300, values.getImageBuffer(), 0, 0, 0, 0, 0));
        expected = castOneByOne(shownType, values.getImageBuffer(), realType, 300, Cast::Binary);
        ASSERT_EQ(firstDifference(realType, memory.getImageBuffer(), expected.data(), 300), 300U);
        RawData address = nullptr;
        ConstRawData constAddress = nullptr;
        EXPECT_FALSE(proxy.getRowAt(1, address, 0, 0, 0, 0, 0));
        EXPECT_FALSE(proxy.getConstRowAt(1, constAddress, 0, 0, 0, 0, 0));
        EXPECT_EQ(proxy.getImageBuffer(), nullptr);
    });
}

TEST(ImageModelBinaryProxy, TakesAFractionForNotZero) {
    io::MemoryImage image = test::imageOf(RIX_UINT8, {4, 1, 1, 1, 1});
    ImageModelBinaryProxy proxy(&image, RIX_FLOAT32);
    const float values[] = {0.25F, -0.0F, std::numeric_limits<float>::quiet_NaN(), 256.0F};
    ASSERT_TRUE(proxy.writeRowAt(4, reinterpret_cast<ConstRawData>(values), 0, 0, 0, 0, 0));
    const std::vector<std::uint8_t> stored(image.getImageBuffer(), image.getImageBuffer() + 4);
    EXPECT_EQ(stored, (std::vector<std::uint8_t>{1, 0, 1, 1}));
}

}  // namespace
}  // namespace rix
