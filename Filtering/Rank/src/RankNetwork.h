#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "RankWindow.h"

namespace rix::filtering::rank {

/// A list of minima and maxima that gives the value of an index in each window of a row, for a whole vector of windows
/// at a time.
///
/// It works on lines: rows of the image, and lines of its own. Columns of the window are sorted, neighbouring columns
/// merged, and these groups merged again; what cannot be the value looked for is left out as soon as that is known. A
/// sorted group is one for all windows, as the same lines further on: so each is made once, not once a window.
class RankNetwork {
public:
    static constexpr std::uint16_t none = 0xffff;
    /// Largest windows that networks are made for.
    static constexpr std::size_t mostVoxels = 169;

    /// low = min(a, b), high = max(a, b), of so many voxels more than the row has. Lines are read from their shift on;
    /// the first `inputs()` are rows of the image. `low` or `high` may be none.
    struct Step {
        std::uint16_t a;
        std::uint16_t b;
        std::uint16_t low;
        std::uint16_t high;
        std::uint32_t shiftA;
        std::uint32_t shiftB;
        std::uint32_t more;
    };

    /// @param index of the voxels of the window in ascending order
    RankNetwork(const RankWindow& window, std::size_t index);

    const std::vector<Step>& steps() const { return m_steps; }
    /// Rows of the window in storage order, those of its first plane first.
    std::size_t inputs() const { return m_inputs; }
    /// Lines of its own.
    std::size_t lines() const { return m_lines; }
    /// Where the result stands; may be an input.
    std::uint16_t result() const { return m_result; }
    /// Voxels by which lines are longer than the row.
    std::size_t more() const { return m_more; }
    /// Minima and maxima.
    std::size_t operations() const { return m_operations; }

private:
    class Builder;

    std::vector<Step> m_steps;
    std::size_t m_inputs;
    std::size_t m_lines = 0;
    std::uint16_t m_result = 0;
    std::size_t m_more;
    std::size_t m_operations = 0;
};

}  // namespace rix::filtering::rank
