#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <rix/access/Looks.h>
#include <rix/access/Scratch.h>

/// Greatest values among their neighbours, and where they lie between them.
namespace rix::edge_detection {

/// Where a parabola through three values one step apart is greatest, from the middle one: at most half a step.
inline double parabolaOffset(double behind, double middle, double ahead) {
    const double curvature = behind - 2.0 * middle + ahead;
    return curvature < 0.0 ? std::clamp(0.5 * (behind - ahead) / curvature, -0.5, 0.5) : 0.0;
}

struct Peak {
    double value = 0.0;
    std::array<std::size_t, 3> cell{};
    std::array<double, 3> at{};  ///< between the cells
};

/// Whether a value is greater than its neighbours; of equal ones the first is. @param at(dx, dy, dz) gives them
template <class T, class At>
bool isPeak(T value, int planes, const At& at) {
    for (int dz = -planes; dz <= planes; ++dz) {
        for (int dy = -1; dy <= 1; ++dy) {
            for (int dx = -1; dx <= 1; ++dx) {
                const bool isSelf = dx == 0 && dy == 0 && dz == 0;
                const bool isBefore = dz < 0 || (dz == 0 && (dy < 0 || (dy == 0 && dx < 0)));
                if (!isSelf && !(isBefore ? value > at(dx, dy, dz) : value >= at(dx, dy, dz))) {
                    return false;
                }
            }
        }
    }
    return true;
}

/// A peak at a cell; its place by parabolas along each axis. @param weakest what neighbours beyond the edges count as
template <class At>
Peak peakAt(double value, const std::array<std::size_t, 3>& cell, int planes, double weakest, const At& at) {
    Peak peak{value, cell, {}};
    const auto known = [&](double neighbour) { return std::max(neighbour, weakest); };
    for (std::size_t axis = 0; axis < 3; ++axis) {
        peak.at[axis] = static_cast<double>(cell[axis]);
        if (axis < 2 || planes > 0) {
            const std::array<int, 3> step{axis == 0 ? 1 : 0, axis == 1 ? 1 : 0, axis == 2 ? 1 : 0};
            peak.at[axis] +=
                parabolaOffset(known(at(-step[0], -step[1], -step[2])), value, known(at(step[0], step[1], step[2])));
        }
    }
    return peak;
}

/// The strongest first, of equal ones the first in storage order.
inline void orderByStrength(std::vector<Peak>& peaks) {
    std::sort(peaks.begin(), peaks.end(), [](const Peak& a, const Peak& b) {
        return a.value != b.value
                   ? a.value > b.value
                   : std::lexicographical_compare(a.cell.rbegin(), a.cell.rend(), b.cell.rbegin(), b.cell.rend());
    });
}

/// What `thinOut` takes.
inline std::size_t thinningBytes(std::size_t cells) {
    return access::Scratch::held(cells);
}

/// Leaves out peaks, in their order, in cells that one before has covered.
/// @param cover(peak, mark) calls `mark(x, y)` for the cells around a peak
/// @param most so many are kept; 0: all
template <class Cover>
void thinOut(std::vector<Peak>& peaks, std::size_t columns, std::size_t rows, std::size_t most, const Cover& cover) {
    const access::Scratch memory(columns * rows);
    auto* const covered = memory.as<std::uint8_t>();
    access::Looks looks;
    for (std::size_t y = 0; y < rows; ++y) {
        std::fill_n(covered + y * columns, columns, std::uint8_t{0});
        looks.add(columns / 512 + 1);
    }
    std::size_t kept = 0;
    for (std::size_t i = 0; i < peaks.size() && (most == 0 || kept < most); ++i) {
        const Peak peak = peaks[i];
        looks.add(1);
        if (covered[peak.cell[1] * columns + peak.cell[0]] == 0) {
            cover(peak, [&](std::size_t x, std::size_t y) {
                covered[y * columns + x] = 1;
                looks.add(1);
            });
            peaks[kept++] = peak;
        }
    }
    peaks.resize(kept);
    peaks.shrink_to_fit();  // those of many planes are held beside each other
}

}  // namespace rix::edge_detection
