#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include <rix/access/PaddedGrid.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>

#include "LevelQueue.h"

namespace rix::segmentation {

/// The flood of a plane or volume from markers, by a hierarchical queue (F. Meyer, 1994): a cell takes its label when
/// it is first reached, from the cell that reaches it, and waits then for the larger of that cell's level and its own
/// value.
///
/// Where values are few and much waits at one level, threads take the cells that wait together in slabs, each some
/// parts of them that follow one another. They say of the free neighbours of their cells by which part these are
/// reached; the first part has them; and what was reached waits behind, in the order of what reached it. So the result
/// is the same as if one after another had been taken.
///
/// Use: fill the cells of all rows (`clearMargin`, `cells`), `prepare`, fill the labels, `countRow` for each row,
/// `spread`, read what is `labelOf`.
/// @tparam CellType holds values below marks of what is free
/// @tparam ranked whether values are ranks (see `LevelQueue`)
template <class CellType, class IndexType, bool ranked>
class MarkerFlood {
public:
    using Cell = CellType;
    using Index = IndexType;
    using Label = std::uint32_t;
    static constexpr bool takesRanks = ranked;
    /// Whether threads may take part: with values of one byte.
    static constexpr bool isSharable = sizeof(Cell) == 2;
    /// A cell that nothing reaches, or that was.
    static constexpr Cell taken = 0;
    /// A cell with a value that can be reached.
    static constexpr Cell freeOf(std::size_t value) { return static_cast<Cell>(unclaimed | value); }

    explicit MarkerFlood(const access::PaddedGrid& grid) : m_grid(grid), m_cellMemory(grid.cells() * sizeof(Cell)) {}

    /// The bytes of the cells, and of what `prepare` takes. @param levels how many values there may be
    static std::size_t cellBytes(const access::PaddedGrid& grid) {
        return access::Scratch::held(grid.cells() * sizeof(Cell));
    }
    static std::size_t floodBytes(const access::PaddedGrid& grid, std::size_t levels, std::size_t threads) {
        return access::Scratch::held(grid.cells() * sizeof(Label)) +
               LevelQueue<Index, ranked>::bytes(grid.voxels(), levels) +
               (isShared(grid, threads) ? access::Scratch::held(reachedBytes(grid)) : 0);
    }

    Cell* cells() const { return m_cellMemory.as<Cell>(); }
    void clearMargin(std::size_t row) const {
        m_grid.forMarginOf(
            row, [&](std::size_t begin, std::size_t end) { std::fill(cells() + begin, cells() + end, taken); });
    }

    /// Call when the cells hold values. @param levels no value is as large
    void prepare(std::size_t levels, std::size_t threads);
    /// Rows may be counted by several threads.
    void countRow(std::size_t row);
    /// 0 where there is no marker; also for cells that are `taken`.
    Label* labels() const { return m_labelMemory.as<Label>(); }
    void clearMarginOfLabels(std::size_t row) const {
        m_grid.forMarginOf(
            row, [&](std::size_t begin, std::size_t end) { std::fill(labels() + begin, labels() + end, Label{0}); });
    }

    /// @param lines whether what is reached from several labels belongs to none of them
    /// @param shared the run, whose threads may take part; null for this one alone
    void spread(bool lines, access::BlockProgress& progress, access::ExecutionContext* shared);

    bool isReached(std::size_t cell) const { return cells()[cell] == taken; }
    Label labelOf(std::size_t cell) const { return isReached(cell) ? labels()[cell] : 0; }

private:
    struct Reached {
        Index cell;
        Label label;  ///< when that is given, the value
    };
    static constexpr std::size_t fewLevels = 256;
    /// What a thread found of its part of a slab.
    struct Part {
        Reached* reached = nullptr;
        std::size_t count = 0;
        std::array<Index, fewLevels> ofLevels{};  ///< how many will wait for which level; then where
    };

    /// Of cells that are free. Of sharable ones also what part claims them lies above the value.
    static constexpr Cell freeBit = static_cast<Cell>(Cell{1} << (8 * sizeof(Cell) - 1));
    static constexpr Cell unclaimed = isSharable ? static_cast<Cell>(0xFF00U) : freeBit;
    static constexpr Cell claimUnit = 0x100;
    static constexpr std::size_t valueOf(Cell cell) { return static_cast<Cell>(cell & static_cast<Cell>(~unclaimed)); }

    static constexpr std::size_t partCells = 2048;
    static constexpr std::size_t mostParts = 16;
    static constexpr std::size_t leastShared = 2 * partCells;
    static constexpr std::size_t piece = 4096;
    static constexpr std::size_t ahead = 12;  // cells: what lies anywhere is asked for in time
    static constexpr double nanosecondsPerCell = 40.0;

    /// The parts of a slab: what they find shall take no more than the rest.
    static std::size_t slabParts(const access::PaddedGrid& grid) {
        return std::min(mostParts, grid.voxels() / (2 * partCells * grid.neighborCount()));
    }
    static bool isShared(const access::PaddedGrid& grid, std::size_t threads) {
        return isSharable && threads > 1 && slabParts(grid) > 1;
    }
    static std::size_t reachedBytes(const access::PaddedGrid& grid) {
        return slabParts(grid) * partCells * grid.neighborCount() * sizeof(Reached);
    }

    void countAll();
    void pushMarkers();
    void pushMarker(std::size_t cell);
    template <std::size_t count>
    void spreadAll(bool lines, access::BlockProgress& progress, access::ExecutionContext* shared);
    template <std::size_t count>
    void spreadSome(std::size_t cells);
    template <std::size_t count>
    void spreadWithLines(std::size_t cells);
    template <std::size_t count>
    void spreadShared(std::size_t cells, access::ExecutionContext& shared);
    template <std::size_t count>
    void claim(std::size_t begin, std::size_t end, std::size_t number);
    void settle(std::size_t number);
    void placeParts(std::size_t parts);
    void append(Part& part) const;
    template <std::size_t count>
    unsigned freeAround(std::size_t cell) const;
    template <std::size_t count>
    void ask(std::size_t cell) const;

    const access::PaddedGrid& m_grid;
    access::Scratch m_cellMemory;
    access::Scratch m_labelMemory;
    access::Scratch m_reachedMemory;
    std::optional<LevelQueue<Index, ranked>> m_queue;
    std::size_t m_level = 0;
    std::array<Part, mostParts> m_parts;
    bool m_isShared = false;
};

/// Calls `use(flood type)` with what floods a grid of values of so many bytes: those of one and two bytes as they are,
/// of others their ranks.
template <std::size_t valueBytes, class Use>
auto withFlood(const access::PaddedGrid& grid, const Use& use) {
    const bool isSmall = grid.cells() < std::size_t{1} << 31;
    if constexpr (valueBytes == 1) {
        using Narrow = MarkerFlood<std::uint16_t, std::uint32_t, false>;
        using Wide = MarkerFlood<std::uint16_t, std::uint64_t, false>;
        return isSmall ? use(static_cast<Narrow*>(nullptr)) : use(static_cast<Wide*>(nullptr));
    } else if constexpr (valueBytes == 2) {
        using Narrow = MarkerFlood<std::uint32_t, std::uint32_t, false>;
        using Wide = MarkerFlood<std::uint32_t, std::uint64_t, false>;
        return isSmall ? use(static_cast<Narrow*>(nullptr)) : use(static_cast<Wide*>(nullptr));
    } else {
        using Narrow = MarkerFlood<std::uint32_t, std::uint32_t, true>;
        using Wide = MarkerFlood<std::uint64_t, std::uint64_t, true>;
        return isSmall ? use(static_cast<Narrow*>(nullptr)) : use(static_cast<Wide*>(nullptr));
    }
}

}  // namespace rix::segmentation
