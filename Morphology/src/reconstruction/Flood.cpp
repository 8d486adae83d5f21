#include "reconstruction/Flood.h"

#include <cstdint>

#include <rix/access/Exchange.h>
#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>

namespace rix::morphology {

namespace {

using access::Block;
using access::NeighbourSet;

constexpr double nanosecondsPerVoxel = 20.0;

/// Levels sink to the ground of where they go.
template <class K>
struct Sinking {
    using Key = K;
    using Level = K;
    static Level offered(Level level, Key /*from*/, Key to) { return std::max(level, to); }
};

/// What is known goes through plateaus.
template <class K>
struct Telling {
    using Key = K;
    using Level = std::uint8_t;
    static Level offered(Level state, Key from, Key to) {
        return from == to ? state : static_cast<Level>(NothingBeside);
    }
};

/// Brings keys into a tile, with its rim. @param beyond the key outside the image; none: that of the nearest voxel
template <class T>
void loadKeys(const ElementKernels<T>& kernels, const TileFrame& frame, const T* samples, KeyOf<T>* cells,
              const KeyOf<T>* beyond) {
    frame.forEachRow(beyond == nullptr, [&](const TileFrame::Row& row) {
        KeyOf<T>* const to = cells + row.cell;
        kernels.encode(samples + row.offset, to + row.lead, row.count);
        const std::size_t behind = row.count == 0 ? 0 : row.lead + row.count;
        std::fill_n(to, row.count == 0 ? 0 : row.lead, beyond != nullptr ? *beyond : to[row.lead]);
        std::fill_n(to + behind, frame.pitch() - behind, beyond != nullptr ? *beyond : to[behind - 1]);
    });
}

template <class T>
class Flood {
public:
    using Key = KeyOf<T>;
    using Tile = FloodTile<Sinking<Key>>;

    Flood(const FloodImages<T>& images, Extremum extremum, const FloodSpace& space, OptimLevelType level)
        : m_images(images),
          m_space(space),
          m_elements(elementKernels<T>(extremum, level)),
          m_kernels(floodKernels<Key>(level)) {}

    /// Brings a tile to rest with what lies around it. @return the tiles that must be visited for it
    NeighbourSet visit(const Block& block, bool isFirst) const {
        const TileFrame frame(block, m_images.extents, m_space);
        Tile tile(frame);
        loadKeys(m_elements, frame, m_images.ground, tile.grounds(), &nothing<Key>);
        loadKeys(m_elements, frame, m_images.levels, tile.levels(), &nothing<Key>);
        const auto taken = isFirst ? typename Tile::Taken() : tile.take();
        if (!isFirst && taken.lowered == 0) {
            return 0;
        }
        if (isFirst || taken.lowered * 4 > taken.voxels) {  // what comes from all sides goes far
            sweep(frame, tile);
            settle(frame, tile);
        }
        tile.spread();
        frame.forEachRowOfVoxels([&](std::size_t cell, std::size_t offset) {
            m_elements.decode(tile.levels() + cell, m_images.levels + offset, frame.columns());
        });
        return tile.give();
    }

private:
    /// Through all rows and back.
    void sweep(const TileFrame& frame, const Tile& tile) const {
        const auto rows = frame.neighbourRows();
        const auto before = rows.first(rows.size() / 2);
        const auto behind = rows.last(rows.size() / 2);
        const std::size_t count = frame.rows() * frame.planes();
        const auto cellOf = [&](std::size_t row) {
            return frame.cellAt(
                {0, static_cast<std::ptrdiff_t>(row % frame.rows()), static_cast<std::ptrdiff_t>(row / frame.rows())});
        };
        for (std::size_t row = 0; row < count; ++row) {
            Key* const levels = tile.levels() + cellOf(row);
            const Key* const grounds = tile.grounds() + cellOf(row);
            for (const NeighbourRow& other : before) {
                m_kernels.lowerFromRow(levels, grounds, other, frame.columns());
            }
            m_kernels.lowerForth(levels, grounds, frame.columns());
        }
        for (std::size_t row = count; row-- > 0;) {
            Key* const levels = tile.levels() + cellOf(row);
            const Key* const grounds = tile.grounds() + cellOf(row);
            for (const NeighbourRow& other : behind) {
                m_kernels.lowerFromRow(levels, grounds, other, frame.columns());
            }
            m_kernels.lowerBack(levels, grounds, frame.columns());
        }
    }

    /// What sinks once more waits.
    void settle(const TileFrame& frame, Tile& tile) const {
        const auto rows = frame.neighbourRows();
        frame.forEachRowOfVoxels([&](std::size_t cell, std::size_t) {
            if (m_kernels.settle(tile.levels() + cell, tile.grounds() + cell, rows.data(), rows.size(),
                                 tile.rowOfLevels(), tile.rowOfMarks(), frame.columns())) {
                tile.pushMarked(cell, tile.rowOfMarks());
            }
        });
    }

    FloodImages<T> m_images;
    FloodSpace m_space;
    ElementKernels<T> m_elements;
    FloodKernels<Key> m_kernels;
};

/// Finds plateaus of which nothing lies on the one side, by telling each voxel of a plateau what any of them has
/// beside it.
template <class T>
class ExtremaSearch {
public:
    using Key = KeyOf<T>;
    using Tile = FloodTile<Telling<Key>>;

    ExtremaSearch(const T* voxels, std::uint8_t* states, const Extents& extents, Extremum extremum,
                  const FloodSpace& space, OptimLevelType level)
        : m_voxels(voxels),
          m_states(states),
          m_extents(extents),
          m_space(space),
          m_elements(elementKernels<T>(extremum, level)),
          m_kernels(floodKernels<Key>(level)) {}

    NeighbourSet visit(const Block& block, bool isFirst) const {
        const TileFrame frame(block, m_extents, m_space);
        Tile tile(frame);
        loadKeys<T>(m_elements, frame, m_voxels, tile.grounds(), nullptr);
        frame.forEachRow(false, [&](const TileFrame::Row& row) {
            std::uint8_t* const to = tile.levels() + row.cell;
            std::fill_n(to, frame.pitch(), static_cast<std::uint8_t>(NothingBeside));
            std::copy_n(m_states + row.offset, row.count, to + row.lead);
        });
        const auto rows = frame.neighbourRows();
        if (isFirst) {
            frame.forEachRowOfVoxels([&](std::size_t cell, std::size_t) {
                m_kernels.compare(tile.grounds() + cell, rows.data(), rows.size(), std::is_floating_point_v<T>,
                                  tile.rowOfKeys(0), tile.rowOfKeys(1), tile.levels() + cell, frame.columns());
            });
            frame.forEachRowOfVoxels([&](std::size_t cell, std::size_t) {
                if (m_kernels.settleStates(tile.levels() + cell, tile.grounds() + cell, rows.data(), rows.size(),
                                           tile.rowOfLevels(), tile.rowOfMarks(), frame.columns())) {
                    tile.pushMarked(cell, tile.rowOfMarks());
                }
            });
        } else if (tile.take().lowered == 0) {
            return 0;
        }
        tile.spread();
        frame.forEachRowOfVoxels([&](std::size_t cell, std::size_t offset) {
            std::copy_n(tile.levels() + cell, frame.columns(), m_states + offset);
        });
        return tile.give();
    }

private:
    const T* m_voxels;
    std::uint8_t* m_states;
    Extents m_extents;
    FloodSpace m_space;
    ElementKernels<T> m_elements;
    FloodKernels<Key> m_kernels;
};

}  // namespace

access::Plan floodTiles(const Extents& extents, std::size_t sampleBytes, const FloodSpace& space) {
    // Both images, both as keys, places and queue.
    return access::cutTiles(extents, {space.axes, 4 * sampleBytes + 5, nanosecondsPerVoxel});
}

template <class T>
void flood(access::ExecutionContext& context, const FloodImages<T>& images, Extremum extremum, const FloodSpace& space,
           OptimLevelType level) {
    const Flood<T> work(images, extremum, space, level);
    access::exchangeUntilStable(context, floodTiles(images.extents, sizeof(T), space), space.axes,
                                [&](const Block& block, bool isFirst) { return work.visit(block, isFirst); });
}

template <class T>
void markExtrema(access::ExecutionContext& context, const T* voxels, std::uint8_t* marks, const Extents& extents,
                 Extremum extremum, const FloodSpace& space, OptimLevelType level) {
    const access::Steps steps(context, {0.05, 0.9, 0.05});
    forEachRowOf(context, extents, sizeof(T), [&](const access::RowSegment& segment, std::size_t offset) {
        std::fill_n(marks + offset, segment.count, static_cast<std::uint8_t>(NothingBeside));
    });
    const ExtremaSearch<T> work(voxels, marks, extents, extremum, space, level);
    access::exchangeUntilStable(context, floodTiles(extents, sizeof(T), space), space.axes,
                                [&](const Block& block, bool isFirst) { return work.visit(block, isFirst); });
    forEachRowOf(context, extents, sizeof(T), [&](const access::RowSegment& segment, std::size_t offset) {
        for (std::size_t i = offset; i < offset + segment.count; ++i) {
            marks[i] = marks[i] == HigherBeside ? 1 : 0;
        }
    });
}

std::size_t floodBytes(const Extents& extents, VoxelTypes type, const FloodSpace& space, std::size_t threads) {
    std::size_t bytes = 0;
    access::dispatch(access::Reals{}, type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        bytes = floodTileBytes<Sinking<KeyOf<T>>>(floodTiles(extents, sizeof(T), space), space, threads);
    });
    return bytes;
}

std::size_t extremaSearchBytes(const Extents& extents, VoxelTypes type, const FloodSpace& space, std::size_t threads) {
    std::size_t bytes = 0;
    access::dispatch(access::Reals{}, type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        bytes = floodTileBytes<Telling<KeyOf<T>>>(floodTiles(extents, sizeof(T), space), space, threads);
    });
    return bytes;
}

#define RIX_INSTANTIATE(T)                                                                                  \
    template void flood(access::ExecutionContext&, const FloodImages<T>&, Extremum, const FloodSpace&,      \
                        OptimLevelType);                                                                    \
    template void markExtrema(access::ExecutionContext&, const T*, std::uint8_t*, const Extents&, Extremum, \
                              const FloodSpace&, OptimLevelType);
RIX_INSTANTIATE(std::uint8_t)
RIX_INSTANTIATE(std::int8_t)
RIX_INSTANTIATE(std::uint16_t)
RIX_INSTANTIATE(std::int16_t)
RIX_INSTANTIATE(std::uint32_t)
RIX_INSTANTIATE(std::int32_t)
RIX_INSTANTIATE(float)
RIX_INSTANTIATE(double)
#undef RIX_INSTANTIATE

}  // namespace rix::morphology
