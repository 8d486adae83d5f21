// Shapes: what they cover against fine supersampling and against their sizes, what is told of them against closed
// forms.

#include <rix/synthesis/ShapesImage2d.h>
#include <rix/synthesis/ShapesImage3d.h>

#include "PortableMath.h"
#include "Shapes.h"
#include "SynthesisTestSupport.h"

namespace rix::test {
namespace {

using namespace synthesis;

std::vector<Shape> read(const String& text, bool inSpace) {
    std::optional<ShapeError> error;
    auto shapes = readShapes(text, inSpace, error);
    EXPECT_FALSE(error.has_value()) << error->text;
    return shapes;
}

/// The covered part of an element, counted on a grid of points in it.
double countedCoverage(const Shape& shape, const Point& centre, const Point& half, int points) {
    int inside = 0;
    int all = 0;
    const int planes = shape.inSpace ? points : 1;
    for (int k = 0; k < planes; ++k) {
        for (int j = 0; j < points; ++j) {
            for (int i = 0; i < points; ++i, ++all) {
                const auto at = [&](std::size_t axis, int index) {
                    return centre[axis] + half[axis] * ((2.0 * index + 1) / points - 1);
                };
                inside += isInside(shape, {at(0, i), at(1, j), shape.inSpace ? at(2, k) : 0.0}) ? 1 : 0;
            }
        }
    }
    return static_cast<double>(inside) / all;
}

/// Shapes of all kinds at random places, sizes and angles, some smaller than an element.
String randomShapes(bool inSpace, std::uint32_t seed) {
    std::mt19937 random(seed);
    const auto number = [&](double from, double to) {
        return std::to_string(from + (to - from) * static_cast<double>(random()) / 4294967296.0) + ' ';
    };
    const auto place = [&] { return number(-3, 3) + number(-3, 3) + (inSpace ? number(-3, 3) : String()); };
    const String size = number(0.2, 4);
    const String angle = number(-400, 400);
    if (inSpace) {
        return "BALL " + place() + size + "1;ELLIPSOID " + place() + size + number(0.2, 5) + number(0.2, 5) + "1;BOX " +
               place() + size + number(0.2, 5) + number(0.2, 5) + "1;TUBE " + place() + place() + number(0.2, 2) +
               "1;TUBE 0.3 -1 0.2 0.3 2 0.2 " + size + "1;TUBE 1 1 1 1 1 1 " + size + "1;RING " + place() +
               number(1, 4) + number(0.1, 1) + '1';
    }
    return "DISK " + place() + size + "1;ELLIPSE " + place() + size + number(0.2, 5) + angle + "1;BOX " + place() +
           size + number(0.2, 5) + angle + "1;TUBE " + place() + place() + number(0.2, 2) + "1;TUBE 1 1 1 1 " + size +
           "1;RING " + place() + number(2, 5) + number(0, 2) + '1';
}

TEST(Shapes, CoverWhatFineSamplingCounts) {
    for (const bool inSpace : {false, true}) {
        const int points = inSpace ? 40 : 200;
        // Of a grid of n points across an element, those near the outline are uncertain: some 1 / n of all.
        const double tolerance = inSpace ? 0.03 : 0.004;
        for (std::uint32_t seed = 1; seed <= (inSpace ? 6U : 40U); ++seed) {
            const Point half{0.5, 0.35, inSpace ? 0.8 : 0.0};
            int partly = 0;
            for (const Shape& shape : read(randomShapes(inSpace, seed), inSpace)) {
                for (std::uint32_t e = 0; e < 40; ++e) {
                    const Point centre{static_cast<double>(e % 7) - 3, static_cast<double>(e % 5) * 0.7 - 2,
                                       inSpace ? static_cast<double>(e % 4) * 1.6 - 2.4 : 0.0};
                    const double coverage = coverageOf(shape, centre, half);
                    const Cover cover = coverOf(shape, centre, half);
                    if (cover != Cover::Part) {
                        ASSERT_NEAR(coverage, cover == Cover::All ? 1 : 0, 1e-12) << wordOf(shape) << ", seed " << seed;
                    } else if (partly++ % (inSpace ? 4 : 1) == 0) {
                        ASSERT_NEAR(coverage, countedCoverage(shape, centre, half, points), tolerance)
                            << wordOf(shape) << ", seed " << seed << ", element " << e;
                    }
                }
            }
            EXPECT_GT(partly, 10);
        }
    }
}

TEST(Shapes, CoverTheirSizeAltogether) {
    for (std::uint32_t seed = 1; seed <= 3; ++seed) {
        for (const Shape& shape : read(randomShapes(false, seed), false)) {
            double sum = 0;
            for (int j = -40; j <= 40; ++j) {
                for (int i = -20; i <= 20; ++i) {
                    sum += coverageOf(shape, {0.6 * i, 0.3 * j, 0}, {0.3, 0.15, 0}) * 0.6 * 0.3;
                }
            }
            EXPECT_NEAR(sum, factsOf(shape).size, 1e-10) << wordOf(shape) << ", seed " << seed;
        }
        for (const Shape& shape : read(randomShapes(true, seed), true)) {
            const Bounds bounds = boundsOf(shape);
            constexpr double side = 0.5;
            double sum = 0;
            double worst = 0;
            for (double z = bounds.lowest[2]; z < bounds.highest[2] + side; z += side) {
                for (double y = bounds.lowest[1]; y < bounds.highest[1] + side; y += side) {
                    for (double x = bounds.lowest[0]; x < bounds.highest[0] + side; x += side) {
                        const Point centre{x, y, z};
                        const Point half{side / 2, side / 2, side / 2};
                        const double whole = coverageOf(shape, centre, half);
                        sum += whole * side * side * side;
                        if (coverOf(shape, centre, half) == Cover::Part) {
                            // Eight parts of it, integrated each on its own, are far more exact.
                            double parts = 0;
                            for (int p = 0; p < 8; ++p) {
                                const auto shift = [&](int bit) { return ((p >> bit & 1) - 0.5) * side / 2; };
                                parts += coverageOf(shape, {x + shift(0), y + shift(1), z + shift(2)},
                                                    {side / 4, side / 4, side / 4});
                            }
                            worst = std::max(worst, std::fabs(whole - parts / 8));
                        }
                    }
                }
            }
            EXPECT_LE(worst, 1e-4) << wordOf(shape) << ", seed " << seed;
            EXPECT_NEAR(sum / factsOf(shape).size, 1, 2e-4) << wordOf(shape) << ", seed " << seed;
        }
    }
}

TEST(Shapes, HaveTheSizesOfClosedForms) {
    constexpr double pi = std::numbers::pi;
    const auto facts = [](const String& text, bool inSpace) { return factsOf(read(text, inSpace).at(0)); };
    EXPECT_NEAR(facts("ELLIPSE 0 0 3 3 20 1", false).outline, 6 * pi, 1e-12);
    // A. M. Legendre's integral E(k^2 = 3/4) = 1.2110560275684594, times 4 times the larger radius.
    EXPECT_NEAR(facts("ELLIPSE 0 0 1 2 0 1", false).outline, 8 * 1.2110560275684594, 1e-12);
    EXPECT_NEAR(facts("ELLIPSOID 0 0 0 2 2 2 1", true).outline, 16 * pi, 1e-6);
    const double e = std::sqrt(1 - 0.04);
    for (const char* const spheroid :
         {"ELLIPSOID 0 0 0 1 1 5 1", "ELLIPSOID 0 0 0 5 1 1 1", "ELLIPSOID 0 0 0 1 5 1 1"}) {
        EXPECT_NEAR(facts(spheroid, true).outline / (2 * pi * (1 + 5 / e * std::asin(e))), 1, 1e-6) << spheroid;
    }
    EXPECT_NEAR(facts("RING 1 2 3 3 1 1", true).size, 6 * pi * pi, 1e-12);
    EXPECT_NEAR(facts("TUBE 0 0 3 4 1 1", false).outline, 10 + 2 * pi, 1e-12);
    EXPECT_NEAR(facts("TUBE 0 0 0 3 4 0 1 1", true).size, 5 * pi + 4.0 / 3 * pi, 1e-12);
    for (int i = 0; i < 5000; ++i) {
        const double angle = (i - 2500) * pi / 2501;
        EXPECT_NEAR(angleOf(7 * std::sin(angle), 7 * std::cos(angle)), angle, 5e-16) << angle;
    }
}

TEST(ShapesImage, GivesImageLabelsAndTableTogether) {
    ShapesImage2d generator;
    io::MemoryImage labels;
    generator.setShapes("DISK 4 3 2.2 100\nBOX 9 3 4 2 90 -50; DISK 9 3 0.4 7");
    generator.setBackground(10);
    generator.setSpacing({0.5, 0.25, 1});
    generator.setOutputType(ImageGenerator::FLOAT_64_BIT);
    generator.setOutputLabelImage(&labels);
    const auto values = valuesOf(madeBy(generator, {30, 40, 2, 1, 1}));
    const auto shapes = read(generator.getShapes(), false);
    EXPECT_EQ(labels.getInterpretation(), RIX_LABEL);
    EXPECT_EQ(labels.getVoxelType(), RIX_UINT8);
    const auto numbers = valuesOf(labels);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Point centre{0.5 * static_cast<double>(i % 30), 0.25 * static_cast<double>(i / 30 % 40), 0};
        double expected = 10;
        double number = 0;
        for (std::size_t s = 0; s < shapes.size(); ++s) {
            expected += coverageOf(shapes[s], centre, {0.25, 0.125, 0}) * (shapes[s].value - expected);
            number = isInside(shapes[s], centre) ? static_cast<double>(s + 1) : number;
        }
        EXPECT_NEAR(values[i], expected, 1e-12 * 100);
        EXPECT_EQ(numbers[i], number);
    }
    const auto& table = *generator.getOutputMeasurement();
    ASSERT_EQ(table.label.size(), 3U);
    EXPECT_NEAR(table.area[0], std::numbers::pi * 2.2 * 2.2, 1e-12);
    EXPECT_EQ(table.shape[1], "BOX");
    EXPECT_EQ(table.perimeter[1], 12);
    EXPECT_NEAR(table.x[1], 9, 1e-12);
    EXPECT_EQ(table.value[2], 7);
    EXPECT_EQ(table.findArray("Volume"), nullptr);

    String many;
    for (int i = 0; i < 300; ++i) {
        many += "DISK " + std::to_string(i % 20) + " " + std::to_string(i / 20) + " 0.7 1;";
    }
    generator.setShapes(many);
    static_cast<void>(madeBy(generator, {50, 60, 1, 1, 1}));
    EXPECT_EQ(labels.getVoxelType(), RIX_UINT16);
}

TEST(ShapesImage, RefusesTextsThatListNoShapes) {
    ShapesImage3d generator;
    const std::pair<const char*, const char*> cases[] = {
        {"BALL 1 2 3 4 5; DISK 1 2 3 4", "Shape 2, \" DISK 1 2 3 4\": the first word must be one of BALL, ELLIPSOID"},
        {"BALL 1 2 3 4", "it must be BALL x y z radius value."},
        {"BALL 1 2 3 nan 5", "\"nan\" must be a number"},
        {"BALL 1 2 3 -4 5", "radii and sides must be positive"},
        {"RING 1 2 3 1 2 5", "at most that of the ring"},
    };
    for (const auto& [text, expected] : cases) {
        generator.setShapes(text);
        EXPECT_THAT(infoOf<RuleException>([&] { static_cast<void>(madeBy(generator, {4, 4, 4, 1, 1})); }),
                    testing::HasSubstr(expected));
    }
}

}  // namespace
}  // namespace rix::test
