#include "SpacedPeaks.h"

#include <algorithm>
#include <cmath>
#include <tuple>

#include <rix/access/KeyTable.h>
#include <rix/access/Looks.h>

namespace rix::segmentation {

SpacedPeaks::SpacedPeaks(double distance, const std::array<std::size_t, 3>& extents, const std::array<double, 3>& units)
    : m_distance(distance), m_units(units), m_cell{}, m_cells{} {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        m_cell[axis] = std::max(distance / units[axis], 1.0);
        // Tops of parabolas lie up to half a voxel before the first one and behind the last.
        m_cells[axis] = static_cast<std::size_t>((static_cast<double>(extents[axis]) + 1.0) / m_cell[axis]) + 1;
    }
}

std::size_t SpacedPeaks::cellOf(const Peak& peak, const std::array<int, 3>& step, bool& isInside) const {
    std::size_t cell = 0;
    isInside = true;
    for (std::size_t axis = 3; axis-- > 0;) {
        const auto index = static_cast<std::size_t>((peak.place[axis] + 0.5) / m_cell[axis]) +
                           static_cast<std::size_t>(step[axis]);  // wraps to beyond the last
        isInside = isInside && index < m_cells[axis];
        cell = cell * m_cells[axis] + index;
    }
    return cell;
}

bool SpacedPeaks::areNear(const Peak& a, const Peak& b) const {
    double square = 0.0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double along = (a.place[axis] - b.place[axis]) * m_units[axis];
        square += along * along;
    }
    return square < m_distance * m_distance;
}

void SpacedPeaks::thin(access::CountedVector<Peak>& peaks) const {
    access::Looks looks;
    std::sort(peaks.begin(), peaks.end(), [&](const Peak& a, const Peak& b) {
        looks.add(1);
        return std::tuple(a.part, -a.value, a.first) < std::tuple(b.part, -b.value, b.first);
    });
    if (m_distance == 0.0) {
        return;
    }
    constexpr std::size_t cellsBeside = 27;
    access::KeyTable lastOfCell;  // one more than the index of the last taken peak of each cell
    access::CountedVector<std::size_t> beforeInCell(peaks.size());
    std::size_t taken = 0;
    for (std::size_t i = 0; i < peaks.size(); ++i) {
        const Peak peak = peaks[i];
        if (taken > 0 && peaks[taken - 1].part != peak.part) {
            lastOfCell = access::KeyTable();
        }
        bool isFree = true;
        for (int k = 0; k < static_cast<int>(cellsBeside) && isFree; ++k) {
            bool isInside = false;
            const std::size_t cell = cellOf(peak, {k % 3 - 1, k / 3 % 3 - 1, k / 9 - 1}, isInside);
            for (std::size_t other = isInside ? lastOfCell.find(cell + 1) : 0; other != 0 && isFree;
                 other = beforeInCell[other - 1]) {
                isFree = !areNear(peak, peaks[other - 1]);
                looks.add(1);
            }
        }
        looks.add(cellsBeside);
        if (isFree) {
            bool isInside = false;
            std::uint64_t& last = lastOfCell[cellOf(peak, {0, 0, 0}, isInside) + 1];
            beforeInCell[taken] = last;
            peaks[taken++] = peak;
            last = taken;
        }
    }
    peaks.resize(taken);
}

double SpacedPeaks::bytesFor(double peaks) {
    return access::KeyTable::bytesFor(peaks) + static_cast<double>(sizeof(std::size_t)) * peaks;
}

}  // namespace rix::segmentation
