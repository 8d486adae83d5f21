// Corners, lines and circles against their definitions, and where the truth is known.

#include <rix/edge_detection/CornerDetector2d.h>
#include <rix/edge_detection/GaussianDerivative2d.h>
#include <rix/edge_detection/HoughCircles2d.h>
#include <rix/edge_detection/HoughLines2d.h>

#include "RunFilter.h"
#include "Testing.h"
#include "Voxels.h"

namespace rix::test {
namespace {

using edge_detection::CornerDetector2d;
using edge_detection::FeaturesMsr;
using edge_detection::HoughCircles2d;
using edge_detection::HoughLines2d;

io::MemoryImage gaussianOf(const ImageModel& image, double deviation, std::int32_t x, std::int32_t y) {
    edge_detection::GaussianDerivative2d filter;
    filter.setStandardDeviationX(deviation);
    filter.setStandardDeviationY(deviation);
    filter.setOrderX(x);
    filter.setOrderY(y);
    return runFilter(filter, image);
}

/// Peaks as the definitions say: cells above a threshold and their neighbours, and of two that are too close the
/// stronger one. The first is the slowest axis.
using Cell = std::array<std::ptrdiff_t, 3>;
struct Candidate {
    double value;
    Cell cell;
};
std::vector<Candidate> slowPeaks(const Cell& extents, double least, const std::function<double(const Cell&)>& value,
                                 const std::function<bool(const Cell&, const Cell&)>& isClose) {
    std::vector<Candidate> all;
    for (Cell c{0, 0, 0}; c[0] < extents[0]; ++c[0]) {
        for (c[1] = 0; c[1] < extents[1]; ++c[1]) {
            for (c[2] = 0; c[2] < extents[2]; ++c[2]) {
                const double here = value(c);
                bool stays = here > 0.0 && here >= least;
                for (int k = 0; k < 27 && stays; ++k) {
                    const double there = value({c[0] + k / 9 - 1, c[1] + k / 3 % 3 - 1, c[2] + k % 3 - 1});
                    stays = k == 13 || (k < 13 ? here > there : here >= there);
                }
                if (stays) {
                    all.push_back({here, c});
                }
            }
        }
    }
    std::stable_sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.value > b.value; });
    std::vector<Candidate> kept;
    for (const Candidate& each : all) {
        if (std::none_of(kept.begin(), kept.end(), [&](const auto& k) { return isClose(k.cell, each.cell); })) {
            kept.push_back(each);
        }
    }
    return kept;
}

TEST(CornerDetectors, FindThePeaksOfTheMeasure) {
    const io::MemoryImage image =
        makeRandomImage({.voxelType = RIX_FLOAT64, .extents = {41, 33, 1, 1, 1}}, 3, Extremes::None);
    const io::MemoryImage dx = gaussianOf(image, 1.0, 1, 0);
    const io::MemoryImage dy = gaussianOf(image, 1.0, 0, 1);
    const auto averaged = [&](const ImageModel& a, const ImageModel& b) {
        return gaussianOf(makeImage({.voxelType = RIX_FLOAT64, .extents = {41, 33, 1, 1, 1}},
                                    [&](std::size_t x, std::size_t y, std::size_t, std::size_t, std::size_t) {
                                        return voxelAt(a, x, y, 0) * voxelAt(b, x, y, 0);
                                    }),
                          2.0, 0, 0);
    };
    const io::MemoryImage xx = averaged(dx, dx);
    const io::MemoryImage xy = averaged(dx, dy);
    const io::MemoryImage yy = averaged(dy, dy);
    for (const auto method : {edge_detection::CornerMethod::HARRIS, edge_detection::CornerMethod::SHI_TOMASI}) {
        CornerDetector2d filter;
        io::MemoryImage response;
        FeaturesMsr table;
        filter.setInputImage(&image);
        filter.setMethod(method);
        filter.setThreshold(0.0);
        filter.setMinimumDistance(3.0);
        filter.setOutputResponseImage(&response);
        filter.setOutputMeasurement(&table);
        filter.run();
        double most = 0.0;
        double error = 0.0;
        for (std::size_t i = 0; i < 41U * 33U; ++i) {
            const std::size_t x = i % 41;
            const std::size_t y = i / 41;
            const double a = voxelAt(xx, x, y, 0);
            const double b = voxelAt(xy, x, y, 0);
            const double c = voxelAt(yy, x, y, 0);
            const double root = std::sqrt((a - c) * (a - c) + 4.0 * b * b);
            const double high = 0.5 * (a + c + root);
            const double low = 0.5 * (a + c - root);
            const double expected =
                method == edge_detection::CornerMethod::HARRIS ? high * low - 0.05 * (high + low) * (high + low) : low;
            most = std::max(most, std::abs(expected));
            error = std::max(error, std::abs(expected - voxelAt(response, x, y, 0)));
        }
        EXPECT_LE(error, 1e-11 * most);
        const auto peaks = slowPeaks(
            {1, 33, 41}, 0.0,
            [&](const Cell& c) {
                return c[0] == 0 && c[1] >= 0 && c[1] < 33 && c[2] >= 0 && c[2] < 41
                           ? voxelAt(response, static_cast<std::size_t>(c[2]), static_cast<std::size_t>(c[1]), 0)
                           : -1e300;
            },
            [](const Cell& a, const Cell& b) {
                return (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]) < 9;
            });
        ASSERT_EQ(table.strength.size(), peaks.size());
        EXPECT_GT(peaks.size(), 10U);
        for (std::size_t i = 0; i < peaks.size(); ++i) {
            EXPECT_EQ(table.strength[i], peaks[i].value);
            EXPECT_NEAR(table.positionX[i], static_cast<double>(peaks[i].cell[2]), 0.5);
            EXPECT_NEAR(table.positionY[i], static_cast<double>(peaks[i].cell[1]), 0.5);
        }
    }
}

TEST(CornerDetectors, PlaceTheCornersOfASquareInTheWorld) {
    // From (20.3, 20.7) to (50.3, 60.7), the share of each voxel that it covers.
    const auto covered = [](std::size_t i, double from, double to) {
        const double at = static_cast<double>(i);
        return std::clamp(std::min(at + 0.5, to) - std::max(at - 0.5, from), 0.0, 1.0);
    };
    io::MemoryImage square = makeImage({.voxelType = RIX_FLOAT32, .extents = {70, 80, 1, 2, 1}},
                                       [&](std::size_t x, std::size_t y, std::size_t, std::size_t t, std::size_t) {
                                           const double value = covered(x, 20.3, 50.3) * covered(y, 20.7, 60.7);
                                           return static_cast<float>(t == 1 ? 100.0 * value : 0.0);
                                       });
    ASSERT_TRUE(square.setSpacingOf(COLUMNS, 0.5) && square.setSpacingOf(ROWS, 0.5) &&
                square.setOriginOf(COLUMNS, 7.0));
    for (const auto method : {edge_detection::CornerMethod::HARRIS, edge_detection::CornerMethod::SHI_TOMASI}) {
        CornerDetector2d filter;
        FeaturesMsr table;
        filter.setInputImage(&square);
        filter.setMethod(method);
        filter.setLengthUnit(algorithms::LengthUnit::WORLD);
        filter.setInnerStandardDeviation(0.5);
        filter.setOuterStandardDeviation(0.5);
        filter.setThreshold(-0.5);
        filter.setOutputMeasurement(&table);
        filter.run();
        ASSERT_EQ(table.strength.size(), 4U);
        for (std::size_t i = 0; i < 4; ++i) {
            const double x = (table.positionX[i] - 7.0) / 0.5 - 35.3;
            const double y = table.positionY[i] / 0.5 - 40.7;
            EXPECT_EQ(table.frame[i], 1);
            // The measure is greatest inside of the corner, by about the deviations.
            EXPECT_NEAR(std::abs(x), 14.0, 0.3);
            EXPECT_NEAR(std::abs(y), 19.0, 0.3);
            EXPECT_NEAR(std::remainder(table.orientation[i] - std::atan2(-y / 20.0, -x / 15.0), 2.0 * std::numbers::pi),
                        0.0, 0.3);
        }
    }
}

/// Of the lines that are left, those apart by less than both are one.
void compareLines(double anglesApart, double distancesApart) {
    const io::MemoryImage image = makeRandomImage(
        {.voxelType = RIX_UINT8, .extents = {29, 23, 2, 1, 1}, .interpretation = RIX_BINARY}, 5, Extremes::None);
    HoughLines2d filter;
    io::MemoryImage votes;
    FeaturesMsr table;
    filter.setInputImage(&image);
    filter.setNumberOfAngles(37);
    filter.setDistanceStep(1.5);
    filter.setThreshold(12.0);
    filter.setMinimumAngle(anglesApart);
    filter.setMinimumDistance(distancesApart);
    filter.setOutputAccumulatorImage(&votes);
    filter.setOutputMeasurement(&table);
    filter.run();
    const auto side = static_cast<std::ptrdiff_t>(std::ceil(std::sqrt(28.0 * 28.0 + 22.0 * 22.0) / 1.5));
    ASSERT_EQ(helper::getExtents(votes), (Extents{37, static_cast<std::size_t>(2 * side + 1), 2, 1, 1}));
    std::size_t row = 0;
    for (std::size_t z = 0; z < 2; ++z) {
        std::vector<std::vector<std::uint32_t>> expected(37, std::vector<std::uint32_t>(2 * side + 1, 0));
        for (std::size_t a = 0; a < 37; ++a) {
            const double angle = static_cast<double>(a) * std::numbers::pi / 37.0;
            for (std::size_t i = 0; i < 29U * 23U; ++i) {
                if (voxelAt(image, i % 29, i / 29, z) != 0.0) {
                    const double distance = static_cast<double>(i % 29) * (std::cos(angle) / 1.5) +
                                            static_cast<double>(i / 29) * (std::sin(angle) / 1.5);
                    ++expected[a][static_cast<std::size_t>(std::floor(distance + 0.5) + static_cast<double>(side))];
                }
            }
            for (std::size_t d = 0; d < expected[a].size(); ++d) {
                EXPECT_EQ(voxelAt(votes, a, d, z), expected[a][d]) << a << ' ' << d;
            }
        }
        const auto wrapped = [&](const Cell& c) {
            return c[2] < 0 ? Cell{0, 2 * side - c[1], c[2] + 37} : c[2] > 36 ? Cell{0, 2 * side - c[1], c[2] - 37} : c;
        };
        const auto peaks = slowPeaks(
            {1, 2 * side + 1, 37}, 12.0,
            [&](const Cell& c) {
                const Cell at = wrapped(c);
                return c[0] == 0 && at[1] >= 0 && at[1] <= 2 * side
                           ? expected[static_cast<std::size_t>(at[2])][static_cast<std::size_t>(at[1])]
                           : 0.0;
            },
            [&](const Cell& a, const Cell& b) {
                const auto isNear = [&](const Cell& p, const Cell& q) {
                    return std::abs(static_cast<double>(p[2] - q[2])) * 180.0 / 37.0 < anglesApart &&
                           std::abs(static_cast<double>(p[1] - q[1])) * 1.5 < distancesApart;
                };
                return isNear(a, b) || isNear(a, {0, 2 * side - b[1], b[2] + 37}) ||
                       isNear(a, {0, 2 * side - b[1], b[2] - 37});
            });
        EXPECT_GT(peaks.size(), 5U);
        for (const Candidate& peak : peaks) {
            ASSERT_LT(row, table.strength.size());
            EXPECT_EQ(table.strength[row], peak.value);
            EXPECT_EQ(table.positionZ[row], static_cast<double>(z));
            EXPECT_NEAR(table.orientation[row] * 37.0 / std::numbers::pi, static_cast<double>(peak.cell[2]), 0.5001);
            EXPECT_NEAR(table.distance[row] / 1.5, static_cast<double>(peak.cell[1] - side), 0.5001);
            ++row;
        }
    }
    EXPECT_EQ(row, table.strength.size());
}

TEST(HoughTransforms, CountTheVotesForLines) {
    compareLines(20.0, 4.0);
    compareLines(0.0, 4.0);
    compareLines(20.0, 0.0);
}

TEST(HoughTransforms, FindLinesInTheWorld) {
    // x cos(a) + y sin(a) = d, in a world whose rows are twice as far apart as its columns.
    constexpr double angle = 2.0;
    constexpr double distance = 10.0;
    io::MemoryImage image = makeImage({.voxelType = RIX_UINT16, .extents = {120, 90, 1, 1, 1}},
                                      [&](std::size_t x, std::size_t y, std::size_t, std::size_t, std::size_t) {
                                          const double off = 0.5 * static_cast<double>(x) * std::cos(angle) +
                                                             1.0 * static_cast<double>(y) * std::sin(angle) - distance;
                                          return std::abs(off) < 0.4 ? 7 : 0;
                                      });
    ASSERT_TRUE(image.setSpacingOf(COLUMNS, 0.5) && image.setSpacingOf(ROWS, 1.0) && image.setOriginOf(ROWS, -3.0));
    image.setSpatialUnitName("mm");
    HoughLines2d filter;
    FeaturesMsr table;
    filter.setInputImage(&image);
    filter.setLengthUnit(algorithms::LengthUnit::WORLD);
    filter.setMaximumNumber(1);
    filter.setOutputMeasurement(&table);
    filter.run();
    ASSERT_EQ(table.strength.size(), 1U);
    EXPECT_NEAR(table.orientation[0], angle, 0.01);
    EXPECT_NEAR(table.distance[0], distance, 0.3);
    EXPECT_NEAR(table.positionX[0] * std::cos(angle) + (table.positionY[0] + 3.0) * std::sin(angle), distance, 0.3);
    EXPECT_EQ(table.positionX.getUnit(), "mm");
    EXPECT_EQ(table.distance.getUnit(), "mm");
    filter.setLengthUnit(algorithms::LengthUnit::VOXEL);
    filter.run();
    EXPECT_EQ(table.positionX.getUnit(), "mm");
    EXPECT_EQ(table.distance.getUnit(), "");
}

void compareCircles(double apart) {
    // Voxels twice as high as wide; many radii, so that bytes overflow.
    io::MemoryImage image = makeRandomImage(
        {.voxelType = RIX_UINT8, .extents = {27, 19, 1, 1, 1}, .interpretation = RIX_BINARY}, 7, Extremes::None);
    ASSERT_TRUE(image.setSpacingOf(COLUMNS, 1.0) && image.setSpacingOf(ROWS, 2.0));
    HoughCircles2d filter;
    io::MemoryImage shares;
    FeaturesMsr table;
    filter.setInputImage(&image);
    filter.setLengthUnit(algorithms::LengthUnit::WORLD);
    filter.setMinimumRadius(0.4);
    filter.setMaximumRadius(6.0);
    filter.setRadiusStep(0.7);
    filter.setThreshold(0.4);
    filter.setMinimumDistance(apart);
    filter.setOutputAccumulatorImage(&shares);
    filter.setOutputMeasurement(&table);
    filter.run();
    ASSERT_EQ(shares.getNumOf(SPECTRAL_SERIES), 9U);
    for (std::size_t i = 0; i < 9; ++i) {
        const double radius = 0.4 + 0.7 * static_cast<double>(i);
        for (std::size_t at = 0; at < 27U * 19U; ++at) {
            int all = 0;
            int edges = 0;
            for (int dy = -9; dy <= 9; ++dy) {
                for (int dx = -9; dx <= 9; ++dx) {
                    const double away = std::hypot(dx, 2.0 * dy);
                    if (away >= radius - 0.5 && away < radius + 0.5) {
                        const int x = static_cast<int>(at % 27) + dx;
                        const int y = static_cast<int>(at / 27) + dy;
                        ++all;
                        edges += x >= 0 && y >= 0 && x < 27 && y < 19 &&
                                         voxelAt(image, static_cast<std::size_t>(x), static_cast<std::size_t>(y), 0) > 0
                                     ? 1
                                     : 0;
                    }
                }
            }
            EXPECT_EQ(voxelAt(shares, at % 27, at / 27, 0, i), static_cast<float>(edges) / static_cast<float>(all));
        }
    }
    const auto peaks = slowPeaks(
        {9, 19, 27}, static_cast<double>(0.4F),
        [&](const Cell& c) {
            return c[0] >= 0 && c[0] < 9 && c[1] >= 0 && c[1] < 19 && c[2] >= 0 && c[2] < 27
                       ? voxelAt(shares, static_cast<std::size_t>(c[2]), static_cast<std::size_t>(c[1]), 0,
                                 static_cast<std::size_t>(c[0]))
                       : 0.0;
        },
        [apart](const Cell& a, const Cell& b) {
            return std::hypot(2.0 * static_cast<double>(a[1] - b[1]), static_cast<double>(a[2] - b[2])) < apart;
        });
    ASSERT_EQ(table.strength.size(), peaks.size());
    EXPECT_GT(peaks.size(), 5U);
    for (std::size_t i = 0; i < peaks.size(); ++i) {
        EXPECT_EQ(table.strength[i], peaks[i].value);
        EXPECT_NEAR(table.positionX[i], static_cast<double>(peaks[i].cell[2]), 0.5);
        EXPECT_NEAR(table.positionY[i], 2.0 * static_cast<double>(peaks[i].cell[1]), 1.0);
        EXPECT_NEAR(table.radius[i], 0.4 + 0.7 * static_cast<double>(peaks[i].cell[0]), 0.36);
    }
}

TEST(HoughTransforms, ShareTheVoxelsOfCircles) {
    compareCircles(2.5);
    compareCircles(0.0);
}

TEST(HoughTransforms, FindCirclesAsWideAsBytesCount) {
    // A circle of more than 255 voxels, and of more columns than are counted at once.
    constexpr double radius = 60.0;
    const io::MemoryImage image = makeImage({.voxelType = RIX_FLOAT32, .extents = {700, 150, 1, 1, 1}},
                                            [&](std::size_t x, std::size_t y, std::size_t, std::size_t, std::size_t) {
                                                const double dx = static_cast<double>(x) - 601.0;
                                                const double dy = static_cast<double>(y) - 75.0;
                                                return std::abs(std::hypot(dx, dy) - radius) < 0.5 ? 1.0F : 0.0F;
                                            });
    HoughCircles2d filter;
    FeaturesMsr table;
    filter.setInputImage(&image);
    filter.setMinimumRadius(58.0);
    filter.setMaximumRadius(62.0);
    filter.setMaximumNumber(1);
    filter.setOutputMeasurement(&table);
    filter.run();
    ASSERT_EQ(table.strength.size(), 1U);
    EXPECT_GT(table.strength[0], 0.98);
    EXPECT_NEAR(table.positionX[0], 601.0, 0.05);
    EXPECT_NEAR(table.positionY[0], 75.0, 0.05);
    EXPECT_NEAR(table.radius[0], radius, 0.1);
}

}  // namespace
}  // namespace rix::test
