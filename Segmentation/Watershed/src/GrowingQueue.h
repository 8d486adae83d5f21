#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/Scratch.h>

namespace rix::segmentation {

/// Cells that wait for regions, by priority and then by time of entry: a heap of cells of which each is in it once,
/// with the best of its entries. That of the others would be taken later, when the cell has a label.
class GrowingQueue {
public:
    /// @param cells more than the largest cell @param most that wait at a time
    GrowingQueue(std::size_t cells, std::size_t most)
        : m_entryMemory(cells * sizeof(Entry)), m_heapMemory(most * sizeof(std::uint32_t)) {}
    static std::size_t bytes(std::size_t cells, std::size_t most) {
        return access::Scratch::held(cells * sizeof(Entry)) + access::Scratch::held(most * sizeof(std::uint32_t));
    }

    /// Call for each cell before it is pushed.
    void clear(std::size_t cell) const { entries()[cell].place = nowhere; }
    bool isEmpty() const { return m_count == 0; }

    void push(std::size_t cell, double priority, std::uint32_t region) {
        Entry& entry = entries()[cell];
        if (entry.place == nowhere) {
            entry.place = static_cast<std::uint32_t>(m_count++);
        } else if (!(priority < entry.priority)) {
            return;
        }
        entry.priority = priority;
        entry.time = m_time++;
        entry.region = region;
        rise(static_cast<std::uint32_t>(cell));
    }

    struct Taken {
        std::size_t cell;
        std::uint32_t region;
    };
    Taken pop() {
        const std::uint32_t first = heap()[0];
        const std::uint32_t last = heap()[--m_count];
        if (m_count != 0) {
            sink(last);
        }
        return {first, entries()[first].region};
    }

private:
    struct Entry {
        double priority;
        std::uint64_t time;
        std::uint32_t region;
        std::uint32_t place;  ///< in the heap
    };
    static constexpr std::uint32_t nowhere = ~std::uint32_t{0};
    static constexpr std::size_t children = 4;

    Entry* entries() const { return m_entryMemory.as<Entry>(); }
    std::uint32_t* heap() const { return m_heapMemory.as<std::uint32_t>(); }
    static bool isBefore(const Entry& a, const Entry& b) {
        return a.priority < b.priority || (a.priority == b.priority && a.time < b.time);
    }
    void put(std::uint32_t cell, std::size_t place) {
        heap()[place] = cell;
        entries()[cell].place = static_cast<std::uint32_t>(place);
    }

    void rise(std::uint32_t cell) {
        const Entry entry = entries()[cell];
        std::size_t place = entry.place;
        while (place != 0) {
            const std::size_t above = (place - 1) / children;
            if (!isBefore(entry, entries()[heap()[above]])) {
                break;
            }
            put(heap()[above], place);
            place = above;
        }
        put(cell, place);
    }

    /// Puts a cell in the place of the first, and down from there.
    void sink(std::uint32_t cell) {
        const Entry entry = entries()[cell];
        std::size_t place = 0;
        while (true) {
            const std::size_t begin = children * place + 1;
            const std::size_t end = begin + children < m_count ? begin + children : m_count;
            std::size_t least = place;
            Entry best = entry;
            for (std::size_t below = begin; below < end; ++below) {
                if (const Entry& other = entries()[heap()[below]]; isBefore(other, best)) {
                    best = other;
                    least = below;
                }
            }
            if (least == place) {
                break;
            }
            put(heap()[least], place);
            place = least;
        }
        put(cell, place);
    }

    access::Scratch m_entryMemory;
    access::Scratch m_heapMemory;
    std::size_t m_count = 0;
    std::uint64_t m_time = 0;
};

}  // namespace rix::segmentation
