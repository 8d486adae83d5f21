#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include <rix/access/Scratch.h>

namespace rix::morphology {

/// A place in a tile.
struct TilePlace {
    std::size_t x;
    std::size_t y;
    std::size_t z;
};

/// Voxels of a tile that wait, first in, first out, each at most once: so the queue never holds more than the tile,
/// which has at most 2^29 voxels.
class FloodQueue {
public:
    FloodQueue(std::size_t columns, std::size_t rows, std::size_t planes)
        : m_columns(columns),
          m_rows(rows),
          m_capacity(columns * rows * planes + 1),
          m_bitsOfX(static_cast<unsigned>(std::bit_width(columns))),
          m_bitsOfY(static_cast<unsigned>(std::bit_width(rows))),
          m_places(m_capacity * sizeof(std::uint32_t)),
          m_marks(wordsFor(m_capacity) * sizeof(std::uint64_t)) {
        std::fill_n(m_marks.as<std::uint64_t>(), wordsFor(m_capacity), 0);
    }

    static std::size_t bytes(std::size_t voxels) {
        return access::Scratch::held((voxels + 1) * sizeof(std::uint32_t)) +
               access::Scratch::held(wordsFor(voxels + 1) * sizeof(std::uint64_t));
    }

    bool isEmpty() const { return m_begin == m_end; }

    void push(const TilePlace& place) {
        std::uint64_t& word = m_marks.as<std::uint64_t>()[markOf(place) / 64];
        const std::uint64_t mark = std::uint64_t{1} << (markOf(place) % 64);
        if ((word & mark) != 0) {
            return;
        }
        word |= mark;
        m_places.as<std::uint32_t>()[m_end] =
            static_cast<std::uint32_t>(place.x | place.y << m_bitsOfX | place.z << (m_bitsOfX + m_bitsOfY));
        m_end = m_end + 1 == m_capacity ? 0 : m_end + 1;
    }

    TilePlace pop() {
        const std::size_t code = m_places.as<std::uint32_t>()[m_begin];
        m_begin = m_begin + 1 == m_capacity ? 0 : m_begin + 1;
        const auto low = [](std::size_t value, unsigned bits) { return value & ((std::size_t{1} << bits) - 1); };
        const TilePlace place{low(code, m_bitsOfX), low(code >> m_bitsOfX, m_bitsOfY), code >> (m_bitsOfX + m_bitsOfY)};
        m_marks.as<std::uint64_t>()[markOf(place) / 64] &= ~(std::uint64_t{1} << (markOf(place) % 64));
        return place;
    }

private:
    static std::size_t wordsFor(std::size_t voxels) { return voxels / 64 + 1; }
    std::size_t markOf(const TilePlace& place) const { return (place.z * m_rows + place.y) * m_columns + place.x; }

    std::size_t m_columns;
    std::size_t m_rows;
    std::size_t m_capacity;
    unsigned m_bitsOfX;
    unsigned m_bitsOfY;
    access::Scratch m_places;
    access::Scratch m_marks;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

}  // namespace rix::morphology
