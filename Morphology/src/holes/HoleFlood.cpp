#include "HoleFlood.h"

#include <algorithm>
#include <cstdint>

#include <rix/access/Exchange.h>
#include <rix/access/Run.h>
#include <rix/simd/Loops.h>

#include "FloodOrder.h"
#include "FloodQueue.h"

namespace rix::morphology {

namespace {

using access::Block;
using access::NeighbourSet;

using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

constexpr double nanosecondsPerVoxel = 8.0;

/// Bytes that a visit touches of each voxel: both images and the queue.
access::ExchangeNeeds needsOf(std::size_t sampleBytes, const FloodSpace& space) {
    return {space.axes, 2 * sampleBytes + 5, nanosecondsPerVoxel};
}

/// A neighbour of a voxel.
struct Step {
    int x;
    int y;
    int z;
    std::ptrdiff_t offset;  ///< in samples
};

/// Lowers a row to what another row leaves of it.
template <bool corners, class T>
void lowerRow(T* row, const T* ground, const T* other, std::size_t count) {
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t x = 0; x < count; ++x) {
        T lowest = lowerOf(row[x], other[x]);
        if constexpr (corners) {
            lowest = lowerOf(lowest, lowerOf(*(other + x - 1), other[x + 1]));
        }
        row[x] = higherOf(lowest, ground[x]);
    }
}

/// Whether any voxel of `to` lies higher than what `from`, beside it, leaves of it.
template <class T>
bool isAnyLowered(const T* from, const T* to, const T* ground, std::size_t count) {
    unsigned any = 0;
    for (std::size_t x = 0; x < count; ++x) {
        any |= static_cast<unsigned>(isLower(higherOf(from[x], ground[x]), to[x]));
    }
    return any != 0;
}

template <class T>
class HoleFlood {
public:
    HoleFlood(const T* ground, T* level, const Extents& extents, const FloodSpace& space)
        : m_ground(ground), m_level(level), m_extents(extents), m_space(space) {
        const int planes = space.axes == 3 ? 1 : 0;
        for (int z = -planes; z <= planes; ++z) {
            for (int y = -1; y <= 1; ++y) {
                for (int x = -1; x <= 1; ++x) {
                    const int distance = x * x + y * y + z * z;
                    if (distance == 1 || (space.corners && distance > 1)) {
                        const auto row = static_cast<std::ptrdiff_t>(extents[COLUMNS]);
                        const auto plane = row * static_cast<std::ptrdiff_t>(extents[ROWS]);
                        m_steps[m_stepCount++] = {x, y, z, x + y * row + z * plane};
                    }
                }
            }
        }
    }

    /// Sets a tile to the highest level, and to the ground on the edges of the image.
    void start(const Block& block) const {
        block.forEachRow([&](const access::Position& at) {
            const std::size_t first = offsetOf(at);
            const std::size_t count = block.columns().length();
            const bool isEdge = isOnEdge(ROWS, at.row) || (m_space.axes == 3 && isOnEdge(PLANS, at.plane));
            for (std::size_t x = 0; x < count; ++x) {
                const T ground = m_ground[first + x];
                m_level[first + x] = isEdge ? ground : higherOf(floodTop<T>(), ground);
            }
            for (const std::size_t x : {std::size_t{0}, count - 1}) {
                if (isOnEdge(COLUMNS, at.column + x)) {
                    m_level[first + x] = m_ground[first + x];
                }
            }
        });
    }

    /// Brings a tile to rest with what lies around it. @return the tiles that must be visited for it
    NeighbourSet visit(const Block& block, bool isFirst) const {
        Tile tile(*this, block);
        if (tile.isEmpty()) {
            return 0;
        }
        if (isFirst) {
            tile.sweepDown();
            tile.sweepUp();
        } else {
            tile.take();
        }
        tile.spread();
        return tile.give();
    }

private:
    bool isOnEdge(std::size_t axis, std::size_t index) const { return index == 0 || index + 1 == m_extents[axis]; }
    std::size_t offsetOf(const access::Position& at) const {
        return (((at.spectral * m_extents[SEQUENCE] + at.sequence) * m_extents[PLANS] + at.plane) * m_extents[ROWS] +
                at.row) *
                   m_extents[COLUMNS] +
               at.column;
    }

    /// A tile at work. What lies on the edges of the image never changes, so that every voxel that may has all its
    /// neighbours; places count from the first of these.
    class Tile {
    public:
        Tile(const HoleFlood& flood, const Block& block)
            : m_flood(flood),
              m_inner(innerOf(flood, block)),
              m_open(openOf(flood, block)),
              m_queue(m_inner.columns().length(), m_inner.rows().length(), m_inner.planes().length()) {
            access::Position at{m_inner.columns().begin, m_inner.rows().begin, m_inner.planes().begin, block.sequence(),
                                block.spectral()};
            const std::size_t first = isEmpty() ? 0 : flood.offsetOf(at);
            m_ground = flood.m_ground + first;
            m_level = flood.m_level + first;
            m_row = flood.m_extents[COLUMNS];
            m_plane = m_row * flood.m_extents[ROWS];
        }

        bool isEmpty() const { return columns() == 0 || rows() == 0 || planes() == 0; }

        void sweepDown() {
            for (std::size_t z = 0; z < planes(); ++z) {
                for (std::size_t y = 0; y < rows(); ++y) {
                    T* const row = m_level + z * m_plane + y * m_row;
                    const T* const ground = m_ground + (row - m_level);
                    lowerFromRows(row, ground, -1);
                    T before = *(row - 1);
                    for (std::size_t x = 0; x < columns(); ++x) {
                        before = higherOf(lowerOf(row[x], before), ground[x]);
                        row[x] = before;
                    }
                }
            }
        }

        /// Back again; voxels from which one that was passed can still be lowered wait then.
        void sweepUp() {
            for (std::size_t z = planes(); z-- > 0;) {
                for (std::size_t y = rows(); y-- > 0;) {
                    T* const row = m_level + z * m_plane + y * m_row;
                    const T* const ground = m_ground + (row - m_level);
                    lowerFromRows(row, ground, 1);
                    T behind = row[columns()];
                    for (std::size_t x = columns(); x-- > 0;) {
                        behind = higherOf(lowerOf(row[x], behind), ground[x]);
                        row[x] = behind;
                    }
                    if (hasWork(y, z)) {
                        for (std::size_t x = 0; x < columns(); ++x) {
                            pushIfItLowers({x, y, z});
                        }
                    }
                }
            }
        }

        /// Lowers what lies at the sides to what other tiles leave of it.
        void take() {
            forEachAtSides([&](const TilePlace& place) {
                const std::size_t p = at(place);
                T lowest = m_level[p];
                forEachStep([&](const Step& step) {
                    if (sideOf(place, step) != 0) {
                        lowest = lowerOf(lowest, m_level[p + static_cast<std::size_t>(step.offset)]);
                    }
                });
                const T level = higherOf(lowest, m_ground[p]);
                if (isLower(level, m_level[p])) {
                    m_level[p] = level;
                    m_queue.push(place);
                }
            });
        }

        void spread() {
            while (!m_queue.isEmpty()) {
                const TilePlace place = m_queue.pop();
                const std::size_t p = at(place);
                forEachStep([&](const Step& step) {
                    const TilePlace next = moved(place, step);
                    if (!isInside(next)) {
                        return;
                    }
                    const std::size_t q = p + static_cast<std::size_t>(step.offset);
                    const T level = higherOf(m_level[p], m_ground[q]);
                    if (isLower(level, m_level[q])) {
                        m_level[q] = level;
                        m_queue.push(next);
                    }
                });
            }
        }

        NeighbourSet give() const {
            NeighbourSet given = 0;
            forEachAtSides([&](const TilePlace& place) {
                const std::size_t p = at(place);
                forEachStep([&](const Step& step) {
                    const NeighbourSet side = sideOf(place, step);
                    if (side != 0 && (given & side) == 0) {
                        const std::size_t q = p + static_cast<std::size_t>(step.offset);
                        given |= isLower(higherOf(m_level[p], m_ground[q]), m_level[q]) ? side : 0;
                    }
                });
            });
            return given;
        }

    private:
        /// What of a block may change: all but the edges of the image.
        static Block innerOf(const HoleFlood& flood, const Block& block) {
            Block inner = block;
            for (std::size_t axis = 0; axis < flood.m_space.axes; ++axis) {
                const access::Interval& all = block.axes[axis];
                const std::size_t begin = std::max<std::size_t>(all.begin, 1);
                inner.axes[axis] = {begin, std::max(begin, std::min(all.end, flood.m_extents[axis] - 1))};
            }
            return inner;
        }
        /// Which sides other tiles lie at: two bits an axis, the lower side first.
        static std::array<bool, 6> openOf(const HoleFlood& flood, const Block& block) {
            std::array<bool, 6> open{};
            for (std::size_t axis = 0; axis < flood.m_space.axes; ++axis) {
                open[2 * axis] = block.axes[axis].begin > 0;
                open[2 * axis + 1] = block.axes[axis].end < flood.m_extents[axis];
            }
            return open;
        }

        std::size_t columns() const { return m_inner.columns().length(); }
        std::size_t rows() const { return m_inner.rows().length(); }
        std::size_t planes() const { return m_inner.planes().length(); }
        std::size_t at(const TilePlace& place) const { return place.z * m_plane + place.y * m_row + place.x; }
        static TilePlace moved(const TilePlace& place, const Step& step) {
            return {place.x + static_cast<std::size_t>(step.x), place.y + static_cast<std::size_t>(step.y),
                    place.z + static_cast<std::size_t>(step.z)};
        }
        bool isInside(const TilePlace& place) const {
            return place.x < columns() && place.y < rows() && place.z < planes();
        }

        template <class Use>
        void forEachStep(const Use& use) const {
            for (std::size_t i = 0; i < m_flood.m_stepCount; ++i) {
                use(m_flood.m_steps[i]);
            }
        }

        /// The tile in which a step ends, when that is another; 0 on the edges of the image, which take nothing.
        NeighbourSet sideOf(const TilePlace& place, const Step& step) const {
            const auto side = [&](std::size_t axis, std::size_t from, std::size_t length, int by) {
                const bool leaves = from + static_cast<std::size_t>(by) >= length;
                return !leaves ? 0 : m_open[2 * axis + (by > 0 ? 1U : 0U)] ? by : 2;
            };
            const int x = side(0, place.x, columns(), step.x);
            const int y = side(1, place.y, rows(), step.y);
            const int z = side(2, place.z, planes(), step.z);
            return x == 2 || y == 2 || z == 2 || (x == 0 && y == 0 && z == 0) ? 0 : access::neighbourAt(x, y, z);
        }

        /// Voxels with a neighbour beyond the tile.
        template <class Use>
        void forEachAtSides(const Use& use) const {
            for (std::size_t z = 0; z < planes(); ++z) {
                const bool isSide = m_flood.m_space.axes == 3 && (z == 0 || z + 1 == planes());
                for (std::size_t y = 0; y < rows(); ++y) {
                    if (isSide || y == 0 || y + 1 == rows()) {
                        for (std::size_t x = 0; x < columns(); ++x) {
                            use(TilePlace{x, y, z});
                        }
                        continue;
                    }
                    use(TilePlace{0, y, z});
                    if (columns() > 1) {
                        use(TilePlace{columns() - 1, y, z});
                    }
                }
            }
        }

        /// Calls `use(rows, planes)` for each row of neighbours before a row in the order of a sweep.
        template <class Use>
        void forEachRowBefore(int direction, const Use& use) const {
            use(direction, 0);
            if (m_flood.m_space.axes == 3) {
                use(0, direction);
                if (m_flood.m_space.corners) {
                    use(-1, direction);
                    use(1, direction);
                }
            }
        }

        void lowerFromRows(T* row, const T* ground, int direction) const {
            forEachRowBefore(direction, [&](int y, int z) {
                const T* const other =
                    row + y * static_cast<std::ptrdiff_t>(m_row) + z * static_cast<std::ptrdiff_t>(m_plane);
                if (m_flood.m_space.corners) {
                    lowerRow<true>(row, ground, other, columns());
                } else {
                    lowerRow<false>(row, ground, other, columns());
                }
            });
        }

        /// Whether a voxel of a row can lower one that the sweep upwards has passed in this tile.
        bool hasWork(std::size_t y, std::size_t z) const {
            const T* const row = m_level + z * m_plane + y * m_row;
            bool any = isAnyLowered(row, row + 1, m_ground + (row + 1 - m_level), columns() - 1);
            forEachRowBefore(1, [&](int rowStep, int planeStep) {
                const TilePlace below = moved({0, y, z}, {0, rowStep, planeStep, 0});
                if (any || !isInside(below)) {
                    return;
                }
                const std::size_t other = at(below);
                any = isAnyLowered(row, m_level + other, m_ground + other, columns());
                if (m_flood.m_space.corners && columns() > 1) {
                    any = any || isAnyLowered(row + 1, m_level + other, m_ground + other, columns() - 1) ||
                          isAnyLowered(row, m_level + other + 1, m_ground + other + 1, columns() - 1);
                }
            });
            return any;
        }

        void pushIfItLowers(const TilePlace& place) {
            const std::size_t p = at(place);
            bool lowers = false;
            forEachStep([&](const Step& step) {
                const std::size_t q = p + static_cast<std::size_t>(step.offset);
                lowers =
                    lowers || (isInside(moved(place, step)) && isLower(higherOf(m_level[p], m_ground[q]), m_level[q]));
            });
            if (lowers) {
                m_queue.push(place);
            }
        }

        const HoleFlood& m_flood;
        Block m_inner;
        std::array<bool, 6> m_open;
        FloodQueue m_queue;
        const T* m_ground = nullptr;
        T* m_level = nullptr;
        std::size_t m_row = 0;
        std::size_t m_plane = 0;
    };

    const T* m_ground;
    T* m_level;
    Extents m_extents;
    FloodSpace m_space;
    std::array<Step, 26> m_steps{};
    std::size_t m_stepCount = 0;
};

}  // namespace

template <class T>
void floodHoles(access::ExecutionContext& context, const T* ground, T* level, const Extents& extents,
                const FloodSpace& space) {
    const access::Plan tiles = access::cutTiles(extents, needsOf(sizeof(T), space));
    const HoleFlood<T> flood(ground, level, extents, space);
    access::run(context, tiles, [&](const Block& block) { flood.start(block); });
    access::exchangeUntilStable(context, tiles, space.axes,
                                [&](const Block& block, bool isFirst) { return flood.visit(block, isFirst); });
}

std::size_t floodWorkingBytes(const Extents& extents, std::size_t sampleBytes, const FloodSpace& space,
                              std::size_t threads) {
    const access::Plan tiles = access::cutTiles(extents, needsOf(sampleBytes, space));
    // Tiles of one colour run together.
    std::size_t together = 1;
    for (int axis = COLUMNS; axis <= SPECTRAL_SERIES; ++axis) {
        const std::size_t parts = tiles.parts(static_cast<Components>(axis));
        together *= static_cast<std::size_t>(axis) < space.axes ? (parts + 1) / 2 : parts;
    }
    std::size_t voxels = 1;
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        voxels *= tiles.largestPart(axis);
    }
    constexpr std::size_t perTile = 64;          // in the lists of tiles
    constexpr std::size_t roundings = 2 * 4096;  // to pages
    return (tiles.isSmall() ? 1 : std::min(threads, together)) * (FloodQueue::bytes(voxels) + roundings) +
           tiles.blockCount() * perTile;
}

template void floodHoles(access::ExecutionContext&, const std::uint8_t*, std::uint8_t*, const Extents&,
                         const FloodSpace&);
template void floodHoles(access::ExecutionContext&, const std::uint16_t*, std::uint16_t*, const Extents&,
                         const FloodSpace&);
template void floodHoles(access::ExecutionContext&, const std::uint32_t*, std::uint32_t*, const Extents&,
                         const FloodSpace&);
template void floodHoles(access::ExecutionContext&, const std::int8_t*, std::int8_t*, const Extents&,
                         const FloodSpace&);
template void floodHoles(access::ExecutionContext&, const std::int16_t*, std::int16_t*, const Extents&,
                         const FloodSpace&);
template void floodHoles(access::ExecutionContext&, const std::int32_t*, std::int32_t*, const Extents&,
                         const FloodSpace&);
template void floodHoles(access::ExecutionContext&, const float*, float*, const Extents&, const FloodSpace&);
template void floodHoles(access::ExecutionContext&, const double*, double*, const Extents&, const FloodSpace&);

}  // namespace rix::morphology
