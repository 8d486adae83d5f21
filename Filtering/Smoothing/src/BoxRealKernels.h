#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::filtering::smoothing {

/// How sums of windows of reals are made: by additions alone, so that no sum holds anything of a value outside its
/// window.
///
/// A sequence of elements is cut into groups of eight from its beginning. The windows that start in group a, the first
/// of them of k >= 8 elements, all hold the `whole` groups that follow it (the middle); each holds the rest of its own
/// group (summed from the end of the group backwards, onto the middle) and some elements behind the middle (summed
/// forwards). The sum is the sum of these two. Behind the middle of group a + 1, `rest` elements belong to every
/// window: they are summed apart on the way (`partial`), and the elements that complete a group give its total.
///
/// The middles are sums of `whole` totals in a row and are made in the same way, one level up: totals are cut into
/// sections of `whole`; suffix sums of a section (kept in a ring, which the next section's totals fill as the suffix
/// sums are used up) and a running sum of the next section's totals.
///
/// Windows under eight elements are summed directly. Which additions a sum is made of, and in which order, depends on
/// the positions of window and group alone, never on where a block starts.
struct BoxRealWindow {
    explicit BoxRealWindow(std::size_t elements)
        : size(elements), whole(elements < 8 ? 0 : (elements - 8) / 8), rest(elements < 8 ? 0 : elements % 8) {}

    bool isShort() const { return size < 8; }
    /// Elements that a group of windows reads: its own eight, and the eight that enter; or all of the short windows.
    std::size_t rowsOfGroup() const { return isShort() ? size + 7 : 16; }

    std::size_t size;
    std::size_t whole;
    std::size_t rest;
};

/// A group of eight windows whose elements are rows. Every row has as many entries; all but the samples are padded to a
/// multiple of eight.
template <class T>
struct BoxRealGroup {
    const BoxRealWindow* window;
    const T* rows[16];  ///< the first eight elements and the eight behind the first window; or all of short windows
    double* partial;
    double* running;
    double* ring;          ///< the ring's present row: a suffix sum, to be replaced by the new total
    bool sectionStarts;    ///< nothing is running yet
    const double* common;  ///< what all windows have in common, or null
};

template <class T>
struct BoxRealRows {
    /// sums[i] += in[0][i], sums[i] += in[1][i], ...: any number of rows, one after the other
    void (*add)(const T* const* in, std::size_t rows, double* sums, std::size_t count);
    /// The sums of a group as eight rows.
    void (*toRows)(const BoxRealGroup<T>& group, std::size_t count, double* const* rows);
    /// The sums of a group as strips of `boxRealLanes` rows, transposed: entry (x, row) of strip s lies at
    /// s * stride + x * lanes + row. Writes up to a multiple of eight entries.
    void (*toStrips)(const BoxRealGroup<T>& group, std::size_t count, double* strips, std::size_t stride);
};

/// Windows along the rows of a strip.
template <class Out>
struct BoxRealStrip {
    const BoxRealWindow* window;
    const double* elements;  ///< element e, of every row, at e * lanes; from the first window's first element on
    std::size_t count;       ///< results of a row
    std::size_t firstGroup;  ///< the group of the first window
    double* ring;            ///< working memory: whole * lanes
    const double* common;    ///< one value a row that all windows have in common, or null
    double factor;
    double rest;     ///< where it is not 0, what is to be added to the factor
    double divisor;  ///< results are divided by it when it is not 0, else multiplied by the factor
    Out* const* rows;
};

template <class Out>
using BoxRealTotals = void (*)(const BoxRealStrip<Out>& strip);

/// Rows of a strip at a level: a divisor of eight.
std::size_t boxRealLanes(OptimLevelType level);
template <class T>
const BoxRealRows<T>& boxRealRows(OptimLevelType level);
template <class Out>
BoxRealTotals<Out> boxRealTotals(OptimLevelType level);

}  // namespace rix::filtering::smoothing
