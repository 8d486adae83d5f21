// Streamed output, which no image of the other tests is large enough to reach.

#include <cstring>

#include <gtest/gtest.h>

#include <rix/access/Pieces.h>
#include <rix/devices/Cpu.h>

#include "ImageComparison.h"
#include "ImageFactories.h"

namespace rix::access {
namespace {

using test::imagesEqual;
using test::makeRandomImage;

const OptimLevelType bestLevel = devices::Cpu::supports(VEC_AVX)   ? VEC_AVX
                                 : devices::Cpu::supports(VEC_SSE) ? VEC_SSE
                                                                   : SCALAR;

TEST(PieceWriter, WritesTheSameWithEitherKindOfStores) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_FLOAT64}) {
        const std::size_t bytes = helper::getSizeOf(type);
        for (const std::size_t width : {1U, 7U, 63U, 64U, 65U, 1000U, 9973U}) {
            const io::MemoryImage expected =
                makeRandomImage({.voxelType = type, .extents = {width, 3, 1, 1, 1}}, width);
            for (const StreamRow stream : {StreamRow{nullptr}, streamRow(SCALAR), streamRow(bestLevel)}) {
                io::MemoryImage image = makeRandomImage({.voxelType = type, .extents = {width, 3, 1, 1, 1}}, width + 1);
                const Plan plan = cutLines({&image}, 1.0);
                constexpr std::size_t piece = 100;
                for (std::size_t i = 0; i < plan.blockCount(); ++i) {
                    PieceWriter writer(image, plan, stream, piece);
                    plan.forEachSegment(plan.block(i), [&](const RowSegment& segment) {
                        writer.open(segment);
                        forEachPiece(segment.count, piece, writer, [&](std::size_t begin, std::size_t count) {
                            std::memcpy(writer.piece(begin, count),
                                        expected.getInternalBuffer() + (segment.column + begin) * bytes, count * bytes);
                            writer.pieceDone();
                        });
                        writer.flush();
                    });
                }
                EXPECT_TRUE(imagesEqual(expected, image)) << width << " columns";
            }
        }
    }
}

}  // namespace
}  // namespace rix::access
