#include <rix/access/Pieces.h>

#include "Testing.h"

namespace rix::access {
namespace {

TEST(Pieces, CoverASegmentAndBeginOnLinesWhereItIsLong) {
    constexpr std::size_t length = 128;
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_FLOAT64}) {
        io::MemoryImage image = test::makeRandomImage({.voxelType = type, .extents = {9980, 2, 1, 1, 1}}, 1);
        for (const std::size_t width : {1U, 7U, 127U, 128U, 129U, 1023U, 1024U, 9973U}) {
            for (const std::size_t shift : {0U, 1U, 5U}) {
                ImageModelSizeProxy view(&image, {shift, 1, 0, 0, 0}, {width, 1, 1, 1, 1});
                const Plan plan = cutLines({&view}, 1.0);
                PieceWriter writer(view, plan, Stores::Streaming);
                writer.open(plan.segmentAt({}, width));
                std::size_t covered = 0;
                forEachPiece(width, length, writer, [&](std::size_t first, std::size_t count) {
                    EXPECT_EQ(first, covered);
                    EXPECT_LE(count, length);
                    if (first > 0 && width >= 1024) {
                        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(writer.piece(first)) % lineBytes, 0U);
                    }
                    covered += count;
                });
                EXPECT_EQ(covered, width);
                writer.flush();
            }
        }
    }
}

TEST(Pieces, KnowRowsWithoutALineThatBeginsWithASample) {
    alignas(lineBytes) const std::uint8_t memory[2 * lineBytes] = {};
    EXPECT_EQ(samplesBeforeLine(memory, 16, 9), 0U);
    EXPECT_EQ(samplesBeforeLine(memory + 16, 16, 9), 3U);
    EXPECT_EQ(samplesBeforeLine(memory + 16, 16, 2), 2U);
    EXPECT_EQ(samplesBeforeLine(memory + 8, 16, 9), 9U);
}

}  // namespace
}  // namespace rix::access
