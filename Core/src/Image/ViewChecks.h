#pragma once

#include <array>
#include <cstddef>
#include <source_location>

#include <rix/Assert.h>
#include <rix/image/ImageTypes.h>

namespace rix::detail {

/// A condition that only a wrong caller breaks: ends the program in builds with assertions, else becomes the caller's
/// result. The text is given apart from the condition because the condition is written so that it can't wrap.
inline bool expects([[maybe_unused]] bool holds, [[maybe_unused]] const char* text,
                    [[maybe_unused]] std::source_location where = std::source_location::current()) {
#ifndef NDEBUG
    if (!holds) {
        assertionFailed(text, where);
    }
#endif
    return holds;
}

/// first + count <= extent, for any values.
constexpr bool fits(std::size_t count, std::size_t first, std::size_t extent) {
    return first <= extent && count <= extent - first;
}

using Position = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

/// What the views of whole rows expect of a run of elements. The texts are fixed, blanks included.
inline bool isInRow(std::size_t nbElement, const Position& position, std::size_t columns, std::size_t rows) {
    return expects(fits(nbElement, position[COLUMNS], columns), "( nbElement + firstCols ) <= m_numOfColumns") &&
           expects(position[ROWS] < rows, "firstRows < m_numOfRows");
}
inline bool isOnlyVolume(const Position& position) {
    return expects(position[SEQUENCE] == 0, "firstSequence == 0") &&
           expects(position[SPECTRAL_SERIES] == 0, "firstSpectralSeries == 0");
}

}  // namespace rix::detail

/// Asserts that an index of a view is within an axis of its real image or just behind it, where the first row that is
/// asked for fails. The text is put together from the names, so that no formatting of the code changes it.
#ifdef NDEBUG
#define RIX_ASSERT_INDEX(index, axis) static_cast<void>(0)
#else
#define RIX_ASSERT_INDEX(index, axis)                                                \
    static_cast<void>(::rix::detail::expects((index) <= m_realImage->getNumOf(axis), \
                                             #index " <= m_realImage->getNumOf( " #axis " )"))
#endif
