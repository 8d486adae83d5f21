// Images that are moved, turned and stretched, against the definition in double precision at every voxel.

#include <rix/geometry/AffineTransform2d.h>
#include <rix/geometry/AffineTransform3d.h>

#include "RunFilter.h"
#include "SampledReference.h"
#include "Sanitizers.h"
#include "Testing.h"

namespace rix::test {
namespace {

using namespace geometry;
/// Compares all voxels with the reference at p' = matrix p + shift, which the image was moved by.
/// @return the largest difference
template <class Source>
double largestDifference(const SampledReference& reference, const io::MemoryImage& output, const Source& source,
                         double lowest, double highest) {
    const auto samples = volumeOf<double>(output, 0, 0);
    const GridOfImage grid(output);
    Extents n = helper::getExtents(output);
    n[3] = n[4] = 1;
    std::size_t next = 0;
    double worst = 0;
    forEachPosition(n, [&](const Extents& p) {
        const double expected = std::clamp(reference.at(source(grid.world(p))), lowest, highest);
        worst = std::max(worst, std::abs(samples[next++] - expected));
    });
    return worst;
}

constexpr access::BorderPolicy borders[] = {access::BorderPolicy::MIRROR, access::BorderPolicy::CONTINUE,
                                            access::BorderPolicy::FIXED};

TEST(AffineTransform, OfVolumesIsItsDefinition) {
    Sampling sampling(7);
    for (const VoxelTypes type : {RIX_UINT8, RIX_FLOAT32, RIX_FLOAT64}) {
        io::MemoryImage input = makeRandomImage({.voxelType = type, .extents = {23, 17, 9, 1, 1}}, 3, Extremes::None);
        place(input, turnBy(20, -35, 70), {0.7, 1.1, -2.0}, {12.0, -40.0, 7.0});
        const GridOfImage grid(input);
        const Vector center = grid.origin + grid.vectors * Vector(11, 8, 4);
        const Matrix matrix = turnBy(15, 25, -40) * Vector(1.2, 0.8, 1.5).asDiagonal();
        const Vector shift(0.4, -1.3, 2.0);
        const bool isInteger = type == RIX_UINT8;
        const double bound = isInteger ? 0.5 + 255e-5 : 1000 * (type == RIX_FLOAT32 ? 1e-5 : 1e-12);
        for (int degree = 1; degree <= 5; ++degree) {
            for (const auto border : borders) {
                for (const auto kind : {AffineTransform3d::INPUT, AffineTransform3d::FIT}) {
                    if (!sampling.takesNext()) {
                        continue;
                    }
                    AffineTransform3d transform;
                    transform.setAngleX(15);
                    transform.setAngleY(25);
                    transform.setAngleZ(-40);
                    transform.setScaleX(1.2);
                    transform.setScaleY(0.8);
                    transform.setScaleZ(1.5);
                    transform.setTranslationX(0.4);
                    transform.setTranslationY(-1.3);
                    transform.setTranslationZ(2.0);
                    transform.setGrid(kind);
                    transform.setInterpolation(static_cast<PlaceInterpolation>(degree + 1));
                    transform.setBorderPolicy(border);
                    transform.setBorderValue(31);
                    const io::MemoryImage output = runFilter(transform, input);
                    const SampledReference reference(input, 3, degree, border, 31);
                    const auto source = [&](const Vector& world) {
                        return grid.index(matrix.inverse() * (world - center - shift) + center);
                    };
                    EXPECT_LE(largestDifference(reference, output, source, isInteger ? 0 : -1e9, isInteger ? 255 : 1e9),
                              bound)
                        << degree << ", border " << static_cast<int>(border) << ", grid " << static_cast<int>(kind);
                }
            }
        }
    }
}

TEST(AffineTransform, OfPlanesIsItsDefinition) {
    Sampling sampling(7);
    const Matrix flat = turnBy(0, 0, 30);
    for (const VoxelTypes type : {RIX_UINT16, RIX_FLOAT32}) {
        io::MemoryImage input = makeRandomImage({.voxelType = type, .extents = {150, 90, 2, 1, 1}}, 3, Extremes::None);
        place(input, flat, {0.5, 2.0, 3.0}, {-10.0, 4.0, 1.0});
        const GridOfImage grid(input);
        const double bound = type == RIX_UINT16 ? 0.5 + 65535e-5 : 1000 * 1e-5;
        const double highest = type == RIX_UINT16 ? 65535 : 1e9;
        for (int degree = 1; degree <= 5; ++degree) {
            for (const auto border : borders) {
                if (!sampling.takesNext()) {
                    continue;
                }
                // Told backwards by a matrix of the world: the output's points come from there.
                AffineTransform2d transform;
                transform.setMatrix(std::array{0.9, -0.3, 2.5, 0.2, 1.3, -7.25});
                transform.setDirection(AffineTransform2d::BACKWARD);
                transform.setInterpolation(static_cast<PlaceInterpolation>(degree + 1));
                transform.setBorderPolicy(border);
                transform.setBorderValue(500);
                EXPECT_EQ(transform.getMatrix(), "0.9,-0.3,2.5;0.2,1.3,-7.25");
                const io::MemoryImage output = runFilter(transform, input);
                const SampledReference reference(input, 2, degree, border, 500);
                const auto source = [&](const Vector& w) {
                    return grid.index({0.9 * w.x() - 0.3 * w.y() + 2.5, 0.2 * w.x() + 1.3 * w.y() - 7.25, w.z()});
                };
                EXPECT_LE(largestDifference(reference, output, source, type == RIX_UINT16 ? 0 : -1e9, highest), bound)
                    << degree << ", border " << static_cast<int>(border);
            }
        }
    }
}

/// In oblique planes x and y are along columns and rows; the middle of each is that of its own plane.
TEST(AffineTransform, TurnsObliquePlanesInThemselves) {
    io::MemoryImage input =
        makeRandomImage({.voxelType = RIX_FLOAT64, .extents = {40, 30, 3, 1, 1}}, 3, Extremes::None);
    place(input, turnBy(50, 20, 10), {0.5, 1.5, 3.0}, {-10.0, 4.0, 1.0});
    AffineTransform2d transform;
    transform.setAngle(30);
    const io::MemoryImage oblique = runFilter(transform, input);
    place(input, Matrix::Identity(), {0.5, 1.5, 3.0}, {0.0, 0.0, 0.0});
    const io::MemoryImage flat = runFilter(transform, input);
    const auto a = samplesOf<double>(oblique);
    const auto b = samplesOf<double>(flat);
    for (std::size_t i = 0; i < a.size(); ++i) {
        ASSERT_NEAR(a[i], b[i], 1e-9);
    }
}

TEST(AffineTransform, TakesNearestElementsOfEveryTypeAndMeaning) {
    for (const Interpretations meaning : {RIX_VALUE, RIX_LABEL, RIX_BINARY}) {
        for (const VoxelTypes type : realTypes) {
            const io::MemoryImage input = makeRandomImage(
                {.voxelType = type, .extents = {70, 50, 4, 1, 1}, .interpretation = meaning}, 3, Extremes::None);
            for (const auto border : borders) {
                AffineTransform3d transform;
                transform.setAngleZ(33);
                transform.setAngleX(8);
                transform.setInterpolation(meaning == RIX_VALUE ? AffineTransform3d::NEAREST
                                                                : AffineTransform3d::AUTOMATIC);
                transform.setBorderPolicy(border);
                transform.setBorderValue(1);
                const io::MemoryImage output = runFilter(transform, input);
                const auto samples = samplesOf<double>(input);
                const auto result = samplesOf<double>(output);
                const Matrix back = turnBy(8, 0, 33).transpose();
                const Vector center(34.5, 24.5, 1.5);
                std::size_t next = 0;
                std::size_t wrong = 0;
                forEachPosition({70, 50, 4, 1, 1}, [&](const Extents& p) {
                    const Vector at(static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2]));
                    const Vector place = center + back * (at - center);
                    double expected = 1;
                    std::array<std::int64_t, 3> q{};
                    bool isInside = true;
                    for (std::size_t axis = 0; axis < 3; ++axis) {
                        const auto n = static_cast<std::int64_t>(input.getNumOf(static_cast<Components>(axis)));
                        q[axis] = std::llround(std::floor(place(static_cast<Eigen::Index>(axis)) + 0.5));
                        isInside = isInside && q[axis] >= 0 && q[axis] < n;
                        q[axis] = border == access::BorderPolicy::MIRROR ? mirrored(q[axis], n)
                                                                         : std::clamp<std::int64_t>(q[axis], 0, n - 1);
                    }
                    if (isInside || border != access::BorderPolicy::FIXED) {
                        expected = samples[static_cast<std::size_t>((q[2] * 50 + q[1]) * 70 + q[0])];
                    }
                    wrong += result[next++] != expected ? 1U : 0U;
                });
                EXPECT_EQ(wrong, 0U) << helper::describeImage(input) << ", border " << static_cast<int>(border);
            }
        }
    }
}

/// Splines are exact for polynomials of their degree, away from the edges, where the mirrored image is none.
TEST(AffineTransform, SplinesReproducePolynomialsOfTheirDegree) {
    for (int degree = 1; degree <= 5; ++degree) {
        const auto polynomial = [degree](double x, double y) {
            return std::pow(x / 50, degree) - 2 * std::pow(y / 40 + x / 90, degree) + x / 30 + 1;
        };
        const io::MemoryImage input =
            makeImage({.voxelType = RIX_FLOAT64, .extents = {120, 110, 1, 1, 1}},
                      [&](std::size_t x, std::size_t y, std::size_t, std::size_t, std::size_t) {
                          return polynomial(static_cast<double>(x), static_cast<double>(y));
                      });
        AffineTransform2d transform;
        transform.setAngle(17);
        transform.setScaleX(0.9);
        transform.setInterpolation(static_cast<PlaceInterpolation>(degree + 1));
        const auto result = samplesOf<double>(runFilter(transform, input));
        const Matrix back = (turnBy(0, 0, 17) * Vector(0.9, 1, 1).asDiagonal()).inverse();
        for (std::size_t y = 0; y < 110; ++y) {
            for (std::size_t x = 0; x < 120; ++x) {
                const Vector at(static_cast<double>(x) - 59.5, static_cast<double>(y) - 54.5, 0);
                const Vector p = back * at + Vector(59.5, 54.5, 0);
                if (p.x() > 45 && p.x() < 75 && p.y() > 45 && p.y() < 65) {
                    ASSERT_NEAR(result[y * 120 + x], polynomial(p.x(), p.y()), 1e-11) << degree;
                }
            }
        }
    }
}

/// Away from the edges a plane of values in the world stays one, moved: what lies at p then lies at p'.
TEST(AffineTransform, MovesThingsInTheWorld) {
    io::MemoryImage input;
    ASSERT_TRUE(input.reserve(RIX_FLOAT64, 60, 50, 40, 1, 1));
    place(input, turnBy(-30, 12, 200), {0.7, -1.1, 0.9}, {120.0, -400.0, 71.0});
    const GridOfImage grid(input);
    const Vector slope(0.3, -0.7, 1.9);
    auto* const samples = reinterpret_cast<double*>(input.getInternalBuffer());
    std::size_t next = 0;
    forEachPosition({60, 50, 40, 1, 1}, [&](const Extents& p) { samples[next++] = slope.dot(grid.world(p)); });
    io::MemoryImage reference;
    ASSERT_TRUE(reference.reserve(RIX_UINT8, 9, 7, 5, 1, 1));
    place(reference, turnBy(80, 5, 3), {0.5, 0.5, 0.5}, grid.origin + grid.vectors * Vector(29, 25, 20));
    const Matrix matrix = turnBy(5, -8, 10) * Vector(1.1, 0.95, 1.0).asDiagonal();
    const Vector shift(1.0, -2.0, 0.5);
    const Vector center = grid.origin + grid.vectors * Vector(29.5, 24.5, 19.5);
    for (int degree = 1; degree <= 5; degree += 2) {
        AffineTransform3d transform;
        transform.setAngleX(5);
        transform.setAngleY(-8);
        transform.setAngleZ(10);
        transform.setScaleX(1.1);
        transform.setScaleY(0.95);
        transform.setTranslationX(1.0);
        transform.setTranslationY(-2.0);
        transform.setTranslationZ(0.5);
        transform.setGrid(AffineTransform3d::REFERENCE);
        transform.setInputReferenceImage(&reference);
        transform.setInterpolation(static_cast<PlaceInterpolation>(degree + 1));
        const io::MemoryImage output = runFilter(transform, input);
        ASSERT_EQ(helper::getExtents(output), (Extents{9, 7, 5, 1, 1}));
        const auto result = samplesOf<double>(output);
        const GridOfImage to(output);
        std::size_t at = 0;
        forEachPosition({9, 7, 5, 1, 1}, [&](const Extents& p) {
            const Vector from = matrix.inverse() * (to.world(p) - center - shift) + center;
            const double expected = slope.dot(from);
            EXPECT_NEAR(result[at++], expected, 1e-9 * std::abs(expected)) << degree;
        });
    }
}

TEST(AffineTransform, QuarterTurnsAndWholeStepsAreExact) {
    const io::MemoryImage input =
        makeRandomImage({.voxelType = RIX_FLOAT32, .extents = {40, 31, 1, 1, 1}}, 3, Extremes::None);
    const auto in = samplesOf<float>(input);
    for (const auto interpolation : {AffineTransform2d::NEAREST, AffineTransform2d::LINEAR}) {
        AffineTransform2d turn;
        turn.setAngle(-270);
        turn.setGrid(AffineTransform2d::FIT);
        turn.setInterpolation(interpolation);
        const io::MemoryImage turned = runFilter(turn, input);
        ASSERT_EQ(helper::getExtents(turned), (Extents{31, 40, 1, 1, 1}));
        const auto out = samplesOf<float>(turned);
        AffineTransform2d move;
        move.setTranslationX(3);
        move.setTranslationY(-2);
        move.setInterpolation(interpolation);
        const auto moved = samplesOf<float>(runFilter(move, input));
        for (std::size_t y = 0; y < 31; ++y) {
            for (std::size_t x = 0; x < 40; ++x) {
                ASSERT_EQ(out[x * 31 + (30 - y)], in[y * 40 + x]);
                if (x >= 3 && y + 2 < 31) {
                    ASSERT_EQ(moved[y * 40 + x], in[(y + 2) * 40 + x - 3]);
                }
            }
        }
    }
}

TEST(AffineTransform, RefusesWhatIsNone) {
    const io::MemoryImage input = makeRandomImage({.extents = {10, 8, 1, 1, 1}}, 1);
    const auto refusalOf = [](const ImageModel& image, const auto& set) {
        AffineTransform2d transform;
        set(transform);
        return messageOf<RuleException>([&] { runFilter(transform, image); });
    };
    using testing::HasSubstr;
    for (const char* const text :
         {"1,0,0", "1,0,0;0,1", "1,0,0;0,1,0;", "1,0,0,0,1,0", "a", "1,0,0;0,1,nan", "1 0 0;0 1 0"}) {
        EXPECT_THAT(refusalOf(input, [&](AffineTransform2d& t) { t.setMatrix(String(text)); }),
                    HasSubstr("\"matrix\" must be empty or a matrix by rows"))
            << text;
    }
    EXPECT_THAT(refusalOf(input, [](AffineTransform2d& t) { t.setScaleY(0); }), HasSubstr("\"scaleY\""));
    EXPECT_THAT(refusalOf(input, [](AffineTransform2d& t) { t.setMatrix(String("1, 2, 0; 2, 4, 0")); }),
                HasSubstr("\"matrix\" must make a finite transform that has an inverse"));
    EXPECT_THAT(refusalOf(input, [](AffineTransform2d& t) { t.setTranslationX(1e200); }),
                HasSubstr("\"translationX\""));
    EXPECT_THAT(refusalOf(input, [](AffineTransform2d& t) { t.setGrid(AffineTransform2d::REFERENCE); }),
                HasSubstr("\"inputReferenceImage\" must be set"));
    const io::MemoryImage labels = makeRandomImage({.extents = {10, 8, 1, 1, 1}, .interpretation = RIX_LABEL}, 1);
    EXPECT_THAT(refusalOf(labels, [](AffineTransform2d& t) { t.setInterpolation(AffineTransform2d::LINEAR); }),
                HasSubstr("\"interpolation\" must be AUTOMATIC or NEAREST"));
}

}  // namespace
}  // namespace rix::test
