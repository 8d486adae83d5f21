#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

#include <rix/access/Looks.h>
#include <rix/access/PaddedGrid.h>
#include <rix/access/Scratch.h>

namespace rix::access {

/// Values in their order: the rank of a cell is the number of cells with smaller values. By a radix sort of the cells,
/// digit after digit.
/// @tparam Key an unsigned integer
/// @tparam Index an unsigned integer that holds the number of cells
template <class Key, class Index>
class ValueRanks {
public:
    explicit ValueRanks(const PaddedGrid& grid)
        : m_grid(grid),
          m_keys(grid.cells() * sizeof(Key)),
          m_order(grid.voxels() * sizeof(Index)),
          m_other(grid.voxels() * sizeof(Index)),
          m_counts(digits * buckets * sizeof(std::size_t)) {}

    static std::size_t bytes(const PaddedGrid& grid) {
        return Scratch::held(grid.cells() * sizeof(Key)) + 2 * Scratch::held(grid.voxels() * sizeof(Index)) +
               Scratch::held(digits * buckets * sizeof(std::size_t));
    }

    /// The keys of a row of voxels, to be set before.
    Key* row(std::size_t row) const { return keys() + m_grid.cellOfRow(row); }

    /// Calls `set(cell, rank)` for all voxels that take part.
    template <class TakesPart, class Set>
    void forEach(const TakesPart& takesPart, const Set& set) const {
        Looks looks;
        auto* order = m_order.as<Index>();
        auto* other = m_other.as<Index>();
        const std::size_t count = list(order, takesPart, looks);
        for (unsigned digit = 0; digit < digits; ++digit) {
            if (sort(digit, count, order, other, looks)) {
                std::swap(order, other);
            }
        }
        Key before = 0;
        std::size_t rank = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const Key key = keyAt(order, i, count);
            rank = i == 0 || key != before ? i : rank;
            before = key;
            set(order[i], rank);
            looks.add(1);
        }
    }

private:
    static constexpr unsigned digitBits = 11;
    static constexpr unsigned digits = (8 * sizeof(Key) + digitBits - 1) / digitBits;
    static constexpr std::size_t buckets = std::size_t{1} << digitBits;
    static constexpr std::size_t ahead = 24;  // cells: what lies anywhere is asked for in time

    Key* keys() const { return m_keys.as<Key>(); }
    std::size_t* countsOf(unsigned digit) const { return m_counts.as<std::size_t>() + digit * buckets; }
    static std::size_t bucketOf(Key key, unsigned digit) {
        return static_cast<std::size_t>(key >> (digit * digitBits)) & (buckets - 1);
    }
    Key keyAt(const Index* order, std::size_t i, std::size_t count) const {
        __builtin_prefetch(keys() + order[std::min(i + ahead, count - 1)]);
        return keys()[order[i]];
    }

    /// The cells as they lie, and how often there is which digit. @return how many there are
    template <class TakesPart>
    std::size_t list(Index* order, const TakesPart& takesPart, Looks& looks) const {
        std::fill_n(m_counts.as<std::size_t>(), digits * buckets, 0);
        std::size_t count = 0;
        for (std::size_t y = 0; y < m_grid.rows(); ++y) {
            const std::size_t first = m_grid.cellOfRow(y);
            for (std::size_t cell = first; cell < first + m_grid.columns(); ++cell) {
                if (!takesPart(cell)) {
                    continue;
                }
                order[count++] = static_cast<Index>(cell);
                for (unsigned digit = 0; digit < digits; ++digit) {
                    ++countsOf(digit)[bucketOf(keys()[cell], digit)];
                }
            }
            looks.add(m_grid.columns() / 16 + 1);
        }
        return count;
    }

    /// @return whether it was needed
    bool sort(unsigned digit, std::size_t count, const Index* from, Index* to, Looks& looks) const {
        std::size_t* const starts = countsOf(digit);
        std::size_t before = 0;
        for (std::size_t i = 0; i < buckets; ++i) {
            if (starts[i] == count) {
                return false;
            }
            before += std::exchange(starts[i], before);
        }
        for (std::size_t i = 0; i < count; ++i) {
            to[starts[bucketOf(keyAt(from, i, count), digit)]++] = from[i];
            looks.add(1);
        }
        return true;
    }

    const PaddedGrid& m_grid;
    Scratch m_keys;
    Scratch m_order;
    Scratch m_other;
    Scratch m_counts;
};

}  // namespace rix::access
