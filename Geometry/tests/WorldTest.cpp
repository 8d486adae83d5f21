// Whatever is done to an image, the same object is at the same place in the world: every voxel is a marker that has a
// number of its own, and lies where it lay. The test has a case for every class of the area.

#include <Eigen/Geometry>

#include <rix/algorithms/AlgoInfo.h>
#include <rix/geometry/AffineTransform2d.h>
#include <rix/geometry/AffineTransform3d.h>
#include <rix/geometry/BSplineCoefficients2d.h>
#include <rix/geometry/BSplineCoefficients3d.h>
#include <rix/geometry/ConcatenateImages.h>
#include <rix/geometry/ContourLines2d.h>
#include <rix/geometry/Crop.h>
#include <rix/geometry/Flip.h>
#include <rix/geometry/IsoSurface3d.h>
#include <rix/geometry/MergeChannels.h>
#include <rix/geometry/Pad.h>
#include <rix/geometry/PermuteAxes.h>
#include <rix/geometry/PolarTransform2d.h>
#include <rix/geometry/ProfileAlongLine.h>
#include <rix/geometry/Projection.h>
#include <rix/geometry/Rescale2d.h>
#include <rix/geometry/Rescale3d.h>
#include <rix/geometry/Reslice3d.h>
#include <rix/geometry/Rotate90.h>
#include <rix/geometry/SampleAtPoints.h>
#include <rix/geometry/Shift.h>
#include <rix/geometry/SplitChannels.h>
#include <rix/geometry/WarpByDisplacement2d.h>
#include <rix/geometry/WarpByDisplacement3d.h>
#include <rix/image/ImageHeader.h>

#include "RunFilter.h"
#include "Testing.h"

namespace rix::test {
namespace {

using namespace geometry;

/// World position, time, and place on the spectral axis.
using Marker = std::array<double, 5>;

Marker markerAt(const ImageModel& image, const Extents& index) {
    const vessel::SpatialDirections directions = image.getSpatialDirections();
    const vessel::Vector3d* const axes[] = {&directions.columnDirection, &directions.rowDirection,
                                            &directions.sliceDirection};
    std::array<double, 5> along{};
    for (std::size_t axis = 0; axis < along.size(); ++axis) {
        along[axis] = static_cast<double>(index[axis]) * image.getSpacingOf(static_cast<Components>(axis));
    }
    Marker marker{};
    for (std::size_t i = 0; i < 3; ++i) {
        marker[i] = image.getOriginOf(static_cast<Components>(i));
        for (std::size_t axis = 0; axis < 3; ++axis) {
            marker[i] += along[axis] * (*axes[axis])[i];
        }
    }
    marker[3] = image.getOriginOf(SEQUENCE) + along[3];
    marker[4] = image.getOriginOf(SPECTRAL_SERIES) + along[4];
    return marker;
}

/// The markers of an image by their numbers; 0 is none.
std::map<std::uint32_t, Marker> markersOf(const ImageModel& image) {
    std::map<std::uint32_t, Marker> markers;
    const auto numbers = samplesOf<std::uint32_t>(image);
    std::size_t next = 0;
    forEachPosition(helper::getExtents(image), [&](const Extents& p) {
        if (const std::uint32_t number = numbers[next++]; number != 0) {
            EXPECT_TRUE(markers.emplace(number, markerAt(image, p)).second) << number << " is there twice";
        }
    });
    return markers;
}

/// An image of markers with unequal spacings, oblique directions and origins.
io::MemoryImage markedImage(const Extents& extents) {
    std::uint32_t number = 0;
    io::MemoryImage image =
        makeImage({.voxelType = RIX_UINT32, .extents = extents},
                  [&](std::size_t, std::size_t, std::size_t, std::size_t, std::size_t) { return ++number; });
    const double spacings[] = {0.7, 1.9, -3.3, 0.25, 11.0};
    const double origins[] = {12.5, -340.0, 81.0, 5.0, 400.0};
    for (int axis = 0; axis < 5; ++axis) {
        EXPECT_TRUE(image.setSpacingOf(static_cast<Components>(axis), spacings[axis]));
        EXPECT_TRUE(image.setOriginOf(static_cast<Components>(axis), origins[axis]));
    }
    const Eigen::Matrix3d turn =
        (Eigen::AngleAxisd(0.4, Eigen::Vector3d::UnitX()) * Eigen::AngleAxisd(-1.1, Eigen::Vector3d::UnitY()) *
         Eigen::AngleAxisd(2.3, Eigen::Vector3d::UnitZ()))
            .toRotationMatrix();
    const auto column = [&](int i) { return vessel::Vector3d{turn(0, i), turn(1, i), turn(2, i)}; };
    EXPECT_TRUE(image.setSpatialDirections({column(0), column(1), column(2)}));
    return image;
}

bool isNear(const Marker& a, const Marker& b) {
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (!(std::abs(a[i] - b[i]) <= 1e-9 * std::max({std::abs(a[i]), std::abs(b[i]), 1.0}))) {
            return false;
        }
    }
    return true;
}

/// Markers of the output that lie elsewhere than in the input, and how many are there at all.
struct Moved {
    std::size_t moved = 0;
    std::size_t all = 0;
};

Moved movedMarkers(const ImageModel& input, const ImageModel& output) {
    const auto before = markersOf(input);
    Moved moved;
    for (const auto& [number, marker] : markersOf(output)) {
        ++moved.all;
        moved.moved += isNear(before.at(number), marker) ? 0U : 1U;
    }
    return moved;
}

template <class Operation, class Set>
io::MemoryImage runWith(const ImageModel& input, const Set& set) {
    Operation operation;
    set(operation);
    return runFilter(operation, input);
}

template <class Joining>
io::MemoryImage join(const ImageModel& first, const ImageModel& second) {
    io::MemoryImage output;
    Joining joining;
    joining.setInputImage1(&first);
    joining.setInputImage2(&second);
    joining.setOutputImage(&output);
    joining.run();
    return output;
}

/// What is done to an image, and how many of its markers are left; cyclic shifts take some to where no image was.
struct Case {
    String className;
    std::function<io::MemoryImage(const ImageModel&)> run;
    std::size_t all;
    std::size_t moved = 0;
};

constexpr Extents extents{9, 6, 5, 2, 3};
constexpr std::size_t count = 9 * 6 * 5 * 2 * 3;

std::vector<Case> cases() {
    std::vector<Case> all;
    const auto add = [&]<class Operation>(Operation*, std::size_t left, auto set, std::size_t moved = 0) {
        all.push_back({Operation::getInfo().getName(),
                       [set](const ImageModel& image) { return runWith<Operation>(image, set); }, left, moved});
    };
    add(static_cast<Crop*>(nullptr), 6U * 5 * 3, [](Crop& crop) {
        crop.setFirstColumn(3);
        crop.setFirstRow(1);
        crop.setFirstPlane(2);
        crop.setFirstFrame(1);
        crop.setFirstChannel(2);
    });
    add(static_cast<Pad*>(nullptr), count, [](Pad& pad) {
        pad.setBeforeColumns(4);
        pad.setBeforeRows(2);
        pad.setBeforePlanes(1);
        pad.setAfterPlanes(3);
    });
    for (const auto axis : {Flip::COLUMNS, Flip::ROWS, Flip::PLANS}) {
        add(static_cast<Flip*>(nullptr), count, [axis](Flip& flip) { flip.setAxis(axis); });
    }
    for (const auto plane : {Rotate90::XY, Rotate90::XZ, Rotate90::YZ}) {
        for (const int turns : {1, 2, 3}) {
            add(static_cast<Rotate90*>(nullptr), count, [=](Rotate90& rotation) {
                rotation.setPlane(plane);
                rotation.setQuarterTurns(turns);
            });
        }
    }
    for (const char* const order : {"yxztc", "zxytc", "zyxtc", "xzytc", "yzxtc"}) {
        add(static_cast<PermuteAxes*>(nullptr), count,
            [order](PermuteAxes& permutation) { permutation.setOrder(order); });
    }
    // Two columns of nine, a row of six and a plane of five come in at the other end.
    add(
        static_cast<Shift*>(nullptr), count,
        [](Shift& shift) {
            shift.setOffsetX(2);
            shift.setOffsetY(-1);
            shift.setOffsetZ(6);
        },
        count - 7U * 5 * 4 * 2 * 3);
    // The least number of a line is that of its first voxel.
    for (const auto axis : {Projection::COLUMNS, Projection::PLANS, Projection::SPECTRAL_SERIES}) {
        add(static_cast<Projection*>(nullptr), count / extents[static_cast<std::size_t>(axis)],
            [axis](Projection& projection) {
                projection.setAxis(axis);
                projection.setStatistic(Projection::MINIMUM);
            });
    }
    add(static_cast<SplitChannels*>(nullptr), count / 3, [](SplitChannels& split) { split.setChannel(2); });
    const auto half = [](const ImageModel& image, std::int64_t first, std::int64_t number, bool channels) {
        return runWith<Crop>(image, [=](Crop& crop) {
            (crop.*(channels ? &Crop::setFirstChannel : &Crop::setFirstColumn))(first);
            (crop.*(channels ? &Crop::setChannels : &Crop::setColumns))(number);
        });
    };
    all.push_back({"MergeChannels",
                   [half](const ImageModel& image) {
                       return join<MergeChannels>(half(image, 0, 1, true), half(image, 1, 2, true));
                   },
                   count});
    all.push_back({"ConcatenateImages",
                   [half](const ImageModel& image) {
                       return join<ConcatenateImages>(half(image, 0, 4, false), half(image, 4, 5, false));
                   },
                   count});
    // The middles of every three columns and rows, and of five planes.
    const auto toThirds = [](auto& rescaling) {
        rescaling.setInterpolation(geometry::ScalingInterpolation::NEAREST);
        rescaling.setSizeX(3);
        rescaling.setSizeY(2);
    };
    add(static_cast<Rescale2d*>(nullptr), 3U * 2 * 5 * 2 * 3, toThirds);
    add(static_cast<Rescale3d*>(nullptr), 3U * 2 * 1 * 2 * 3, [toThirds](Rescale3d& rescaling) {
        toThirds(rescaling);
        rescaling.setSizeZ(1);
    });
    // Nothing moves, and the grid is found again.
    const auto toFit = [](auto& transform) {
        transform.setInterpolation(geometry::PlaceInterpolation::NEAREST);
        transform.setGrid(geometry::TransformGrid::FIT);
    };
    add(static_cast<AffineTransform2d*>(nullptr), count, toFit);
    add(static_cast<AffineTransform3d*>(nullptr), count, toFit);
    // A field without displacements, and a row of a plane through the volume.
    const auto addStill = [&]<class Warp>(Warp*, std::size_t channels) {
        all.push_back({Warp::getInfo().getName(),
                       [channels](const ImageModel& image) {
                           ImageHeader header = helper::headerOf(image);
                           header.voxelType = RIX_FLOAT32;
                           header.extents[SEQUENCE] = 1;
                           header.extents[SPECTRAL_SERIES] = channels;
                           io::MemoryImage field;
                           EXPECT_TRUE(helper::applyHeader(header, field));
                           fillImage(field, [](auto...) { return 0; });
                           return runWith<Warp>(image, [&](Warp& warp) {
                               warp.setInputDisplacementImage(&field);
                               warp.setInterpolation(PlaceInterpolation::NEAREST);
                           });
                       },
                       count});
    };
    addStill(static_cast<WarpByDisplacement2d*>(nullptr), 2);
    addStill(static_cast<WarpByDisplacement3d*>(nullptr), 3);
    all.push_back({"Reslice3d",
                   [](const ImageModel& image) {
                       return runWith<Reslice3d>(image, [&](Reslice3d& reslice) {
                           const Marker first = markerAt(image, {0, 0, 0, 0, 0});
                           const vessel::SpatialDirections d = image.getSpatialDirections();
                           reslice.setOriginX(first[0]);
                           reslice.setOriginY(first[1]);
                           reslice.setOriginZ(first[2]);
                           reslice.setDirectionX1(d.columnDirection[0]);
                           reslice.setDirectionY1(d.columnDirection[1]);
                           reslice.setDirectionZ1(d.columnDirection[2]);
                           reslice.setDirectionX2(d.rowDirection[0]);
                           reslice.setDirectionY2(d.rowDirection[1]);
                           reslice.setDirectionZ2(d.rowDirection[2]);
                           reslice.setRows(1);
                           reslice.setInterpolation(Reslice3d::NEAREST);
                       });
                   },
                   9U * 2 * 3});
    // Coefficients are no markers: these get the place of the coefficients.
    const auto addCoefficients = [&]<class Coefficients>(Coefficients*) {
        all.push_back({Coefficients::getInfo().getName(),
                       [](const ImageModel& image) {
                           ImageHeader header = helper::headerOf(runWith<Coefficients>(image, [](Coefficients&) {}));
                           header.voxelType = RIX_UINT32;
                           io::MemoryImage placed;
                           EXPECT_TRUE(helper::applyHeader(header, placed));
                           const auto numbers = samplesOf<std::uint32_t>(image);
                           std::memcpy(placed.getInternalBuffer(), numbers.data(), 4 * numbers.size());
                           return placed;
                       },
                       count});
    };
    addCoefficients(static_cast<BSplineCoefficients2d*>(nullptr));
    addCoefficients(static_cast<BSplineCoefficients3d*>(nullptr));
    return all;
}

TEST(GeometryInTheWorld, EveryObjectStaysWhereItIs) {
    const io::MemoryImage input = markedImage(extents);
    // These have tests of their own below.
    std::set<String> seen{"ContourLines2d", "IsoSurface3d", "PolarTransform2d", "ProfileAlongLine", "SampleAtPoints"};
    for (const Case& each : cases()) {
        SCOPED_TRACE(each.className);
        seen.insert(each.className);
        const Moved result = movedMarkers(input, each.run(input));
        EXPECT_EQ(result.all, each.all);
        EXPECT_EQ(result.moved, each.moved);
    }
    for (std::size_t i = 0; i < AlgoInfo::getNumOfAlgorithm(); ++i) {
        const AlgoInfo& info = AlgoInfo::getAlgorithmsInfoByIndex(i);
        EXPECT_TRUE(info.getArea() != "geometry" || seen.count(info.getName()) == 1) << info.getName() << " is missing";
    }
}

TEST(GeometryInTheWorld, WithoutSpacingsCountsVoxels) {
    io::MemoryImage input = markedImage(extents);
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        input.setSpacingOf(axis, 0.0);
    }
    io::MemoryImage unit = input;
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        unit.setSpacingOf(axis, 1.0);
    }
    for (const Case& each : cases()) {
        EXPECT_TRUE(imagesEqual(each.run(unit), each.run(input))) << each.className;
    }
    input.setSpacingOf(ROWS, 2.0);
    for (const Case& each : cases()) {
        EXPECT_THROW(each.run(input), RuleException) << each.className;
    }
}

TEST(GeometryInTheWorld, PolarImagesTellRadiiAndAnglesAndLeadBack) {
    const Extents planes{41, 31, 2, 1, 1};
    const io::MemoryImage input = markedImage(planes);
    PolarTransform2d there;
    there.setInterpolation(PlaceInterpolation::NEAREST);
    const io::MemoryImage polar = runFilter(there, input);
    const auto before = markersOf(input);
    const auto numbers = samplesOf<std::uint32_t>(polar);
    const vessel::SpatialDirections d = input.getSpatialDirections();
    std::size_t next = 0;
    std::size_t seen = 0;
    // Half an element of the image along both axes.
    const double reach = std::hypot(0.7, 1.9) / 2 + 1e-9;
    forEachPosition(helper::getExtents(polar), [&](const Extents& p) {
        const std::uint32_t number = numbers[next++];
        if (number == 0) {
            return;
        }
        const double radius = polar.getOriginOf(COLUMNS) + static_cast<double>(p[0]) * polar.getSpacingOf(COLUMNS);
        const double angle =
            (polar.getOriginOf(ROWS) + static_cast<double>(p[1]) * polar.getSpacingOf(ROWS)) * std::numbers::pi / 180;
        const Marker middle = markerAt(input, {20, 15, p[2], 0, 0});
        double square = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            const double at =
                middle[i] + radius * (std::cos(angle) * d.columnDirection[i] + std::sin(angle) * d.rowDirection[i]);
            square += (at - before.at(number)[i]) * (at - before.at(number)[i]);
        }
        EXPECT_LE(std::sqrt(square), reach);
        ++seen;
    });
    EXPECT_GT(seen, 5000U);
    PolarTransform2d back;
    back.setDirection(PolarTransform2d::FROM_POLAR);
    back.setInterpolation(PlaceInterpolation::NEAREST);
    back.setInputReferenceImage(&input);
    const io::MemoryImage output = runFilter(back, polar);
    EXPECT_TRUE(isNear(markerAt(output, {3, 7, 1, 0, 0}), markerAt(input, {3, 7, 1, 0, 0})));
    const auto after = samplesOf<std::uint32_t>(output);
    next = 0;
    forEachPosition(planes, [&](const Extents& p) {
        const std::uint32_t number = after[next++];
        const Marker here = markerAt(input, p);
        double square = 0;
        for (std::size_t i = 0; i < 3 && number != 0; ++i) {
            square += std::pow(here[i] - before.at(number)[i], 2);
        }
        // Half a step of radii and of angles more.
        EXPECT_LE(std::sqrt(square), reach + 0.35 + 35 * std::numbers::pi / 360);
    });
}

TEST(GeometryInTheWorld, TablesTellWhereThingsAre) {
    const io::MemoryImage input = markedImage(extents);
    // Each marker is found where it is.
    std::vector<std::array<double, 3>> points;
    forEachPosition({9, 6, 5, 1, 1}, [&](const Extents& p) {
        const Marker marker = markerAt(input, p);
        points.push_back({marker[0], marker[1], marker[2]});
    });
    SampleAtPoints sampling;
    PointValuesMsr values;
    sampling.setInputImage(&input);
    sampling.setPoints(points);
    sampling.setOutputMeasurement(&values);
    sampling.run();
    const auto numbers = samplesOf<double>(input);
    ASSERT_EQ(values.value.size(), numbers.size());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        // Rows of the table go frame by frame in each channel, as the image is stored.
        ASSERT_NEAR(values.value[i], numbers[i], 1e-9 * 9 * 6 * 5) << i;
    }
    // Those of a row follow each other along a line between them.
    ProfileAlongLine profile;
    ProfileMsr along;
    const Marker first = markerAt(input, {0, 2, 1, 0, 0});
    const Marker last = markerAt(input, {8, 2, 1, 0, 0});
    profile.setInputImage(&input);
    profile.setLengthUnit(ProfileAlongLine::WORLD);
    profile.setX1(first[0]);
    profile.setY1(first[1]);
    profile.setZ1(first[2]);
    profile.setX2(last[0]);
    profile.setY2(last[1]);
    profile.setZ2(last[2]);
    profile.setWidth(0.0);
    profile.setOutputMeasurement(&along);
    profile.run();
    ASSERT_EQ(along.value.size(), 9U * 6);
    for (std::size_t i = 0; i < 9; ++i) {
        EXPECT_NEAR(along.value[i], numbers[(6 + 2) * 9 + i], 1e-6);
        EXPECT_NEAR(along.distance[i], 0.7 * static_cast<double>(i), 1e-9);
    }
    // Lines and surfaces about a bright voxel have it in their middle.
    io::MemoryImage spot = input;
    fillImage(spot, [](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t, std::size_t) {
        return x == 6 && y == 2 && z == 3 ? 1 : 0;
    });
    const Marker center = markerAt(spot, {6, 2, 3, 0, 0});
    ContourLines2d contours;
    ContoursMsr lines;
    contours.setInputImage(&spot);
    contours.setOutputMeasurement(&lines);
    contours.run();
    ASSERT_EQ(lines.line.size(), 5U * 6);
    IsoSurface3d surfaces;
    SurfaceMsr triangles;
    surfaces.setInputImage(&spot);
    surfaces.setOutputMeasurement(&triangles);
    surfaces.run();
    std::map<std::int64_t, Marker> corners;
    for (std::size_t i = 0; i < triangles.vertex1.size(); ++i) {
        corners[triangles.vertex1[i]] = {triangles.x1[i], triangles.y1[i], triangles.z1[i]};
        corners[triangles.vertex2[i]] = {triangles.x2[i], triangles.y2[i], triangles.z2[i]};
        corners[triangles.vertex3[i]] = {triangles.x3[i], triangles.y3[i], triangles.z3[i]};
    }
    Marker ofLines{};
    for (std::size_t i = 0; i < 4; ++i) {
        ofLines[0] += lines.x[i] / 4;
        ofLines[1] += lines.y[i] / 4;
        ofLines[2] += lines.z[i] / 4;
    }
    Marker ofSurface{};
    for (const auto& [number, corner] : corners) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            ofSurface[axis] += corner[axis] / static_cast<double>(corners.size());
        }
    }
    ASSERT_EQ(corners.size(), 14U * 6) << "an edge to each of 14 neighbours";
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(ofLines[axis], center[axis], 1e-9 * 400);
        EXPECT_NEAR(ofSurface[axis], center[axis], 1e-9 * 400);
    }
}

TEST(GeometryInTheWorld, AxesThatComeIntoSpaceTakeTheDirectionOfThoseThatLeaveIt) {
    const io::MemoryImage input = markedImage(extents);
    const auto run = [](const ImageModel& image, const char* order) {
        return runWith<PermuteAxes>(image, [order](PermuteAxes& permutation) { permutation.setOrder(order); });
    };
    // Planes become frames: what was the time of a marker is its place along the planes' direction, and the reverse.
    const io::MemoryImage output = run(input, "xytzc");
    const auto slice = input.getSpatialDirections().sliceDirection;
    const auto alongSlice = [&](const Marker& marker) {
        return marker[0] * slice[0] + marker[1] * slice[1] + marker[2] * slice[2];
    };
    const auto before = markersOf(input);
    for (const auto& [number, marker] : markersOf(output)) {
        Marker expected = before.at(number);
        const double place = alongSlice(expected);
        for (std::size_t i = 0; i < 3; ++i) {
            expected[i] += (expected[3] - place) * slice[i];
        }
        expected[3] = place;
        ASSERT_TRUE(isNear(expected, marker)) << number;
    }
    // Whatever was exchanged, the inverse order puts all of it back.
    for (const auto& [order, inverse] : {std::pair{"xytzc", "xytzc"}, {"txyzc", "yztxc"}, {"ctzxy", "tczyx"}}) {
        const io::MemoryImage there = run(input, order);
        const io::MemoryImage back = run(there, inverse);
        EXPECT_EQ(movedMarkers(input, back).moved, 0U) << order;
    }
}

}  // namespace
}  // namespace rix::test
