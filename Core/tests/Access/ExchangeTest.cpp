// Work that spreads from tile to tile until nothing changes: a flood of a maze, which crosses every tile many times.

#include <atomic>
#include <cstdint>
#include <deque>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include <rix/access/BlockScheduler.h>
#include <rix/access/Exchange.h>
#include <rix/exceptions/Exception.h>

#include "AccessTestTools.h"

namespace rix::access {
namespace {

using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;
using test::TestContext;

/// A flood of the voxels that are not walls, from the first voxel of each plane or volume, across corners, too.
class Flood {
public:
    Flood(const Extents& extents, std::size_t axes, std::vector<std::uint8_t> walls)
        : m_n(extents), m_axes(axes), m_walls(std::move(walls)), m_wet(m_walls.size(), 0) {}

    std::vector<std::uint8_t> runSpread(ExecutionContext& context, const Plan& tiles) {
        exchangeUntilStable(context, tiles, m_axes, [&](const Block& block, bool isFirst) {
            ++visits;
            return visit(block, isFirst);
        });
        return m_wet;
    }

    /// The whole at once.
    std::vector<std::uint8_t> expected() {
        const std::size_t volume = m_axes == 2 ? m_n[0] * m_n[1] : m_n[0] * m_n[1] * m_n[2];
        std::vector<std::uint8_t> wet(m_walls.size(), 0);
        std::deque<std::size_t> queue;
        for (std::size_t v = 0; v < wet.size(); v += volume) {
            wet[v] = 1;
            queue.push_back(v);
        }
        for (; !queue.empty(); queue.pop_front()) {
            forEachNeighbour(queue.front(), [&](std::size_t q, int, int, int) {
                if (wet[q] == 0 && m_walls[q] == 0) {
                    wet[q] = 1;
                    queue.push_back(q);
                }
            });
        }
        return wet;
    }

    std::atomic<std::size_t> visits = 0;

private:
    template <class Use>
    void forEachNeighbour(std::size_t v, const Use& use) const {
        const auto x = static_cast<std::int64_t>(v % m_n[0]);
        const auto y = static_cast<std::int64_t>(v / m_n[0] % m_n[1]);
        const auto z = static_cast<std::int64_t>(v / m_n[0] / m_n[1] % m_n[2]);
        const auto inside = [](std::int64_t c, std::size_t n) { return c >= 0 && c < static_cast<std::int64_t>(n); };
        for (int dz = m_axes == 2 ? 0 : -1; dz <= (m_axes == 2 ? 0 : 1); ++dz) {
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dx = -1; dx <= 1; ++dx) {
                    if (inside(x + dx, m_n[0]) && inside(y + dy, m_n[1]) && inside(z + dz, m_n[2])) {
                        const std::int64_t step =
                            dx + static_cast<std::int64_t>(m_n[0]) * (dy + static_cast<std::int64_t>(m_n[1]) * dz);
                        use(static_cast<std::size_t>(static_cast<std::int64_t>(v) + step), dx, dy, dz);
                    }
                }
            }
        }
    }

    NeighbourSet visit(const Block& block, bool isFirst) {
        const auto contains = [&](std::size_t v) {
            const std::size_t at[] = {v % m_n[0], v / m_n[0] % m_n[1], v / m_n[0] / m_n[1] % m_n[2]};
            return at[0] >= block.axes[0].begin && at[0] < block.axes[0].end && at[1] >= block.axes[1].begin &&
                   at[1] < block.axes[1].end && at[2] >= block.axes[2].begin && at[2] < block.axes[2].end;
        };
        std::deque<std::size_t> queue;
        std::vector<std::size_t> own;
        block.forEachRow([&](const Position& at) {
            for (std::size_t x = block.columns().begin; x < block.columns().end; ++x) {
                own.push_back(((at.sequence * m_n[2] + at.plane) * m_n[1] + at.row) * m_n[0] + x);
            }
        });
        for (const std::size_t v : own) {
            bool wet = isFirst && at0(v);
            forEachNeighbour(v, [&](std::size_t q, int, int, int) { wet = wet || (!contains(q) && m_wet[q] != 0); });
            if (wet && m_walls[v] == 0 && m_wet[v] == 0) {
                m_wet[v] = 1;
                queue.push_back(v);
            }
        }
        NeighbourSet given = 0;
        for (; !queue.empty(); queue.pop_front()) {
            forEachNeighbour(queue.front(), [&](std::size_t q, int dx, int dy, int dz) {
                if (m_walls[q] != 0 || m_wet[q] != 0) {
                    return;
                }
                if (contains(q)) {
                    m_wet[q] = 1;
                    queue.push_back(q);
                } else {
                    // The block in the direction in which the neighbour leaves this one.
                    const auto leaves = [&](std::size_t axis, std::size_t c, int d) {
                        return c < block.axes[axis].begin || c >= block.axes[axis].end ? d : 0;
                    };
                    given |= neighbourAt(leaves(0, q % m_n[0], dx), leaves(1, q / m_n[0] % m_n[1], dy),
                                         leaves(2, q / m_n[0] / m_n[1] % m_n[2], dz));
                }
            });
        }
        return given;
    }

    bool at0(std::size_t v) const { return v % (m_axes == 2 ? m_n[0] * m_n[1] : m_n[0] * m_n[1] * m_n[2]) == 0; }

    Extents m_n;
    std::size_t m_axes;
    std::vector<std::uint8_t> m_walls;
    std::vector<std::uint8_t> m_wet;
};

/// Walls with a gap at alternate ends: the way through runs along every row (and plane) in turn.
std::vector<std::uint8_t> maze(const Extents& n, std::size_t axes) {
    std::vector<std::uint8_t> walls(n[0] * n[1] * n[2] * n[3], 0);
    for (std::size_t v = 0; v < walls.size(); ++v) {
        const std::size_t x = v % n[0];
        const std::size_t y = v / n[0] % n[1];
        const std::size_t z = v / n[0] / n[1] % n[2];
        const bool rowWall = y % 2 == 1 && x != (y % 4 == 1 ? n[0] - 1 : 0);
        const bool planeWall = axes == 3 && z % 2 == 1 && !(y == (z % 4 == 1 ? n[1] - 1 : 0) && x == 0);
        walls[v] = rowWall || planeWall ? 1 : 0;
    }
    return walls;
}

TEST(Exchange, FloodsAMazeThroughAllTiles) {
    const ScopedBlockBytes blocks(1024);
    struct Case {
        Extents extents;
        std::size_t axes;
    };
    ShuffledScheduler shuffled(11);
    for (const Case& c : {Case{{90, 81, 1, 1, 1}, 2}, Case{{50, 41, 3, 2, 1}, 2}, Case{{22, 19, 13, 2, 1}, 3},
                          Case{{2000, 1, 1, 1, 1}, 2}}) {
        const Plan tiles = cutTiles(c.extents, {c.axes, 1, 10.0});
        std::vector<std::size_t> visits;
        for (BlockScheduler* scheduler :
             {&serialScheduler(), &parallelScheduler(), static_cast<BlockScheduler*>(&shuffled)}) {
            Flood flood(c.extents, c.axes, maze(c.extents, c.axes));
            TestContext context(*scheduler);
            const auto expected = flood.expected();
            EXPECT_EQ(flood.runSpread(context, tiles), expected);
            if (scheduler != &parallelScheduler()) {
                EXPECT_NEAR(context.done, context.announced, 1e-6 * context.announced);
            }
            visits.push_back(flood.visits);
        }
        EXPECT_EQ(visits[0], visits[1]);
        EXPECT_EQ(visits[0], visits[2]);
        EXPECT_GE(visits[0], tiles.blockCount() * (c.extents[ROWS] > 1 ? 2 : 1));
    }
}

TEST(Exchange, NeverVisitsTilesThatTouchAtTheSameTime) {
    const Extents extents{90, 80, 40, 1, 1};
    const ScopedBlockBytes blocks(1024);
    for (const std::size_t axes : {std::size_t{2}, std::size_t{3}}) {
        const Plan tiles = cutTiles(extents, {axes, 1, 10.0});
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

TEST(Exchange, CutsTilesThatFitTheCache) {
    EXPECT_EQ(cutTiles({0, 3, 1, 1, 1}, {}).blockCount(), 0U);
    EXPECT_EQ(cutTiles({4096, 4096, 1, 1, 1}, {2, 2, 1.0}).largestPart(ROWS), 512U);
    EXPECT_EQ(cutTiles({4096, 100, 1, 1, 1}, {2, 2, 1.0}).largestPart(ROWS), 100U);
}

}  // namespace
}  // namespace rix::access
