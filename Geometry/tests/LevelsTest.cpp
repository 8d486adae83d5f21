// Lines and surfaces of a level: closed where they can be, on the right side, of the right length, area and volume.

#include <rix/geometry/ContourLines2d.h>
#include <rix/geometry/IsoSurface3d.h>

#include "SampledReference.h"
#include "Testing.h"

namespace rix::test {
namespace {

using namespace geometry;

void findLines(const ImageModel& image, double level, ContoursMsr& table) {
    ContourLines2d contours;
    contours.setInputImage(&image);
    contours.setLevel(level);
    contours.setOutputMeasurement(&table);
    const std::size_t stated = contours.describe().extraMemory;
    contours.run();
    EXPECT_LE(contours.getPeakExtraMemory(), stated);
}

/// A line of the table, and what it encloses from x to y; of open lines nothing.
struct FoundLine {
    std::vector<std::array<double, 2>> points;
    bool isClosed() const { return points.front() == points.back(); }
    double area() const {
        double twice = 0;
        for (std::size_t i = 0; i + 1 < points.size(); ++i) {
            twice += points[i][0] * points[i + 1][1] - points[i + 1][0] * points[i][1];
        }
        return twice / 2;
    }
    double length() const {
        double sum = 0;
        for (std::size_t i = 0; i + 1 < points.size(); ++i) {
            sum += std::hypot(points[i + 1][0] - points[i][0], points[i + 1][1] - points[i][1]);
        }
        return sum;
    }
};

std::vector<FoundLine> linesOf(const ContoursMsr& table) {
    std::vector<FoundLine> lines;
    for (std::size_t i = 0; i < table.line.size(); ++i) {
        if (static_cast<std::size_t>(table.line[i]) > lines.size()) {
            lines.emplace_back();
        }
        EXPECT_EQ(static_cast<std::size_t>(table.line[i]), lines.size());
        lines.back().points.push_back({table.x[i], table.y[i]});
    }
    return lines;
}

io::MemoryImage discs(double radius, double sign) {
    io::MemoryImage image = makeImage(
        {.voxelType = RIX_FLOAT64, .extents = {64, 50, 1, 1, 1}},
        [=](std::size_t x, std::size_t y, std::size_t, std::size_t, std::size_t) {
            return sign * (radius - std::hypot(0.5 * static_cast<double>(x) - 15.3, static_cast<double>(y) - 24.1));
        });
    place(image, Matrix::Identity(), {0.5, 1.0, 1.0}, {3.0, -4.0, 0.0});
    return image;
}

TEST(ContourLines, PassBrightDiscsFromXToY) {
    ContoursMsr table;
    const double area = std::numbers::pi * 144;
    for (const double sign : {1.0, -1.0}) {
        for (const bool isReflected : {false, true}) {
            io::MemoryImage image = discs(12, sign);
            if (isReflected) {
                image.setSpacingOf(ROWS, -1.0);
            }
            findLines(image, 0.0, table);
            const auto lines = linesOf(table);
            ASSERT_EQ(lines.size(), 1U);
            EXPECT_TRUE(lines[0].isClosed());
            EXPECT_NEAR(lines[0].area(), sign * area, 0.005 * area);
            EXPECT_NEAR(lines[0].length(), 24 * std::numbers::pi, 0.005 * 24 * std::numbers::pi);
            for (const auto& [x, y] : lines[0].points) {
                EXPECT_NEAR(std::hypot(x - 18.3, (isReflected ? -4 - y : y + 4) - 24.1), 12.0, 0.02);
            }
        }
    }
    // Far from the middle, the disc is cut off by the edge: an open line.
    findLines(discs(26, 1.0), 0.0, table);
    for (const FoundLine& line : linesOf(table)) {
        EXPECT_FALSE(line.isClosed());
    }
}

/// The area at or above a level of noise from its lines, with the image's edge below it, is that of the sum of what
/// they enclose; squares of noise are full of saddles.
TEST(ContourLines, OfNoiseAreClosedAndEachEdgeIsCrossedOnce) {
    io::MemoryImage image = makeRandomImage({.voxelType = RIX_UINT8, .extents = {60, 40, 1, 1, 1}}, 5);
    fillImage(image, [old = samplesOf<std::uint8_t>(image)](std::size_t x, std::size_t y, std::size_t, std::size_t,
                                                            std::size_t, std::size_t) {
        return x == 0 || y == 0 || x == 59 || y == 39 ? 0 : old[y * 60 + x];
    });
    const auto samples = samplesOf<int>(image);
    ContoursMsr table;
    findLines(image, 100.25, table);
    std::map<std::array<double, 2>, int> seen;
    const auto lines = linesOf(table);
    for (const FoundLine& line : lines) {
        EXPECT_TRUE(line.isClosed());
        for (std::size_t i = 0; i + 1 < line.points.size(); ++i) {
            EXPECT_EQ(++seen[line.points[i]], 1);
            // From one side of a square to another.
            EXPECT_LE(std::abs(line.points[i + 1][0] - line.points[i][0]), 1.0);
            EXPECT_LE(std::abs(line.points[i + 1][1] - line.points[i][1]), 1.0);
            // The brighter element is on the left.
            const auto& [x, y] = line.points[i];
            const bool isAlongX = x != std::floor(x);
            const auto first = static_cast<std::size_t>(std::floor(y)) * 60 + static_cast<std::size_t>(std::floor(x));
            const int rise = samples[first + (isAlongX ? 1 : 60)] - samples[first];
            EXPECT_EQ(rise > 0, samples[first] < 100.25);
            const double share = (100.25 - samples[first]) / rise;
            EXPECT_NEAR(isAlongX ? x - std::floor(x) : y - std::floor(y), share, 1e-12);
        }
    }
    std::size_t crossings = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const bool isBright = samples[i] > 100;
        crossings += i % 60 < 59 && isBright != (samples[i + 1] > 100) ? 1U : 0U;
        crossings += i / 60 < 39 && isBright != (samples[i + 60] > 100) ? 1U : 0U;
    }
    EXPECT_EQ(seen.size(), crossings);
    EXPECT_GT(lines.size(), 50U);
}

TEST(ContourLines, FollowTheSaddle) {
    // 2 x 2 elements with bright ones across: one line each about the dark or about the bright ones, by the saddle.
    const auto linesAt = [](double bright, double dark) {
        const io::MemoryImage image = makeImage({.voxelType = RIX_FLOAT32, .extents = {2, 2, 1, 1, 1}},
                                                [=](std::size_t x, std::size_t y, std::size_t, std::size_t,
                                                    std::size_t) { return x == y ? bright : dark; });
        ContoursMsr table;
        findLines(image, 0.0, table);
        return linesOf(table);
    };
    const auto joined = linesAt(3.0, -1.0);
    ASSERT_EQ(joined.size(), 2U);
    // About the dark corner (1, 0), on whose other side the bright ones are one.
    EXPECT_EQ(joined[0].points, (std::vector<std::array<double, 2>>{{0.75, 0.0}, {1.0, 0.25}}));
    const auto apart = linesAt(1.0, -3.0);
    ASSERT_EQ(apart.size(), 2U);
    EXPECT_EQ(apart[0].points, (std::vector<std::array<double, 2>>{{0.25, 0.0}, {0.0, 0.25}}));
}

TEST(ContourLines, EndAtWhatIsNoNumberAndKeepFramesApart) {
    io::MemoryImage image =
        makeImage({.voxelType = RIX_FLOAT32, .extents = {12, 10, 2, 2, 3}},
                  [](std::size_t x, std::size_t y, std::size_t z, std::size_t t, std::size_t c) {
                      const bool isHole = x == 6 && y == 2 && z == 0;
                      return isHole ? std::numeric_limits<double>::quiet_NaN()
                                    : 3.0 + static_cast<double>(t + c) * 0.3 -
                                          std::hypot(static_cast<double>(x) - 6, static_cast<double>(y) - 5);
                  });
    ContoursMsr table;
    findLines(image, 0.4, table);
    std::map<std::array<std::int64_t, 3>, std::set<std::int64_t>> lines;
    for (std::size_t i = 0; i < table.line.size(); ++i) {
        lines[{table.frame[i], table.channel[i], static_cast<std::int64_t>(table.z[i])}].insert(table.line[i]);
    }
    EXPECT_EQ(lines.size(), 12U);
    const auto all = linesOf(table);
    EXPECT_EQ(all.size(), 12U);
    for (const auto& [where, numbers] : lines) {
        ASSERT_EQ(numbers.size(), 1U);
        EXPECT_EQ(all[static_cast<std::size_t>(*numbers.begin()) - 1].isClosed(), where[2] == 1);
    }
}

void findSurface(const ImageModel& image, double level, SurfaceMsr& table) {
    IsoSurface3d surface;
    surface.setInputImage(&image);
    surface.setLevel(level);
    surface.setOutputMeasurement(&table);
    surface.run();
}

struct SurfaceFacts {
    double area = 0;
    double volume = 0;  ///< positive where triangles face outwards
    std::int64_t euler = 0;
    std::size_t open = 0;  ///< edges that do not belong to two triangles, one each way
};

SurfaceFacts factsOf(const SurfaceMsr& table) {
    SurfaceFacts facts;
    std::map<std::int64_t, Vector> corners;
    std::map<std::pair<std::int64_t, std::int64_t>, int> edges;
    const std::size_t count = table.vertex1.size();
    for (std::size_t i = 0; i < count; ++i) {
        const std::array<std::int64_t, 3> numbers{table.vertex1[i], table.vertex2[i], table.vertex3[i]};
        const std::array<Vector, 3> at{Vector(table.x1[i], table.y1[i], table.z1[i]),
                                       Vector(table.x2[i], table.y2[i], table.z2[i]),
                                       Vector(table.x3[i], table.y3[i], table.z3[i])};
        facts.area += (at[1] - at[0]).cross(at[2] - at[0]).norm() / 2;
        facts.volume += at[0].dot(at[1].cross(at[2])) / 6;
        for (std::size_t k = 0; k < 3; ++k) {
            const auto [found, isNew] = corners.emplace(numbers[k], at[k]);
            EXPECT_TRUE(isNew || found->second == at[k]) << "a number has two places";
            ++edges[{numbers[k], numbers[(k + 1) % 3]}];
        }
    }
    for (const auto& [edge, times] : edges) {
        const auto back = edges.find({edge.second, edge.first});
        facts.open += times == 1 && back != edges.end() && back->second == 1 ? 0U : 1U;
    }
    facts.euler = static_cast<std::int64_t>(corners.size()) - static_cast<std::int64_t>(edges.size() / 2) +
                  static_cast<std::int64_t>(count);
    return facts;
}

TEST(IsoSurface, OfABallIsClosedAndHasItsAreaAndVolume) {
    SurfaceMsr table;
    const double area = 4 * std::numbers::pi * 100;
    const double volume = 4.0 / 3 * std::numbers::pi * 1000;
    for (const bool isReflected : {false, true}) {
        for (const double sign : {1.0, -1.0}) {
            io::MemoryImage image =
                makeImage({.voxelType = RIX_FLOAT32, .extents = {48, 30, 28, 1, 1}},
                          [=](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t) {
                              return sign * (10 - std::sqrt(std::pow(0.5 * static_cast<double>(x) - 11.7, 2) +
                                                            std::pow(static_cast<double>(y) - 14.2, 2) +
                                                            std::pow(static_cast<double>(z) - 13.4, 2)));
                          });
            place(image, turnBy(20, -35, 70), {0.5, 1.0, isReflected ? -1.0 : 1.0}, {12.0, -40.0, 7.0});
            findSurface(image, 0.0, table);
            const SurfaceFacts facts = factsOf(table);
            EXPECT_EQ(facts.open, 0U);
            EXPECT_EQ(facts.euler, 2);
            EXPECT_NEAR(facts.area, area, 0.01 * area);
            EXPECT_NEAR(facts.volume, sign * volume, 0.01 * volume);
        }
    }
}

TEST(IsoSurface, OfATorusHasItsHole) {
    const io::MemoryImage image =
        makeImage({.voxelType = RIX_FLOAT32, .extents = {40, 40, 16, 1, 1}},
                  [](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t) {
                      const double ring = std::hypot(static_cast<double>(x) - 19.6, static_cast<double>(y) - 19.4) - 12;
                      return 4.5 - std::hypot(ring, static_cast<double>(z) - 7.7);
                  });
    SurfaceMsr table;
    findSurface(image, 0.0, table);
    const SurfaceFacts facts = factsOf(table);
    const double pi = std::numbers::pi;
    EXPECT_EQ(facts.open, 0U);
    EXPECT_EQ(facts.euler, 0);
    EXPECT_NEAR(facts.area, 4 * pi * pi * 12 * 4.5, 0.015 * 4 * pi * pi * 12 * 4.5);
    EXPECT_NEAR(facts.volume, 2 * pi * pi * 12 * 4.5 * 4.5, 0.015 * 2 * pi * pi * 12 * 4.5 * 4.5);
}

TEST(IsoSurface, OfNoiseIsClosedAndEndsAtTheEdgeAndAtWhatIsNoNumber) {
    io::MemoryImage image = makeRandomImage({.voxelType = RIX_UINT8, .extents = {24, 20, 16, 2, 2}}, 5);
    std::vector<std::vector<std::uint8_t>> old;
    for (std::size_t i = 0; i < 4; ++i) {
        old.push_back(volumeOf<std::uint8_t>(image, i % 2, i / 2));
    }
    const auto isEdge = [](std::size_t x, std::size_t y, std::size_t z) {
        return x == 0 || y == 0 || z == 0 || x == 23 || y == 19 || z == 15;
    };
    fillImage(image, [&](std::size_t x, std::size_t y, std::size_t z, std::size_t t, std::size_t c, std::size_t) {
        return isEdge(x, y, z) ? 0 : old[c * 2 + t][(z * 20 + y) * 24 + x];
    });
    SurfaceMsr table;
    // Also at a value that elements have: they count as above it.
    for (const double level : {99.5, 100.0, 0.5}) {
        findSurface(image, level, table);
        EXPECT_EQ(factsOf(table).open, 0U) << level;
    }
    EXPECT_EQ(table.frame[table.frame.size() - 1], 1);
    EXPECT_EQ(table.channel[table.channel.size() - 1], 1);

    io::MemoryImage open = makeImage({.voxelType = RIX_FLOAT64, .extents = {9, 9, 9, 1, 1}},
                                     [](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t) {
                                         return x == 4 && y == 4 && z == 4 ? std::numeric_limits<double>::infinity()
                                                                           : static_cast<double>(z) - 4.25;
                                     });
    findSurface(open, 0.0, table);
    const SurfaceFacts facts = factsOf(table);
    EXPECT_GT(facts.open, 0U);
    EXPECT_LT(facts.area, 64.0);
    EXPECT_GT(facts.area, 58.0);
}

}  // namespace
}  // namespace rix::test
