// Gradients, derivatives of Gaussians and Laplacians against their definitions and on images whose derivatives are
// known.

#include <rix/edge_detection/DifferenceOfGaussians3d.h>
#include <rix/edge_detection/GaussianDerivative2d.h>
#include <rix/edge_detection/GaussianDerivative3d.h>
#include <rix/edge_detection/GradientOperator2d.h>
#include <rix/edge_detection/GradientOperator3d.h>
#include <rix/edge_detection/Laplacian2d.h>
#include <rix/edge_detection/LaplacianOfGaussian3d.h>

#include "RunFilter.h"
#include "Testing.h"
#include "Voxels.h"

namespace rix::test {
namespace {

using edge_detection::GaussianDerivative2d;
using edge_detection::GaussianDerivative3d;
using edge_detection::GradientOperator2d;
using edge_detection::GradientOperator3d;

double at(const ImageModel& image, std::int64_t x, std::int64_t y, std::int64_t z) {
    return voxelAt(image, static_cast<std::size_t>(x), static_cast<std::size_t>(y), static_cast<std::size_t>(z));
}

/// A sample of an image that is continued beyond its edges.
double beyond(const ImageModel& image, access::BorderPolicy border, double value, std::array<std::int64_t, 3> p) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto n = static_cast<std::int64_t>(image.getNumOf(static_cast<Components>(axis)));
        const bool isOutside = p[axis] < 0 || p[axis] >= n;
        if (isOutside && border == access::BorderPolicy::FIXED) {
            return value;
        }
        while (isOutside && border == access::BorderPolicy::MIRROR && (p[axis] < 0 || p[axis] >= n)) {
            p[axis] = p[axis] < 0 ? -1 - p[axis] : 2 * n - 1 - p[axis];
        }
        p[axis] = std::clamp<std::int64_t>(p[axis], 0, n - 1);
    }
    return at(image, p[0], p[1], p[2]);
}

using Weights = std::function<double(std::int64_t)>;

/// The sum over a box of the products of three weights.
double boxSum(const ImageModel& image, access::BorderPolicy border, double value, const std::array<std::size_t, 3>& p,
              const std::array<std::int64_t, 3>& reach, const std::array<Weights, 3>& weights) {
    double sum = 0.0;
    for (std::int64_t k = -reach[2]; k <= reach[2]; ++k) {
        for (std::int64_t j = -reach[1]; j <= reach[1]; ++j) {
            for (std::int64_t i = -reach[0]; i <= reach[0]; ++i) {
                const std::array<std::int64_t, 3> q{static_cast<std::int64_t>(p[0]) + i,
                                                    static_cast<std::int64_t>(p[1]) + j,
                                                    static_cast<std::int64_t>(p[2]) + k};
                sum += weights[0](i) * weights[1](j) * weights[2](k) * beyond(image, border, value, q);
            }
        }
    }
    return sum;
}

TEST(GradientOperators, AreTheFieldsIntegerWeights) {
    const io::MemoryImage image = makeRandomImage({.voxelType = RIX_UINT16, .extents = {9, 5, 4, 1, 1}}, 3);
    const double middle[] = {0.0, 2.0, 10.0, 1.0};
    const double side[] = {0.0, 1.0, 3.0, 1.0};
    for (const int method : {1, 2, 3}) {
        for (const auto border :
             {access::BorderPolicy::MIRROR, access::BorderPolicy::CONTINUE, access::BorderPolicy::FIXED}) {
            const Weights across = [&](std::int64_t i) { return i == 0 ? middle[method] : side[method]; };
            const Weights along = [](std::int64_t i) { return static_cast<double>(i); };
            const Weights one = [](std::int64_t) { return 1.0; };
            GradientOperator2d planes;
            GradientOperator3d volumes;
            std::array<io::MemoryImage, 4> inPlane;
            std::array<io::MemoryImage, 4> inSpace;
            const auto set = [&](auto& filter) {
                filter.setInputImage(&image);
                filter.method = method;
                filter.setBorderPolicy(border);
                filter.setBorderValue(7.0);
            };
            set(planes);
            planes.setOutputImageX(&inPlane[0]);
            planes.setOutputImageY(&inPlane[1]);
            planes.setOutputMagnitudeImage(&inPlane[2]);
            planes.setOutputOrientationImage(&inPlane[3]);
            planes.run();
            set(volumes);
            volumes.setOutputImageX(&inSpace[0]);
            volumes.setOutputImageY(&inSpace[1]);
            volumes.setOutputImageZ(&inSpace[2]);
            volumes.setOutputMagnitudeImage(&inSpace[3]);
            volumes.run();
            io::MemoryImage alone;
            GradientOperator3d lone;
            set(lone);
            lone.setOutputImageY(&alone);
            lone.run();
            EXPECT_TRUE(imagesEqual(inSpace[1], alone));
            forEachPosition(helper::getExtents(image), [&](const Extents& p) {
                const std::array<std::size_t, 3> q{p[0], p[1], p[2]};
                const double x = boxSum(image, border, 7.0, q, {1, 1, 0}, {along, across, one});
                const double y = boxSum(image, border, 7.0, q, {1, 1, 0}, {across, along, one});
                ASSERT_EQ(voxelAt(inPlane[0], p[0], p[1], p[2]), x);
                ASSERT_EQ(voxelAt(inPlane[1], p[0], p[1], p[2]), y);
                ASSERT_NEAR(voxelAt(inPlane[2], p[0], p[1], p[2]), std::hypot(x, y), 0.2);
                ASSERT_NEAR(voxelAt(inPlane[3], p[0], p[1], p[2]), std::atan2(y, x), 1e-6);
                double square = 0.0;
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    std::array<Weights, 3> weights{across, across, across};
                    weights[axis] = along;
                    const double each = boxSum(image, border, 7.0, q, {1, 1, 1}, weights);
                    ASSERT_EQ(voxelAt(inSpace[axis], p[0], p[1], p[2]), each);
                    square += each * each;
                }
                ASSERT_NEAR(voxelAt(inSpace[3], p[0], p[1], p[2]), std::sqrt(square), 1e-6 * std::sqrt(square));
            });
        }
    }
}

TEST(GradientOperators, ARampOfThreeAMillimetreReadsThree) {
    io::MemoryImage image = makeImage({.voxelType = RIX_FLOAT64, .extents = {50, 50, 12, 1, 1}},
                                      [](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t) {
                                          return 3.0 * 0.5 * static_cast<double>(x) -
                                                 2.0 * 0.25 * static_cast<double>(y) +
                                                 6.0 * 2.0 * static_cast<double>(z);
                                      });
    ASSERT_TRUE(image.setSpacingOf(COLUMNS, 0.5) && image.setSpacingOf(ROWS, -0.25) && image.setSpacingOf(PLANS, 2.0));
    for (int method = 0; method < 5; ++method) {
        io::MemoryImage x;
        io::MemoryImage y;
        io::MemoryImage z;
        io::MemoryImage magnitude;
        io::MemoryImage orientation;
        GradientOperator3d volumes;
        volumes.setInputImage(&image);
        volumes.method = method;
        volumes.setLengthUnit(GradientOperator3d::WORLD);
        volumes.setOutputImageX(&x);
        volumes.setOutputImageY(&y);
        volumes.setOutputImageZ(&z);
        volumes.setOutputMagnitudeImage(&magnitude);
        volumes.run();
        EXPECT_NEAR(at(x, 25, 25, 6), 3.0, 1e-12);
        EXPECT_NEAR(at(y, 25, 25, 6), -2.0, 1e-12);
        EXPECT_NEAR(at(z, 25, 25, 6), 6.0, 1e-12);
        EXPECT_NEAR(at(magnitude, 25, 25, 6), 7.0, 1e-12);
        GradientOperator2d planes;
        planes.setInputImage(&image);
        planes.method = method;
        planes.setLengthUnit(GradientOperator2d::WORLD);
        planes.setOutputOrientationImage(&orientation);
        planes.run();
        EXPECT_NEAR(at(orientation, 25, 25, 6), std::atan2(-2.0, 3.0), 1e-12);
    }
    GradientOperator2d none;
    none.setInputImage(&image);
    EXPECT_NO_THROW(none.run()) << "nothing is asked for";
}

/// x^power / power! of a coordinate, around the middle of 61 voxels.
double monomial(std::size_t i, int power) {
    const double x = static_cast<double>(i) - 30.0;
    return std::pow(x, power) / std::tgamma(power + 1.0);
}

TEST(GaussianDerivatives, OfPowersAreExact) {
    for (const double deviation : {0.0, 0.05, 0.3, 0.5, 1.0, 2.7}) {
        for (int order = 0; order < 4; ++order) {
            for (int power = 0; power <= order; ++power) {
                const double expected = power == order ? 1.0 : 0.0;
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    Extents extents{3, 3, 3, 1, 1};
                    extents[axis] = 61;
                    io::MemoryImage image =
                        makeImage({.voxelType = RIX_FLOAT64, .extents = extents},
                                  [&](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t) {
                                      return monomial(std::array{x, y, z}[axis], power);
                                  });
                    ASSERT_TRUE(image.setSpacingOf(static_cast<Components>(axis), 0.5));
                    GaussianDerivative3d filter;
                    filter.setStandardDeviationX(axis == 0 ? deviation : 0.0);
                    filter.setStandardDeviationY(axis == 1 ? deviation : 0.0);
                    filter.setStandardDeviationZ(axis == 2 ? deviation : 0.0);
                    filter.setOrderX(axis == 0 ? order : 0);
                    filter.setOrderY(axis == 1 ? order : 0);
                    filter.setOrderZ(axis == 2 ? order : 0);
                    const io::MemoryImage result = runFilter(filter, image);
                    Extents middle{1, 1, 1, 0, 0};
                    middle[axis] = 30;
                    const double found = voxelAt(result, middle[0], middle[1], middle[2]);
                    EXPECT_NEAR(found, expected, 1e-11) << deviation << ' ' << order << ' ' << power << ' ' << axis;
                    filter.setLengthUnit(GaussianDerivative3d::WORLD);
                    filter.setStandardDeviationX(0.5 * filter.getStandardDeviationX());
                    filter.setStandardDeviationY(0.5 * filter.getStandardDeviationY());
                    filter.setStandardDeviationZ(0.5 * filter.getStandardDeviationZ());
                    const io::MemoryImage inWorld = runFilter(filter, image);
                    EXPECT_NEAR(voxelAt(inWorld, middle[0], middle[1], middle[2]), expected * std::pow(2.0, order),
                                1e-10);
                }
            }
        }
    }
}

/// A derivative of the Gaussian itself, which samples of a wide one come near.
Weights gaussian(double s, int order) {
    return [=](std::int64_t i) {
        const double x = static_cast<double>(i) / s;
        const double density = std::exp(-0.5 * x * x) / (s * std::sqrt(2.0 * std::numbers::pi));
        const double hermite[] = {1.0, x, x * x - 1.0, x * (x * x - 3.0)};
        return hermite[order] * density / std::pow(s, order);
    };
}

TEST(GaussianDerivatives, AreThoseOfTheGaussian) {
    constexpr double s = 1.5;
    for (const auto border :
         {access::BorderPolicy::MIRROR, access::BorderPolicy::CONTINUE, access::BorderPolicy::FIXED}) {
        const io::MemoryImage image = makeImage({.voxelType = RIX_FLOAT32, .extents = {7, 6, 9, 1, 1}},
                                                [](std::size_t x, std::size_t y, std::size_t z, std::size_t,
                                                   std::size_t) { return (x * 37 + y * 101 + z * 59) % 256; });
        for (const auto& [x, y, z] : {std::array{1, 0, 0}, std::array{0, 2, 1}, std::array{3, 0, 2}}) {
            GaussianDerivative3d filter;
            filter.setStandardDeviationX(s);
            filter.setStandardDeviationY(s);
            filter.setStandardDeviationZ(s);
            filter.setOrderX(x);
            filter.setOrderY(y);
            filter.setOrderZ(z);
            filter.setBorderPolicy(border);
            filter.setBorderValue(50.0);
            const io::MemoryImage result = runFilter(filter, image);
            forEachPosition({7, 6, 9, 1, 1}, [&](const Extents& p) {
                const double expected = boxSum(image, border, 50.0, {p[0], p[1], p[2]}, {8, 8, 8},
                                               {gaussian(s, x), gaussian(s, y), gaussian(s, z)});
                ASSERT_NEAR(voxelAt(result, p[0], p[1], p[2]), expected, 255.0 * 2e-5);
            });
        }
    }
}

TEST(Laplacians, AreSumsOfSecondDerivatives) {
    const io::MemoryImage bowl =
        makeImage({.voxelType = RIX_FLOAT64, .extents = {41, 41, 41, 1, 1}},
                  [](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t) {
                      return 2.0 * monomial(x + 10, 2) + 2.0 * monomial(y + 10, 2) + 2.0 * monomial(z + 10, 2);
                  });
    edge_detection::Laplacian2d plain;
    EXPECT_NEAR(at(runFilter(plain, bowl), 20, 20, 20), 4.0, 1e-11);
    edge_detection::LaplacianOfGaussian3d smooth;
    EXPECT_NEAR(at(runFilter(smooth, bowl), 20, 20, 20), 6.0, 1e-11);
    // The mean of x^2 under a Gaussian is its variance.
    edge_detection::DifferenceOfGaussians3d difference;
    difference.setStandardDeviation1(3.0);
    difference.setStandardDeviation2(1.0);
    EXPECT_NEAR(at(runFilter(difference, bowl), 20, 20, 20), 3.0 * (9.0 - 1.0), 3e-3);
}

/// Where only the length is wanted it comes from windows of 3 x 3 at once: with the bits of the sums one by one.
TEST(GradientOperators, AloneLengthsHaveTheSameBits) {
    const Extents extents{2071, 5, 2, 1, 1};
    for (const VoxelTypes type : {RIX_UINT8, RIX_FLOAT32}) {
        io::MemoryImage image = makeRandomImage({.voxelType = type, .extents = extents}, 3, Extremes::None);
        ASSERT_TRUE(image.setSpacingOf(COLUMNS, 0.3) && image.setSpacingOf(ROWS, 0.3));
        for (const auto method : {edge_detection::GradientMethod::SOBEL, edge_detection::GradientMethod::SCHARR,
                                  edge_detection::GradientMethod::PREWITT}) {
            for (int k = 0; k < 8; ++k) {
                io::MemoryImage alone;
                io::MemoryImage together;
                io::MemoryImage component;
                GradientOperator2d filter;
                filter.setInputImage(&image);
                filter.setMethod(method);
                filter.borderPolicy = std::min(k / 2, 2);
                filter.setBorderValue(k < 6 ? 9.0 : 9.5);
                filter.lengthUnit = k % 2;
                filter.setOutputMagnitudeImage(&alone);
                filter.run();
                filter.setOutputImageX(&component);
                filter.setOutputMagnitudeImage(&together);
                filter.run();
                EXPECT_EQ(std::memcmp(alone.getInternalBuffer(), together.getInternalBuffer(), 2071U * 5U * 2U * 4U), 0)
                    << static_cast<int>(type) << ' ' << static_cast<int>(method) << ' ' << k;
            }
        }
    }
}

}  // namespace
}  // namespace rix::test
