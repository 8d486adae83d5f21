#include "RankWindow.h"

namespace rix::filtering::rank {

std::int64_t RankWindow::halfChord(std::size_t row, std::size_t plane) const {
    const auto square = [](std::size_t i, std::size_t extent) {
        const auto d = static_cast<std::int64_t>(i) - static_cast<std::int64_t>(extent / 2);
        return d * d;
    };
    const auto r = static_cast<std::int64_t>(radius);
    const std::int64_t left = r * r - square(row, rows) - square(plane, planes);
    std::int64_t half = left < 0 ? -1 : r;
    while (half > 0 && half * half > left) {
        --half;
    }
    return half;
}

std::size_t RankWindow::voxels() const {
    if (!isRound) {
        return boxVoxels();
    }
    std::size_t count = 0;
    for (std::size_t plane = 0; plane < planes; ++plane) {
        for (std::size_t row = 0; row < rows; ++row) {
            const std::int64_t half = halfChord(row, plane);
            count += half < 0 ? 0 : static_cast<std::size_t>(2 * half + 1);
        }
    }
    return count;
}

}  // namespace rix::filtering::rank
