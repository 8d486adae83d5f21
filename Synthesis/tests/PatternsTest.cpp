// Images that follow from positions by a formula.

#include <rix/synthesis/CheckerboardImage.h>
#include <rix/synthesis/ConstantImage.h>
#include <rix/synthesis/CoordinateImage.h>
#include <rix/synthesis/GradientImage.h>
#include <rix/synthesis/ZonePlateImage.h>

#include "PortableMath.h"
#include "SynthesisTestSupport.h"

namespace rix::test {
namespace {

using namespace synthesis;

TEST(Generators, RoundToNearestAndClampInEveryType) {
    struct Case {
        ImageGenerator::OutputType type;
        double value;
        double expected;
    };
    constexpr double inf = std::numeric_limits<double>::infinity();
    for (const Case& each : {Case{ImageGenerator::UNSIGNED_INTEGER_8_BIT, 2.5, 2},
                             {ImageGenerator::UNSIGNED_INTEGER_8_BIT, 3.5, 4},
                             {ImageGenerator::UNSIGNED_INTEGER_8_BIT, 300, 255},
                             {ImageGenerator::UNSIGNED_INTEGER_8_BIT, -0.6, 0},
                             {ImageGenerator::SIGNED_INTEGER_8_BIT, -128.7, -128},
                             {ImageGenerator::UNSIGNED_INTEGER_16_BIT, 1e9, 65535},
                             {ImageGenerator::SIGNED_INTEGER_16_BIT, -1.5, -2},
                             {ImageGenerator::UNSIGNED_INTEGER_32_BIT, inf, 4294967295.0},
                             {ImageGenerator::SIGNED_INTEGER_32_BIT, -inf, -2147483648.0},
                             {ImageGenerator::SIGNED_INTEGER_32_BIT, std::nan(""), 0},
                             {ImageGenerator::FLOAT_64_BIT, 0.1, 0.1}}) {
        ConstantImage generator;
        generator.setValue(each.value);
        generator.setOutputType(each.type);
        EXPECT_EQ(valuesOf(madeBy(generator, {3, 2, 1, 1, 1})), std::vector<double>(6, each.expected)) << each.value;
    }
}

TEST(Generators, ShapeAndCalibrateTheImage) {
    CoordinateImage generator;
    generator.setAxis(CoordinateImage::PLANS);
    generator.setSpacing({0.5, 2, 0.25});
    const io::MemoryImage image = madeBy(generator, {5, 4, 3, 2, 2});
    EXPECT_EQ(helper::getExtents(image), (std::array<std::size_t, 5>{5, 4, 3, 2, 2}));
    EXPECT_EQ(image.getSpacingOf(PLANS), 0.25);
    EXPECT_EQ(image.getSpacingOf(ROWS), 2);
    const auto values = valuesOf(image);
    for (std::size_t i = 0; i < values.size(); ++i) {
        EXPECT_EQ(values[i], 0.25 * static_cast<double>(i / 20 % 3));
    }
}

TEST(Generators, RefuseSizesThatMemoryDoesNotHold) {
    ConstantImage generator;
    const auto refusal = [&](const std::array<std::int64_t, 5>& extents) -> String {
        return infoOf<RuleException>([&] { static_cast<void>(madeBy(generator, extents)); });
    };
    EXPECT_NE(refusal({1L << 40, 1L << 40, 1, 1, 1}).find("(sizeX, sizeY, sizeZ, sizeT, sizeC) is too large"),
              String::npos);
    EXPECT_NE(refusal({1L << 40, 4, 1, 1, 1}).find("the memory of this machine"), String::npos);
    EXPECT_NE(refusal({4, 0, 1, 1, 1}).find("sizeY"), String::npos);
    globalSettings().setValueAsSize_t("RIX_MAXIMUM_IMAGE_SIZE", 399);
    EXPECT_NE(refusal({10, 10, 1, 1, 1}).find("399 bytes are allowed"), String::npos);
    globalSettings().setValueAsSize_t("RIX_MAXIMUM_IMAGE_SIZE", 400);
    EXPECT_NO_THROW(static_cast<void>(madeBy(generator, {10, 10, 1, 1, 1})));
    globalSettings().remove("RIX_MAXIMUM_IMAGE_SIZE");
}

TEST(Patterns, FollowTheirFormulas) {
    GradientImage gradient;
    gradient.setOutputType(ImageGenerator::FLOAT_64_BIT);
    gradient.setFirstValue(-3);
    gradient.setLastValue(0.1);
    for (const auto axis : {GradientImage::COLUMNS, GradientImage::ROWS, GradientImage::PLANS}) {
        gradient.setAxis(axis);
        const auto values = valuesOf(madeBy(gradient, {7, 5, 3, 1, 1}));
        const std::size_t strides[] = {1, 7, 35};
        const std::size_t extents[] = {7, 5, 3};
        const auto a = static_cast<std::size_t>(axis);
        for (std::size_t i = 0; i < values.size(); ++i) {
            const auto index = static_cast<double>(i / strides[a] % extents[a]);
            EXPECT_NEAR(values[i], -3 + 3.1 * index / static_cast<double>(extents[a] - 1), 1e-14);
        }
        EXPECT_EQ(values.back(), 0.1);
    }
    EXPECT_EQ(valuesOf(madeBy(gradient, {1, 1, 1, 1, 1})), std::vector<double>{-3});

    CheckerboardImage board;
    board.setSquareSize(3);
    const auto squares = valuesOf(madeBy(board, {11, 7, 4, 1, 1}));
    ZonePlateImage rings;
    rings.setOutputType(ImageGenerator::FLOAT_64_BIT);
    rings.setFrequency(0.3);
    const auto plate = valuesOf(madeBy(rings, {11, 7, 4, 1, 1}));
    for (std::size_t i = 0; i < squares.size(); ++i) {
        const std::size_t x = i % 11;
        const std::size_t y = i / 11 % 7;
        const std::size_t z = i / 77;
        EXPECT_EQ(squares[i], (x / 3 + y / 3 + z / 3) % 2 == 0 ? 0 : 255);
        const double r =
            std::hypot(static_cast<double>(x) - 5, static_cast<double>(y) - 3, static_cast<double>(z) - 1.5);
        EXPECT_NEAR(plate[i], 127.5 + 127.5 * std::cos(std::numbers::pi * 0.3 * r * r / 5.5), 1e-11);
    }
}

TEST(PortableMath, IsThatOfTheCLibrary) {
    for (int i = -60000; i <= 60000; ++i) {
        const double x = 0.0116 * i;
        EXPECT_NEAR(exponential(x) / std::exp(x), 1, 5e-16) << x;
        const double y = std::exp(x);
        EXPECT_NEAR(logarithm(y), std::log(y), 1e-16 + 4.5e-16 * std::fabs(std::log(y))) << y;
        EXPECT_NEAR(logarithm(1 + 1e-6 * x), std::log(1 + 1e-6 * x), 1e-16 + 4.5e-16 * std::fabs(1e-6 * x)) << x;
        EXPECT_NEAR(cosineOfTurns(1e-3 * x), std::cos(2 * std::numbers::pi * 1e-3 * x), 3e-15) << x;
    }
    EXPECT_EQ(cosineOfTurns(1e9 + 0.25), 0);
    EXPECT_EQ(exponential(-800), 0);
}

}  // namespace
}  // namespace rix::test
