#include <rix/image/ImageCalibration.h>
#include <rix/image/WorldMatrices.h>

#include <Eigen/Dense>

#include "ImageTestTools.h"

namespace rix {
namespace {

constexpr double pi = std::numbers::pi;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

template <class Affine>
auto toSquare(const Affine& affine) {
    Eigen::Matrix<double, Affine::ColsAtCompileTime, Affine::ColsAtCompileTime> square;
    square.setIdentity();
    square.topRows(affine.rows()) = affine;
    return square;
}

/// The rotation of the convention, written out coefficient by coefficient.
Eigen::Matrix3d rotationOf(double a, double b, double c) {
    const double ca = std::cos(a), sa = std::sin(a), cb = std::cos(b), sb = std::sin(b), cc = std::cos(c),
                 sc = std::sin(c);
    Eigen::Matrix3d r;
    r << ca * cc - sa * cb * sc, -ca * sc - sa * cb * cc, sa * sb,  //
        sa * cc + ca * cb * sc, -sa * sc + ca * cb * cc, -ca * sb,  //
        sb * sc, sb * cc, cb;
    return r;
}

TEST(WorldMatrices, PlaneByHand) {
    Matrix2x3 matrix;
    fromImageToWorldMatrix(10, 20, 2, 3, pi / 6, matrix);
    const double c = std::sqrt(3.0) / 2;
    Matrix2x3 expected;
    expected << 2 * c, -1.5, 10, 1.0, 3 * c, 20;
    EXPECT_TRUE(matrix.isApprox(expected, 1e-15)) << matrix;
    fromWorldToImageMatrix(10, 20, 2, 3, pi / 6, matrix);
    expected << c / 2, 0.25, -(c / 2 * 10 + 0.25 * 20), -0.5 / 3, c / 3, -(-0.5 / 3 * 10 + c / 3 * 20);
    EXPECT_TRUE(matrix.isApprox(expected, 1e-15)) << matrix;
}

TEST(WorldMatrices, SpaceByHand) {
    Matrix3x4 matrix;
    for (const auto& [a, b, c] : {std::array{0.3, 1.1, -2.0}, std::array{-3.0, 0.0, 0.7}, std::array{0.0, pi, 1.0}}) {
        fromImageToWorldMatrix(1, 2, 3, 0.5, 2, 4, a, b, c, matrix);
        Matrix3x4 expected;
        expected.leftCols<3>() = rotationOf(a, b, c) * Eigen::Vector3d(0.5, 2, 4).asDiagonal();
        expected.col(3) << 1, 2, 3;
        EXPECT_TRUE(matrix.isApprox(expected, 1e-14)) << matrix;
    }
}

TEST(WorldMatrices, TheMapsAreInverse) {
    for (const double angle : {0.0, 0.4, pi / 2, -3.0}) {
        for (const double spacing : {1e-9, 0.5, 1e6}) {
            Matrix2x3 toWorld2, toImage2;
            fromImageToWorldMatrix(5, -7, spacing, 2, angle, toWorld2);
            fromWorldToImageMatrix(5, -7, spacing, 2, angle, toImage2);
            const Eigen::Vector3d point2(3, 4, 1);
            EXPECT_TRUE((toSquare(toImage2) * toSquare(toWorld2) * point2).isApprox(point2, 1e-5));

            Matrix3x4 toWorld3, toImage3;
            fromImageToWorldMatrix(5, -7, 0.25, spacing, 2, 3, angle, 1 + angle, 0.3, toWorld3);
            fromWorldToImageMatrix(5, -7, 0.25, spacing, 2, 3, angle, 1 + angle, 0.3, toImage3);
            const Eigen::Vector4d point3(3, 4, 5, 1);
            EXPECT_TRUE((toSquare(toImage3) * toSquare(toWorld3) * point3).isApprox(point3, 1e-5));
        }
    }
}

TEST(WorldMatrices, InvalidSpacingsAreNamedInOrder) {
    struct Case {
        double x, y, z;
        const char* text;
    };
    for (const auto& [x, y, z, text] :
         {Case{0, -1, nan, "Invalid world x spacing"}, Case{nan, 1, 1, "Invalid world x spacing"},
          Case{1, -0.0, 0, "Invalid world y spacing"}, Case{1, 1, -1, "Invalid world z spacing"},
          Case{1, 1, nan, "Invalid world z spacing"}}) {
        Matrix3x4 space = Matrix3x4::Constant(7);
        Matrix2x3 plane = Matrix2x3::Constant(7);
        EXPECT_EQ(test::messageOf<InvalidCall>([&] { fromImageToWorldMatrix(0, 0, 0, x, y, z, 0, 0, 0, space); }),
                  text);
        EXPECT_THROW(fromWorldToImageMatrix(0, 0, 0, x, y, z, 0, 0, 0, space), InvalidCall);
        EXPECT_EQ(space, Matrix3x4::Constant(7));
        if (!(x > 0 && y > 0)) {
            EXPECT_THROW(fromImageToWorldMatrix(0, 0, x, y, 0, plane), InvalidCall);
            EXPECT_THROW(fromWorldToImageMatrix(0, 0, x, y, 0, plane), InvalidCall);
            EXPECT_EQ(plane, Matrix2x3::Constant(7));
        }
    }
}

vessel::SpatialDirections directionsOf(const Eigen::Matrix3d& r) {
    return {{r(0, 0), r(1, 0), r(2, 0)}, {r(0, 1), r(1, 1), r(2, 1)}, {r(0, 2), r(1, 2), r(2, 2)}};
}

TEST(ImageCalibration, OrientationIsTheInverseOfTheConvention) {
    const double angles[] = {-pi, -2.5, -pi / 2, -1e-7, 0.0, 0.3, pi / 2, 3.0};
    for (const double a : angles) {
        for (const double b : {0.0, 1e-15, 1e-8, 0.4, pi / 2, 3.0, pi - 1e-9, pi}) {
            for (const double c : angles) {
                const Eigen::Matrix3d expected = rotationOf(a, b, c);
                const EulerAngles found = getEulerAngles(directionsOf(expected));
                EXPECT_TRUE(rotationOf(found[0], found[1], found[2]).isApprox(expected, 1e-9))
                    << a << " " << b << " " << c;
                EXPECT_GE(found[1], 0.0);
                if (b > 0.1 && b < 3.1) {
                    EXPECT_NEAR(found[1], b, 1e-12);
                    EXPECT_NEAR(std::remainder(found[0] - a, 2 * pi), 0.0, 1e-9);
                    EXPECT_NEAR(std::remainder(found[2] - c, 2 * pi), 0.0, 1e-9);
                }
            }
        }
    }
}

TEST(ImageCalibration, OrientationOfDirectionsThatAreNoRotation) {
    const EulerAngles none{0, 0, 0};
    EXPECT_EQ(getEulerAngles({}), none);
    EXPECT_EQ(getEulerAngles({{0, 0, 0}, {0, 1, 0}, {0, 0, 1}}), none);
    EXPECT_EQ(getEulerAngles({{1, 1, 0}, {-2, -2, 0}, {0, 0, 1}}), none);
    EXPECT_EQ(getEulerAngles({{1, 0, 0}, {0, nan, 0}, {0, 0, 1}}), none);
    // Lengths do not count, and a left-handed slice direction does not either.
    const EulerAngles quarter = getEulerAngles({{0, 20, 0}, {-1e-3, 1e-4, 0}, {0, 0, -5}});
    EXPECT_NEAR(quarter[0], pi / 2, 1e-12);
    EXPECT_NEAR(quarter[1], 0.0, 1e-12);
    EXPECT_EQ(quarter[2], 0.0);
}

TEST(ImageCalibration, TakesEverythingFromTheImage) {
    io::MemoryImage image = test::makeCounted({5, 4, 3, 2, 1});
    image.setOriginOf(SEQUENCE, 2.0);
    image.setSpacingOf(PLANS, 0.5);
    image.setSpatialUnitName("mm");
    image.setSequenceUnitName("s");
    image.setSpatialDirections(directionsOf(rotationOf(0.1, 0.2, 0.3)));
    ImageCalibration calibration(image);
    EXPECT_EQ(calibration.m_numOf, (ComponentsSizes{5, 4, 3, 2, 1}));
    EXPECT_EQ(calibration.m_originOf, (ComponentsValues{0, 0, 0, 2, 0}));
    EXPECT_EQ(calibration.m_spacingOf, (ComponentsValues{0, 0, 0.5, 0, 0}));
    EXPECT_EQ(calibration.m_spatialUnitName, "mm");
    EXPECT_EQ(calibration.m_sequenceUnitName, "s");
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(calibration.m_orientation[i], 0.1 * static_cast<double>(i + 1), 1e-12);
    }
    EXPECT_NE(calibration, ImageCalibration());
    calibration.clear();
    EXPECT_EQ(calibration, ImageCalibration());
    EXPECT_EQ(calibration.m_numOf, ComponentsSizes{});
}

}  // namespace
}  // namespace rix
