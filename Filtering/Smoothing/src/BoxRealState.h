#pragma once

#include <algorithm>
#include <cstddef>

#include <rix/access/Buffer.h>

#include "BoxRealKernels.h"

namespace rix::filtering::smoothing {

/// What the windows along an axis carry from group to group, for elements that are rows of entries (see BoxRealWindow).
class BoxRealState {
public:
    BoxRealState(std::size_t window, const BoxRealRows<double>& kernels) : m_window(window), m_kernels(kernels) {}

    const BoxRealWindow& window() const { return m_window; }

    /// Prepares the windows of a group. What is kept does not depend on where the first group was.
    /// @param add `add(first, count, sums)` adds up to a group of elements, counted from the beginning of the axis, to
    /// a row of sums
    template <class Add>
    void start(std::size_t group, std::size_t entries, const Add& add) {
        m_entries = entries;
        if (m_window.isShort()) {
            return;
        }
        const std::size_t first = boxGroup * (group + 1);
        std::fill_n(m_partial.reserve(entries), entries, 0.0);
        add(first + boxGroup * m_window.whole, m_window.rest, m_partial.data());
        if (m_window.whole == 0) {
            return;
        }
        m_place = group % m_window.whole;
        std::fill_n(m_running.reserve(entries), entries, 0.0);
        std::size_t size = 0;
        if (!helper::checkedMultiply(m_window.whole, entries, size)) {
            throw MemoryError("The size of a working buffer does not fit 64 bits.");
        }
        std::fill_n(m_ring.reserve(size), size, 0.0);
        for (std::size_t i = 0; i < m_window.whole; ++i) {
            const std::size_t place = (m_place + i) % m_window.whole;
            double* const total = ring(place);
            add(first + boxGroup * i, boxGroup, total);
            if (place == 0 && m_place > 0) {
                std::copy_n(total, entries, m_running.data());
            } else if (place < m_place) {
                addRow(total, m_running.data());
            }
        }
        sumSuffixes(m_place);
    }

    /// Where the present group finds what is kept, for the entries from `offset` on.
    template <class T>
    void show(BoxRealGroup<T>& group, std::size_t offset) const {
        group.window = &m_window;
        group.sectionStarts = m_place == 0;
        if (!m_window.isShort()) {
            group.partial = m_partial.data() + offset;
        }
        if (m_window.whole > 0) {
            group.running = m_running.data() + offset;
            group.ring = ring(m_place) + offset;
        }
    }

    /// The present group is summed.
    void advance() {
        if (m_window.whole > 0 && ++m_place == m_window.whole) {
            m_place = 0;
            sumSuffixes(0);
        }
    }

private:
    double* ring(std::size_t place) const { return m_ring.data() + place * m_entries; }

    void addRow(const double* in, double* sums) const { m_kernels.add(&in, 1, sums, m_entries); }

    void sumSuffixes(std::size_t from) const {
        for (std::size_t place = m_window.whole - 1; place > from; --place) {
            addRow(ring(place), ring(place - 1));
        }
    }

    BoxRealWindow m_window;
    const BoxRealRows<double>& m_kernels;
    std::size_t m_entries = 0;
    std::size_t m_place = 0;
    access::Buffer<double> m_partial;
    access::Buffer<double> m_running;
    access::Buffer<double> m_ring;
};

}  // namespace rix::filtering::smoothing
