// The helpers that other tests trust: a comparison that overlooks a difference would hide faults everywhere.
#include "Testing.h"

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
    EXPECT_THAT(message, HasSubstr("2 of 48 samples differ by up to 100"));
    EXPECT_THAT(message, HasSubstr("first at column 2, row 1, plane 0, sequence 1, spectral 1: expected 12, got 11"));
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

TEST(ImageComparison, SeesHeadersUnlessToldOtherwise) {
    const io::MemoryImage expected = makeImage(smallFloats, [](auto...) { return 0; });
    const std::function<void(io::MemoryImage&)> changes[] = {&setDistinctCalibration,
                                                             [](auto& image) { image.setInterpretation(RIX_LABEL); },
                                                             [](auto& image) { image.setColorInterpretation(RGB); }};
    for (const auto& change : changes) {
        io::MemoryImage other = expected;
        change(other);
        EXPECT_FALSE(imagesEqual(expected, other));
        EXPECT_TRUE(imagesEqual(expected, other, {.headers = ComparisonOptions::Headers::ExtentsAndTypes}));
    }
}

}  // namespace
}  // namespace rix::test
