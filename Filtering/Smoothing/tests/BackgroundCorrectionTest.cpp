// Rolling balls against the opening by the ball's surface, flat fields against their quotient, in double precision.

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include <rix/filtering/smoothing/BackgroundCorrection2d.h>
#include <rix/filtering/smoothing/BackgroundCorrection3d.h>

#include "BoxReference.h"
#include "GaussianReference.h"
#include "ImageFactories.h"
#include "ImageSamples.h"

namespace rix::test {
namespace {

using namespace filtering::smoothing;
using Values = std::vector<double>;

constexpr std::array<std::size_t, 3> fieldExtents{17, 11, 4};
constexpr std::size_t planeVoxels = fieldExtents[0] * fieldExtents[1];

io::MemoryImage fieldOf(VoxelTypes type) {
    io::MemoryImage image =
        makeImage({.voxelType = type, .extents = {fieldExtents[0], fieldExtents[1], fieldExtents[2], 1, 1}},
                  [](std::size_t x, std::size_t y, std::size_t z, auto...) {
                      return (x * 7919 + y * 104729 + z * 1299709) % 31 + 3 * x + z;
                  });
    image.setSpacingOf(COLUMNS, 0.5);
    image.setSpacingOf(ROWS, 1.0);
    image.setSpacingOf(PLANS, 2.0);
    return image;
}

struct BallCase {
    std::array<double, 3> radii;  ///< in voxels
    double height;
};

/// The least of what lies below the surface, where the image has voxels that are numbers.
Values pressed(const Values& in, const BallCase& ball) {
    const auto at = [](std::size_t axis, std::size_t voxel) {
        const std::size_t step = axis == 0 ? 1 : axis == 1 ? fieldExtents[0] : planeVoxels;
        return static_cast<double>(voxel / step % fieldExtents[axis]);
    };
    Values out(in.size(), std::numeric_limits<double>::infinity());
    for (std::size_t v = 0; v < in.size(); ++v) {
        for (std::size_t w = 0; w < in.size(); ++w) {
            double share = 0;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const double distance = at(axis, w) - at(axis, v);
                share += distance == 0 ? 0.0 : distance * distance / (ball.radii[axis] * ball.radii[axis]);
            }
            if (share <= 1 + 1e-12 && !std::isnan(in[w])) {
                out[v] = std::min(out[v], in[w] - ball.height * std::sqrt(std::max(1 - share, 0.0)));
            }
        }
    }
    return out;
}

Values negated(Values values) {
    std::transform(values.begin(), values.end(), values.begin(), [](double value) { return -value; });
    return values;
}

Values openedBy(const BallCase& ball, const Values& in) {
    return negated(pressed(negated(pressed(in, ball)), ball));
}

template <class Filter>
void checkBall(Filter& filter, VoxelTypes type, const BallCase& ball) {
    const io::MemoryImage input = fieldOf(type);
    const Values in = volumeOf<double>(input, 0, 0);
    io::MemoryImage output;
    io::MemoryImage background;
    filter.setInputImage(&input);
    filter.setOutputImage(&output);
    filter.setOutputBackgroundImage(&background);
    for (const auto side : {Filter::DARK, Filter::BRIGHT}) {
        filter.setBackground(side);
        filter.run();
        ASSERT_EQ(output.getVoxelType(), type);
        const bool isDark = side == Filter::DARK;
        const Values expected = isDark ? openedBy(ball, in) : negated(openedBy(ball, negated(in)));
        const Values found = volumeOf<double>(background, 0, 0);
        const Values out = volumeOf<double>(output, 0, 0);
        const double rounding = access::contains(access::Integers{}, type) ? 0.5 : 0.0;
        for (std::size_t i = 0; i < in.size(); ++i) {
            ASSERT_NEAR(found[i], expected[i], 1e-4) << i;
            ASSERT_NEAR(out[i], std::fabs(in[i] - expected[i]), rounding + 1e-4) << i;
        }
    }
}

TEST(BackgroundCorrection, RollsABall) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_UINT32, RIX_FLOAT32, RIX_FLOAT64}) {
        for (const double radius : {0.0, 1.0, 3.7, 9.0}) {
            BackgroundCorrection2d inPlanes;
            inPlanes.setRadius(radius);
            checkBall(inPlanes, type, {{radius, radius, 0}, radius});
            BackgroundCorrection3d inVolumes;
            inVolumes.setRadius(radius);
            inVolumes.setHeight(12.5);
            checkBall(inVolumes, type, {{radius, radius, radius}, 12.5});
        }
        BackgroundCorrection3d inTheWorld;
        inTheWorld.setRadius(3);
        inTheWorld.setLengthUnit(BackgroundCorrection3d::WORLD);
        checkBall(inTheWorld, type, {{6, 3, 1.5}, 3});
    }
}

TEST(BackgroundCorrection, FindsNothingLeftInABackground) {
    const io::MemoryImage input = fieldOf(RIX_FLOAT64);
    io::MemoryImage output;
    io::MemoryImage background;
    io::MemoryImage again;
    BackgroundCorrection2d filter;
    filter.setInputImage(&input);
    filter.setRadius(6);
    filter.setOutputImage(&output);
    filter.setOutputBackgroundImage(&background);
    filter.run();
    filter.setInputImage(&background);
    filter.setOutputImage(&output);
    filter.setOutputBackgroundImage(&again);
    filter.run();
    for (const double value : volumeOf<double>(output, 0, 0)) {
        ASSERT_NEAR(value, 0.0, 1e-12);
        ASSERT_GE(value, 0.0);
    }
}

TEST(BackgroundCorrection, LeavesNaNOut) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const auto isLost = [](std::size_t x, std::size_t y) { return (x > 2 && x < 12 && y > 2) || (x == 15 && y == 5); };
    const io::MemoryImage input =
        makeImage({.voxelType = RIX_FLOAT64, .extents = {fieldExtents[0], fieldExtents[1], fieldExtents[2], 1, 1}},
                  [&](std::size_t x, std::size_t y, std::size_t z, auto...) {
                      return isLost(x, y) ? nan : static_cast<double>((x * 7 + y * 5 + z * 3) % 19);
                  });
    const BallCase ball{{3, 3, 0}, 3};
    const Values expected = openedBy(ball, volumeOf<double>(input, 0, 0));
    io::MemoryImage output;
    BackgroundCorrection2d filter;
    filter.setInputImage(&input);
    filter.setRadius(3);
    filter.setOutputImage(&output);
    filter.run();
    const Values in = volumeOf<double>(input, 0, 0);
    const Values out = volumeOf<double>(output, 0, 0);
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (std::isnan(in[i])) {
            ASSERT_TRUE(std::isnan(out[i])) << i;
        } else {
            ASSERT_NEAR(out[i], in[i] - expected[i], 1e-12) << i;
        }
    }
}

/// in m / B for each part of so many voxels.
Values divided(const Values& in, const Values& field, std::size_t voxels) {
    Values out;
    for (std::size_t i = 0; i < in.size(); ++i) {
        const auto first = field.begin() + static_cast<std::ptrdiff_t>(i / voxels * voxels);
        const double mean =
            std::accumulate(first, first + static_cast<std::ptrdiff_t>(voxels), 0.0) / static_cast<double>(voxels);
        out.push_back(field[i] == 0 ? 0.0 : in[i] * mean / field[i]);
    }
    return out;
}

template <class Filter>
void checkField(VoxelTypes type, VoxelTypes fieldType, std::size_t voxels) {
    const io::MemoryImage input = fieldOf(type);
    const io::MemoryImage field =
        makeImage({.voxelType = fieldType, .extents = {fieldExtents[0], fieldExtents[1], fieldExtents[2], 1, 1}},
                  [](std::size_t x, std::size_t y, std::size_t z, auto...) {
                      return x == 4 && y == 4 ? 0 : 90 - x + 2 * y + 7 * z;
                  });
    io::MemoryImage output;
    io::MemoryImage background;
    Filter filter;
    filter.setInputImage(&input);
    filter.setMethod(Filter::FLAT_FIELD);
    filter.setInputBackgroundImage(&field);
    filter.setOutputImage(&output);
    filter.setOutputBackgroundImage(&background);
    const auto check = [&](const Values& flat, double tolerance) {
        const double rounding = access::contains(access::Integers{}, type) ? 0.5 : 0.0;
        const Values expected = divided(volumeOf<double>(input, 0, 0), flat, voxels);
        const Values out = volumeOf<double>(output, 0, 0);
        const Values found = volumeOf<double>(background, 0, 0);
        for (std::size_t i = 0; i < out.size(); ++i) {
            ASSERT_NEAR(out[i], expected[i], rounding + tolerance) << i;
            ASSERT_NEAR(found[i], flat[i], tolerance) << i;
        }
    };
    filter.run();
    check(volumeOf<double>(field, 0, 0), 1e-4);

    filter.setInputBackgroundImage(nullptr);
    filter.setRadius(3);
    filter.run();
    Values smooth = volumeOf<double>(input, 0, 0);
    for (std::size_t axis = 0; axis < (voxels == planeVoxels ? 2U : 3U); ++axis) {
        smooth = gaussianAlong(smooth, fieldExtents, axis, 3, access::BorderPolicy::MIRROR, 0);
    }
    check(smooth, 1e-2);
}

TEST(BackgroundCorrection, DividesByAField) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_FLOAT32, RIX_FLOAT64}) {
        for (const VoxelTypes fieldType : {RIX_UINT8, RIX_FLOAT32}) {
            checkField<BackgroundCorrection2d>(type, fieldType, planeVoxels);
            checkField<BackgroundCorrection3d>(type, fieldType, planeVoxels * fieldExtents[2]);
        }
    }
}

}  // namespace
}  // namespace rix::test
