#include "MarkerFlood.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <utility>

#include <rix/access/Looks.h>

namespace rix::segmentation {

namespace {

std::size_t lowestBit(unsigned bits) {
    return static_cast<std::size_t>(std::countr_zero(bits));
}

}  // namespace

template <class Cell, class Index, bool ranked>
void MarkerFlood<Cell, Index, ranked>::prepare(std::size_t levels, std::size_t threads) {
    m_labelMemory = access::Scratch(m_grid.cells() * sizeof(Label));
    m_queue.emplace(m_grid.voxels(), levels);
    m_isShared = isShared(m_grid, threads);
    if (m_isShared) {
        m_reachedMemory = access::Scratch(reachedBytes(m_grid));
    }
}

template <class Cell, class Index, bool ranked>
void MarkerFlood<Cell, Index, ranked>::countRow(std::size_t row) {
    if constexpr (isSharable) {
        const std::size_t first = m_grid.cellOfRow(row);
        std::array<Index, fewLevels> counts{};
        std::size_t waiting = 0;
        for (std::size_t cell = first; cell < first + m_grid.columns(); ++cell) {
            const bool isFree = cells()[cell] != taken;
            counts[valueOf(cells()[cell])] += isFree ? 1 : 0;
            waiting += isFree ? 1 : 0;
        }
        for (std::size_t level = 0; level < fewLevels && waiting > 0; ++level) {
            if (counts[level] != 0) {
                std::atomic_ref(m_queue->counts()[level]).fetch_add(counts[level], std::memory_order_relaxed);
            }
        }
        m_queue->touch(row * m_grid.columns(), m_grid.columns());
    }
}

template <class Cell, class Index, bool ranked>
void MarkerFlood<Cell, Index, ranked>::countAll() {
    if constexpr (!ranked && !isSharable) {
        access::Looks looks;
        Index* const counts = m_queue->counts();
        for (std::size_t y = 0; y < m_grid.rows(); ++y) {
            const std::size_t first = m_grid.cellOfRow(y);
            for (std::size_t cell = first; cell < first + m_grid.columns(); ++cell) {
                if (cells()[cell] != taken) {
                    ++counts[valueOf(cells()[cell])];
                }
            }
            looks.add(m_grid.columns() / 64 + 1);
        }
    }
    m_queue->startWithCounts();
}

/// Markers wait for their own values, in the order of storage. What lies in walls is none.
template <class Cell, class Index, bool ranked>
void MarkerFlood<Cell, Index, ranked>::pushMarkers() {
    constexpr std::size_t abreast = 16;  // are looked at together: most are none
    access::Looks looks;
    for (std::size_t y = 0; y < m_grid.rows(); ++y) {
        const std::size_t first = m_grid.cellOfRow(y);
        const std::size_t end = first + m_grid.columns();
        for (std::size_t begin = first; begin < end; begin += abreast) {
            const std::size_t some = std::min(abreast, end - begin);
            Label any = 0;
            for (std::size_t i = 0; i < some; ++i) {
                any |= labels()[begin + i];
            }
            for (std::size_t cell = begin; any != 0 && cell < begin + some; ++cell) {
                pushMarker(cell);
            }
        }
        looks.add(m_grid.columns() / 32 + 1);
    }
}

template <class Cell, class Index, bool ranked>
void MarkerFlood<Cell, Index, ranked>::pushMarker(std::size_t cell) {
    if (labels()[cell] == 0) {
        return;
    }
    if (cells()[cell] == taken) {
        labels()[cell] = 0;
        return;
    }
    m_queue->push(cell, valueOf(cells()[cell]));
    cells()[cell] = taken;
}

template <class Cell, class Index, bool ranked>
void MarkerFlood<Cell, Index, ranked>::spread(bool lines, access::BlockProgress& progress,
                                              access::ExecutionContext* shared) {
    countAll();
    pushMarkers();
    switch (m_grid.neighborCount()) {
        case 4: return spreadAll<4>(lines, progress, shared);
        case 8: return spreadAll<8>(lines, progress, shared);
        case 6: return spreadAll<6>(lines, progress, shared);
        case 18: return spreadAll<18>(lines, progress, shared);
        default: return spreadAll<26>(lines, progress, shared);
    }
}

template <class Cell, class Index, bool ranked>
template <std::size_t count>
void MarkerFlood<Cell, Index, ranked>::spreadAll(bool lines, access::BlockProgress& progress,
                                                 access::ExecutionContext* shared) {
    access::Looks looks;
    for (m_level = 0; m_level < m_queue->levels(); ++m_level) {
        looks.add(1);
        if (m_queue->isEmpty(m_level)) {
            continue;
        }
        m_queue->open(m_level);
        while (const std::size_t waiting = m_queue->tail() - m_queue->head()) {
            std::size_t some = std::min(waiting, piece);
            if (lines) {
                spreadWithLines<count>(some);
            } else if (!m_isShared || shared == nullptr || waiting < leastShared) {
                spreadSome<count>(some);
            } else {
                some = std::min(waiting, slabParts(m_grid) * partCells);
                if constexpr (isSharable) {
                    spreadShared<count>(some, *shared);
                }
            }
            progress.add(some);
            looks.add(some);
        }
    }
}

/// Which neighbours of a cell are free.
template <class Cell, class Index, bool ranked>
template <std::size_t count>
unsigned MarkerFlood<Cell, Index, ranked>::freeAround(std::size_t cell) const {
    const Cell* const around = cells() + cell;
    const std::ptrdiff_t* const steps = m_grid.steps().data();
    unsigned free = 0;
    for (std::size_t i = 0; i < count; ++i) {
        free |= static_cast<unsigned>(around[steps[i]] >= freeBit) << i;
    }
    return free;
}

/// Asks for what is needed of a cell.
template <class Cell, class Index, bool ranked>
template <std::size_t count>
void MarkerFlood<Cell, Index, ranked>::ask(std::size_t cell) const {
    const std::size_t row = m_grid.rowCells();
    const std::size_t plane = m_grid.planeCells();
    if constexpr (count == 6 || count > 8) {
        __builtin_prefetch(cells() + (cell - plane));
        __builtin_prefetch(cells() + cell + plane);
    }
    __builtin_prefetch(cells() + cell);
    __builtin_prefetch(cells() + (cell - row));
    __builtin_prefetch(cells() + cell + row);
    __builtin_prefetch(labels() + cell, 1);
}

template <class Cell, class Index, bool ranked>
template <std::size_t count>
void MarkerFlood<Cell, Index, ranked>::spreadSome(std::size_t some) {
    LevelQueue<Index, ranked>& queue = *m_queue;
    Cell* const cells = this->cells();
    Label* const labels = this->labels();
    std::array<std::ptrdiff_t, count> steps;
    std::copy_n(m_grid.steps().begin(), count, steps.begin());
    const std::size_t level = m_level;
    const std::size_t end = queue.head() + some;
    std::size_t tail = queue.tail();
    while (queue.head() != end) {
        const std::size_t joined = std::min(queue.joinedFrom(queue.head()), end - queue.head());
        const Index* const waiting = &queue.at(queue.head());
        for (std::size_t i = 0; i < joined; ++i) {
            ask<count>(waiting[std::min(i + ahead, joined - 1)]);
            const std::size_t cell = waiting[i];
            const Label label = labels[cell];
            for (unsigned free = freeAround<count>(cell); free != 0; free &= free - 1) {
                const std::size_t other = cell + static_cast<std::size_t>(steps[lowestBit(free)]);
                const std::size_t value = valueOf(cells[other]);
                cells[other] = taken;
                labels[other] = label;
                if (value <= level) {
                    queue.put(tail++, other);
                } else {
                    queue.push(other, value);
                }
            }
        }
        queue.setHead(queue.head() + joined);
    }
    queue.setTail(tail);
}

/// What waits is decided when its turn comes: it is labelled if all labelled neighbours have the same label, else it
/// lies on a line and nothing is reached from it.
template <class Cell, class Index, bool ranked>
template <std::size_t count>
void MarkerFlood<Cell, Index, ranked>::spreadWithLines(std::size_t some) {
    LevelQueue<Index, ranked>& queue = *m_queue;
    const std::ptrdiff_t* const steps = m_grid.steps().data();
    const std::size_t end = queue.head() + some;
    for (; queue.head() != end; queue.setHead(queue.head() + 1)) {
        const std::size_t cell = queue.at(queue.head());
        Label label = labels()[cell];
        bool isLine = false;
        for (std::size_t i = 0; i < count && labels()[cell] == 0; ++i) {
            const Label other = labels()[cell + static_cast<std::size_t>(steps[i])];
            isLine = isLine || (other != 0 && label != 0 && other != label);
            label = other != 0 ? other : label;
        }
        if (isLine) {
            continue;
        }
        labels()[cell] = label;
        for (unsigned free = freeAround<count>(cell); free != 0; free &= free - 1) {
            const std::size_t other = cell + static_cast<std::size_t>(steps[lowestBit(free)]);
            const std::size_t value = valueOf(cells()[other]);
            cells()[other] = taken;
            if (value <= m_level) {
                queue.put(queue.tail(), other);
                queue.setTail(queue.tail() + 1);
            } else {
                queue.push(other, value);
            }
        }
    }
}

template <class Cell, class Index, bool ranked>
template <std::size_t count>
void MarkerFlood<Cell, Index, ranked>::spreadShared(std::size_t some, access::ExecutionContext& shared) {
    const std::size_t begin = m_queue->head();
    const std::size_t parts = (some + partCells - 1) / partCells;
    const double nanoseconds = nanosecondsPerCell * static_cast<double>(partCells);
    access::forEachPart(shared, parts, nanoseconds, [&](std::size_t i) {
        m_parts[i].reached = m_reachedMemory.as<Reached>() + i * partCells * count;
        claim<count>(begin + i * partCells, begin + std::min((i + 1) * partCells, some), i);
    });
    access::forEachPart(shared, parts, nanoseconds, [&](std::size_t i) { settle(i); });
    m_queue->setHead(begin + some);
    placeParts(parts);
    access::forEachPart(shared, parts, nanoseconds, [&](std::size_t i) { append(m_parts[i]); });
}

/// Claims the neighbours of the cells of a part that are free, or that a later part claims.
template <class Cell, class Index, bool ranked>
template <std::size_t count>
void MarkerFlood<Cell, Index, ranked>::claim(std::size_t begin, std::size_t end, std::size_t number) {
    Part& part = m_parts[number];
    const std::ptrdiff_t* const steps = m_grid.steps().data();
    Cell* const cells = this->cells();
    const auto own = static_cast<Cell>((number + 1) * claimUnit);
    const auto later = static_cast<Cell>(own + claimUnit);
    Reached* found = part.reached;
    for (std::size_t i = begin; i < end; ++i) {
        ask<count>(m_queue->at(std::min(i + ahead, end - 1)));
        const std::size_t cell = m_queue->at(i);
        const Label label = labels()[cell];
        unsigned free = 0;
        for (std::size_t step = 0; step < count; ++step) {
            const std::atomic_ref<Cell> other(cells[cell + static_cast<std::size_t>(steps[step])]);
            free |= static_cast<unsigned>(other.load(std::memory_order_relaxed) >= later) << step;
        }
        for (; free != 0; free &= free - 1) {
            const std::size_t place = cell + static_cast<std::size_t>(steps[lowestBit(free)]);
            const std::atomic_ref<Cell> other(cells[place]);
            Cell before = other.load(std::memory_order_relaxed);
            while (before >= later) {
                const auto claimed = static_cast<Cell>(own | valueOf(before));
                if (other.compare_exchange_weak(before, claimed, std::memory_order_relaxed)) {
                    *found++ = {static_cast<Index>(place), label};
                    break;
                }
            }
        }
    }
    part.count = static_cast<std::size_t>(found - part.reached);
}

/// Labels the cells that a part got, and counts them.
template <class Cell, class Index, bool ranked>
void MarkerFlood<Cell, Index, ranked>::settle(std::size_t number) {
    Part& part = m_parts[number];
    part.ofLevels.fill(0);
    const auto own = static_cast<Cell>((number + 1) * claimUnit);
    Reached* kept = part.reached;
    for (std::size_t i = 0; i < part.count; ++i) {
        const Reached reached = part.reached[i];
        const std::atomic_ref<Cell> cell(cells()[reached.cell]);
        const Cell claimed = cell.load(std::memory_order_relaxed);
        const std::size_t value = valueOf(claimed);
        if (claimed != (own | value)) {
            continue;
        }
        cell.store(taken, std::memory_order_relaxed);
        labels()[reached.cell] = reached.label;
        ++part.ofLevels[std::max(value, m_level)];
        *kept++ = {reached.cell, static_cast<Label>(value)};
    }
    part.count = static_cast<std::size_t>(kept - part.reached);
}

/// Gives what parts found places one behind the other, at every level.
template <class Cell, class Index, bool ranked>
void MarkerFlood<Cell, Index, ranked>::placeParts(std::size_t parts) {
    for (std::size_t level = m_level; level < m_queue->levels(); ++level) {
        std::size_t next = level == m_level ? m_queue->tail() : m_queue->counts()[level];
        for (std::size_t i = 0; i < parts; ++i) {
            next += std::exchange(m_parts[i].ofLevels[level], static_cast<Index>(next));
        }
        if (level == m_level) {
            m_queue->setTail(next);
        } else {
            m_queue->counts()[level] = static_cast<Index>(next);
        }
    }
}

template <class Cell, class Index, bool ranked>
void MarkerFlood<Cell, Index, ranked>::append(Part& part) const {
    for (std::size_t i = 0; i < part.count; ++i) {
        const Reached reached = part.reached[i];
        if (reached.label <= m_level) {
            m_queue->put(part.ofLevels[m_level]++, reached.cell);
        } else {
            m_queue->putAbove(part.ofLevels[reached.label]++, reached.label, reached.cell);
        }
    }
}

template class MarkerFlood<std::uint16_t, std::uint32_t, false>;
template class MarkerFlood<std::uint16_t, std::uint64_t, false>;
template class MarkerFlood<std::uint32_t, std::uint32_t, false>;
template class MarkerFlood<std::uint32_t, std::uint64_t, false>;
template class MarkerFlood<std::uint32_t, std::uint32_t, true>;
template class MarkerFlood<std::uint64_t, std::uint64_t, true>;

}  // namespace rix::segmentation
