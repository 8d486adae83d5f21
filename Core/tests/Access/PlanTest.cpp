// The cut of images into blocks: every voxel once, whatever the cutter, the settings and the size of blocks.

#include <rix/access/Plan.h>
#include <rix/access/Run.h>
#include <rix/image/DiskImage.h>
#include <rix/properties/EnumInfo.h>

#include "AccessTestTools.h"

namespace rix::access {
namespace {

using test::CopyOnly;
using test::Extents;
using test::imageOf;

constexpr PartitionMode modes[] = {RIX_PARTITION_DEFAULT, RIX_PARTITION_FULL_ROW_COL_ALTERNATE,
                                   RIX_PARTITION_ONLY_COLUMNS, RIX_PARTITION_ONLY_ROWS};

/// Whether the segments of the blocks are the image, each voxel once, and blocks are in storage order.
void expectCovered(const Plan& plan, const Extents& n) {
    std::vector<std::uint8_t> visits(n[0] * n[1] * n[2] * n[3] * n[4], 0);
    for (std::size_t b = 0; b < plan.blockCount(); ++b) {
        const Block block = plan.block(b);
        EXPECT_EQ(block.index, b);
        std::size_t voxels = 0;
        plan.forEachSegment(block, [&](const RowSegment& s) {
            const std::size_t first =
                (((s.spectral * n[3] + s.sequence) * n[2] + s.plane) * n[1] + s.row) * n[0] + s.column;
            ASSERT_LE(first + s.count, visits.size());
            std::for_each_n(visits.begin() + static_cast<std::ptrdiff_t>(first), s.count, [](auto& v) { ++v; });
            voxels += s.count;
        });
        EXPECT_EQ(block.voxels(), voxels);
    }
    EXPECT_TRUE(std::all_of(visits.begin(), visits.end(), [](std::uint8_t v) { return v == 1; }));
}

TEST(Plan, CoversEveryVoxelOnce) {
    const Extents shapes[] = {{1, 1, 1, 1, 1},      {5, 3, 1, 1, 1},    {500, 700, 1, 1, 1}, {3, 70000, 1, 1, 1},
                              {300000, 2, 1, 1, 1}, {7, 5, 11, 3, 2},   {40, 30, 90, 2, 1},  {100003, 1, 3, 1, 1},
                              {9, 8, 7, 3, 2},      {3, 20000, 1, 1, 2}};
    const Reach reaches[] = {
        {}, reachOfWindow(3, 3, 1), reachOfWindow(4, 101, 1), reachOfWindow(5, 5, 5), reachOfWindow(1000, 1, 300)};
    test::Sampling sampling(7);
    for (const std::size_t bytes : {usualBlockBytes, std::size_t{1024}}) {
        const ScopedBlockBytes blocks(bytes);
        for (const Extents& n : shapes) {
            SCOPED_TRACE(testing::PrintToString(n) + ", blocks of " + std::to_string(bytes));
            const io::MemoryImage memory = imageOf(RIX_UINT16, n);
            CopyOnly copied;
            ASSERT_TRUE(copied.reserve(RIX_UINT16, n[0], n[1], n[2], n[3], n[4]));
            for (const PartitionMode mode : modes) {
                SCOPED_TRACE(getInfoPartitionMode().getLabelFromValue(mode));
                const Plan joined = cutLines({&memory}, 1.0, mode);
                EXPECT_TRUE(joined.rowsAreJoined());
                expectCovered(joined, n);
                expectCovered(cutLines({&memory, &copied}, 1.0, mode), n);
                for (const Reach& reach : reaches) {
                    if (!sampling.takesNext()) {
                        continue;
                    }
                    BoxNeeds needs{reach, 20.0};
                    expectCovered(cutBoxes({&memory}, {&memory}, needs, mode), n);
                    for (const Components axis : {ROWS, PLANS}) {
                        needs.carried = Carried{axis, 8, 8192, std::size_t{1} << 16, 32768};
                        const Plan carried = cutBoxes({&memory}, {&memory}, needs, mode);
                        expectCovered(carried, n);
                        EXPECT_EQ(carried.block(carried.blockCount() - 1).columns().begin % 8, 0U);
                        EXPECT_EQ(carried.block(carried.blockCount() - 1).rows().begin % 8, 0U);
                    }
                }
            }
            for (const JoinedAxes joined : {JoinedAxes::None, JoinedAxes::RowsAndPlanes}) {
                BandNeeds needs;
                needs.joined = joined;
                needs.elements = 7;
                needs.group = 2;
                expectCovered(cutBands(n, needs), n);
                needs.axis = PLANS;
                expectCovered(cutBands(n, needs), n);
            }
        }
    }
}

TEST(Plan, NumbersBandsInStorageOrder) {
    BandNeeds needs;
    needs.joined = JoinedAxes::RowsAndPlanes;
    needs.elements = 10;
    const Plan plan = cutBands({4, 6, 5, 2, 1}, needs);
    ASSERT_EQ(plan.blockCount(), 6U);
    EXPECT_EQ(plan.block(4).sequence(), 1U);
    EXPECT_EQ(plan.block(4).rows().begin, 10U);
    const RowSegment line = plan.segmentAt({0, 10, 0, 1}, 4);
    EXPECT_EQ(line.row, 4U);
    EXPECT_EQ(line.plane, 1U);
    EXPECT_EQ(line.sequence, 1U);
    needs.mostBands = 2;
    EXPECT_EQ(cutBands({4, 6, 5, 2, 1}, needs).blockCount(), 4U);
}

TEST(Plan, TellsSmallWorkAndRefusesWhatItCannotCut) {
    const io::MemoryImage image = imageOf(RIX_UINT8, {100, 100, 1, 1, 1});
    const io::MemoryImage other = imageOf(RIX_UINT8, {100, 99, 1, 1, 1});
    const io::MemoryImage empty = imageOf(RIX_UINT8, {100, 0, 1, 1, 1});
    EXPECT_TRUE(cutBoxes({&image}, {&image}, {{}, 1.0}).isSmall());
    EXPECT_FALSE(cutBoxes({&image}, {&image}, {{}, 100.0}).isSmall());
    EXPECT_TRUE(cutLines({&image}, 1.0).isSmall());
    EXPECT_THROW(cutBoxes({&image}, {&other}, {{}, 1.0}), UnexpectedError);
    EXPECT_THROW(cutLines({&image, &other}, 1.0), UnexpectedError);
    EXPECT_EQ(cutBoxes({&empty}, {&empty}, {{}, 1.0}).blockCount(), 0U);
    EXPECT_EQ(cutLines({&empty}, 1.0).blockCount(), 0U);
    const std::size_t huge = std::size_t{1} << 33;
    EXPECT_THROW(cutBands({huge, huge, 1, 1, 1}, {}), UnexpectedError);
}

TEST(Plan, ModesCutAsTheySay) {
    CopyOnly image;
    ASSERT_TRUE(image.reserve(RIX_FLOAT64, 200000, 40, 1, 1, 1));
    const Plan rowsOnly = cutLines({&image}, 1.0, RIX_PARTITION_ONLY_ROWS);
    const Plan columnsOnly = cutLines({&image}, 1.0, RIX_PARTITION_ONLY_COLUMNS);
    ASSERT_GT(rowsOnly.blockCount(), 1U);
    ASSERT_GT(columnsOnly.blockCount(), 1U);
    EXPECT_EQ(rowsOnly.parts(COLUMNS), 1U);
    EXPECT_EQ(columnsOnly.parts(ROWS), 1U);
}

/// Blocks begin where chunks do, and hold parts of them only where one takes too long.
TEST(Plan, FollowsTheChunksOfImagesOnDisk) {
    const Extents n{1000, 700, 5, 2, 1};
    const io::MemoryImage memory = imageOf(RIX_UINT16, n);
    io::DiskImage disk(io::DiskImage::StoreMaker{}, {128, 96, 2, 1, 1});
    ASSERT_TRUE(disk.reserve(RIX_UINT16, n[0], n[1], n[2], n[3], n[4]));
    for (const double nanoseconds : {1.0, 500.0, 1e6}) {
        const Plan plans[] = {cutLines({&memory, &disk}, nanoseconds),
                              cutBoxes({&disk}, {&memory}, {reachOfWindow(5, 5, 3), nanoseconds}),
                              cutBoxes({&memory}, {&disk}, {{}, nanoseconds})};
        for (const Plan& plan : plans) {
            expectCovered(plan, n);
            for (std::size_t b = 0; b < plan.blockCount(); ++b) {
                const Block block = plan.block(b);
                EXPECT_EQ(block.columns().begin % 128, 0U);
                EXPECT_TRUE(nanoseconds > 1.0 || (block.rows().begin % 96 == 0 && block.planes().begin % 2 == 0));
                EXPECT_LE(static_cast<double>(block.voxels()) * nanoseconds, std::max(4.0e7, 128 * nanoseconds));
            }
        }
    }
    const Plan lines = cutLines({&disk}, 1.0);
    const RowSegment last = lines.lineAt(n[1] * n[2] * n[3] - 1);
    EXPECT_EQ(last.row, n[1] - 1);
    EXPECT_EQ(last.plane, n[2] - 1);
    EXPECT_EQ(last.sequence, n[3] - 1);
}

TEST(WithReach, StopsAtTheEdges) {
    const Block block{{{{10, 20}, {0, 5}, {3, 4}, {1, 2}, {0, 1}}}};
    const Block source = withReach(block, {{3, 4}, {2, 1}, {9, 9}}, {22, 5, 8, 2, 1});
    const auto expect = [](const Interval& interval, std::size_t begin, std::size_t end) {
        EXPECT_EQ(interval.begin, begin);
        EXPECT_EQ(interval.end, end);
    };
    expect(source.columns(), 7, 22);
    expect(source.rows(), 0, 5);
    expect(source.planes(), 0, 8);
    EXPECT_EQ(source.sequence(), 1U);
}

}  // namespace
}  // namespace rix::access
