// Work that spreads from tile to tile until nothing changes: the order of visits. What a flood gives is tested with
// the filling of holes.

#include <rix/access/Exchange.h>

#include "AccessTestTools.h"

namespace rix::access {
namespace {

using test::TestContext;

TEST(Exchange, NeverVisitsTilesThatTouchAtTheSameTime) {
    const ScopedBlockBytes blocks(1024);
    for (const std::size_t axes : {std::size_t{2}, std::size_t{3}}) {
        const Plan tiles = cutTiles({90, 80, 40, 1, 1}, {axes, 1, 10.0});
        // A scheduler that tells which blocks belong to one call, all of which may run at the same time.
        struct Recorder : BlockScheduler {
            void forEach(std::size_t count, FunctionRef<void(std::size_t)> block) override {
                together.clear();
                for (std::size_t i = 0; i < count; ++i) {
                    block(i);
                }
                for (const Block& a : together) {
                    for (const Block& b : together) {
                        bool touch = a.index != b.index;
                        for (std::size_t axis = 0; axis < 5; ++axis) {
                            const std::size_t margin = axis < spread ? 1 : 0;
                            touch = touch && a.axes[axis].begin < b.axes[axis].end + margin &&
                                    b.axes[axis].begin < a.axes[axis].end + margin;
                        }
                        EXPECT_FALSE(touch);
                    }
                }
            }
            std::vector<Block> together;
            std::size_t spread = 0;
        } recorder;
        recorder.spread = axes;
        std::vector<std::size_t> visits(tiles.blockCount(), 0);
        TestContext context(recorder);
        exchangeUntilStable(context, tiles, axes, [&](const Block& block, bool isFirst) {
            recorder.together.push_back(block);
            ++visits[block.index];
            return isFirst ? ~NeighbourSet{0} : NeighbourSet{0};
        });
        EXPECT_GT(tiles.blockCount(), 20U);
        // Those of the last colour wait for their first visit when the others let them wait for a second one.
        EXPECT_EQ(std::set<std::size_t>(visits.begin(), visits.end()), (std::set<std::size_t>{1, 2}));
        EXPECT_EQ(visits.front(), 2U);
    }
}

TEST(Exchange, StopsWhenCancelledOrFailing) {
    const ScopedBlockBytes blocks(1024);
    const Plan tiles = cutTiles({300, 300, 1, 1, 1}, {2, 1, 10.0});
    TestContext cancelled(parallelScheduler());
    cancelled.cancelAfterBlocks = 10;
    const auto forever = [](const Block&, bool) { return ~NeighbourSet{0}; };
    EXPECT_THROW(exchangeUntilStable(cancelled, tiles, 2, forever), ExceptionCancelation);
    TestContext context(parallelScheduler());
    EXPECT_THROW(exchangeUntilStable(context, tiles, 2,
                                     [](const Block& block, bool) -> NeighbourSet {
                                         throw UnexpectedError("at " + std::to_string(block.index));
                                     }),
                 UnexpectedError);
}

}  // namespace
}  // namespace rix::access
