#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include <rix/access/Exchange.h>
#include <rix/access/Looks.h>
#include <rix/access/Scratch.h>
#include <rix/image/ImageTypes.h>

#include "reconstruction/FloodKernels.h"

namespace rix::morphology {

using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

/// Where floods spread.
struct FloodSpace {
    std::size_t axes;  ///< 2: in each plane by itself; 3: in each volume
    int farthest;      ///< the squared distance of the farthest neighbours: 1 (4 or 6), 2 (8 or 18), 3 (26)
};

/// A place in a tile, from its first voxel on; -1 and the number of voxels are in the rim.
struct TilePlace {
    std::ptrdiff_t x;
    std::ptrdiff_t y;
    std::ptrdiff_t z;
};

/// Calls `use(step)` for the steps from a voxel to its neighbours, in the order of storage.
template <class Use>
void forEachStep(const FloodSpace& space, const Use& use) {
    const std::ptrdiff_t reach = space.axes == 3 ? 1 : 0;
    for (std::ptrdiff_t z = -reach; z <= reach; ++z) {
        for (std::ptrdiff_t y = -1; y <= 1; ++y) {
            for (std::ptrdiff_t x = -1; x <= 1; ++x) {
                const std::ptrdiff_t length = x * x + y * y + z * z;
                if (length > 0 && length <= space.farthest) {
                    use(TilePlace{x, y, z});
                }
            }
        }
    }
}

/// The cells of a tile: its voxels and around them a rim of one cell, which holds voxels of other tiles or lies beyond
/// the image. So the work in a tile asks for no edges.
class TileFrame {
public:
    TileFrame(const access::Block& block, const Extents& extents, const FloodSpace& space);
    /// The cells of the largest of some tiles.
    static TileFrame ofLargest(const access::Plan& tiles, const FloodSpace& space);

    std::size_t columns() const { return m_size[0]; }
    std::size_t rows() const { return m_size[1]; }
    std::size_t planes() const { return m_size[2]; }
    std::size_t voxels() const { return columns() * rows() * planes(); }
    std::size_t pitch() const { return columns() + 2; }
    std::size_t cells() const { return pitch() * (rows() + 2) * (planes() + 2 * m_rimPlanes); }
    std::size_t cellAt(const TilePlace& place) const {
        return static_cast<std::size_t>(
            ((place.z + static_cast<std::ptrdiff_t>(m_rimPlanes)) * static_cast<std::ptrdiff_t>(rows() + 2) + place.y +
             1) *
                static_cast<std::ptrdiff_t>(pitch()) +
            place.x + 1);
    }
    /// The tile in which a place lies.
    access::NeighbourSet sideOf(const TilePlace& place) const {
        const auto side = [](std::ptrdiff_t at, std::size_t length) {
            return at < 0 ? -1 : static_cast<std::size_t>(at) >= length ? 1 : 0;
        };
        return access::neighbourAt(side(place.x, columns()), side(place.y, rows()), side(place.z, planes()));
    }

    /// The neighbours of a cell, those before it in memory first.
    std::span<const std::ptrdiff_t> offsets() const { return {m_offsets.data(), m_neighbours}; }
    std::span<const TilePlace> steps() const { return {m_steps.data(), m_neighbours}; }
    /// The rows in which they lie but the cell's own, those before it first.
    std::span<const NeighbourRow> neighbourRows() const { return {m_rows.data(), m_rowCount}; }

    /// A row of cells, with its ends in the rim.
    struct Row {
        std::size_t cell;    ///< the first, in the rim
        std::size_t lead;    ///< cells before the first that lies in the image
        std::size_t count;   ///< cells in the image; 0 where the row lies beyond it
        std::size_t offset;  ///< of the first of them in the image, or of the nearest in an image's row
    };
    /// Calls `use(row)` for all rows, those of the rim included. @param clamped rows beyond the image stand for its
    /// nearest
    template <class Use>
    void forEachRow(bool clamped, const Use& use) const {
        const auto rim = static_cast<std::ptrdiff_t>(m_rimPlanes);
        for (std::ptrdiff_t z = -rim; z < static_cast<std::ptrdiff_t>(planes()) + rim; ++z) {
            for (std::ptrdiff_t y = -1; y <= static_cast<std::ptrdiff_t>(rows()); ++y) {
                use(rowAt(y, z, clamped));
            }
        }
    }
    /// Calls `use(cell, offset in the image)` for the first voxel of every row.
    template <class Use>
    void forEachRowOfVoxels(const Use& use) const {
        for (std::size_t z = 0; z < planes(); ++z) {
            for (std::size_t y = 0; y < rows(); ++y) {
                use(cellAt({0, static_cast<std::ptrdiff_t>(y), static_cast<std::ptrdiff_t>(z)}),
                    m_first + (z * m_extents[ROWS] + y) * m_extents[COLUMNS]);
            }
        }
    }
    /// Calls `use(place)` for every voxel with a neighbour in the rim.
    template <class Use>
    void forEachAtSides(const Use& use) const {
        const auto columnCount = static_cast<std::ptrdiff_t>(columns());
        const auto rowCount = static_cast<std::ptrdiff_t>(rows());
        const auto planeCount = static_cast<std::ptrdiff_t>(planes());
        for (std::ptrdiff_t z = 0; z < planeCount; ++z) {
            const bool isSide = m_rimPlanes != 0 && (z == 0 || z + 1 == planeCount);
            for (std::ptrdiff_t y = 0; y < rowCount; ++y) {
                const bool isWhole = isSide || y == 0 || y + 1 == rowCount;
                for (std::ptrdiff_t x = 0; x < columnCount; x += isWhole || columnCount == 1 ? 1 : columnCount - 1) {
                    use(TilePlace{x, y, z});
                }
            }
        }
    }

private:
    Row rowAt(std::ptrdiff_t y, std::ptrdiff_t z, bool clamped) const;
    void findNeighbours(const FloodSpace& space);

    Extents m_extents;
    std::array<std::size_t, 3> m_begin;
    std::array<std::size_t, 3> m_size;
    std::size_t m_rimPlanes;
    std::size_t m_first;  ///< the offset of the first voxel in the image
    std::array<std::ptrdiff_t, 26> m_offsets{};
    std::array<TilePlace, 26> m_steps{};
    std::size_t m_neighbours = 0;
    std::array<NeighbourRow, 8> m_rows{};
    std::size_t m_rowCount = 0;
};

/// A tile that is flooded: levels over a ground, and the cells whose neighbours are still to be lowered, first in,
/// first out, each at most once. What a neighbour leaves of a level is `offered` of the rule, which may ask on which of
/// the steps it lies.
template <class Rule>
class FloodTile {
public:
    using Level = typename Rule::Level;
    using Key = typename Rule::Key;

    explicit FloodTile(const TileFrame& frame, const Rule& rule = {})
        : m_rule(rule),
          m_frame(frame),
          m_levels(frame.cells() * sizeof(Level)),
          m_grounds(frame.cells() * sizeof(Key)),
          m_places(frame.cells()),
          m_queue((frame.voxels() + 1) * sizeof(std::uint32_t)),
          m_row(frame.pitch() * bytesInRows),
          m_last(frame.voxels()) {
        std::uint8_t* const places = m_places.as<std::uint8_t>();
        std::fill_n(places, frame.cells(), rim);
        frame.forEachRowOfVoxels(
            [&](std::size_t cell, std::size_t) { std::fill_n(places + cell, frame.columns(), idle); });
    }

    static std::size_t bytes(const TileFrame& frame) {
        using access::Scratch;
        return Scratch::held(frame.cells() * sizeof(Level)) + Scratch::held(frame.cells() * sizeof(Key)) +
               Scratch::held(frame.cells()) + Scratch::held((frame.voxels() + 1) * sizeof(std::uint32_t)) +
               Scratch::held(frame.pitch() * bytesInRows);
    }

    Level* levels() const { return m_levels.template as<Level>(); }
    Key* grounds() const { return m_grounds.template as<Key>(); }
    /// Room for two rows of keys, one of levels and one of marks.
    Key* rowOfKeys(std::size_t row) const { return m_row.template as<Key>() + row * m_frame.pitch(); }
    Level* rowOfLevels() const { return reinterpret_cast<Level*>(rowOfKeys(2)); }
    std::uint8_t* rowOfMarks() const { return reinterpret_cast<std::uint8_t*>(rowOfLevels() + m_frame.pitch()); }

    /// Lets the marked cells of a row wait.
    void pushMarked(std::size_t cell, const std::uint8_t* marks) {
        const std::size_t count = m_frame.columns();
        std::uint64_t eight = 0;
        for (std::size_t x = 0; x < count; x += sizeof eight) {
            const std::size_t some = std::min(count - x, sizeof eight);
            eight = 0;
            std::memcpy(&eight, marks + x, some);
            for (std::size_t i = 0; eight != 0 && i < some; ++i) {
                if (marks[x + i] != 0) {
                    push(cell + x + i);
                }
            }
        }
    }

    /// Lets a cell wait.
    void push(std::size_t cell) {
        if (places()[cell] != idle) {
            return;
        }
        places()[cell] = waiting;
        m_queue.template as<std::uint32_t>()[m_end] = static_cast<std::uint32_t>(cell);
        m_end = m_end == m_last ? 0 : m_end + 1;
    }

    /// How many voxels at the sides were lowered, and how many there are.
    struct Taken {
        std::size_t lowered = 0;
        std::size_t voxels = 0;
    };
    /// Lowers what lies at the sides to what the rim leaves of it.
    Taken take() {
        Taken taken;
        m_frame.forEachAtSides([&](const TilePlace& place) {
            const std::size_t cell = m_frame.cellAt(place);
            Level least = levels()[cell];
            for (std::size_t i = 0; i < m_frame.offsets().size(); ++i) {
                const std::size_t other = cell + static_cast<std::size_t>(m_frame.offsets()[i]);
                if (places()[other] == rim) {
                    least = std::min(least, offered(m_rule, levels()[other], grounds()[other], grounds()[cell], i));
                }
            }
            ++taken.voxels;
            if (least < levels()[cell]) {
                levels()[cell] = least;
                push(cell);
                ++taken.lowered;
            }
        });
        return taken;
    }

    /// @throws ExceptionCancelation when the run was asked to stop
    void spread() {
        // Copies, which no level that is stored could change.
        std::array<std::ptrdiff_t, 26> offsets{};
        const std::size_t neighbours = m_frame.offsets().size();
        std::copy_n(m_frame.offsets().begin(), neighbours, offsets.begin());
        Level* const level = levels();
        const Key* const ground = grounds();
        std::uint8_t* const place = places();
        std::uint32_t* const queue = m_queue.template as<std::uint32_t>();
        const Rule rule = m_rule;
        const std::size_t last = m_last;
        std::size_t begin = m_begin;
        std::size_t end = m_end;
        access::Looks looks;
        while (begin != end) {
            const std::size_t cell = queue[begin];
            begin = begin == last ? 0 : begin + 1;
            place[cell] = idle;
            looks.add(1);
            const Level own = level[cell];
            const Key from = ground[cell];
            for (std::size_t i = 0; i < neighbours; ++i) {
                const std::size_t other = cell + static_cast<std::size_t>(offsets[i]);
                const Level left = offered(rule, own, from, ground[other], i);
                if (left < level[other] && place[other] != rim) {
                    level[other] = left;
                    if (place[other] == idle) {
                        place[other] = waiting;
                        queue[end] = static_cast<std::uint32_t>(other);
                        end = end == last ? 0 : end + 1;
                    }
                }
            }
        }
        m_begin = begin;
        m_end = end;
    }

    /// The tiles around this one that can be lowered by it.
    access::NeighbourSet give() const {
        access::NeighbourSet given = 0;
        m_frame.forEachAtSides([&](const TilePlace& place) {
            const std::size_t cell = m_frame.cellAt(place);
            for (std::size_t i = 0; i < m_frame.offsets().size(); ++i) {
                const std::size_t other = cell + static_cast<std::size_t>(m_frame.offsets()[i]);
                if (places()[other] == rim &&
                    offered(m_rule, levels()[cell], grounds()[cell], grounds()[other], i) < levels()[other]) {
                    const TilePlace& step = m_frame.steps()[i];
                    given |= m_frame.sideOf({place.x + step.x, place.y + step.y, place.z + step.z});
                }
            }
        });
        return given;
    }

private:
    /// What is known of a cell.
    static constexpr std::uint8_t idle = 0;
    static constexpr std::uint8_t waiting = 1;
    static constexpr std::uint8_t rim = 2;

    static constexpr std::size_t bytesInRows = 2 * sizeof(Key) + sizeof(Level) + 1;

    std::uint8_t* places() const { return m_places.template as<std::uint8_t>(); }

    static Level offered(const Rule& rule, Level level, Key from, Key to, std::size_t step) {
        if constexpr (requires { rule.offered(level, from, to, step); }) {
            return rule.offered(level, from, to, step);
        } else {
            return Rule::offered(level, from, to);
        }
    }

    Rule m_rule;
    const TileFrame& m_frame;
    access::Scratch m_levels;
    access::Scratch m_grounds;
    access::Scratch m_places;
    access::Scratch m_queue;
    access::Scratch m_row;
    std::size_t m_last;  ///< place of the queue, which goes round
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

/// The most bytes of the tiles of a flood.
template <class Rule>
std::size_t floodTileBytes(const access::Plan& tiles, const FloodSpace& space, std::size_t threads) {
    // Tiles of one colour run together.
    std::size_t together = 1;
    for (std::size_t axis = 0; axis < RIX_COMPONENTS_SIZE; ++axis) {
        const std::size_t parts = tiles.parts(static_cast<Components>(axis));
        together *= axis < space.axes ? (parts + 1) / 2 : parts;
    }
    constexpr std::size_t perTile = 64;  // in the lists of tiles
    return (tiles.isSmall() ? 1 : std::min(threads, together)) *
               FloodTile<Rule>::bytes(TileFrame::ofLargest(tiles, space)) +
           tiles.blockCount() * perTile;
}

}  // namespace rix::morphology
