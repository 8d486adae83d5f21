// Eigenvalues of second derivatives and of structure tensors, ridges and changes of sign.

#include <Eigen/Eigenvalues>

#include <rix/edge_detection/HessianAnalysis2d.h>
#include <rix/edge_detection/HessianAnalysis3d.h>
#include <rix/edge_detection/RidgeFilter2d.h>
#include <rix/edge_detection/RidgeFilter3d.h>
#include <rix/edge_detection/StructureTensor2d.h>
#include <rix/edge_detection/StructureTensor3d.h>
#include <rix/edge_detection/ZeroCrossings2d.h>
#include <rix/edge_detection/ZeroCrossings3d.h>

#include "RunFilter.h"
#include "Testing.h"
#include "Voxels.h"

namespace rix::test {
namespace {

using edge_detection::HessianAnalysis2d;
using edge_detection::HessianAnalysis3d;
using edge_detection::RidgeFilter2d;
using edge_detection::RidgeFilter3d;
using edge_detection::StructureTensor2d;
using edge_detection::StructureTensor3d;

/// An image whose Hessian is a matrix everywhere.
io::MemoryImage quadric(const Eigen::Matrix3d& hessian, const Extents& extents) {
    return makeImage({.voxelType = RIX_FLOAT64, .extents = extents},
                     [&](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t) {
                         const Eigen::Vector3d p(static_cast<double>(x) - 2.0, static_cast<double>(y) - 2.0,
                                                 extents[2] > 1 ? static_cast<double>(z) - 2.0 : 0.0);
                         return 0.5 * p.dot(hessian * p);
                     });
}

/// What the filter makes of the middle of an image, against what Eigen makes of the matrix.
template <int axes, class Filter>
void expectSystemOf(const Eigen::Matrix3d& matrix) {
    const io::MemoryImage image = quadric(matrix, {5, 5, axes == 3 ? 5U : 1U, 1, 1});
    io::MemoryImage values;
    io::MemoryImage vectors;
    Filter filter;
    filter.setInputImage(&image);
    filter.setStandardDeviation(0.0);
    filter.setOutputEigenvaluesImage(&values);
    filter.setOutputEigenvectorsImage(&vectors);
    filter.run();
    using Matrix = Eigen::Matrix<double, axes, axes>;
    const Matrix part = matrix.topLeftCorner<axes, axes>();
    std::vector<double> expected(axes);
    const Eigen::SelfAdjointEigenSolver<Matrix> solver(part);
    std::copy_n(solver.eigenvalues().data(), axes, expected.begin());
    std::stable_sort(expected.begin(), expected.end(),
                     [](double a, double b) { return std::abs(a) < std::abs(b) * (1.0 - 1e-12); });
    const double size = std::max(1e-300, part.cwiseAbs().maxCoeff());
    Matrix basis;
    for (std::size_t i = 0; i < axes; ++i) {
        const double value = voxelAt(values, 2, 2, axes == 3 ? 2 : 0, i);
        EXPECT_NEAR(std::abs(value), std::abs(expected[i]), 1e-14 * size) << matrix;
        Eigen::Matrix<double, axes, 1> v;
        for (std::size_t a = 0; a < axes; ++a) {
            v[static_cast<int>(a)] = voxelAt(vectors, 2, 2, axes == 3 ? 2 : 0, axes * i + a);
        }
        EXPECT_LT((part * v - value * v).norm(), 1e-14 * size) << matrix;
        basis.col(static_cast<int>(i)) = v;
    }
    EXPECT_LT((basis.transpose() * basis - Matrix::Identity()).norm(), 1e-14) << matrix;
}

TEST(HessianAnalyses, AreTheEigenSystemsOfTheMatrix) {
    std::mt19937 random(3);
    std::normal_distribution<double> normal;
    const Eigen::Vector3d spectra[] = {{1.0, 2.0, 3.0},  {1.0, 1.0, 1.0},   {2.0, 2.0, -1.0},       {-5.0, 3.0, 3.0},
                                       {0.0, 0.0, 1.0},  {0.0, 0.0, 0.0},   {4.0, 4.0 + 1e-9, 7.0}, {1e-9, 2e-9, 1.0},
                                       {-1.0, 1.0, 1.0}, {1e100, 2e100, 0}, {1.0, -2.0, 1.0}};
    for (const Eigen::Vector3d& spectrum : spectra) {
        expectSystemOf<3, HessianAnalysis3d>(spectrum.asDiagonal());
        expectSystemOf<2, HessianAnalysis2d>(spectrum.asDiagonal());
        for (int i = 0; i < 20; ++i) {
            const Eigen::Matrix3d any = Eigen::Matrix3d::NullaryExpr([&] { return normal(random); });
            const Eigen::Matrix3d turn = any.householderQr().householderQ();
            const Eigen::Matrix3d turned = turn * spectrum.asDiagonal() * turn.transpose();
            const Eigen::Matrix3d matrix = 0.5 * (turned + turned.transpose());
            expectSystemOf<3, HessianAnalysis3d>(matrix);
            expectSystemOf<2, HessianAnalysis2d>(matrix);
        }
    }
    const io::MemoryImage channels = makeRandomImage({.extents = {5, 5, 1, 1, 2}}, 1);
    io::MemoryImage values;
    HessianAnalysis2d filter;
    filter.setInputImage(&channels);
    filter.setOutputEigenvaluesImage(&values);
    EXPECT_THROW(filter.run(), RuleException);
}

template <class Filter, std::size_t planes>
void expectValuesWithoutVectors(VoxelTypes type) {
    io::MemoryImage image = makeRandomImage({.voxelType = type, .extents = {71, 19, planes, 1, 1}}, 8);
    io::MemoryImage alone;
    io::MemoryImage together;
    io::MemoryImage vectors;
    Filter filter;
    filter.setInputImage(&image);
    filter.setOutputEigenvaluesImage(&alone);
    filter.run();
    filter.setOutputEigenvaluesImage(&together);
    filter.setOutputEigenvectorsImage(&vectors);
    filter.run();
    EXPECT_TRUE(imagesEqual(alone, together));
}

TEST(SecondOrder, ValuesAreTheSameWithAndWithoutVectors) {
    for (const VoxelTypes type : {RIX_FLOAT32, RIX_FLOAT64}) {
        expectValuesWithoutVectors<HessianAnalysis2d, 1>(type);
        expectValuesWithoutVectors<HessianAnalysis3d, 7>(type);
        expectValuesWithoutVectors<StructureTensor2d, 1>(type);
        expectValuesWithoutVectors<StructureTensor3d, 7>(type);
    }
}

TEST(StructureTensors, TellTheDirectionOfStripes) {
    for (const double angle : {0.0, 0.4, 1.1, -0.7, -1.4}) {
        const auto wave = [&](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t) {
            return 50.0 * std::sin(0.6 * (std::cos(angle) * static_cast<double>(x) * 0.5 +
                                          std::sin(angle) * static_cast<double>(y)) +
                                   0.0 * static_cast<double>(z));
        };
        io::MemoryImage image = makeImage({.voxelType = RIX_FLOAT64, .extents = {80, 40, 1, 1, 1}}, wave);
        ASSERT_TRUE(image.setSpacingOf(COLUMNS, 0.5));
        io::MemoryImage orientation;
        io::MemoryImage coherence;
        StructureTensor2d filter;
        filter.setInputImage(&image);
        filter.setLengthUnit(StructureTensor2d::WORLD);
        filter.setOutputOrientationImage(&orientation);
        filter.setOutputCoherenceImage(&coherence);
        filter.run();
        EXPECT_NEAR(voxelAt(orientation, 40, 20, 0), angle, 2e-3);
        EXPECT_GT(voxelAt(coherence, 40, 20, 0), 0.999);
        io::MemoryImage volume = makeImage({.voxelType = RIX_FLOAT64, .extents = {40, 40, 30, 1, 1}}, wave);
        ASSERT_TRUE(volume.setSpacingOf(COLUMNS, 0.5));
        io::MemoryImage vectors;
        io::MemoryImage values;
        StructureTensor3d inSpace;
        inSpace.setInputImage(&volume);
        inSpace.setLengthUnit(StructureTensor3d::WORLD);
        inSpace.setOuterStandardDeviation(1.5);
        inSpace.setOutputEigenvaluesImage(&values);
        inSpace.setOutputEigenvectorsImage(&vectors);
        inSpace.run();
        const double x = voxelAt(vectors, 20, 20, 15, 6);
        const double y = voxelAt(vectors, 20, 20, 15, 7);
        EXPECT_NEAR(std::abs(std::cos(angle) * x + std::sin(angle) * y), 1.0, 1e-3);
        EXPECT_NEAR(voxelAt(values, 20, 20, 15, 0), 0.0, 1e-9);
    }
}

TEST(RidgeFilters, AnswerMostOnTheLineAtItsWidth) {
    // The cross section is a Gaussian of variance 4: of the scale s it is left with s^2 / (4 + s^2)^(3 / 2) in planes.
    const auto tube = [](double x, double y) { return 100.0 * std::exp(-(x * x + y * y) / 8.0); };
    const io::MemoryImage line = makeImage({.voxelType = RIX_FLOAT64, .extents = {60, 60, 1, 1, 1}},
                                           [&](std::size_t x, std::size_t, std::size_t, std::size_t, std::size_t) {
                                               return tube(static_cast<double>(x) - 30.0, 0.0);
                                           });
    for (const double s : {2.0, 3.0}) {
        RidgeFilter2d filter;
        filter.setMethod(RidgeFilter2d::SATO);
        filter.setMinimumScale(s);
        filter.setNumberOfScales(1);
        const io::MemoryImage result = runFilter(filter, line);
        EXPECT_NEAR(voxelAt(result, 30, 30, 0), 100.0 * 2.0 * s * s / std::pow(4.0 + s * s, 1.5), 5e-3);
        filter.setRidges(RidgeFilter2d::DARK);
        EXPECT_EQ(voxelAt(runFilter(filter, line), 30, 30, 0), 0.0);
    }
    io::MemoryImage vessel =
        makeImage({.voxelType = RIX_FLOAT32, .extents = {60, 40, 30, 1, 1}},
                  [&](std::size_t x, std::size_t y, std::size_t, std::size_t, std::size_t) {
                      return -tube(0.5 * (static_cast<double>(x) - 30.0), static_cast<double>(y) - 20.0);
                  });
    ASSERT_TRUE(vessel.setSpacingOf(COLUMNS, 0.5));
    for (const auto method : {RidgeFilter3d::FRANGI, RidgeFilter3d::SATO}) {
        RidgeFilter3d filter;
        filter.setMethod(method);
        filter.setRidges(RidgeFilter3d::DARK);
        filter.setLengthUnit(RidgeFilter3d::WORLD);
        filter.setMaximumScale(3.0);
        filter.setNumberOfScales(3);
        const io::MemoryImage result = runFilter(filter, vessel);
        const double center = voxelAt(result, 30, 20, 15);
        EXPECT_GT(center, method == RidgeFilter3d::FRANGI ? 0.8 : 20.0);
        EXPECT_GT(center, voxelAt(result, 33, 20, 15));
        EXPECT_NEAR(voxelAt(result, 34, 20, 15), voxelAt(result, 30, 22, 15), 0.02 * center);
        EXPECT_LT(voxelAt(result, 48, 20, 15), 0.1 * center);
    }
}

TEST(ZeroCrossings, LieBesideChangesOfSign) {
    const io::MemoryImage image = makeRandomImage({.voxelType = RIX_INT16, .extents = {13, 7, 5, 1, 1}}, 5);
    const std::array<std::array<int, 3>, 6> steps{
        {{-1, 0, 0}, {1, 0, 0}, {0, -1, 0}, {0, 1, 0}, {0, 0, -1}, {0, 0, 1}}};
    const auto check = [&](auto& filter, std::size_t neighbours) {
        io::MemoryImage found;
        filter.setInputImage(&image);
        filter.setThreshold(9000.0);
        filter.setOutputBinaryImage(&found);
        filter.run();
        forEachPosition(helper::getExtents(image), [&](const Extents& p) {
            const double here = voxelAt(image, p[0], p[1], p[2]);
            bool expected = false;
            for (std::size_t i = 0; i < neighbours; ++i) {
                Extents q = p;
                bool isInside = true;
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    const auto c = static_cast<std::int64_t>(p[axis]) + steps[i][axis];
                    isInside = isInside && c >= 0 &&
                               c < static_cast<std::int64_t>(image.getNumOf(static_cast<Components>(axis)));
                    q[axis] = static_cast<std::size_t>(std::max<std::int64_t>(c, 0));
                }
                if (isInside) {
                    const double there = voxelAt(image, q[0], q[1], q[2]);
                    expected = expected ||
                               ((here < 0) != (there < 0) && std::abs(here - there) > 9000.0 &&
                                (std::abs(here) < std::abs(there) || (std::abs(here) == std::abs(there) && here >= 0)));
                }
            }
            ASSERT_EQ(voxelAt(found, p[0], p[1], p[2]), expected ? 1.0 : 0.0);
        });
    };
    edge_detection::ZeroCrossings2d planes;
    check(planes, 4);
    edge_detection::ZeroCrossings3d volumes;
    check(volumes, 6);
}

}  // namespace
}  // namespace rix::test
