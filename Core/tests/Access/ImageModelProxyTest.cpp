// Images presented as images of another type, in both directions and from any storage; the conversions themselves are
// tested with the kernels.

#include <rix/access/ImageModelProxy.h>

#include "AccessTestTools.h"

namespace rix {
namespace {

using test::ComparisonOptions;
using test::CopyOnly;
using test::OpaqueImage;

constexpr ComparisonOptions samplesOnly{.headers = ComparisonOptions::Headers::ExtentsAndTypes};

/// The image with every sample converted on its own.
template <class From, class To, class Convert>
io::MemoryImage converted(const io::MemoryImage& image, const Convert& convert) {
    const test::Extents n = helper::getExtents(image);
    const auto* const samples = reinterpret_cast<const From*>(image.getImageBuffer());
    return test::makeImage({.voxelType = access::voxelTypeOf<To>, .extents = n, .elementType = image.getElementType()},
                           [&, next = std::size_t{0}](auto...) mutable { return convert(samples[next++]); });
}

/// Reads and writes through proxies of either kind, of an image in memory and of one that can only be copied.
template <class Proxy, class Real, class Shown, class ToShown, class ToReal>
void expectConverted(const ToShown& toShown, const ToReal& toReal) {
    constexpr VoxelTypes realType = access::voxelTypeOf<Real>;
    constexpr VoxelTypes shownType = access::voxelTypeOf<Shown>;
    SCOPED_TRACE(helper::voxelTypesToString(realType) + " as " + helper::voxelTypesToString(shownType));
    const test::Extents n{301, 3, 2, 2, 2};
    io::MemoryImage memory =
        test::makeRandomImage({.voxelType = realType, .extents = n, .elementType = VECTOR_2}, 5, test::Extremes::All);
    const io::MemoryImage values =
        test::makeRandomImage({.voxelType = shownType, .extents = n, .elementType = VECTOR_2}, 6, test::Extremes::All);
    OpaqueImage opaque(&memory);
    const io::MemoryImage expected = converted<Real, Shown>(memory, toShown);
    const io::MemoryImage written = converted<Shown, Real>(values, toReal);
    for (ImageModel* const real : std::initializer_list<ImageModel*>{&memory, &opaque}) {
        Proxy proxy(real, shownType);
        EXPECT_TRUE(test::imagesEqual(expected, proxy, samplesOnly));
        // A part of a row, into a buffer that is not aligned: it is converted in several steps.
        constexpr std::size_t size = 2 * sizeof(Shown);
        std::vector<std::uint8_t> part(290 * size + 2, 9);
        ASSERT_TRUE(proxy.readRowAt(290, part.data() + 1, 3, 2, 1, 0, 1));
        io::MemoryImage again = expected;
        ASSERT_TRUE(again.writeRowAt(290, part.data() + 1, 3, 2, 1, 0, 1));
        EXPECT_TRUE(test::imagesEqual(expected, again));
        EXPECT_TRUE(part.front() == 9 && part.back() == 9);
    }
    const io::MemoryImage before = memory;
    for (ImageModel* const real : std::initializer_list<ImageModel*>{&memory, &opaque}) {
        Proxy proxy(real, shownType);
        test::copySamples(values, proxy);
        EXPECT_TRUE(test::imagesEqual(written, memory, samplesOnly));
        test::copySamples(before, memory);
    }
}

template <class Real, class Shown>
void expectBothKinds() {
    expectConverted<ImageModelProxy, Real, Shown>([](Real sample) { return access::castSample<Shown>(sample); },
                                                  [](Shown sample) { return access::castSample<Real>(sample); });
    expectConverted<ImageModelBinaryProxy, Real, Shown>([](Real sample) { return Shown(sample == Real(0) ? 0 : 1); },
                                                        [](Shown sample) { return Real(sample == Shown(0) ? 0 : 1); });
}

TEST(ImageModelProxy, ReadsAndWritesOneTypeAsAnother) {
    expectBothKinds<std::uint8_t, float>();
    expectBothKinds<double, std::int16_t>();
    expectBothKinds<std::int32_t, std::complex<double>>();
    expectBothKinds<std::complex<float>, std::uint32_t>();
    expectBothKinds<std::uint16_t, std::uint16_t>();
}

TEST(ImageModelProxy, GivesAddressesOnlyOfSamplesOfItsType) {
    io::MemoryImage image = test::imageOf(RIX_UINT16, {5, 4, 1, 1, 1});
    ImageModelProxy same(&image, RIX_UINT16);
    ImageModelProxy other(&image, RIX_INT16);
    ImageModelBinaryProxy binary(&image, RIX_UINT16);
    const ImageModelProxy readOnly(static_cast<const ImageModel*>(&image), RIX_UINT16);
    RawData row = nullptr;
    ConstRawData constRow = nullptr;
    EXPECT_TRUE(same.getRowAt(5, row, 0, 1, 0, 0, 0));
    EXPECT_EQ(row, image.getImageBuffer() + 10);
    EXPECT_EQ(same.getImageBuffer(), image.getImageBuffer());
    for (ImageModel* const without : std::initializer_list<ImageModel*>{&other, &binary}) {
        EXPECT_FALSE(without->getRowAt(5, row, 0, 1, 0, 0, 0));
        EXPECT_FALSE(without->getConstRowAt(5, constRow, 0, 1, 0, 0, 0));
        EXPECT_EQ(without->getImageBuffer(), nullptr);
    }
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
    EXPECT_TRUE(proxy.setOriginOf(ROWS, 42.5));
    EXPECT_TRUE(proxy.setInterpretation(RIX_LABEL));
    EXPECT_EQ(image.getOriginOf(ROWS), 42.5);
    EXPECT_EQ(image.getInterpretation(), RIX_LABEL);
    EXPECT_FALSE(proxy.reserve(VECTOR_3, RIX_FLOAT64, 6, 5, 2, 3, 2));
}

TEST(ImageModelProxy, ReportsFailures) {
    CopyOnly image;
    ASSERT_TRUE(image.reserve(RIX_UINT8, 5, 4, 1, 1, 1));
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
    EXPECT_EQ(row, std::vector<float>(5, 1.0F));
    for (const VoxelTypes type : {RIX_FLOAT32, RIX_UINT8}) {
        ImageModelProxy readOnly(static_cast<const ImageModel*>(&image), type);
        EXPECT_FALSE(readOnly.writeRowAt(5, buffer, 0, 0, 0, 0, 0));
    }
    image.fails = true;
    EXPECT_FALSE(proxy.readRowAt(5, buffer, 0, 0, 0, 0, 0));
    EXPECT_FALSE(proxy.writeRowAt(5, buffer, 0, 0, 0, 0, 0));
    EXPECT_THROW(ImageModelProxy(&image, static_cast<VoxelTypes>(7)), InvalidCall);
    EXPECT_THROW(ImageModelProxy(&image, static_cast<VoxelTypes>(-1)), InvalidCall);
}

}  // namespace
}  // namespace rix
