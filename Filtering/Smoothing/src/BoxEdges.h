#pragma once

#include <algorithm>
#include <cstddef>

#include "BoxPlan.h"
#include "BoxRows.h"

namespace rix::filtering::smoothing {

/// How the columns of a block and the elements of its windows share one buffer.
///
/// The columns that a block sums are most of the elements of its windows themselves, so they are computed where the
/// windows look for them; only the elements beyond the image's edges are copies.
class BoxEdges {
public:
    BoxEdges(const BoxAxis& axis, access::Interval outputs, access::Interval columns) {
        const std::size_t first = outputs.begin;
        elements = outputs.end - first + axis.window - 1;
        // Element e lies at e - first from the first one, and stands for the column e - reach.
        const std::size_t origin = columns.begin + axis.reach;
        firstElement = first > origin ? first - origin : 0;
        firstColumn = origin > first ? origin - first : 0;
        size = std::max(firstElement + elements, firstColumn + columns.end - columns.begin);
        firstDirect = std::min(elements, first < axis.reach ? axis.reach - first : 0);
        lastDirect = std::clamp(axis.extent + axis.reach - first, firstDirect, elements);
        if (axis.border == BoxBorder::Mirror) {
            m_sources.reserve(firstDirect + elements - lastDirect + 1);
            std::size_t count = 0;
            forEachCopy([&](std::size_t e) { m_sources.data()[count++] = axis.source(first + e) - columns.begin; });
            m_copies = count;
        }
    }

    /// Calls `copy(element, column)` for every element that repeats a column; positions count from the first of each.
    template <class Copy>
    void forEachRepeated(const Copy& copy) const {
        if (m_copies > 0) {
            const std::size_t* source = m_sources.data();
            forEachCopy([&](std::size_t e) { copy(e, *source++); });
        }
    }

    std::size_t elements = 0;
    std::size_t firstElement = 0;  ///< where element 0 lies in the buffer
    std::size_t firstColumn = 0;   ///< where the first column lies
    std::size_t size = 0;          ///< of the buffer
    std::size_t firstDirect = 0;   ///< elements in [firstDirect, lastDirect) are columns themselves
    std::size_t lastDirect = 0;

private:
    template <class Use>
    void forEachCopy(const Use& use) const {
        for (std::size_t e = 0; e < firstDirect; ++e) {
            use(e);
        }
        for (std::size_t e = lastDirect; e < elements; ++e) {
            use(e);
        }
    }

    std::size_t m_copies = 0;
    BoxBuffer<std::size_t> m_sources;
};

}  // namespace rix::filtering::smoothing
