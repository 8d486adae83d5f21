// Peaks and blobs against their definitions, and where it is known where they are.

#include <cmath>
#include <map>
#include <numbers>
#include <set>

#include <rix/edge_detection/LaplacianOfGaussian2d.h>
#include <rix/edge_detection/LaplacianOfGaussian3d.h>
#include <rix/segmentation/BlobDetector2d.h>
#include <rix/segmentation/BlobDetector3d.h>
#include <rix/segmentation/LocalPeaks2d.h>
#include <rix/segmentation/LocalPeaks3d.h>

#include "Testing.h"

namespace rix::test {
namespace {

std::uint64_t scatteredNumber(std::size_t x, std::size_t y, std::size_t z, std::size_t seed) {
    return (((x * 7919 + y * 104729 + z * 1299709 + seed) * 0x9E3779B97F4A7C15U) >> 31) & 0xffffU;
}

struct FoundPeak {
    double value;
    std::array<double, 3> place;
};

/// The peaks of a part by the definition: floods of plateaus, then a walk down all maxima.
std::vector<FoundPeak> peaksByDefinition(const std::vector<double>& values, const std::array<std::size_t, 3>& n,
                                         std::size_t axes, double threshold, double distance,
                                         const std::array<double, 3>& units) {
    const auto isInside = [&](const std::array<std::size_t, 3>& p) {
        return p[0] < n[0] && p[1] < n[1] && p[2] < n[2];
    };
    const auto indexOf = [&](const std::array<std::size_t, 3>& p) { return p[0] + n[0] * (p[1] + n[1] * p[2]); };
    const auto placeOf = [&](std::size_t i) { return std::array{i % n[0], i / n[0] % n[1], i / n[0] / n[1]}; };
    std::vector<FoundPeak> maxima;
    std::set<std::size_t> known;
    for (std::size_t start = 0; start < values.size(); ++start) {
        if (!(values[start] > threshold) || !known.insert(start).second) {
            continue;
        }
        std::vector<std::size_t> plateau{start};
        bool isMaximum = true;
        bool isAlone = true;
        for (std::size_t i = 0; i < plateau.size(); ++i) {
            const auto at = placeOf(plateau[i]);
            for (int k = 0; k < 27; ++k) {
                const std::array<std::size_t, 3> to{at[0] + static_cast<std::size_t>(k % 3 - 1),
                                                    at[1] + static_cast<std::size_t>(k / 3 % 3 - 1),
                                                    at[2] + static_cast<std::size_t>(k / 9 - 1)};
                if (k == 13 || !isInside(to) || (axes == 2 && to[2] != at[2])) {
                    continue;
                }
                const double other = values[indexOf(to)];
                isMaximum = isMaximum && !(other > values[start]);
                isAlone = isAlone && !(other < values[start]);
                if (other == values[start] && known.insert(indexOf(to)).second) {
                    plateau.push_back(indexOf(to));
                }
            }
        }
        if (!isMaximum || isAlone) {
            continue;
        }
        FoundPeak peak{values[start], {}};
        for (const std::size_t voxel : plateau) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                peak.place[axis] += static_cast<double>(placeOf(voxel)[axis]) / static_cast<double>(plateau.size());
            }
        }
        const auto at = placeOf(start);
        for (std::size_t axis = 0; axis < axes && plateau.size() == 1; ++axis) {
            if (at[axis] > 0 && at[axis] + 1 < n[axis]) {
                auto behind = at;
                auto ahead = at;
                --behind[axis];
                ++ahead[axis];
                const double a = values[indexOf(behind)];
                const double b = values[indexOf(ahead)];
                const double top = (a - b) / (2 * (a - 2 * peak.value + b));
                peak.place[axis] += std::isfinite(top) ? top : 0.0;
            }
        }
        maxima.push_back(peak);
    }
    std::stable_sort(maxima.begin(), maxima.end(), [](const auto& a, const auto& b) { return a.value > b.value; });
    std::vector<FoundPeak> taken;
    for (const FoundPeak& peak : maxima) {
        const bool isFree = std::none_of(taken.begin(), taken.end(), [&](const FoundPeak& other) {
            double square = 0;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                square += std::pow((peak.place[axis] - other.place[axis]) * units[axis], 2);
            }
            return std::sqrt(square) < distance - 1e-6;
        });
        if (isFree) {
            taken.push_back(peak);
        }
    }
    return taken;
}

template <class Filter>
void comparePeaks(io::MemoryImage image, double threshold, double distance, bool inWorld) {
    constexpr std::size_t axes = std::is_same_v<Filter, segmentation::LocalPeaks3d> ? 3 : 2;
    const std::array<double, 3> spacing{0.5, 0.75, 2.0};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        image.setSpacingOf(static_cast<Components>(axis), spacing[axis]);
        image.setOriginOf(static_cast<Components>(axis), 10.0);
    }
    Filter filter;
    filter.setInputImage(&image);
    filter.setThreshold(threshold);
    filter.setMinimumDistance(distance);
    filter.setLengthUnit(inWorld ? Filter::WORLD : Filter::VOXEL);
    filter.run();
    const segmentation::PeaksMsr& table = *filter.getOutputMeasurement();
    const Extents n = helper::getExtents(image);
    const std::vector<double> values = samplesOf<double>(image);
    const std::size_t part = n[0] * n[1] * (axes == 3 ? n[2] : 1);
    std::size_t row = 0;
    for (std::size_t first = 0; first < values.size(); first += part) {
        const std::vector<double> ofPart(values.begin() + static_cast<std::ptrdiff_t>(first),
                                         values.begin() + static_cast<std::ptrdiff_t>(first + part));
        const auto expected = peaksByDefinition(ofPart, {n[0], n[1], axes == 3 ? n[2] : 1}, axes, threshold, distance,
                                                inWorld ? spacing : std::array<double, 3>{1, 1, 1});
        for (const FoundPeak& peak : expected) {
            ASSERT_LT(row, table.value.size());
            EXPECT_EQ(table.value[row], peak.value);
            EXPECT_NEAR(table.positionX[row], 10.0 + 0.5 * peak.place[0], 1e-6);
            EXPECT_NEAR(table.positionY[row], 10.0 + 0.75 * peak.place[1], 1e-6);
            const std::size_t plane = axes == 3 ? 0 : first / part % n[2];
            EXPECT_NEAR(table.positionZ[row], 10.0 + 2.0 * (peak.place[2] + static_cast<double>(plane)), 1e-6);
            const std::size_t frame = first / part / (axes == 3 ? 1 : n[2]);
            EXPECT_EQ(table.frame[row], static_cast<std::int64_t>(frame % n[3]));
            EXPECT_EQ(table.channel[row], static_cast<std::int64_t>(frame / n[3]));
            ++row;
        }
    }
    EXPECT_EQ(row, table.value.size()) << helper::describeImage(image) << ", distance " << distance;
}

TEST(LocalPeaks, AreThoseOfTheDefinition) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_FLOAT32, RIX_FLOAT64}) {
        for (const std::uint64_t levels : {3U, 7U, 30000U}) {  // large plateaus, small ones, none
            const io::MemoryImage image = makeImage(
                {.voxelType = type, .extents = {23, 14, 5, 2, 1}},
                [=](std::size_t x, std::size_t y, std::size_t z, std::size_t t, std::size_t) {
                    const double value = static_cast<double>(scatteredNumber(x, y, z + 9 * t, 4) % levels);
                    const bool isSigned = type != RIX_UINT8;
                    return (isSigned ? value - 2.0 : std::fmod(value, 256.0)) * (type == RIX_FLOAT64 ? 0.125 : 1.0);
                });
            comparePeaks<segmentation::LocalPeaks2d>(image, 0.0, 0.0, false);
            for (const double distance : {1.0, 2.5, 6.0, 100.0}) {
                comparePeaks<segmentation::LocalPeaks2d>(image, 0.3, distance, false);
                comparePeaks<segmentation::LocalPeaks3d>(image, 0.3, distance, false);
                comparePeaks<segmentation::LocalPeaks3d>(image, -10.0, distance, true);
            }
        }
    }
    // NaN and infinities are no neighbours to fit a parabola through; one value has no peak.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double row[] = {nan, 5, nan, 1, std::numeric_limits<double>::infinity(), 2, 7, nan};
    const io::MemoryImage odd = makeImage({.voxelType = RIX_FLOAT64, .extents = {8, 1, 1, 1, 1}},
                                          [&](std::size_t x, auto...) { return row[x]; });
    segmentation::LocalPeaks2d filter;
    filter.setInputImage(&odd);
    filter.run();
    const segmentation::PeaksMsr& table = *filter.getOutputMeasurement();
    ASSERT_EQ(table.value.size(), 2U);
    EXPECT_EQ(table.positionX[0], 4.0);
    EXPECT_EQ(table.positionX[1], 6.0);
    EXPECT_EQ(table.value[1], 7.0);
}

TEST(LocalPeaks, LieBetweenVoxels) {
    const io::MemoryImage image =
        makeImage({.voxelType = RIX_FLOAT64, .extents = {30, 30, 1, 1, 1}}, [](std::size_t x, std::size_t y, auto...) {
            const double dx = static_cast<double>(x) - 11.3;
            const double dy = static_cast<double>(y) - 17.8;
            return 1000.0 - dx * dx - 2 * dy * dy;
        });
    segmentation::LocalPeaks2d filter;
    filter.setInputImage(&image);
    filter.run();
    const segmentation::PeaksMsr& table = *filter.getOutputMeasurement();
    ASSERT_EQ(table.value.size(), 1U);
    EXPECT_NEAR(table.positionX[0], 11.3, 1e-6);
    EXPECT_NEAR(table.positionY[0], 17.8, 1e-6);
    EXPECT_EQ(table.findArray("PositionZ"), nullptr);
    EXPECT_EQ(table.findArray("Radius"), nullptr);
}

/// Blobs by the definition from the responses of all scales.
template <class Filter, class Laplacian>
void compareBlobs(const io::MemoryImage& image, double threshold, int count) {
    constexpr std::size_t axes = std::is_same_v<Filter, segmentation::BlobDetector3d> ? 3 : 2;
    const Extents n = helper::getExtents(image);
    std::vector<std::vector<float>> responses;
    for (int i = 0; i < count; ++i) {
        const double scale = count == 1 ? 1.0 : std::pow(4.0, static_cast<double>(i) / (count - 1));
        Laplacian laplacian;
        io::MemoryImage output;
        laplacian.setInputImage(&image);
        laplacian.setStandardDeviation(scale);
        laplacian.setOutputImage(&output);
        laplacian.run();
        responses.push_back(samplesOf<float>(output));
        for (float& response : responses.back()) {
            response *= static_cast<float>(-scale * scale);
        }
    }
    Filter filter;
    filter.setInputImage(&image);
    filter.setThreshold(threshold);
    filter.setMinimumScale(1.0);
    filter.setMaximumScale(4.0);
    filter.setNumberOfScales(count);
    filter.run();
    const segmentation::PeaksMsr& table = *filter.getOutputMeasurement();
    std::size_t row = 0;
    for (int i = 0; i < count; ++i) {
        std::size_t p = 0;
        forEachPosition(n, [&](const Extents& at) {
            const float own = responses[static_cast<std::size_t>(i)][p];
            bool isBlob = static_cast<double>(own) > threshold;
            for (int k = 0; k < 81 && isBlob; ++k) {
                const int d[4] = {k % 3 - 1, k / 3 % 3 - 1, k / 9 % 3 - 1, k / 27 - 1};
                Extents to = at;
                bool isThere = k != 40 && (axes == 3 || d[2] == 0) && i + d[3] >= 0 && i + d[3] < count;
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    to[axis] += static_cast<std::size_t>(d[axis]);
                    isThere = isThere && to[axis] < n[axis];
                }
                if (isThere) {
                    const std::size_t q = to[0] + n[0] * (to[1] + n[1] * (to[2] + n[2] * (to[3] + n[3] * to[4])));
                    const float other = responses[static_cast<std::size_t>(i + d[3])][q];
                    isBlob = k < 40 ? own > other : own >= other;
                }
            }
            if (isBlob && row < table.value.size()) {
                EXPECT_EQ(table.value[row], static_cast<double>(own));
                EXPECT_LE(std::abs(table.positionX[row] - static_cast<double>(at[0])), 0.5);
                EXPECT_LE(std::abs(table.positionY[row] - static_cast<double>(at[1])), 0.5);
                EXPECT_LE(std::abs(table.positionZ[row] - static_cast<double>(at[2])), 0.5);
                EXPECT_EQ(table.frame[row], static_cast<std::int64_t>(at[3]));
                const double step = count == 1 ? 0.0 : std::log(4.0) / (count - 1);
                EXPECT_LE(std::abs(std::log(table.scale[row]) - step * i), 0.5 * step + 1e-12);
                EXPECT_DOUBLE_EQ(table.radius[row], table.scale[row] * std::sqrt(static_cast<double>(axes)));
            }
            row += isBlob ? 1 : 0;
            ++p;
        });
    }
    EXPECT_EQ(row, table.value.size());
    EXPECT_GT(row, 3U);
}

TEST(BlobDetector, FindsThoseOfTheDefinition) {
    for (const std::size_t planes : {1U, 6U}) {
        const io::MemoryImage image = makeImage(
            {.extents = {40, 33, planes, 2, 1}}, [](std::size_t x, std::size_t y, std::size_t z, std::size_t t, auto) {
                return scatteredNumber(x / 2, y / 3, z / 2 + 7 * t, 5) % 4 * 80;  // with ties
            });
        for (const int count : {1, 2, 5}) {
            compareBlobs<segmentation::BlobDetector2d, edge_detection::LaplacianOfGaussian2d>(image, 5.0, count);
            compareBlobs<segmentation::BlobDetector3d, edge_detection::LaplacianOfGaussian3d>(image, 5.0, count);
        }
    }
}

TEST(BlobDetector, MeasuresGaussiansAndBalls) {
    // A Gaussian of deviation 3 and height 80: R is half the height at that scale.
    const io::MemoryImage gaussian =
        makeImage({.voxelType = RIX_FLOAT32, .extents = {60, 50, 1, 1, 1}}, [](std::size_t x, std::size_t y, auto...) {
            const double dx = static_cast<double>(x) - 25.4;
            const double dy = static_cast<double>(y) - 22.7;
            return 20.0 + 80.0 * std::exp(-(dx * dx + dy * dy) / 18.0);
        });
    segmentation::BlobDetector2d planar;
    planar.setInputImage(&gaussian);
    planar.setNumberOfScales(15);
    planar.run();
    const segmentation::PeaksMsr& one = *planar.getOutputMeasurement();
    ASSERT_EQ(one.value.size(), 1U);
    EXPECT_NEAR(one.positionX[0], 25.4, 0.02);
    EXPECT_NEAR(one.positionY[0], 22.7, 0.02);
    EXPECT_NEAR(one.scale[0], 3.0, 0.03);
    EXPECT_NEAR(one.value[0], 40.0, 1.0);  // at the voxel and scale beside the top
    // Balls in a grid of another spacing on each axis, in the world.
    io::MemoryImage balls =
        makeImage({.extents = {48, 60, 25, 1, 1}}, [](std::size_t x, std::size_t y, std::size_t z, auto...) {
            const auto isIn = [&](double cx, double cy, double cz, double r) {
                return std::hypot(0.5 * static_cast<double>(x) - cx, 0.4 * static_cast<double>(y) - cy,
                                  static_cast<double>(z) - cz) < r;
            };
            return isIn(7, 7, 7, 3.5) ? 200 : isIn(16, 16, 15, 5) ? 180 : 0;
        });
    balls.setSpacingOf(COLUMNS, 0.5);
    balls.setSpacingOf(ROWS, 0.4);
    balls.setSpacingOf(PLANS, 1.0);
    segmentation::BlobDetector3d spatial;
    spatial.setInputImage(&balls);
    spatial.setLengthUnit(segmentation::BlobDetector3d::WORLD);
    spatial.setMinimumScale(1.2);
    spatial.setMaximumScale(4.5);
    spatial.setNumberOfScales(9);
    spatial.setThreshold(60);
    spatial.run();
    const segmentation::PeaksMsr& both = *spatial.getOutputMeasurement();
    ASSERT_EQ(both.value.size(), 2U);
    EXPECT_NEAR(both.radius[0], 3.5, 0.2);
    EXPECT_NEAR(both.positionX[0], 7, 0.1);
    EXPECT_NEAR(both.positionY[0], 7, 0.1);
    EXPECT_NEAR(both.positionZ[0], 7, 0.1);
    EXPECT_NEAR(both.radius[1], 5, 0.2);
    EXPECT_NEAR(both.positionZ[1], 15, 0.1);
}

TEST(BlobDetector, RefusesScalesThatAreNone) {
    const io::MemoryImage image = makeRandomImage({.extents = {9, 9, 1, 1, 1}}, 1);
    const auto detect = [&](double first, double last, int count) {
        segmentation::BlobDetector2d filter;
        filter.setInputImage(&image);
        filter.setMinimumScale(first);
        filter.setMaximumScale(last);
        filter.setNumberOfScales(count);
        filter.run();
    };
    EXPECT_THROW(detect(0, 3, 3), RuleException);
    EXPECT_THROW(detect(3, 2, 3), RuleException);
    EXPECT_THROW(detect(1, 101, 3), RuleException);
    EXPECT_THROW(detect(1, 3, 0), RuleException);
    EXPECT_NO_THROW(detect(2, 2, 2));
}

}  // namespace
}  // namespace rix::test
