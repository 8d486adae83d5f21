// Branches of skeletons: their table and their removal, on drawings whose graphs are known.

#include <rix/morphology/PruneSkeleton2d.h>
#include <rix/morphology/PruneSkeleton3d.h>
#include <rix/morphology/Skeleton2d.h>
#include <rix/morphology/SkeletonGraph2d.h>
#include <rix/morphology/SkeletonGraph3d.h>

#include "Testing.h"

namespace rix::test {
namespace {

/// A plane from text: everything but blanks and points is set.
io::MemoryImage drawing(const std::vector<String>& rows) {
    return makeImage({.extents = {rows.front().size(), rows.size(), 1, 1, 1}, .interpretation = RIX_BINARY},
                     [&](std::size_t x, std::size_t y, auto...) { return rows[y][x] == '#' ? 1 : 0; });
}
std::vector<String> textOf(const ImageModel& image) {
    const std::vector<double> samples = samplesOf<double>(image);
    const std::size_t columns = image.getNumOf(COLUMNS);
    std::vector<String> rows(image.getNumOf(ROWS));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        rows[i / columns] += samples[i] != 0 ? '#' : '.';
    }
    return rows;
}

template <class Filter>
io::MemoryImage pruned(const ImageModel& image, double length, bool inWorld = false) {
    Filter filter;
    io::MemoryImage output;
    filter.setInputObjectImage(&image);
    filter.setMinimumLength(length);
    filter.setLengthUnit(inWorld ? Filter::WORLD : Filter::VOXEL);
    filter.setOutputBinaryImage(&output);
    const std::size_t stated = filter.describe().extraMemory;
    filter.run();
    EXPECT_LE(filter.getPeakExtraMemory(), stated);
    return output;
}

template <class Filter>
morphology::SkeletonGraphMsr graphOf(const ImageModel& image, bool inWorld = false) {
    Filter filter;
    morphology::SkeletonGraphMsr table;
    filter.setInputObjectImage(&image);
    filter.setLengthUnit(inWorld ? Filter::WORLD : Filter::VOXEL);
    filter.setOutputMeasurement(&table);
    filter.run();
    return table;
}

const std::vector<String> twig{
    "...................",  //
    ".#.......#.........",  //
    "..#.....#......##..",  //
    "...#...#......#..#.",  //
    "....###........##..",  //
    ".......#...........",  //
    "........#######....",  //
    "...............#...",  //
    ".##...........#....",  //
    "..............#....",  //
    "...................",  //
    ".#.................",
};

TEST(SkeletonGraph, HasTheBranchesOfADrawing) {
    io::MemoryImage image = drawing(twig);
    const morphology::SkeletonGraphMsr table = graphOf<morphology::SkeletonGraph2d>(image);
    struct Row {
        std::int64_t freeEnds;
        std::int64_t voxels;
        double length;
        double x1, y1;
    };
    const double d = std::sqrt(2.0);
    // The branch point is (6, 4).
    const std::vector<Row> expected{{1, 5, 3 * d + 2, 1, 1}, {1, 3, 3 * d, 9, 1}, {1, 11, 4 * d + 7, 6, 4},
                                    {2, 2, 1, 1, 8},         {2, 1, 0, 1, 11},    {0, 6, 4 * d + 2, 15, 2}};
    ASSERT_EQ(table.length.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(table.freeEnds[i], expected[i].freeEnds) << i;
        EXPECT_EQ(table.voxelCount[i], expected[i].voxels) << i;
        EXPECT_NEAR(table.length[i], expected[i].length, 1e-12) << i;
        EXPECT_EQ(table.x[0][i], expected[i].x1) << i;
        EXPECT_EQ(table.y[0][i], expected[i].y1) << i;
        EXPECT_EQ(table.nodes[0][i] == table.nodes[1][i], i >= 4) << i;
    }
    EXPECT_EQ(table.nodes[1][0], table.nodes[1][1]);
    EXPECT_EQ(table.nodes[1][0], table.nodes[0][2]);
    EXPECT_NEAR(table.distance[0], std::hypot(5, 3), 1e-12);

    image.setSpacingOf(COLUMNS, 0.5);
    image.setSpacingOf(ROWS, 2.0);
    image.setOriginOf(COLUMNS, 10.0);
    image.setSpatialUnitName("mm");
    const morphology::SkeletonGraphMsr world = graphOf<morphology::SkeletonGraph2d>(image, true);
    EXPECT_NEAR(world.length[0], 3 * std::hypot(0.5, 2.0) + 2 * 0.5, 1e-12);
    EXPECT_EQ(world.x[0][1], 14.5);
    EXPECT_EQ(world.y[0][1], 2.0);
    EXPECT_EQ(world.length.getUnit(), "mm");
}

TEST(SkeletonGraph, TellsVolumesApartAndWalksThroughSpace) {
    // In each frame a line of corners from (1, 1, 1) and a cross of three axes.
    const io::MemoryImage image = makeImage(
        {.extents = {30, 30, 15, 2, 1}}, [](std::size_t x, std::size_t y, std::size_t z, std::size_t t, auto...) {
            const bool isLine = x == y && y == z && x >= 1 && x <= 5 + t;
            const auto isNear = [](std::size_t a, std::size_t b) { return a + 4 >= b && a <= b + 4; };
            const int same = (x == 20 ? 1 : 0) + (y == 20 ? 1 : 0) + (z == 8 ? 1 : 0);
            return isLine || (same >= 2 && isNear(x, 20) && isNear(y, 20) && isNear(z, 8)) ? 1 : 0;
        });
    const morphology::SkeletonGraphMsr table = graphOf<morphology::SkeletonGraph3d>(image);
    ASSERT_EQ(table.length.size(), 14U);
    for (std::size_t t = 0; t < 2; ++t) {
        EXPECT_EQ(table.frame[7 * t], static_cast<std::int64_t>(t));
        EXPECT_NEAR(table.length[7 * t], std::sqrt(3.0) * static_cast<double>(4 + t), 1e-12);
        for (std::size_t i = 7 * t + 1; i < 7 * t + 7; ++i) {
            EXPECT_EQ(table.freeEnds[i], 1) << i;  // the point where they meet holds the seven voxels in the middle
            EXPECT_EQ(table.length[i], 3.0) << i;
            EXPECT_EQ(table.distance[i], 4.0) << i;
        }
    }
    EXPECT_EQ(table.getNumOfArrays(), 13U);  // a column of frames, and none of channels
}

TEST(PruneSkeleton, TakesShortBranchesAndLeavesTheRest) {
    const io::MemoryImage image = drawing(twig);
    EXPECT_TRUE(imagesEqual(drawing(twig), pruned<morphology::PruneSkeleton2d>(image, 0)));
    EXPECT_TRUE(imagesEqual(drawing(twig), pruned<morphology::PruneSkeleton2d>(image, 3 * std::sqrt(2.0))));
    std::vector<String> expected = twig;
    for (const auto& [x, y] : {std::pair(9, 1), {8, 2}, {7, 3}}) {
        expected[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] = '.';
    }
    EXPECT_EQ(textOf(pruned<morphology::PruneSkeleton2d>(image, 4.3)), expected);
    // Without both twigs the branch point is the end of the line. Short lines by themselves stay.
    for (const auto& [x, y] : {std::pair(1, 1), {2, 2}, {3, 3}, {4, 4}, {5, 4}}) {
        expected[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] = '.';
    }
    EXPECT_EQ(textOf(pruned<morphology::PruneSkeleton2d>(image, 7)), expected);

    io::MemoryImage flat = drawing(twig);
    flat.setSpacingOf(COLUMNS, 0.001);
    flat.setSpacingOf(ROWS, 1.0);
    EXPECT_EQ(textOf(pruned<morphology::PruneSkeleton2d>(flat, 3.1, true)), expected);
    for (const double length : {-1.0, std::nan("")}) {
        EXPECT_THROW(pruned<morphology::PruneSkeleton2d>(image, length), RuleException);
    }
}

/// What stays of a tube with twigs in space: one line.
TEST(PruneSkeleton, MakesALineOfATreeInSpace) {
    const io::MemoryImage image =
        makeImage({.extents = {60, 21, 21, 1, 1}}, [](std::size_t x, std::size_t y, std::size_t z, auto...) {
            const bool isTrunk = y == 10 && z == 10;
            const bool isTwig = x % 12 == 6 && ((y == 10 && z > 10 && z < 15) || (z == 10 && y < 10 && y > 6));
            return isTrunk || isTwig ? 1 : 0;
        });
    const io::MemoryImage line = pruned<morphology::PruneSkeleton3d>(image, 4);
    const morphology::SkeletonGraphMsr table = graphOf<morphology::SkeletonGraph3d>(line);
    ASSERT_EQ(table.length.size(), 1U);
    EXPECT_EQ(table.freeEnds[0], 2);
    EXPECT_EQ(table.distance[0], 59.0);
}

}  // namespace
}  // namespace rix::test
