#include "WatershedFlood.h"

#include <atomic>
#include <limits>

#include <rix/access/OrderedKeys.h>
#include <rix/access/Steps.h>
#include <rix/access/ValueRanks.h>

#include "MarkerFlood.h"

namespace rix::segmentation {

namespace {

constexpr double nanosecondsPerVoxel = 60.0;

/// The types whose keys have so many bytes.
template <std::size_t bytes>
using TypesOf = std::conditional_t<
    bytes == 1, access::TypeList<std::uint8_t, std::int8_t>,
    std::conditional_t<bytes == 2, access::TypeList<std::uint16_t, std::int16_t>,
                       std::conditional_t<bytes == 4, access::TypeList<std::uint32_t, std::int32_t, float>,
                                          access::TypeList<double>>>>;

/// Planes or volumes, each flooded by itself. @tparam Key those of the values
template <class Key, class Flood>
class ImageFlood {
public:
    ImageFlood(access::ExecutionContext& context, const FloodTask& task, const access::PaddedGrid& grid)
        : m_context(context),
          m_task(task),
          m_extents(helper::getExtents(task.relief)),
          m_grid(grid),
          m_parts(partCount(m_extents, task.neighbors.axes)) {}

    static constexpr std::size_t levels(const access::PaddedGrid& grid) {
        return Flood::takesRanks ? grid.voxels() : std::size_t{1} << (8 * std::min<std::size_t>(sizeof(Key), 2));
    }
    static std::size_t bytes(const access::PaddedGrid& grid, std::size_t threads) {
        return Flood::cellBytes(grid) +
               std::max(Flood::takesRanks ? access::ValueRanks<Key, typename Flood::Index>::bytes(grid) : 0,
                        Flood::floodBytes(grid, levels(grid), threads));
    }

    std::size_t run() {
        if (m_parts == 1) {
            const access::Steps steps = Flood::takesRanks ? access::Steps(m_context, {0.05, 0.15, 0.05, 0.7, 0.05})
                                                          : access::Steps(m_context, {0.05, 0.05, 0.85, 0.05});
            const access::Plan whole({m_grid.voxels(), 1, 1, 1, 1}, access::JoinedAxes::None);
            const PartRows rows(m_context, m_grid, true);
            floodPart(0, rows, m_context.maximumThreads(), [&](const auto& work) {
                access::run(m_context, whole,
                            [&](const access::Block&, access::BlockProgress& progress) { work(progress, &m_context); });
            });
            return m_unreached;
        }
        // The parts as rows.
        const access::Plan plan =
            access::cutBands({m_grid.voxels(), m_parts, 1, 1, 1}, {.nanosecondsPerVoxel = nanosecondsPerVoxel});
        access::run(m_context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
            const PartRows rows(m_context, m_grid, false);
            for (std::size_t part = block.rows().begin; part < block.rows().end; ++part) {
                floodPart(part, rows, 1, [&](const auto& work) { work(progress, nullptr); });
            }
        });
        return m_unreached;
    }

private:
    using Cell = typename Flood::Cell;
    using Label = typename Flood::Label;

    access::RowSegment segmentOf(std::size_t part, std::size_t row) const {
        return rowOfPart(m_extents, m_task.neighbors.axes, part, row);
    }

    /// @param inBlock calls what it is given with the progress of a block, and the run if its threads may take part
    template <class InBlock>
    void floodPart(std::size_t part, const PartRows& rows, std::size_t threads, const InBlock& inBlock) {
        Flood flood(m_grid);
        if constexpr (Flood::takesRanks) {
            const access::ValueRanks<Key, typename Flood::Index> ranks(m_grid);
            rows.forEach([&](std::size_t row) { readRow(flood, part, row, ranks.row(row)); });
            inBlock([&](access::BlockProgress&, access::ExecutionContext*) {
                ranks.forEach([&](std::size_t cell) { return flood.cells()[cell] != Flood::taken; },
                              [&](std::size_t cell, std::size_t rank) { flood.cells()[cell] = Flood::freeOf(rank); });
            });
        } else {
            rows.forEach([&](std::size_t row) { readRow(flood, part, row, nullptr); });
        }
        flood.prepare(levels(m_grid), threads);
        rows.forEach([&](std::size_t row) {
            readMarkers(flood, part, row);
            flood.countRow(row);
        });
        inBlock([&](access::BlockProgress& progress, access::ExecutionContext* shared) {
            flood.spread(m_task.lines, progress, shared);
        });
        rows.forEach([&](std::size_t row) { writeRow(flood, part, row); });
    }

    /// @param keys of values that are ranked later
    void readRow(const Flood& flood, std::size_t part, std::size_t row, Key* keys) const {
        const access::RowSegment segment = segmentOf(part, row);
        flood.clearMargin(row);
        Cell* const cells = flood.cells() + m_grid.cellOfRow(row);
        withRow(TypesOf<sizeof(Key)>{}, m_task.relief, segment, [&](const auto* samples) {
            for (std::size_t x = 0; x < segment.count; ++x) {
                const Key key = access::keyOf(samples[x]);
                if constexpr (Flood::takesRanks) {
                    keys[x] = key;
                    cells[x] = isNotANumber(samples[x]) ? Flood::taken : Flood::freeOf(0);
                } else {
                    cells[x] = Flood::freeOf(key);
                }
            }
        });
        forEachMasked(m_task.mask, segment, [&](std::size_t x) { cells[x] = Flood::taken; });
    }

    void readMarkers(const Flood& flood, std::size_t part, std::size_t row) const {
        flood.clearMarginOfLabels(row);
        readLabels(m_task.markers, segmentOf(part, row), flood.labels() + m_grid.cellOfRow(row));
    }

    void writeRow(const Flood& flood, std::size_t part, std::size_t row) {
        const std::size_t first = m_grid.cellOfRow(row);
        std::size_t unreached = 0;
        for (std::size_t cell = first; cell < first + m_grid.columns(); ++cell) {
            unreached += flood.isReached(cell) ? 0U : 1U;
            flood.labels()[cell] = flood.labelOf(cell);
        }
        writeLabels(m_task.output, segmentOf(part, row), flood.labels() + first);
        if (unreached != 0) {
            m_unreached += unreached;
        }
    }

    access::ExecutionContext& m_context;
    const FloodTask& m_task;
    Extents m_extents;
    const access::PaddedGrid& m_grid;
    std::size_t m_parts;
    std::atomic<std::size_t> m_unreached{0};
};

/// Calls `use(flood type, key)` with what floods an image.
template <class Use>
void dispatchFlood(const ImageModel& relief, const access::PaddedGrid& grid, const Use& use) {
    access::dispatch(access::Reals{}, relief.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        withFlood<sizeof(T)>(grid, [&](auto* none) { use(none, access::KeyOf<T>()); });
    });
}

}  // namespace

std::size_t floodFromMarkers(access::ExecutionContext& context, const FloodTask& task) {
    const access::PaddedGrid grid(helper::getExtents(task.relief), task.neighbors.axes, task.neighbors.farthest);
    std::size_t unreached = 0;
    dispatchFlood(task.relief, grid, [&](auto* none, auto key) {
        using Flood = std::remove_pointer_t<decltype(none)>;
        unreached = ImageFlood<decltype(key), Flood>(context, task, grid).run();
    });
    return unreached;
}

std::size_t floodFromMarkersBytes(const ImageModel& relief, const ImageModel* mask, const ImageModel* markers,
                                  const Neighbors& neighbors, std::size_t threads) {
    const Extents extents = helper::getExtents(relief);
    const access::PaddedGrid grid(extents, neighbors.axes, neighbors.farthest);
    const std::size_t parts = partCount(extents, neighbors.axes);
    const std::size_t together = std::min(threads, parts);
    std::size_t bytes = 0;
    dispatchFlood(relief, grid, [&](auto* none, auto key) {
        using Flood = std::remove_pointer_t<decltype(none)>;
        bytes = ImageFlood<decltype(key), Flood>::bytes(grid, parts == 1 ? threads : 1);
    });
    return together * bytes + threads * std::max(rowBytes(&relief) + rowBytes(mask), rowBytes(markers));
}

}  // namespace rix::segmentation
