// The helpers that other tests trust: a comparison that overlooks a difference would hide faults everywhere.
#include <cmath>
#include <complex>
#include <cstring>
#include <functional>
#include <limits>
#include <stdexcept>

#include <gmock/gmock.h>

#include "ImageComparison.h"
#include "ImageFactories.h"

namespace rix::test {
namespace {

using ::testing::HasSubstr;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

const ImageTraits smallFloats{.voxelType = RIX_FLOAT64, .extents = {4, 3, 2, 1, 1}};

TEST(ImageComparison, TellsWhereAndWhatDiffers) {
    const ImageTraits traits{.voxelType = RIX_INT16, .extents = {3, 2, 2, 2, 2}};
    const io::MemoryImage expected = makeImage(traits, [](auto c, auto y, auto...) { return c + 10 * y; });
    const io::MemoryImage actual = makeImage(traits, [](auto c, auto y, auto z, auto t, auto s) {
        const bool first = c == 2 && y == 1 && z == 0 && t == 1 && s == 1;
        const bool largest = c == 0 && y == 0 && z == 1 && t == 1 && s == 1;
        return static_cast<int>(c + 10 * y) - (first ? 1 : 0) - (largest ? 100 : 0);
    });
    const ::testing::AssertionResult result = imagesEqual(expected, actual);
    EXPECT_FALSE(result);
    const String message = result.message();
    EXPECT_THAT(message, HasSubstr("2 of 48 samples differ"));
    EXPECT_THAT(message, HasSubstr("first at column 2, row 1, plane 0, sequence 1, spectral 1: expected 12, got 11"));
    EXPECT_THAT(message, HasSubstr("largest difference 100 at column 0, row 0, plane 1, sequence 1, spectral 1: "
                                   "expected 0, got -100"));
    EXPECT_TRUE(imagesEqual(expected, expected));
}

TEST(ImageComparison, AcceptsRealsAsAskedOnly) {
    const double next = std::nextafter(1.0, 2.0);
    const struct {
        double expected;
        double actual;
        ComparisonOptions options;
        bool equal;
    } cases[] = {
        {1.0, 1.0, {}, true},
        {1.0, next, {}, false},
        {1.0, next, {.unitsInTheLastPlace = 1}, true},
        {1.0, std::nextafter(next, 2.0), {.unitsInTheLastPlace = 1}, false},
        {0.0, -0.0, {}, false},
        {0.0, -0.0, {.unitsInTheLastPlace = 1}, true},
        {-std::numeric_limits<double>::denorm_min(), 0.0, {.unitsInTheLastPlace = 1}, false},
        {nan, -nan, {}, true},
        {nan, 1.0, {.absoluteTolerance = infinity}, false},
        {1.0, nan, {.absoluteTolerance = infinity}, false},
        {infinity, infinity, {}, true},
        {infinity, -infinity, {.absoluteTolerance = 1e300}, false},
        {infinity, std::numeric_limits<double>::max(), {.absoluteTolerance = 1e300}, false},
        {1.0, 1.25, {.absoluteTolerance = 0.25}, true},
        {1.0, 1.26, {.absoluteTolerance = 0.25}, false},
    };
    for (const auto& c : cases) {
        const io::MemoryImage expected = makeImage(smallFloats, [&](auto...) { return c.expected; });
        const io::MemoryImage actual = makeImage(smallFloats, [&](auto...) { return c.actual; });
        EXPECT_EQ(static_cast<bool>(imagesEqual(expected, actual, c.options)), c.equal)
            << c.expected << " and " << c.actual;
        // The parts of a complex sample are held to the same.
        ImageTraits complexTraits = smallFloats;
        complexTraits.voxelType = RIX_COMPLEX_FLOAT64;
        const auto withImaginary = [&](double value) {
            return makeImage(complexTraits, [value](auto...) { return std::complex<double>(2.0, value); });
        };
        EXPECT_EQ(static_cast<bool>(imagesEqual(withImaginary(c.expected), withImaginary(c.actual), c.options)),
                  c.equal);
    }
}

TEST(ImageComparison, SeesEveryPartOfTheHeader) {
    const io::MemoryImage expected = makeImage(smallFloats, [](auto... position) { return (position + ...); });
    const struct {
        const char* message;
        std::function<void(io::MemoryImage&)> change;
    } cases[] = {
        {"interpretation: expected \"value\", got \"label\"", [](auto& i) { i.setInterpretation(RIX_LABEL); }},
        {"colour interpretation: expected \"unknown\", got \"RGB\"", [](auto& i) { i.setColorInterpretation(RGB); }},
        {"origin of plans: expected 0, got 0.5", [](auto& i) { i.setOriginOf(PLANS, 0.5); }},
        {"spacing of spectral series: expected 1, got 2", [](auto& i) { i.setSpacingOf(SPECTRAL_SERIES, 2.0); }},
        {"spatial unit: expected \"\", got \"mm\"", [](auto& i) { i.setSpatialUnitName("mm"); }},
        {"sequence unit: expected \"\", got \"s\"", [](auto& i) { i.setSequenceUnitName("s"); }},
        {"spatial directions: expected (1, 0, 0)", [](auto& i) { i.setSpatialDirections({{-1.0, 0.0, 0.0}}); }},
    };
    for (const auto& c : cases) {
        io::MemoryImage actual = expected;
        c.change(actual);
        const ::testing::AssertionResult result = imagesEqual(expected, actual);
        EXPECT_FALSE(result) << c.message;
        EXPECT_THAT(String(result.message()), HasSubstr(c.message));
        EXPECT_TRUE(imagesEqual(expected, actual, {.headers = ComparisonOptions::Headers::ExtentsAndTypes}));
    }
    const ImageTraits others[] = {{.voxelType = RIX_FLOAT32, .extents = {4, 3, 2, 1, 1}},
                                  {.voxelType = RIX_FLOAT64, .extents = {3, 4, 2, 1, 1}},
                                  {.voxelType = RIX_FLOAT64, .extents = {4, 3, 2, 1, 1}, .elementType = VECTOR_2}};
    for (const ImageTraits& other : others) {
        const io::MemoryImage actual = makeImage(other, [](auto...) { return 0; });
        EXPECT_FALSE(imagesEqual(expected, actual, {.headers = ComparisonOptions::Headers::ExtentsAndTypes}));
    }
}

TEST(ImageFactories, FillFromCoordinates) {
    const ImageTraits traits{.voxelType = RIX_UINT8, .extents = {2, 3, 2, 2, 2}, .elementType = VECTOR_2};
    const io::MemoryImage image = makeImage(traits, [](auto c, auto y, auto z, auto t, auto s, auto k) {
        return k + 2 * (c + 2 * (y + 3 * (z + 2 * (t + 2 * s))));
    });
    for (std::size_t i = 0; i < 2 * 3 * 2 * 2 * 2 * 2; ++i) {
        ASSERT_EQ(image.getInternalBuffer()[i], i);
    }
    const io::MemoryImage wrapped = makeImage(ImageTraits{}, [](auto...) { return 300; });
    EXPECT_EQ(wrapped.getInternalBuffer()[0], 44);
    EXPECT_THROW(makeImage(ImageTraits{}, [](auto...) { return 300.0; }), std::range_error);
    EXPECT_THROW(makeImage(ImageTraits{}, [](auto...) { return nan; }), std::range_error);
}

template <class T>
bool anySample(const io::MemoryImage& image, std::size_t count, const std::function<bool(T)>& property) {
    for (std::size_t i = 0; i < count; ++i) {
        T value;
        std::memcpy(&value, image.getInternalBuffer() + i * sizeof(T), sizeof(T));
        if (property(value)) {
            return true;
        }
    }
    return false;
}

TEST(ImageFactories, RandomImagesRepeatAndReachTheEnds) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_UINT16, RIX_UINT32, RIX_INT8, RIX_INT16, RIX_INT32, RIX_FLOAT32,
                                  RIX_FLOAT64, RIX_COMPLEX_FLOAT32, RIX_COMPLEX_FLOAT64}) {
        const ImageTraits traits{.voxelType = type, .extents = {16, 16, 4, 1, 1}};
        EXPECT_TRUE(imagesEqual(makeRandomImage(traits, 7), makeRandomImage(traits, 7)));
        EXPECT_FALSE(imagesEqual(makeRandomImage(traits, 7), makeRandomImage(traits, 8)));
    }
    const ImageTraits bytes{.voxelType = RIX_INT8, .extents = {16, 16, 4, 1, 1}};
    const ImageTraits floats{.voxelType = RIX_FLOAT32, .extents = {16, 16, 4, 1, 1}};
    constexpr std::size_t count = 1024;
    for (const int wanted : {-128, -1, 0, 1, 127}) {
        EXPECT_TRUE(anySample<std::int8_t>(makeRandomImage(bytes, 1), count, [=](auto v) { return v == wanted; }));
    }
    const auto notFinite = [](float v) { return !std::isfinite(v); };
    const auto subnormal = [](float v) { return std::fpclassify(v) == FP_SUBNORMAL; };
    EXPECT_TRUE(anySample<float>(makeRandomImage(floats, 1, Extremes::All), count, notFinite));
    EXPECT_TRUE(anySample<float>(makeRandomImage(floats, 1, Extremes::Finite), count, subnormal));
    EXPECT_FALSE(anySample<float>(makeRandomImage(floats, 1, Extremes::Finite), count, notFinite));
    EXPECT_FALSE(anySample<float>(makeRandomImage(floats, 1, Extremes::None), count, subnormal));
    // A single voxel of a binary image would be 0 for every other seed.
    for (std::uint64_t seed = 0; seed < 16; ++seed) {
        const ImageTraits binary{.interpretation = RIX_BINARY};
        EXPECT_EQ(makeRandomImage(binary, seed).getInternalBuffer()[0], 1);
    }
}

}  // namespace
}  // namespace rix::test
