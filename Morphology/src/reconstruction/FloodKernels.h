#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::morphology {

/// A row beside another one: where it lies, in cells of a tile, and whether cells touch the three around their place in
/// it or only the nearest.
struct NeighbourRow {
    std::ptrdiff_t offset;
    bool isWide;
};

/// What a plateau knows of its surroundings, the most telling lowest. Voxels of a plateau tell each other.
enum PlateauState : std::uint8_t { LowerBeside = 0, HigherBeside = 1, NothingBeside = 2 };

/// Rows of keys (see `KeyOf`), each with a cell beyond both ends.
template <class Key>
struct FloodKernels {
    /// Lowers levels to what the row beside them leaves: max(ground, that).
    void (*lowerFromRow)(Key* levels, const Key* grounds, const NeighbourRow& row, std::size_t count);
    /// The same along the row, from the cell before the first, and from the one behind the last.
    void (*lowerForth)(Key* levels, const Key* grounds, std::size_t count);
    void (*lowerBack)(Key* levels, const Key* grounds, std::size_t count);
    /// Lowers levels once to what all their neighbours leave. @param least room for a row
    /// @param marks 1 where that changed a level, else 0 @return whether any changed
    bool (*settle)(Key* levels, const Key* grounds, const NeighbourRow* rows, std::size_t rowCount, Key* least,
                   std::uint8_t* marks, std::size_t count);

    /// The states of voxels by their neighbours. A key of NaN has none and counts for none.
    /// @param least, largest room for rows
    void (*compare)(const Key* keys, const NeighbourRow* rows, std::size_t rowCount, bool hasNaN, Key* least,
                    Key* largest, std::uint8_t* states, std::size_t count);
    /// Tells voxels once what neighbours of the same key know; like `settle`.
    bool (*settleStates)(std::uint8_t* states, const Key* keys, const NeighbourRow* rows, std::size_t rowCount,
                         std::uint8_t* least, std::uint8_t* marks, std::size_t count);
};

template <class Key>
FloodKernels<Key> floodKernels(OptimLevelType level);

}  // namespace rix::morphology
