// Images taken at places that follow no matrix, against the definition in double precision at every voxel.

#include <rix/geometry/PolarTransform2d.h>
#include <rix/geometry/ProfileAlongLine.h>
#include <rix/geometry/Reslice3d.h>
#include <rix/geometry/SampleAtPoints.h>
#include <rix/geometry/WarpByDisplacement2d.h>
#include <rix/geometry/WarpByDisplacement3d.h>
#include <rix/image/ImageHeader.h>

#include "RunFilter.h"
#include "SampledReference.h"
#include "Testing.h"

namespace rix::test {
namespace {

using namespace geometry;

constexpr access::BorderPolicy allBorders[] = {access::BorderPolicy::MIRROR, access::BorderPolicy::CONTINUE,
                                               access::BorderPolicy::FIXED};

/// The largest difference of an output from a reference at the places that a function tells of its elements.
template <class Source>
double differenceAt(const SampledReference& reference, const io::MemoryImage& output, const Source& source) {
    const auto samples = volumeOf<double>(output, 0, 0);
    std::size_t next = 0;
    double worst = 0;
    forEachPosition(helper::getExtents(output), [&](const Extents& p) {
        worst = std::max(worst, std::abs(samples[next++] - reference.at(source(p))));
    });
    return worst;
}

io::MemoryImage placedVolume(VoxelTypes type, const Extents& extents) {
    io::MemoryImage image = makeRandomImage({.voxelType = type, .extents = extents}, 3, Extremes::None);
    place(image, turnBy(20, -35, 70), {0.7, 1.1, -2.0}, {12.0, -40.0, 7.0});
    return image;
}

/// A smooth field and a wild one, whose elements come from everywhere, in another grid than the image's.
io::MemoryImage fieldFor(const io::MemoryImage& image, const Extents& extents, double size) {
    io::MemoryImage field = makeImage(
        {.voxelType = RIX_FLOAT32, .extents = extents},
        [&](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t c) {
            return static_cast<float>(size * std::sin(0.9 * static_cast<double>(x) + 1.7 * static_cast<double>(y * c)) *
                                      std::cos(0.3 * static_cast<double>(z + c)));
        });
    const GridOfImage grid(image);
    const Vector origin = grid.origin + grid.vectors * Vector(1.5, -0.75, image.getNumOf(PLANS) > 1 ? 0.5 : 0.0);
    const vessel::SpatialDirections d = image.getSpatialDirections();
    for (int axis = 0; axis < 3; ++axis) {
        field.setOriginOf(static_cast<Components>(axis), origin(axis));
        field.setSpacingOf(static_cast<Components>(axis), 0.8 * image.getSpacingOf(static_cast<Components>(axis)));
    }
    field.setSpatialDirections(d);
    return field;
}

TEST(WarpByDisplacement, OfVolumesIsItsDefinition) {
    const io::MemoryImage input = placedVolume(RIX_FLOAT32, {23, 17, 9, 1, 1});
    const GridOfImage grid(input);
    for (const double size : {0.6, 12.0}) {
        const io::MemoryImage field = fieldFor(input, {31, 11, 7, 1, 3}, size);
        const GridOfImage of(field);
        const auto d = samplesOf<double>(field);
        for (const int degree : {1, 3}) {
            for (const auto border : allBorders) {
                WarpByDisplacement3d warp;
                warp.setInputDisplacementImage(&field);
                warp.setInterpolation(static_cast<PlaceInterpolation>(degree + 1));
                warp.setBorderPolicy(border);
                warp.setBorderValue(31);
                const io::MemoryImage output = runFilter(warp, input);
                EXPECT_LE(differenceAt(SampledReference(input, 3, degree, border, 31), output,
                                       [&](const Extents& p) {
                                           const std::size_t i = (p[2] * 11 + p[1]) * 31 + p[0];
                                           const std::size_t n = 31 * 11 * 7;
                                           return grid.index(of.world(p) + Vector(d[i], d[n + i], d[2 * n + i]));
                                       }),
                          1000 * 1e-5)
                    << size << ", " << degree << ", border " << static_cast<int>(border);
            }
        }
    }
}

TEST(WarpByDisplacement, OfPlanesTakesFramesAndChannelsTogetherOrByThemselves) {
    io::MemoryImage input = makeRandomImage({.voxelType = RIX_UINT16, .extents = {40, 30, 2, 2, 2}}, 3, Extremes::None);
    place(input, turnBy(0, 0, 33), {0.5, 2.0, 3.0}, {-10.0, 4.0, 1.0});
    const GridOfImage grid(input);
    for (const std::size_t frames : {std::size_t{1}, std::size_t{2}}) {
        io::MemoryImage field = makeRandomImage({.voxelType = RIX_INT8, .extents = {40, 30, 2, frames, 2}}, 5);
        place(field, turnBy(0, 0, 33), {0.5, 2.0, 3.0}, {-10.0, 4.0, 1.0});
        WarpByDisplacement2d warp;
        warp.setInputDisplacementImage(&field);
        warp.setInterpolation(WarpByDisplacement2d::NEAREST);
        warp.setBorderPolicy(WarpByDisplacement2d::MIRROR);
        const io::MemoryImage output = runFilter(warp, input);
        std::size_t wrong = 0;
        for (std::size_t c = 0; c < 2; ++c) {
            for (std::size_t t = 0; t < 2; ++t) {
                const auto samples = volumeOf<double>(output, t, c);
                const auto of = volumeOf<double>(input, t, c);
                const auto dx = volumeOf<double>(field, frames == 1 ? 0 : t, 0);
                const auto dy = volumeOf<double>(field, frames == 1 ? 0 : t, 1);
                std::size_t i = 0;
                forEachPosition({40, 30, 2, 1, 1}, [&](const Extents& p) {
                    const Vector at = grid.index(grid.world(p) + Vector(dx[i], dy[i], 0.0));
                    const auto x = static_cast<std::size_t>(mirrored(std::llround(at.x()), 40));
                    const auto y = static_cast<std::size_t>(mirrored(std::llround(at.y()), 30));
                    wrong += samples[i++] == of[(p[2] * 30 + y) * 40 + x] ? 0U : 1U;
                });
            }
        }
        EXPECT_EQ(wrong, 0U);
    }
}

TEST(WarpByDisplacement, NoNumberPointsOutside) {
    const io::MemoryImage input = makeRandomImage({.voxelType = RIX_UINT8, .extents = {9, 5, 1, 1, 1}}, 3);
    io::MemoryImage field = makeImage({.voxelType = RIX_FLOAT64, .extents = {9, 5, 1, 1, 2}},
                                      [](std::size_t x, std::size_t, std::size_t, std::size_t, std::size_t) {
                                          return x == 3   ? std::numeric_limits<double>::quiet_NaN()
                                                 : x == 5 ? std::numeric_limits<double>::infinity()
                                                          : 0.0;
                                      });
    WarpByDisplacement2d warp;
    warp.setInputDisplacementImage(&field);
    warp.setBorderValue(77);
    const auto before = samplesOf<int>(input);
    const auto after = samplesOf<int>(runFilter(warp, input));
    for (std::size_t i = 0; i < after.size(); ++i) {
        EXPECT_EQ(after[i], i % 9 == 3 || i % 9 == 5 ? 77 : before[i]) << i;
    }
    const io::MemoryImage scalar = makeImage({.extents = {9, 5, 1, 1, 1}}, [](auto...) { return 0; });
    warp.setInputDisplacementImage(&scalar);
    EXPECT_THROW(runFilter(warp, input), RuleException);
}

TEST(Reslice, IsItsDefinitionAndKeepsTheWorld) {
    const io::MemoryImage input = placedVolume(RIX_FLOAT32, {23, 17, 9, 1, 1});
    const GridOfImage grid(input);
    for (const int degree : {1, 2, 3}) {
        Reslice3d reslice;
        const Vector origin = grid.world({2, 3, 1, 0, 0});
        reslice.setOriginX(origin.x());
        reslice.setOriginY(origin.y());
        reslice.setOriginZ(origin.z());
        const Vector u = Vector(1.0, 2.0, -0.5);
        const Vector v = Vector(0.25, -1.0, 3.0);
        reslice.setDirectionX1(u.x());
        reslice.setDirectionY1(u.y());
        reslice.setDirectionZ1(u.z());
        reslice.setDirectionX2(v.x());
        reslice.setDirectionY2(v.y());
        reslice.setDirectionZ2(v.z());
        reslice.setSpacing(0.45);
        reslice.setColumns(30);
        reslice.setRows(22);
        reslice.setInterpolation(static_cast<PlaceInterpolation>(degree + 1));
        reslice.setBorderValue(-5);
        const io::MemoryImage output = runFilter(reslice, input);
        const GridOfImage plane(output);
        EXPECT_LE((plane.vectors.col(0) - 0.45 * u.normalized()).norm(), 1e-12);
        EXPECT_LE((plane.vectors.col(1) - 0.45 * v.normalized()).norm(), 1e-12);
        EXPECT_LE((plane.origin - origin).norm(), 1e-12);
        EXPECT_LE(differenceAt(SampledReference(input, 3, degree, access::BorderPolicy::FIXED, -5), output,
                               [&](const Extents& p) { return grid.index(plane.world(p)); }),
                  1000 * 1e-5);
    }
}

TEST(Reslice, ReachesTheEndsByItself) {
    const io::MemoryImage input = makeRandomImage({.voxelType = RIX_UINT8, .extents = {12, 7, 5, 2, 3}}, 3);
    Reslice3d reslice;
    reslice.setOriginZ(3);
    const io::MemoryImage output = runFilter(reslice, input);
    EXPECT_EQ(helper::getExtents(output), (Extents{12, 7, 1, 2, 3}));
    for (std::size_t c = 0; c < 3; ++c) {
        const auto volume = volumeOf<int>(input, 1, c);
        EXPECT_EQ(volumeOf<int>(output, 1, c), std::vector<int>(volume.begin() + 3 * 84, volume.begin() + 4 * 84));
    }
    reslice.setDirectionX2(2);
    reslice.setDirectionY2(0);
    EXPECT_THROW(runFilter(reslice, input), RuleException) << "directions that span no plane";
}

TEST(SampleAtPoints, IsItsDefinition) {
    for (const std::size_t planes : {std::size_t{9}, std::size_t{1}}) {
        const io::MemoryImage input = placedVolume(RIX_UINT16, {23, 17, planes, 1, 1});
        const GridOfImage grid(input);
        std::mt19937 random(7);
        std::uniform_real_distribution<double> anywhere(-3.0, 25.0);
        std::vector<std::array<double, 3>> points;
        for (int i = 0; i < 300; ++i) {
            const Vector p = grid.origin + grid.vectors * Vector(anywhere(random), anywhere(random), anywhere(random));
            points.push_back({p.x(), p.y(), p.z()});
        }
        for (int degree = 1; degree <= 5; ++degree) {
            SampleAtPoints sampling;
            PointValuesMsr table;
            sampling.setInputImage(&input);
            sampling.setPoints(points);
            sampling.setInterpolation(static_cast<PlaceInterpolation>(degree + 1));
            sampling.setBorderValue(100);
            sampling.setOutputMeasurement(&table);
            sampling.run();
            const SampledReference reference(input, planes > 1 ? 3 : 2, degree, access::BorderPolicy::FIXED, 100);
            ASSERT_EQ(table.value.size(), points.size());
            double worst = 0;
            for (std::size_t i = 0; i < points.size(); ++i) {
                Vector at = grid.index({points[i][0], points[i][1], points[i][2]});
                at.z() = planes > 1 ? at.z() : 0.0;
                worst = std::max(worst, std::abs(table.value[i] - reference.at(at)));
                EXPECT_EQ(table.y[i], points[i][1]);
            }
            EXPECT_LE(worst, 65535 * 1e-5) << degree;
        }
    }
}

TEST(SampleAtPoints, HasARowForEachFrameOfEachChannelAndReadsTexts) {
    const io::MemoryImage input = makeRandomImage({.voxelType = RIX_INT16, .extents = {9, 5, 1, 2, 3}}, 3);
    SampleAtPoints sampling;
    PointValuesMsr table;
    sampling.setInputImage(&input);
    sampling.setOutputMeasurement(&table);
    sampling.setPoints(" 3, 2 ; 8,4,0;");
    sampling.run();
    ASSERT_EQ(table.value.size(), 12U);
    for (std::size_t i = 0; i < 12; ++i) {
        const auto volume = volumeOf<double>(input, static_cast<std::size_t>(table.frame[i]),
                                             static_cast<std::size_t>(table.channel[i]));
        EXPECT_EQ(table.value[i], volume[i % 2 == 0 ? 21 : 44]) << i;
        EXPECT_EQ(static_cast<std::size_t>(table.channel[i]), i / 4);
    }
    sampling.setPoints("");
    sampling.run();
    EXPECT_EQ(table.value.size(), 0U);
    for (const char* const wrong : {"1", "1,2,3,4", "1,2;;", "a,b", "1,2 3", "nan,0,0"}) {
        EXPECT_THROW(
            {
                sampling.setPoints(wrong);
                sampling.run();
            },
            RuleException)
            << wrong;
    }
}

TEST(ProfileAlongLine, IsTheMeanAcrossTheLine) {
    // In the world the line leads along x, across unequal spacings.
    io::MemoryImage input =
        makeRandomImage({.voxelType = RIX_FLOAT64, .extents = {40, 30, 1, 1, 1}}, 3, Extremes::None);
    place(input, Matrix::Identity(), {0.5, 2.0, 1.0}, {10.0, -20.0, 0.0});
    const SampledReference reference(input, 2, 1, access::BorderPolicy::FIXED, 0.0);
    ProfileAlongLine profile;
    ProfileMsr table;
    profile.setInputImage(&input);
    profile.setOutputMeasurement(&table);
    profile.setX1(12.0);
    profile.setY1(4.0);
    profile.setX2(18.0);
    profile.setY2(4.0);
    profile.setLengthUnit(ProfileAlongLine::WORLD);
    profile.setWidth(6.0);  // three rows
    profile.run();
    ASSERT_EQ(table.value.size(), 13U) << "one a voxel and both ends";
    for (std::size_t i = 0; i < 13; ++i) {
        const double x = 4.0 + static_cast<double>(i);
        EXPECT_NEAR(table.distance[i], 0.5 * static_cast<double>(i), 1e-12);
        EXPECT_NEAR(table.value[i],
                    (reference.at({x, 11.0, 0}) + reference.at({x, 12.0, 0}) + reference.at({x, 13.0, 0})) / 3, 1e-9);
    }
    // In voxels, oblique: across the line in elements.
    profile.setLengthUnit(ProfileAlongLine::VOXEL);
    profile.setX1(5.0);
    profile.setY1(6.0);
    profile.setX2(8.0);
    profile.setY2(10.0);
    profile.setWidth(2.0);
    profile.run();
    ASSERT_EQ(table.value.size(), 6U);
    for (std::size_t i = 0; i < 6; ++i) {
        const Vector at = Vector(5, 6, 0) + static_cast<double>(i) * Vector(0.6, 0.8, 0);
        const Vector across(0.4, -0.3, 0);
        EXPECT_NEAR(table.value[i], (reference.at(at + across) + reference.at(at - across)) / 2, 1e-9);
    }
    profile.setX2(5.0);
    profile.setY2(6.0);
    profile.setWidth(1.0);
    profile.run();
    ASSERT_EQ(table.value.size(), 1U) << "a line without length is a point";
}

TEST(ProfileAlongLine, InVolumesIsTheMeanOverADisc) {
    // A value that grows with the square of the distance from the line: its mean over samples is that of the squares.
    const io::MemoryImage input = makeImage({.voxelType = RIX_FLOAT64, .extents = {21, 21, 21, 1, 1}},
                                            [](std::size_t x, std::size_t y, std::size_t, std::size_t, std::size_t) {
                                                const double dx = static_cast<double>(x) - 10;
                                                const double dy = static_cast<double>(y) - 10;
                                                return dx * dx + dy * dy;
                                            });
    ProfileAlongLine profile;
    ProfileMsr table;
    profile.setInputImage(&input);
    profile.setOutputMeasurement(&table);
    profile.setX1(10);
    profile.setY1(10);
    profile.setZ1(2);
    profile.setX2(10);
    profile.setY2(10);
    profile.setZ2(18);
    profile.setWidth(3);  // 3 x 3 samples one apart, but for the corners, which are no nearer than the square root of 2
    profile.run();
    ASSERT_EQ(table.value.size(), 17U);
    for (const double value : table.value) {
        EXPECT_NEAR(value, (4 * 1.0 + 4 * 2.0) / 9, 1e-9);
    }
}

TEST(PolarTransform, IsItsDefinition) {
    io::MemoryImage input =
        makeRandomImage({.voxelType = RIX_FLOAT32, .extents = {37, 21, 1, 1, 1}}, 3, Extremes::None);
    place(input, turnBy(0, 0, 30), {0.5, -1.25, 1.0}, {4.0, 5.0, 0.0});
    const GridOfImage grid(input);
    const Vector center = grid.origin + grid.vectors * Vector(18, 10, 0) + Vector(1.5, -2.0, 0.0);
    for (const bool isLogarithmic : {false, true}) {
        for (const int degree : {1, 3}) {
            PolarTransform2d polar;
            polar.setRadialScale(isLogarithmic ? RadialScale::LOGARITHMIC : RadialScale::LINEAR);
            polar.setInterpolation(static_cast<PlaceInterpolation>(degree + 1));
            polar.setOffsetX(1.5);
            polar.setOffsetY(-2.0);
            polar.setRadius(12.0);
            polar.setSizeX(50);
            polar.setSizeY(90);
            const io::MemoryImage output = runFilter(polar, input);
            const auto radiusAt = [&](std::size_t column) {
                const double at =
                    output.getOriginOf(COLUMNS) + static_cast<double>(column) * output.getSpacingOf(COLUMNS);
                return isLogarithmic ? std::exp(at) : at;
            };
            EXPECT_NEAR(radiusAt(50), 12.0, 1e-9);
            EXPECT_NEAR(radiusAt(0), isLogarithmic ? 0.5 : 0.0, 1e-12);
            EXPECT_LE(differenceAt(SampledReference(input, 2, degree, access::BorderPolicy::FIXED, 0), output,
                                   [&](const Extents& p) {
                                       const double angle = static_cast<double>(p[1]) * 4.0 * std::numbers::pi / 180;
                                       return grid.index(center + radiusAt(p[0]) *
                                                                      Vector(std::cos(angle), std::sin(angle), 0.0));
                                   }),
                      1000 * 1e-5)
                << isLogarithmic << degree;
        }
    }
}

TEST(PolarTransform, ComesBackAndGoesRound) {
    // Smooth, so that two interpolations stay near; the seam between the last angle and the first is like any other.
    const io::MemoryImage input =
        makeImage({.voxelType = RIX_FLOAT64, .extents = {81, 61, 1, 1, 1}},
                  [](std::size_t x, std::size_t y, std::size_t, std::size_t, std::size_t) {
                      return std::sin(0.11 * static_cast<double>(x)) * std::cos(0.13 * static_cast<double>(y));
                  });
    for (const auto scale : {RadialScale::LINEAR, RadialScale::LOGARITHMIC}) {
        PolarTransform2d there;
        there.setRadialScale(scale);
        there.setInterpolation(PlaceInterpolation::CUBIC_BSPLINE);
        there.setSizeX(200);
        there.setSizeY(400);
        there.setBorderPolicy(PolarTransform2d::CONTINUE);
        const io::MemoryImage polar = runFilter(there, input);
        PolarTransform2d back;
        back.setDirection(PolarTransform2d::FROM_POLAR);
        back.setRadialScale(scale);
        back.setInterpolation(PlaceInterpolation::CUBIC_BSPLINE);
        back.setBorderPolicy(PolarTransform2d::CONTINUE);
        back.setInputReferenceImage(&input);
        const io::MemoryImage output = runFilter(back, polar);
        EXPECT_EQ(helper::headerOf(output).origin, helper::headerOf(input).origin);
        const auto a = samplesOf<double>(input);
        const auto b = samplesOf<double>(output);
        double worst = 0;
        forEachPosition({81, 61, 1, 1, 1}, [&](const Extents& p) {
            const double r = std::hypot(static_cast<double>(p[0]) - 40, static_cast<double>(p[1]) - 30);
            if (r >= 1.5 && r <= 28) {
                worst = std::max(worst, std::abs(a[p[1] * 81 + p[0]] - b[p[1] * 81 + p[0]]));
            }
        });
        EXPECT_LE(worst, 2e-3);
    }
    // A step from angle to angle there must be, also where there is one angle only.
    io::MemoryImage oneAngle = makeRandomImage({.voxelType = RIX_UINT8, .extents = {20, 1, 1, 1, 1}}, 4);
    ASSERT_TRUE(oneAngle.setSpacingOf(COLUMNS, 0.5) && oneAngle.setSpacingOf(ROWS, 0.0));
    PolarTransform2d refusing;
    refusing.setDirection(PolarTransform2d::FROM_POLAR);
    EXPECT_THROW(runFilter(refusing, oneAngle), RuleException);
    // What turns by a quarter is shifted by a quarter of the angles.
    const io::MemoryImage square = makeRandomImage({.voxelType = RIX_UINT8, .extents = {31, 31, 1, 1, 1}}, 4);
    PolarTransform2d polar;
    polar.setInterpolation(PlaceInterpolation::NEAREST);
    polar.setSizeY(40);
    polar.setRadius(15);
    const auto plain = samplesOf<int>(runFilter(polar, square));
    io::MemoryImage turned = square;
    const auto samples = samplesOf<std::uint8_t>(square);
    fillImage(turned, [&](std::size_t x, std::size_t y, std::size_t, std::size_t, std::size_t, std::size_t) {
        return samples[(30 - x) * 31 + y];  // from x to y: what was at (a, b) is at (30 - b, a)
    });
    const auto moved = samplesOf<int>(runFilter(polar, turned));
    const std::size_t columns = plain.size() / 40;
    std::size_t different = 0;
    for (std::size_t i = 0; i < plain.size(); ++i) {
        different += moved[(i + 10 * columns) % plain.size()] == plain[i] ? 0U : 1U;
    }
    // Places midway between elements may round to either.
    EXPECT_LE(different, plain.size() / 50);
}

}  // namespace
}  // namespace rix::test
