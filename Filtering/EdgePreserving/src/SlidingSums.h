#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "SumKernels.h"

/// Sums over windows of a tile, one after another, of several fields of values at once.
namespace rix::filtering::smoothing {

/// Hands out the parts of one array. Without an array it only counts.
template <class T>
class Parts {
public:
    explicit Parts(T* memory) : m_memory(memory) {}
    T* take(std::size_t count) {
        constexpr std::size_t line = 64 / sizeof(T);  // of the cache
        const std::size_t begin = m_taken;
        m_taken += (count + line - 1) / line * line;
        return m_memory != nullptr ? m_memory + begin : nullptr;
    }
    std::size_t taken() const { return m_taken; }

private:
    T* m_memory;
    std::size_t m_taken = 0;
};

/// The sums of the last `window` elements of an axis, where an element is a row of entries.
///
/// The axis is divided into sections of a window's length at multiples of it. A window is the end of one section and
/// the beginning of the next: a sum from within the one to its end, made when that is complete, and one from the
/// beginning of the other. So each costs three additions whatever its length, nothing is ever subtracted, and a sum is
/// the same wherever the first element was.
template <class T>
class SectionSums {
public:
    SectionSums(std::size_t window, std::size_t entries, Parts<T>& parts, const SumKernels<T>& kernels)
        : m_window(window),
          m_entries(entries),
          m_ring(parts.take(window * entries)),
          m_running(parts.take(entries)),
          m_kernels(kernels) {}

    /// Begins anew. @param index of the next element
    void start(std::int64_t index) {
        const auto window = static_cast<std::int64_t>(m_window);
        m_place = static_cast<std::size_t>((index % window + window) % window);
        m_firstKept = m_place;
        m_seen = 0;
        std::fill_n(m_running, m_entries, T{0});
    }

    /// Takes the next element. @return whether there were enough for `sums` to be made
    bool add(const T* values, T* sums) {
        const bool isWhole = ++m_seen >= m_window;
        const std::size_t last = m_window - 1;
        m_kernels.advance(values, m_running, kept(m_place), m_place < last ? kept(m_place + 1) : nullptr,
                          isWhole ? sums : nullptr, m_entries);
        if (m_place++ == last) {
            for (std::size_t place = last; place > m_firstKept; --place) {
                m_kernels.add(kept(place - 1), kept(place), m_entries);
            }
            std::fill_n(m_running, m_entries, T{0});
            m_place = 0;
            m_firstKept = 0;
        }
        return isWhole;
    }

private:
    /// Elements of the present section, and behind them sums from there to the end of the one before.
    T* kept(std::size_t place) const { return m_ring + place * m_entries; }

    std::size_t m_window;
    std::size_t m_entries;
    T* m_ring;
    T* m_running;
    const SumKernels<T>& m_kernels;
    std::size_t m_place = 0;
    std::size_t m_firstKept = 0;  ///< of the present section
    std::size_t m_seen = 0;
};

/// Of which values sums are made.
struct SumShape {
    std::size_t window;
    std::size_t fields;
    std::size_t columns;  ///< of sums, as are rows
    std::size_t rows;
    bool isVolume;  ///< with windows over planes as well
};

/// Sums over squares or cubes of values that come row by row and plane by plane.
template <class T>
class SlidingSums {
public:
    SlidingSums(const SumShape& shape, Parts<T>& parts, const SumKernels<T>& kernels)
        : m_shape(shape),
          m_entries(shape.fields * shape.columns),
          m_scratch(parts.take(shape.columns + shape.window)),
          m_along(parts.take(m_entries)),
          m_planeSums(parts.take(shape.isVolume ? shape.rows * m_entries : 0)),
          m_sums(parts.take(shape.isVolume ? shape.rows * m_entries : m_entries)),
          m_down(shape.window, m_entries, parts, kernels),
          m_through(shape.isVolume ? shape.window : 1, shape.isVolume ? shape.rows * m_entries : 0, parts, kernels),
          m_kernels(kernels) {}

    void start(std::int64_t plane) { m_through.start(plane); }
    void startPlane(std::int64_t row) {
        m_down.start(row);
        m_row = 0;
    }

    /// Takes a row of every field, `window` - 1 longer than sums. In planes it calls `use(row, sums)` for the row of
    /// sums that is complete with it, if any, with the fields one behind the other.
    template <class Use>
    void addRow(const T* const* fields, const Use& use) {
        for (std::size_t i = 0; i < m_shape.fields; ++i) {
            m_kernels.sumAlong(fields[i], m_shape.window, m_scratch, m_along + i * m_shape.columns, m_shape.columns);
        }
        if (!m_down.add(m_along, m_shape.isVolume ? m_planeSums + m_row * m_entries : m_sums)) {
            return;
        }
        if (!m_shape.isVolume) {
            use(m_row, m_sums);
        }
        ++m_row;
    }

    /// The plane is complete. In volumes it calls `use(row, sums)` for the rows of the plane of sums that is, if any.
    /// @return whether it did
    template <class Use>
    bool endPlane(const Use& use) {
        if (!m_shape.isVolume || !m_through.add(m_planeSums, m_sums)) {
            return false;
        }
        for (std::size_t row = 0; row < m_shape.rows; ++row) {
            use(row, m_sums + row * m_entries);
        }
        return true;
    }

private:
    SumShape m_shape;
    std::size_t m_entries;  ///< of a row of sums
    T* m_scratch;
    T* m_along;
    T* m_planeSums;
    T* m_sums;
    SectionSums<T> m_down;
    SectionSums<T> m_through;
    const SumKernels<T>& m_kernels;
    std::size_t m_row = 0;
};

}  // namespace rix::filtering::smoothing
