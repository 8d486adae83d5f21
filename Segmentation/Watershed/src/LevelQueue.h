#pragma once

#include <algorithm>
#include <cstddef>

#include <rix/access/Scratch.h>

namespace rix::segmentation {

/// Cells that wait, in the order of rising levels and first in, first out in a level; each cell waits once. A cell that
/// waits for a higher level than the present one waits for that of its own value, so that there is a place for it: the
/// places of a level are as many as there are cells of that value, one level behind the other. What comes to the
/// present level while that is emptied has lower values or the same: it goes where lower levels were, and when these
/// are full, behind those that wait already.
/// @tparam ranked whether a level is the number of its first place; else there is a table
template <class Index, bool ranked>
class LevelQueue {
public:
    LevelQueue(std::size_t cells, std::size_t levels)
        : m_levels(levels),
          m_placeMemory(cells * sizeof(Index)),
          m_countMemory(levels * sizeof(Index)),
          m_startMemory(ranked ? access::Scratch() : access::Scratch(levels * sizeof(Index))) {
        std::fill_n(m_countMemory.as<Index>(), levels, Index{0});
    }

    static std::size_t bytes(std::size_t cells, std::size_t levels) {
        using access::Scratch;
        return Scratch::held(cells * sizeof(Index)) + (ranked ? 1 : 2) * Scratch::held(levels * sizeof(Index));
    }

    /// Takes the memory of some places from the system, which by one thread alone would be waited for.
    void touch(std::size_t first, std::size_t count) const {
        constexpr std::size_t pageEntries = 4096 / sizeof(Index);
        for (std::size_t place = first; place < first + count; place += pageEntries) {
            places()[place] = 0;
        }
    }

    /// Before cells wait, those of every level are to be counted in a table of zeros.
    Index* counts() const { return m_countMemory.as<Index>(); }
    void startWithCounts() {
        if constexpr (!ranked) {
            Index before = 0;
            for (std::size_t level = 0; level < m_levels; ++level) {
                starts()[level] = before;
                before = static_cast<Index>(before + counts()[level]);
                counts()[level] = 0;
            }
        }
    }

    /// Lets a cell wait for a level above the present one.
    void push(std::size_t cell, std::size_t level) const {
        places()[startOf(level) + counts()[level]++] = static_cast<Index>(cell);
    }

    std::size_t levels() const { return m_levels; }
    bool isEmpty(std::size_t level) const { return counts()[level] == 0; }

    /// Makes a level the present one.
    void open(std::size_t level) {
        m_start = startOf(level);
        m_first = counts()[level];
        m_head = 0;
        m_tail = m_first;
    }
    /// The cells of the present level that wait, by their numbers: [head, tail).
    std::size_t head() const { return m_head; }
    std::size_t tail() const { return m_tail; }
    void setHead(std::size_t head) { m_head = head; }
    void setTail(std::size_t tail) { m_tail = tail; }
    Index& at(std::size_t number) const { return places()[number < m_first ? m_start + number : placeOfLater(number)]; }
    /// Where one that comes to the present level is put, by its number.
    void put(std::size_t number, std::size_t cell) const { places()[placeOfLater(number)] = static_cast<Index>(cell); }
    /// The same for a level above the present one.
    void putAbove(std::size_t number, std::size_t level, std::size_t cell) const {
        places()[startOf(level) + number] = static_cast<Index>(cell);
    }
    /// How many cells from a number on lie one behind the other.
    std::size_t joinedFrom(std::size_t number) const {
        const std::size_t left = m_tail - number;
        if (number < m_first) {
            return std::min(left, m_first - number);
        }
        return number - m_first < m_start ? std::min(left, m_start + m_first - number) : left;
    }

private:
    Index* places() const { return m_placeMemory.as<Index>(); }
    Index* starts() const { return m_startMemory.as<Index>(); }
    std::size_t startOf(std::size_t level) const {
        if constexpr (ranked) {
            return level;
        } else {
            return starts()[level];
        }
    }
    std::size_t placeOfLater(std::size_t number) const {
        return number - m_first < m_start ? number - m_first : number;
    }

    std::size_t m_levels;
    access::Scratch m_placeMemory;
    access::Scratch m_countMemory;
    access::Scratch m_startMemory;
    std::size_t m_start = 0;  ///< the first place of the present level
    std::size_t m_first = 0;  ///< cells that waited when it was opened
    std::size_t m_head = 0;
    std::size_t m_tail = 0;
};

}  // namespace rix::segmentation
