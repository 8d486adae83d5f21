#include "ConnectedParts.h"

#include <algorithm>

#include <rix/access/Looks.h>

namespace rix::segmentation {

namespace {

/// Of the root of a part: the other bits are its size. Other entries are voxels of the part that lie before.
constexpr std::uint32_t rootBit = std::uint32_t{1} << 31;

/// Parts as trees of runs of rows, of which only the first voxels have entries; roots are the first voxels of all.
class Runs {
public:
    Runs(const std::uint32_t* numbers, std::uint32_t* roots, std::size_t columns)
        : m_numbers(numbers), m_roots(roots), m_columns(columns) {}

    std::size_t endOf(std::size_t begin, std::size_t rowEnd) const {
        const std::uint32_t number = m_numbers[begin];
        std::size_t end = begin + 1;
        while (end < rowEnd && m_numbers[end] == number) {
            ++end;
        }
        return end;
    }

    void enter(std::size_t first) const {
        const std::size_t rowEnd = first + m_columns;
        for (std::size_t begin = first; begin < rowEnd;) {
            const std::size_t end = endOf(begin, rowEnd);
            m_roots[begin] = rootBit | static_cast<std::uint32_t>(end - begin);
            begin = end;
        }
    }

    /// Joins the runs of a row with those of another row that they touch.
    void join(std::size_t first, std::size_t other) const {
        std::size_t begin = first;
        std::size_t otherBegin = other;
        std::size_t end = endOf(begin, first + m_columns);
        std::size_t otherEnd = endOf(otherBegin, other + m_columns);
        for (;;) {
            if (m_numbers[begin] == m_numbers[otherBegin]) {
                unite(begin, otherBegin);
            }
            const std::size_t reached = end - first;
            const std::size_t otherReached = otherEnd - other;
            if (std::min(reached, otherReached) == m_columns) {
                return;
            }
            if (reached <= otherReached) {
                begin = end;
                end = endOf(begin, first + m_columns);
            }
            if (otherReached <= reached) {
                otherBegin = otherEnd;
                otherEnd = endOf(otherBegin, other + m_columns);
            }
        }
    }

    std::size_t rootOf(std::size_t run) const {
        std::size_t root = run;
        while ((m_roots[root] & rootBit) == 0) {
            root = m_roots[root];
        }
        while (run != root) {
            const std::size_t next = (m_roots[run] & rootBit) == 0 ? m_roots[run] : root;
            m_roots[run] = static_cast<std::uint32_t>(root);
            run = next;
        }
        return root;
    }

private:
    void unite(std::size_t a, std::size_t b) const {
        a = rootOf(a);
        b = rootOf(b);
        if (a == b) {
            return;
        }
        const std::size_t first = std::min(a, b);
        const std::size_t last = std::max(a, b);
        m_roots[first] += m_roots[last] & ~rootBit;
        m_roots[last] = static_cast<std::uint32_t>(first);
    }

    const std::uint32_t* m_numbers;
    std::uint32_t* m_roots;
    std::size_t m_columns;
};

}  // namespace

void numberConnectedParts(const std::array<std::size_t, 3>& extents, double smallest, std::uint32_t* numbers,
                          std::uint32_t* roots) {
    const std::size_t columns = extents[0];
    const std::size_t rows = extents[1] * extents[2];
    const std::size_t plane = columns * extents[1];
    const Runs runs(numbers, roots, columns);
    access::Looks looks;
    for (std::size_t row = 0; row < rows; ++row) {
        const std::size_t first = row * columns;
        runs.enter(first);
        if (row % extents[1] != 0) {
            runs.join(first, first - columns);
        }
        if (row >= extents[1]) {
            runs.join(first, first - plane);
        }
        looks.add(columns / 16 + 1);
    }
    // In the order of storage: a part's first voxel is its root, and whatever lies before it has its result.
    std::uint32_t count = 0;
    for (std::size_t row = 0; row < rows; ++row) {
        const std::size_t first = row * columns;
        for (std::size_t begin = first; begin < first + columns;) {
            const std::size_t end = runs.endOf(begin, first + columns);
            const std::size_t root = runs.rootOf(begin);
            if (root == begin) {
                const bool isSmall = static_cast<double>(roots[root] & ~rootBit) < smallest;
                const bool hasLeft = begin > first;
                const bool hasUpper = row % extents[1] != 0;
                const bool hasBefore = row >= extents[1];
                std::uint32_t label = 0;
                if (isSmall && (hasLeft || hasUpper || hasBefore)) {
                    label = numbers[hasLeft ? begin - 1 : hasUpper ? begin - columns : begin - plane];
                } else {
                    label = ++count;
                }
                roots[root] = rootBit | label;
            }
            std::fill(numbers + begin, numbers + end, roots[root] & ~rootBit);
            begin = end;
        }
        looks.add(columns / 16 + 1);
    }
}

}  // namespace rix::segmentation
