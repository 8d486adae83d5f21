#include "LabelDiscs.h"

#include <cstdint>
#include <cstdlib>

namespace rix::bench {

io::MemoryImage labelledDiscs(std::size_t side, std::size_t cell) {
    io::MemoryImage image;
    if (!image.reserve(RIX_UINT32, side, side, 1, 1, 1)) {
        std::abort();
    }
    image.setSpacingOf(COLUMNS, 1.0);
    image.setSpacingOf(ROWS, 1.0);
    const std::size_t perRow = (side + cell - 1) / cell;
    const auto half = static_cast<double>(cell) / 2.0;
    auto* pixel = reinterpret_cast<std::uint32_t*>(image.getInternalBuffer());
    for (std::size_t y = 0; y < side; ++y) {
        for (std::size_t x = 0; x < side; ++x) {
            const std::size_t number = y / cell * perRow + x / cell;
            const double radius = static_cast<double>(cell) * (0.3 + 0.02 * static_cast<double>(number * 7 % 11));
            const double dx = static_cast<double>(x % cell) + 0.5 - half;
            const double dy = static_cast<double>(y % cell) + 0.5 - half;
            *pixel++ = static_cast<std::uint32_t>(dx * dx + dy * dy < radius * radius ? number + 1 : 0);
        }
    }
    return image;
}

}  // namespace rix::bench
