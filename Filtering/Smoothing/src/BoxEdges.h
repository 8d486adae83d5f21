#pragma once

#include <algorithm>
#include <cstddef>

#include <rix/access/Buffer.h>

#include "BoxNeeds.h"

namespace rix::filtering::smoothing {

/// How the columns of a block and the elements of its windows share one row.
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
        m_before = std::min(elements, first < axis.reach ? axis.reach - first : 0);
        m_behind = std::clamp(axis.extent + axis.reach - first, m_before, elements);
        if (axis.border == BoxBorder::Zero) {
            m_copies = Copies::None;
            return;
        }
        const std::size_t direct = m_behind - m_before;
        if (axis.border == BoxBorder::Mirror && m_before <= direct && elements - m_behind <= direct) {
            m_copies = Copies::Reflected;
            return;
        }
        m_copies = Copies::Listed;
        std::size_t* source = m_sources.reserve(m_before + elements - m_behind + 1);
        forEachCopy([&](std::size_t e) { *source++ = axis.source(first + e) - columns.begin; });
    }

    /// Fills the elements beyond the edges.
    /// @param reflect `reflect(first, count, mirror)`: the elements from `first` on are those at `mirror` minus them
    /// @param copy `copy(element, column)`: the element repeats a column, counted from the first one of the block
    template <class Reflect, class Copy>
    void fill(const Reflect& reflect, const Copy& copy) const {
        if (m_copies == Copies::Reflected) {
            if (m_before > 0) {
                reflect(std::size_t{0}, m_before, 2 * m_before - 1);
            }
            if (m_behind < elements) {
                reflect(m_behind, elements - m_behind, 2 * m_behind - 1);
            }
        } else if (m_copies == Copies::Listed) {
            const std::size_t* source = m_sources.data();
            forEachCopy([&](std::size_t e) { copy(e, *source++); });
        }
    }

    std::size_t elements = 0;
    std::size_t firstElement = 0;  ///< where element 0 lies in the row
    std::size_t firstColumn = 0;   ///< where the first column lies
    std::size_t size = 0;          ///< of the row

private:
    enum class Copies { None, Reflected, Listed };

    template <class Use>
    void forEachCopy(const Use& use) const {
        for (std::size_t e = 0; e < m_before; ++e) {
            use(e);
        }
        for (std::size_t e = m_behind; e < elements; ++e) {
            use(e);
        }
    }

    std::size_t m_before = 0;  ///< elements in [m_before, m_behind) are columns themselves
    std::size_t m_behind = 0;
    Copies m_copies = Copies::None;
    access::Buffer<std::size_t> m_sources;
};

}  // namespace rix::filtering::smoothing
