// Tensor voting against votes that are added up one by one, as the formula says.

#include <rix/edge_detection/TensorVoting2d.h>
#include <rix/edge_detection/TensorVoting3d.h>

#include <Eigen/Eigenvalues>

#include "Sanitizers.h"
#include "Testing.h"
#include "Voxels.h"

namespace rix::test {
namespace {

using edge_detection::TensorVoting2d;
using edge_detection::TensorVoting3d;

using Vector = Eigen::Vector3d;
using Matrix = Eigen::Matrix3d;

/// The vote of a stick with a normal at d; in planes the third component of both is 0.
Matrix stickVote(const Vector& normal, const Vector& d, double scale) {
    const double length = d.norm();
    const double sine = std::abs(normal.dot(d)) / length;
    const double angle = std::asin(std::min(sine, 1.0));
    if (angle > std::numbers::pi / 4.0 + 1e-7) {
        return Matrix::Zero();
    }
    const double s = angle > 0.0 ? length * angle / sine : length;
    const double k = 2.0 * sine / length;
    const double c = -16.0 * std::log(0.1) * (scale - 1.0) / (std::numbers::pi * std::numbers::pi);
    // The circle turns by twice the angle, away from the normal on the side that it bends to.
    const Vector inPlane = d - normal.dot(d) * normal;
    const Vector tangent = inPlane / inPlane.norm();
    const double turn = normal.dot(d) > 0.0 ? 2.0 * angle : -2.0 * angle;
    const Vector there = std::cos(turn) * normal - std::sin(turn) * tangent;
    return std::exp(-(s * s + c * k * k) / (scale * scale)) * there * there.transpose();
}

struct SlowToken {
    Vector at;
    int kind;  ///< 0 stick, 1 plate, 2 ball
    Vector direction;
};

Matrix voteOf(const SlowToken& token, const Vector& d, double scale, std::size_t axes) {
    if (token.kind == 0) {
        return stickVote(token.direction, d, scale);
    }
    Matrix sum = Matrix::Zero();
    constexpr int turns = 720;
    if (token.kind == 1 || axes == 2) {
        // In planes all tangents, in space all normals across the tangent.
        const Vector along = axes == 2 ? Vector(0, 0, 1) : token.direction;
        const Vector u = along.unitOrthogonal();
        const Vector v = along.cross(u);
        for (int i = 0; i < turns; ++i) {
            const double turn = (i + 0.5) * std::numbers::pi / turns;
            sum += stickVote(std::cos(turn) * u + std::sin(turn) * v, d, scale) / turns;
        }
        return sum;
    }
    // Around the way there: normals by their height along it, which are as many for each, and by their turn.
    const Vector up = d.normalized();
    const Vector u = up.unitOrthogonal();
    const Vector v = up.cross(u);
    constexpr int heights = 400;
    constexpr int few = 8;
    for (int h = 0; h < heights; ++h) {
        const double height = (h + 0.5) / heights;
        for (int i = 0; i < few; ++i) {
            const double turn = i * 2.0 * std::numbers::pi / few;
            const Vector across = std::cos(turn) * u + std::sin(turn) * v;
            sum += stickVote(height * up + std::sqrt(1.0 - height * height) * across, d, scale) / (heights * few);
        }
    }
    return sum;
}

/// The eigenvalues of what a voxel receives, the greatest first, and the vectors of the greatest and the least.
struct SlowResult {
    Vector values;
    Vector normal;
    Vector tangent;
};
SlowResult receivedAt(const Vector& at, const std::vector<SlowToken>& tokens, double scale, std::size_t axes) {
    Matrix sum = Matrix::Zero();
    for (const SlowToken& token : tokens) {
        if ((token.at - at).norm() > 0.5) {
            sum += voteOf(token, at - token.at, scale, axes);
        }
    }
    if (axes == 2) {
        sum(2, 2) = -1.0;  // below the others
    }
    const Eigen::SelfAdjointEigenSolver<Matrix> solver(sum);
    SlowResult result{solver.eigenvalues().reverse(), solver.eigenvectors().col(2), solver.eigenvectors().col(0)};
    if (axes == 2) {
        result.tangent = solver.eigenvectors().col(1);
    }
    return result;
}

struct Scene {
    io::MemoryImage objects;
    io::MemoryImage orientations;
    std::vector<SlowToken> tokens;
};

/// Tokens here and there; every third without orientation if they have some.
Scene makeScene(const Extents& extents, std::size_t share, int kind) {
    std::mt19937 random(7);
    const auto real = [&] { return static_cast<double>(random()) / 4294967296.0 - 0.5; };
    Scene scene;
    const bool isSpace = extents[PLANS] > 1;
    Extents components = extents;
    components[SPECTRAL_SERIES] = isSpace ? 3 : 1;
    scene.objects = makeImage(
        {.voxelType = RIX_UINT8, .extents = extents, .interpretation = RIX_BINARY},
        [&](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t) {
            const bool isToken = random() % share == 0;
            if (isToken) {
                Vector direction(real(), real(), isSpace ? real() : 0.0);
                direction.normalize();
                const int own = kind == 2 || scene.tokens.size() % 3 == 2 ? 2 : kind;
                scene.tokens.push_back(
                    {Vector(static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)), own, direction});
            }
            return isToken ? 1 : 0;
        });
    scene.orientations =
        makeImage({.voxelType = RIX_FLOAT64, .extents = components},
                  [&](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t c) {
                      const Vector at(static_cast<double>(x), static_cast<double>(y), static_cast<double>(z));
                      for (const SlowToken& token : scene.tokens) {
                          if (token.at == at && token.kind != 2) {
                              // The angle is that of the tangent, across the normal; vectors are of any length.
                              return isSpace ? 3.5 * token.direction[static_cast<int>(c)]
                                             : std::atan2(-token.direction[0], token.direction[1]);
                          }
                      }
                      return isSpace ? 0.0 : std::numeric_limits<double>::quiet_NaN();
                  });
    return scene;
}

TEST(TensorVoting, AddsUpTheVotesOfPlanes) {
    Sampling sampling(5);
    for (const auto& [scale, share, kind] :
         {std::tuple{5.0, 9U, 0}, std::tuple{1.0, 3U, 0}, std::tuple{2.0, 5U, 2}, std::tuple{11.0, 2U, 2}}) {
        const Scene scene = makeScene({31, 22, 1, 1, 1}, share, kind);
        TensorVoting2d filter;
        io::MemoryImage curve;
        io::MemoryImage junction;
        io::MemoryImage orientation;
        filter.setInputObjectImage(&scene.objects);
        filter.setInputOrientationImage(kind == 2 ? nullptr : &scene.orientations);
        filter.setScale(scale);
        filter.setOutputCurveSaliencyImage(&curve);
        filter.setOutputJunctionSaliencyImage(&junction);
        filter.setOutputOrientationImage(&orientation);
        filter.run();
        // A vote may be off by 1e-3 of the largest, and a voxel has some hundred; those that are off most are few.
        const double largest = std::exp(-1.0 / (scale * scale));
        const double allowed = 1e-3 * largest * (1.0 + 0.02 * static_cast<double>(scene.tokens.size()));
        for (std::size_t y = 0; y < 22; y += 4) {
            for (std::size_t x = 0; x < 31; x += 5) {
                if (!sampling.takesNext()) {
                    continue;
                }
                const SlowResult expected =
                    receivedAt(Vector(static_cast<double>(x), static_cast<double>(y), 0.0), scene.tokens, scale, 2);
                EXPECT_NEAR(voxelAt(curve, x, y, 0), expected.values[0] - expected.values[1], 2.0 * allowed);
                EXPECT_NEAR(voxelAt(junction, x, y, 0), expected.values[1], allowed);
                if (expected.values[0] - expected.values[1] > 0.3) {
                    const double angle = voxelAt(orientation, x, y, 0);
                    EXPECT_NEAR(std::abs(std::cos(angle) * expected.tangent[0] + std::sin(angle) * expected.tangent[1]),
                                1.0, 1e-4);
                    EXPECT_TRUE(angle > -1.5708 && angle <= 1.5708) << angle;
                }
            }
        }
    }
}

TEST(TensorVoting, AddsUpTheVotesOfVolumes) {
    Sampling sampling(3);
    for (const auto& [scale, share, kind] :
         {std::tuple{3.0, 40U, 0}, std::tuple{2.0, 30U, 1}, std::tuple{1.5, 9U, 2}, std::tuple{4.0, 2U, 2}}) {
        const Scene scene = makeScene({12, 11, 9, 1, 1}, share, kind);
        TensorVoting3d filter;
        io::MemoryImage surface;
        io::MemoryImage curve;
        io::MemoryImage junction;
        io::MemoryImage directions;
        filter.setInputObjectImage(&scene.objects);
        filter.setInputOrientationImage(kind == 2 ? nullptr : &scene.orientations);
        filter.setOrientation(kind == 1 ? edge_detection::TokenOrientation::TANGENT
                                        : edge_detection::TokenOrientation::NORMAL);
        filter.setScale(scale);
        filter.setOutputSurfaceSaliencyImage(&surface);
        filter.setOutputCurveSaliencyImage(&curve);
        filter.setOutputJunctionSaliencyImage(&junction);
        filter.setOutputOrientationImage(&directions);
        filter.run();
        const double largest = std::exp(-1.0 / (scale * scale));
        const double allowed = 1e-3 * largest * (1.0 + 0.02 * static_cast<double>(scene.tokens.size()));
        for (std::size_t i = 0; i < 12U * 11U * 9U; i += 191) {
            if (!sampling.takesNext()) {
                continue;
            }
            const std::size_t x = i % 12;
            const std::size_t y = i / 12 % 11;
            const std::size_t z = i / 132;
            const SlowResult expected = receivedAt(
                Vector(static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)), scene.tokens, scale, 3);
            EXPECT_NEAR(voxelAt(surface, x, y, z), expected.values[0] - expected.values[1], 2.0 * allowed);
            EXPECT_NEAR(voxelAt(curve, x, y, z), expected.values[1] - expected.values[2], 2.0 * allowed);
            EXPECT_NEAR(voxelAt(junction, x, y, z), expected.values[2], allowed);
            const auto expectAlong = [&](const Vector& direction, std::size_t first) {
                double product = 0.0;
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    product += direction[static_cast<int>(axis)] * voxelAt(directions, x, y, z, first + axis);
                }
                EXPECT_NEAR(std::abs(product), 1.0, 1e-3);
            };
            if (expected.values[0] - expected.values[1] > 0.2) {
                expectAlong(expected.normal, 0);
            }
            if (expected.values[1] - expected.values[2] > 0.2) {
                expectAlong(expected.tangent, 3);
            }
        }
    }
}

/// A single vote is within 1e-3 of the largest at every scale and in every direction.
TEST(TensorVoting, OneVoteIsNearlyThatOfTheFormula) {
    for (const double scale : {1.0, 1.3, 2.0, 3.0, 7.0, 20.0}) {
        for (const double turn : {0.0, 0.4, std::numbers::pi / 4.0, 1.1, std::numbers::pi / 2.0}) {
            const std::size_t size = 41;
            io::MemoryImage token = makeImage({.voxelType = RIX_UINT8, .extents = {size, size, 1, 1, 1}},
                                              [](std::size_t x, std::size_t y, std::size_t, std::size_t, std::size_t) {
                                                  return x == 20 && y == 20 ? 9 : 0;
                                              });
            io::MemoryImage angles = makeImage({.voxelType = RIX_FLOAT32, .extents = {size, size, 1, 1, 1}},
                                               [&](std::size_t, std::size_t, std::size_t, std::size_t, std::size_t) {
                                                   return static_cast<float>(turn);
                                               });
            io::MemoryImage curve;
            TensorVoting2d filter;
            filter.setInputObjectImage(&token);
            filter.setInputOrientationImage(&angles);
            filter.setScale(scale);
            filter.setOutputCurveSaliencyImage(&curve);
            filter.run();
            double worst = 0.0;
            for (std::size_t y = 0; y < size; ++y) {
                for (std::size_t x = 0; x < size; ++x) {
                    const Vector d(static_cast<double>(x) - 20.0, static_cast<double>(y) - 20.0, 0.0);
                    const Vector normal(-std::sin(turn), std::cos(turn), 0.0);
                    const double expected = d.norm() == 0.0 ? 0.0 : stickVote(normal, d, scale).trace();
                    worst = std::max(worst, std::abs(voxelAt(curve, x, y, 0) - expected));
                }
            }
            EXPECT_LE(worst, 1e-3 * std::exp(-1.0 / (scale * scale))) << scale << ' ' << turn;
        }
    }
}

}  // namespace
}  // namespace rix::test
