// Measures of discs, balls, ellipses, ellipsoids and boxes beside what geometry says of them: the bias that the
// measures publish is what is tested here, with equal and unequal spacing, at all places between the pixels.

#include "ReferenceObjects.h"

namespace rix::individual_analysis {
namespace {

using namespace test_tools;
using std::numbers::pi;

using Point = std::array<double, 3>;

/// The pixels whose centres lie in a solid about a point between the pixels.
/// @param reach half the solid's box
io::MemoryImage draw(const std::function<bool(const Point&)>& solid, const Point& reach, const Point& spacing,
                     const Point& offset) {
    test::Extents extents{1, 1, 1, 1, 1};
    Point centre{};
    for (std::size_t axis = 0; axis < 3 && reach[axis] > 0.0; ++axis) {
        const double half = std::ceil(reach[axis] / spacing[axis]) + 1.0;
        extents[axis] = static_cast<std::size_t>(2.0 * half) + 1;
        centre[axis] = half + offset[axis];
    }
    io::MemoryImage image = test::makeImage(
        {.extents = extents}, [&](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t) {
            const std::array<std::size_t, 3> at{x, y, z};
            Point point{};
            for (std::size_t axis = 0; axis < 3; ++axis) {
                point[axis] = (static_cast<double>(at[axis]) - centre[axis]) * spacing[axis];
            }
            return solid(point) ? 1 : 0;
        });
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        image.setSpacingOf(axis, spacing[static_cast<std::size_t>(axis)]);
    }
    return image;
}

/// A disc or ball: its radius in pixels of the wider spacing, and its place between the pixels.
struct Drawn {
    double radius;
    Point offset;
};

/// At centres, edges and corners of pixels, where many enter at once, each radius at which some do, just before and
/// just after. `atRandom` more follow that fill radii and places evenly.
std::vector<Drawn> drawDensely(double first, double last, bool inSpace, std::size_t atRandom) {
    std::vector<Drawn> result;
    for (const Point& offset : {Point{0, 0, 0}, Point{0.5, 0, 0}, Point{0.5, 0.5, 0}, Point{0.5, 0.5, 0.5}}) {
        const double rest = offset[0] * offset[0] + offset[1] * offset[1] + offset[2] * offset[2];
        for (double n = std::floor(first * first); n <= last * last && (inSpace || offset[2] == 0.0); n += 1.0) {
            for (const double side : {1 - 1e-9, 1 + 1e-9}) {
                const double radius = std::sqrt(n + rest) * side;
                if (radius >= first && radius <= last) {
                    result.push_back({radius, offset});
                }
            }
        }
    }
    for (std::size_t i = 0; i < atRandom; ++i) {
        const auto n = static_cast<double>(i);
        result.push_back(
            {first + (last - first) * (n + 0.5) / static_cast<double>(atRandom),
             {std::fmod(n * 0.8191725134, 1.0), std::fmod(n * 0.6710436067, 1.0), std::fmod(n * 0.5497004779, 1.0)}});
    }
    return result;
}

/// What a measure publishes of its errors, in percent of the truth: the range of single objects and the largest
/// deviation of the mean over places and radii.
struct Range {
    double lowest;
    double highest;
    double mean;
};

struct Bias {
    const char* measure;
    double (*expected)(double radius);
    Range small;  ///< radii from 5 pixels (of the wider spacing) on
    Range large;  ///< from 15, in space from 12 on
};

double one(double) {
    return 1.0;
}
double radiusTwice(double r) {
    return 2.0 * r;
}
double discArea(double r) {
    return pi * r * r;
}
double ballVolume(double r) {
    return 4.0 / 3.0 * pi * r * r * r;
}

const std::vector<Bias> biasesOfDiscs{
    {"Area", discArea, {-8.5, 10, 0.2}, {-2.5, 2.5, 0.1}},
    {"Perimeter", [](double r) { return 2 * pi * r; }, {-7, 8.5, 0.3}, {-3, 3, 0.2}},
    {"Circularity", one, {-12, 7, 0.5}, {-5.5, 3.5, 0.2}},
    {"EquivalentDiameter", radiusTwice, {-4.5, 5, 0.1}, {-1.5, 1.5, 0.1}},
    {"PrincipalAxesMajor", radiusTwice, {-4, 6, 2}, {-1.5, 1.5, 0.5}},
    {"PrincipalAxesMinor", radiusTwice, {-6.5, 5.5, 1.2}, {-2, 1.5, 0.5}},
    {"Elongation", one, {0, 11, 3}, {0, 2.5, 0.8}},
    {"SecondMomentsXX", [](double r) { return r * r / 4; }, {-12, 12, 1.2}, {-3.5, 3, 0.5}},
    {"FeretMaximum", radiusTwice, {3.5, 14.5, 10}, {1.5, 5, 4}},
    {"FeretMinimum", radiusTwice, {-10.5, 8, 2}, {-3.5, 3, 0.8}},
    {"ConvexArea", discArea, {-4, 21.5, 9}, {0.5, 7, 4.5}},
    {"Solidity", one, {-15, -3, 8.5}, {-6, -1.5, 4.5}},
    {"Extent", [](double) { return pi / 4; }, {-16.5, 15, 0.8}, {-7, 5.5, 0.5}},
    {"EulerNumber", one, {0, 0, 0}, {0, 0, 0}},
};

const std::vector<Bias> biasesOfBalls{
    {"Volume", ballVolume, {-8.5, 8, 0.2}, {-2.5, 2, 0.2}},
    {"SurfaceArea", [](double r) { return 4 * pi * r * r; }, {-7, 6, 0.7}, {-2.5, 2, 0.2}},
    {"Sphericity", one, {-2, 3, 0.7}, {-1, 1.5, 0.2}},
    {"EquivalentDiameter", radiusTwice, {-3, 3, 0.1}, {-1, 1, 0.1}},
    {"PrincipalAxesMajor", radiusTwice, {-2.5, 6, 2}, {-1, 1, 0.4}},
    {"PrincipalAxesMinor", radiusTwice, {-3.5, 3.5, 0.4}, {-1, 1, 0.2}},
    {"Elongation", one, {0, 5, 2.5}, {0, 1, 0.5}},
    {"FeretMaximum", radiusTwice, {6, 17, 14.5}, {4, 7.5, 7}},
    {"ConvexVolume", ballVolume, {7, 37, 26}, {7.5, 16, 13.5}},
    {"Solidity", one, {-27, -9.5, 21}, {-13.5, -8, 12}},
    {"Extent", [](double) { return pi / 6; }, {-27, 28.5, 2}, {-13, 13, 1}},
    {"EulerNumber", one, {0, 0, 0}, {0, 0, 0}},
};

void expectBias(const std::vector<Bias>& biases, Range Bias::* published, const std::vector<Drawn>& objects,
                std::size_t atRandom, const Point& spacing, bool inSpace) {
    std::string request;
    for (const Bias& bias : biases) {
        request += (request.empty() ? "" : ", ") + std::string(bias.measure);
    }
    std::vector<double> sums(biases.size(), 0.0);
    const double widest = std::max({spacing[0], spacing[1], inSpace ? spacing[2] : 0.0});
    for (std::size_t object = 0; object < objects.size(); ++object) {
        const double radius = objects[object].radius * widest;
        const auto ball = [radius](const Point& p) {
            return p[0] * p[0] + p[1] * p[1] + p[2] * p[2] <= radius * radius;
        };
        const auto table =
            analyse(draw(ball, {radius, radius, inSpace ? radius : 0.0}, spacing, objects[object].offset), request);
        for (std::size_t i = 0; i < biases.size(); ++i) {
            const double error = 100.0 * (column(*table, biases[i].measure).at(0) / biases[i].expected(radius) - 1.0);
            EXPECT_GE(error, (biases[i].*published).lowest - 1e-9) << biases[i].measure << ", radius " << radius;
            EXPECT_LE(error, (biases[i].*published).highest + 1e-9) << biases[i].measure << ", radius " << radius;
            sums[i] += object + atRandom >= objects.size() ? error : 0.0;
        }
    }
    for (std::size_t i = 0; i < biases.size(); ++i) {
        EXPECT_LE(std::abs(sums[i]) / static_cast<double>(atRandom), (biases[i].*published).mean + 1e-9)
            << biases[i].measure << ", spacing " << testing::PrintToString(spacing);
    }
}

// The first radii that a range is promised for are the worst: with the radius every error falls.

TEST(ClosedForms, DiscsAreMetWithinThePublishedBias) {
    for (const Point& spacing : {Point{1, 1, 1}, Point{0.25, 0.5, 1}, Point{3, 2, 1}}) {
        expectBias(biasesOfDiscs, &Bias::small, drawDensely(5, 6.5, false, 200), 200, spacing, false);
        expectBias(biasesOfDiscs, &Bias::large, drawDensely(15, 15.8, false, 60), 60, spacing, false);
    }
}

TEST(ClosedForms, BallsAreMetWithinThePublishedBias) {
    expectBias(biasesOfBalls, &Bias::small, drawDensely(5, 6.1, true, 60), 60, {1, 1, 1}, true);
    expectBias(biasesOfBalls, &Bias::large, drawDensely(12, 12.4, true, 20), 20, {1, 1, 1}, true);
    expectBias(biasesOfBalls, &Bias::small, drawDensely(5, 5.3, true, 30), 30, {0.5, 0.5, 1}, true);
}

TEST(ClosedForms, EllipsesHaveTheirAxesAndDirections) {
    constexpr double major = 30.0;
    constexpr double minor = 12.0;
    for (const Point& spacing : {Point{1, 1, 1}, Point{0.5, 1, 1}, Point{1.5, 0.6, 1}}) {
        for (int i = 0; i < 12; ++i) {
            const double angle = i * pi / 12;
            const auto ellipse = [&](const Point& p) {
                const double u = (p[0] * std::cos(angle) + p[1] * std::sin(angle)) / major;
                const double v = (p[1] * std::cos(angle) - p[0] * std::sin(angle)) / minor;
                return u * u + v * v <= 1.0;
            };
            SCOPED_TRACE(testing::PrintToString(spacing) + ", angle " + std::to_string(angle));
            const auto table = analyse(draw(ellipse, {major, major, 0}, spacing, {0.3, 0.7, 0}),
                                       "PrincipalAxes, Orientation, Elongation, Feret");
            const auto value = [&](const char* name) { return column(*table, name).at(0); };
            EXPECT_NEAR(value("PrincipalAxesMajor"), 2 * major, 0.02 * major);
            EXPECT_NEAR(value("PrincipalAxesMinor"), 2 * minor, 0.02 * major);
            EXPECT_NEAR(value("Elongation"), major / minor, 0.03);
            const double turned = std::abs(value("Orientation") - angle);
            EXPECT_LT(std::min(turned, pi - turned), 0.01);
            EXPECT_GE(value("Orientation"), 0.0);
            EXPECT_LT(value("Orientation"), pi);
            EXPECT_NEAR(value("FeretMaximum"), 2 * major, 2.0);
            EXPECT_NEAR(value("FeretMinimum"), 2 * minor, 2.0);
        }
    }
}

TEST(ClosedForms, AnglesStayBelowHalfATurn) {
    // The mixed moment is 0, computed with rounding below it.
    const char* const rows[] = {".##.#.##.#.", ".###..#####", "###########"};
    const io::MemoryImage labels =
        test::makeImage({.extents = {11, 3, 1, 1, 1}},
                        [&](std::size_t x, std::size_t y, auto...) { return rows[y][x] == '#' ? 1 : 0; });
    EXPECT_EQ(single(labels, "Orientation"), 0.0);
}

TEST(ClosedForms, EllipsoidsHaveTheirAxesAndDirections) {
    const Point halves{18, 11, 6};
    const Point directions[] = {{2, 3, 6}, {3, -6, 2}, {6, 2, -3}};  // of length 7, at right angles
    for (const Point& spacing : {Point{1, 1, 1}, Point{0.7, 1, 1.6}}) {
        const auto ellipsoid = [&](const Point& p) {
            double sum = 0.0;
            for (std::size_t i = 0; i < 3; ++i) {
                const Point& d = directions[i];
                sum += std::pow((p[0] * d[0] + p[1] * d[1] + p[2] * d[2]) / 7 / halves[i], 2);
            }
            return sum <= 1.0;
        };
        const auto table =
            analyse(draw(ellipsoid, {18, 18, 18}, spacing, {0.2, 0.4, 0.9}), "PrincipalAxes, Orientation, Elongation");
        const auto value = [&](const char* name) { return column(*table, name).at(0); };
        EXPECT_NEAR(value("PrincipalAxesMajor"), 36, 0.2);
        EXPECT_NEAR(value("PrincipalAxesMiddle"), 22, 0.2);
        EXPECT_NEAR(value("PrincipalAxesMinor"), 12, 0.2);
        EXPECT_NEAR(value("Elongation"), 3, 0.05);
        EXPECT_NEAR(value("OrientationX"), 2.0 / 7, 0.01);
        EXPECT_NEAR(value("OrientationY"), 3.0 / 7, 0.01);
        EXPECT_NEAR(value("OrientationZ"), 6.0 / 7, 0.01);
    }
}

struct Exact {
    const char* measure;
    double expected;
};

void expectExact(const io::MemoryImage& image, const std::vector<Exact>& cases) {
    for (const Exact& c : cases) {
        const auto table = analyse(image, c.measure);
        EXPECT_NEAR(column(*table, c.measure).at(0), c.expected, 1e-12 * std::max(1.0, std::abs(c.expected)))
            << c.measure;
    }
}

/// A box of so many pixels in the middle of an image.
io::MemoryImage box(const std::array<std::size_t, 3>& size, const Point& spacing) {
    io::MemoryImage image =
        test::makeImage({.extents = {size[0] + 2, size[1] + 2, size[2] == 1 ? 1 : size[2] + 2, 1, 1}},
                        [&](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t) {
                            const bool inside = x > 0 && x <= size[0] && y > 0 && y <= size[1];
                            return inside && (size[2] == 1 || (z > 0 && z <= size[2])) ? 1 : 0;
                        });
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        image.setSpacingOf(axis, spacing[static_cast<std::size_t>(axis)]);
    }
    return image;
}

TEST(ClosedForms, OnePixelIsARectangle) {
    // Of 2 by 3: what each measure promises for one pixel, with unequal spacing.
    const double perimeter = 6 * (std::atan2(3, 2) / 2 + pi / 2 / std::sqrt(13) + (pi / 2 - std::atan2(3, 2)) / 3);
    expectExact(box({1, 1, 1}, {2, 3, 1}), {{"BoundingBoxSizeX", 2},
                                            {"BoundingBoxSizeY", 3},
                                            {"Perimeter", perimeter},
                                            {"Circularity", 24 * pi / (perimeter * perimeter)},
                                            {"EquivalentDiameter", std::sqrt(24 / pi)},
                                            {"Extent", 1},
                                            {"PrincipalAxesMajor", 6 / std::sqrt(3)},
                                            {"PrincipalAxesMinor", 4 / std::sqrt(3)},
                                            {"Orientation", pi / 2},
                                            {"Elongation", 1.5},
                                            {"FeretMaximumAngle", std::atan2(3, 2)},
                                            {"FeretMinimum", 2},
                                            {"FeretMinimumAngle", 0}});
    io::MemoryImage voxel =
        test::makeImage({.extents = {3, 3, 3, 1, 1}}, [](std::size_t x, std::size_t y, std::size_t z, std::size_t,
                                                         std::size_t) { return x == 1 && y == 1 && z == 1 ? 1 : 0; });
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        voxel.setSpacingOf(axis, 2.0 + static_cast<double>(axis));
    }
    expectExact(voxel, {{"BoundingBoxMinZ", 1},
                        {"BoundingBoxSizeZ", 4},
                        {"EquivalentDiameter", std::cbrt(144 / pi)},
                        {"Extent", 1},
                        {"PrincipalAxesMajor", 8 * std::sqrt(5.0 / 12)},
                        {"PrincipalAxesMiddle", 6 * std::sqrt(5.0 / 12)},
                        {"PrincipalAxesMinor", 4 * std::sqrt(5.0 / 12)},
                        {"OrientationX", 0},
                        {"OrientationZ", 1},
                        {"Elongation", 2}});
    EXPECT_NEAR(single(box({1, 1, 1}, {1, 1, 1}), "Circularity"), 1.748, 5e-4);
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        voxel.setSpacingOf(axis, 1.0);
    }
    EXPECT_NEAR(single(voxel, "SurfaceArea"), 3.00, 5e-3);
    EXPECT_NEAR(single(voxel, "Sphericity"), 1.61, 5e-3);
}

TEST(ClosedForms, BoundariesOfUprightBoxesAreUnderestimated) {
    for (const Point& spacing : {Point{1, 1, 1}, Point{0.5, 0.8, 2}}) {
        const double a = 40 * spacing[0];
        const double b = 25 * spacing[1];
        const double c = 30 * spacing[2];
        EXPECT_NEAR(single(box({40, 25, 1}, spacing), "Perimeter") / (2 * (a + b)), 0.935, 0.015);
        const io::MemoryImage solid = box({40, 25, 30}, spacing);
        expectExact(solid, {{"ConvexVolume", a * b * c}, {"FeretMaximum", std::hypot(a, b, c)}, {"Solidity", 1}});
        const bool equal = spacing[0] == spacing[1];
        EXPECT_NEAR(single(solid, "SurfaceArea") / (2 * (a * b + b * c + a * c)), equal ? 0.92 : 0.86, 0.03);
    }
}

}  // namespace
}  // namespace rix::individual_analysis
