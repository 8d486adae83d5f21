#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

#include <rix/access/Looks.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>

#include "areas/AreaGrid.h"

namespace rix::morphology {

/// Digits that voxels are sorted by, one after another.
template <class Key>
inline constexpr unsigned digitBits = sizeof(Key) <= 2 ? 8 * sizeof(Key) : 11;

/// The area opening of keys, the higher the brighter: every voxel gets the highest level at which it lies in a
/// connected set, of that level or higher, of enough voxels.
///
/// Voxels are taken from the highest level down, and join with those of their neighbours that were before them to
/// trees, whose root is the voxel taken last and whose level is that of the root (M. H. F. Wilkinson, J. B. T. M.
/// Roerdink, 2000, after R. E. Tarjan, 1975). A tree that is large enough keeps its level and grows no more: what meets
/// it is large enough, too.
/// @tparam Key an unsigned integer; the largest is that of walls
/// @tparam Index an unsigned integer that holds twice the number of cells
template <class Key, class Index>
class AreaLevels {
public:
    static constexpr Key wall = std::numeric_limits<Key>::max();

    /// @param hasWalls whether the largest key is that of walls
    AreaLevels(const AreaGrid& grid, bool hasWalls)
        : m_grid(grid),
          m_hasWalls(hasWalls),
          m_keyMemory(grid.cells() * sizeof(Key)),
          m_stateMemory(grid.cells() * sizeof(Index)),
          m_orderMemory(grid.voxels() * sizeof(Index)),
          m_otherMemory(sizeof(Key) > 2 ? access::Scratch(grid.voxels() * sizeof(Index)) : access::Scratch()),
          m_countMemory((std::size_t{1} << digitBits<Key>)*sizeof(std::size_t)) {}

    /// The bytes that it holds.
    static std::size_t bytes(const AreaGrid& grid) {
        using access::Scratch;
        return Scratch::held(grid.cells() * sizeof(Key)) + Scratch::held(grid.cells() * sizeof(Index)) +
               (sizeof(Key) > 2 ? 2 : 1) * Scratch::held(grid.voxels() * sizeof(Index)) +
               Scratch::held((std::size_t{1} << digitBits<Key>)*sizeof(std::size_t));
    }

    /// The keys of a row of voxels, to be set before and read after.
    Key* row(std::size_t row) const { return keys() + m_grid.cellOfRow(row); }

    /// @param least voxels of a set that is large enough
    /// @param rest the level of what lies in no such set; if there is none, the lowest of what is connected with it
    void open(std::size_t least, std::optional<Key> rest, access::BlockProgress& progress) {
        const std::size_t count = sortVoxels();
        const Index enough = static_cast<Index>(std::min(std::max<std::size_t>(least, 1), m_grid.voxels() + 1));
        join(count, enough, progress);
        level(count, enough, rest);
    }

private:
    /// What is known of a cell: that of a root is its number of voxels with this bit; that of another voxel is a cell
    /// nearer to its root. Cells that were not taken have all bits.
    static constexpr Index rootBit = static_cast<Index>(Index{1} << (8 * sizeof(Index) - 1));
    static constexpr Index notTaken = std::numeric_limits<Index>::max();
    static constexpr std::size_t buckets = std::size_t{1} << digitBits<Key>;
    static constexpr std::size_t ahead = 24;  // voxels: what lies anywhere is asked for in time
    static constexpr std::size_t piece = 4096;

    Key* keys() const { return m_keyMemory.as<Key>(); }
    Index* states() const { return m_stateMemory.as<Index>(); }

    /// Brings the voxels that are no walls into order, those of the highest keys first, equal ones as they are stored.
    /// @return how many there are
    std::size_t sortVoxels() {
        m_order = m_orderMemory.as<Index>();
        const std::size_t count = sortRows();
        Index* other = m_otherMemory.as<Index>();
        for (unsigned shift = digitBits<Key>; shift < 8 * sizeof(Key); shift += digitBits<Key>) {
            if (sortByDigit(count, shift, m_order, other)) {
                std::swap(m_order, other);
            }
        }
        return count;
    }

    static std::size_t bucketOf(Key key, unsigned shift) {
        return (buckets - 1) - (static_cast<std::size_t>(key >> shift) & (buckets - 1));
    }

    /// Turns counts of buckets to their beginnings. @return whether all is in one bucket
    bool beginBuckets(std::size_t count) {
        auto* const starts = m_countMemory.as<std::size_t>();
        std::size_t before = 0;
        bool isOne = false;
        for (std::size_t i = 0; i < buckets; ++i) {
            isOne = isOne || starts[i] == count;
            before += std::exchange(starts[i], before);
        }
        return isOne;
    }

    /// By the lowest digit, from the rows.
    std::size_t sortRows() {
        auto* const starts = m_countMemory.as<std::size_t>();
        std::fill_n(starts, buckets, 0);
        access::Looks looks;
        std::size_t count = 0;
        forEachVoxel(looks, [&](std::size_t, Key key) {
            ++starts[bucketOf(key, 0)];
            ++count;
        });
        beginBuckets(count);
        forEachVoxel(
            looks, [&](std::size_t cell, Key key) { m_order[starts[bucketOf(key, 0)]++] = static_cast<Index>(cell); });
        return count;
    }

    template <class Use>
    void forEachVoxel(access::Looks& looks, const Use& use) const {
        for (std::size_t y = 0; y < m_grid.rows(); ++y) {
            const std::size_t first = m_grid.cellOfRow(y);
            for (std::size_t begin = 0; begin < m_grid.columns(); begin += piece) {
                const std::size_t end = std::min(begin + piece, m_grid.columns());
                for (std::size_t cell = first + begin; cell < first + end; ++cell) {
                    if (const Key key = keys()[cell]; !m_hasWalls || key != wall) {
                        use(cell, key);
                    }
                }
                looks.add((end - begin) / 16 + 1);
            }
        }
    }

    /// @return whether it was needed
    bool sortByDigit(std::size_t count, unsigned shift, const Index* from, Index* to) {
        auto* const starts = m_countMemory.as<std::size_t>();
        std::fill_n(starts, buckets, 0);
        access::Looks looks;
        inPieces(count, looks, [&](std::size_t i) { ++starts[bucketOf(keyAt(from, i, count), shift)]; });
        if (beginBuckets(count)) {
            return false;
        }
        inPieces(count, looks, [&](std::size_t i) { to[starts[bucketOf(keyAt(from, i, count), shift)]++] = from[i]; });
        return true;
    }
    Key keyAt(const Index* order, std::size_t i, std::size_t count) const {
        __builtin_prefetch(keys() + order[std::min(i + ahead, count - 1)]);
        return keys()[order[i]];
    }
    template <class Use>
    static void inPieces(std::size_t count, access::Looks& looks, const Use& use) {
        for (std::size_t begin = 0; begin < count; begin += piece) {
            const std::size_t end = std::min(begin + piece, count);
            for (std::size_t i = begin; i < end; ++i) {
                use(i);
            }
            looks.add((end - begin) / 8 + 1);
        }
    }

    Index rootOf(Index cell) const {
        Index* const state = states();
        while (true) {
            const Index next = state[cell];
            if ((next & rootBit) != 0) {
                return cell;
            }
            const Index after = state[next];
            if ((after & rootBit) != 0) {
                return next;
            }
            state[cell] = after;
            cell = after;
        }
    }

    void join(std::size_t count, Index enough, access::BlockProgress& progress) const {
        Index* const state = states();
        access::Looks looks;
        for (std::size_t begin = 0; begin < m_grid.cells(); begin += piece) {
            std::fill_n(state + begin, std::min(piece, m_grid.cells() - begin), notTaken);
            looks.add(piece / 64);
        }
        for (std::size_t begin = 0; begin < count; begin += piece) {
            const std::size_t end = std::min(begin + piece, count);
            for (std::size_t i = begin; i < end; ++i) {
                __builtin_prefetch(state + m_order[std::min(i + ahead, count - 1)], 1);
                take(m_order[i], enough);
            }
            progress.add(end - begin);
        }
    }

    void take(Index cell, Index enough) const {
        Index* const state = states();
        Index size = 1;
        state[cell] = rootBit;
        for (std::size_t i = 0; i < m_grid.neighborCount(); ++i) {
            const auto neighbor = static_cast<Index>(static_cast<std::ptrdiff_t>(cell) + m_grid.neighbors()[i]);
            if (state[neighbor] == notTaken) {
                continue;
            }
            const Index root = rootOf(neighbor);
            if (root == cell) {
                continue;
            }
            const auto others = static_cast<Index>(state[root] & ~rootBit);
            if (others < enough) {
                state[root] = cell;
            }
            size = std::min(static_cast<Index>(size + others), enough);
        }
        state[cell] = size | rootBit;
    }

    /// Gives voxels the key of what they belong to, which has it already: it was taken later.
    void level(std::size_t count, Index enough, std::optional<Key> rest) const {
        const Index* const state = states();
        access::Looks looks;
        inPieces(count, looks, [&](std::size_t i) {
            const Index cell = m_order[count - 1 - i];
            __builtin_prefetch(state + m_order[count - 1 - std::min(i + ahead, count - 1)]);
            const Index of = state[cell];
            if ((of & rootBit) == 0) {
                keys()[cell] = keys()[of];
            } else if (rest && (of & ~rootBit) < enough) {
                keys()[cell] = *rest;
            }
        });
    }

    const AreaGrid& m_grid;
    bool m_hasWalls;
    access::Scratch m_keyMemory;
    access::Scratch m_stateMemory;
    access::Scratch m_orderMemory;
    access::Scratch m_otherMemory;
    access::Scratch m_countMemory;
    Index* m_order = nullptr;
};

}  // namespace rix::morphology
