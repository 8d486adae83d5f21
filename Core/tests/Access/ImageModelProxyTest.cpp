// Images presented as images of another type: all pairs of types, in both directions, from any storage.

#include <complex>
#include <cstring>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include <rix/access/ImageModelProxy.h>
#include <rix/access/Rows.h>
#include <rix/access/SampleCast.h>
#include <rix/exceptions/Exception.h>

#include "AccessTestTools.h"
#include "ImageComparison.h"
#include "ImageFactories.h"

namespace rix {
namespace {

using access::voxelTypeOf;
using test::CopyOnly;
using test::sameSample;

constexpr VoxelTypes allTypes[] = {RIX_UINT8,           RIX_UINT16,         RIX_UINT32,  RIX_INT8,
                                   RIX_INT16,           RIX_INT32,          RIX_FLOAT32, RIX_FLOAT64,
                                   RIX_COMPLEX_FLOAT32, RIX_COMPLEX_FLOAT64};

/// Calls `function(fromTag, toTag)` for all hundred pairs.
template <class F>
void forEachPair(F&& function) {
    for (const VoxelTypes from : allTypes) {
        for (const VoxelTypes to : allTypes) {
            SCOPED_TRACE(helper::voxelTypesToString(from) + " and " + helper::voxelTypesToString(to));
            access::dispatch(access::AllTypes{}, from, access::AllTypes{}, to, function);
        }
    }
}

TEST(ImageModelProxy, ReadsEveryTypeAsEveryType) {
    forEachPair([](auto realTag, auto shownTag) {
        using Real = typename decltype(realTag)::type;
        using Shown = typename decltype(shownTag)::type;
        const io::MemoryImage memory = test::makeRandomImage(
            {.voxelType = voxelTypeOf<Real>, .extents = {37, 3, 2, 2, 2}, .elementType = VECTOR_2}, 5,
            test::Extremes::All);
        CopyOnly copied;
        ASSERT_NO_FATAL_FAILURE(test::copyInto(copied, memory));
        const Real* const samples = reinterpret_cast<const Real*>(memory.getImageBuffer());
        for (const ImageModel* real :
             {static_cast<const ImageModel*>(&memory), static_cast<const ImageModel*>(&copied)}) {
            const ImageModelProxy proxy(real, voxelTypeOf<Shown>);
            EXPECT_EQ(proxy.getVoxelType(), voxelTypeOf<Shown>);
            // Row 2 of plane 1 of frame 0 of channel 1, from column 3 on.
            const std::size_t first = ((((1 * 2 + 0) * 2 + 1) * 3 + 2) * 37 + 3) * 2;
            std::vector<std::uint8_t> bytes(34 * 2 * sizeof(Shown) + 1);
            for (const std::size_t offset : {0U, 1U}) {  // a buffer that is aligned, and one that is not
                ASSERT_TRUE(proxy.readRowAt(34, bytes.data() + offset, 3, 2, 1, 0, 1));
                for (std::size_t i = 0; i < 34 * 2; ++i) {
                    Shown sample;
                    std::memcpy(&sample, bytes.data() + offset + i * sizeof(Shown), sizeof(Shown));
                    ASSERT_TRUE(sameSample(sample, access::castSample<Shown>(samples[first + i]))) << i;
                }
            }
        }
    });
}

TEST(ImageModelProxy, WritesEveryTypeAsEveryType) {
    forEachPair([](auto realTag, auto shownTag) {
        using Real = typename decltype(realTag)::type;
        using Shown = typename decltype(shownTag)::type;
        const io::MemoryImage source = test::makeRandomImage(
            {.voxelType = voxelTypeOf<Shown>, .extents = {29, 1, 1, 1, 1}}, 6, test::Extremes::All);
        const Shown* const samples = reinterpret_cast<const Shown*>(source.getImageBuffer());
        io::MemoryImage memory = test::imageOf(voxelTypeOf<Real>, {31, 2, 1, 1, 1});
        CopyOnly copied;
        ASSERT_TRUE(copied.reserve(voxelTypeOf<Real>, 31, 2, 1, 1, 1));
        for (ImageModel* real : {static_cast<ImageModel*>(&memory), static_cast<ImageModel*>(&copied)}) {
            test::fillImage(*real, [](auto...) { return 7; });
            ImageModelProxy proxy(real, voxelTypeOf<Shown>);
            ASSERT_TRUE(proxy.writeRowAt(29, source.getImageBuffer(), 1, 1, 0, 0, 0));
            access::RowReader<Real> reader(*real);
            for (std::size_t row = 0; row < 2; ++row) {
                const Real* const written = reader.read({0, row, 0, 0, 0, 31});
                for (std::size_t i = 0; i < 31; ++i) {
                    const bool isInside = row == 1 && i >= 1 && i < 30;
                    const Real expected = isInside ? access::castSample<Real>(samples[i - 1]) : Real(7);
                    ASSERT_TRUE(sameSample(written[i], expected)) << "row " << row << ", column " << i;
                }
            }
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
    forEachPair([](auto realTag, auto shownTag) {
        using Real = typename decltype(realTag)::type;
        using Shown = typename decltype(shownTag)::type;
        io::MemoryImage memory = test::makeRandomImage({.voxelType = voxelTypeOf<Real>, .extents = {300, 1, 1, 1, 1}},
                                                       8, test::Extremes::All);
        Real* const real = reinterpret_cast<Real*>(memory.getImageBuffer());
        real[1] = Real(0);
        ImageModelBinaryProxy proxy(&memory, voxelTypeOf<Shown>);
        std::vector<Shown> row(300);
        ASSERT_TRUE(proxy.readRowAt(300, reinterpret_cast<RawData>(row.data()), 0, 0, 0, 0, 0));
        for (std::size_t i = 0; i < 300; ++i) {
            ASSERT_EQ(row[i], real[i] == Real(0) ? Shown(0) : Shown(1)) << i;
        }
        const io::MemoryImage values = test::makeRandomImage(
            {.voxelType = voxelTypeOf<Shown>, .extents = {300, 1, 1, 1, 1}}, 9, test::Extremes::All);
        const Shown* const shown = reinterpret_cast<const Shown*>(values.getImageBuffer());
        ASSERT_TRUE(proxy.writeRowAt(300, values.getImageBuffer(), 0, 0, 0, 0, 0));
        for (std::size_t i = 0; i < 300; ++i) {
            ASSERT_EQ(real[i], shown[i] == Shown(0) ? Real(0) : Real(1)) << i;
        }
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
