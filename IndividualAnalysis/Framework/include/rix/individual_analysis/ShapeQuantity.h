#pragma once

#include <array>
#include <cstdint>
#include <limits>

#include <rix/Export.h>
#include <rix/individual_analysis/Quantity.h>

namespace rix::individual_analysis {

/// Positions are indices of elements; all sums are exact. One cache line.
struct ShapeSums {
    std::uint64_t count = 0;                  ///< pixels
    std::uint64_t runs = 0;                   ///< maximal runs of pixels along the columns
    std::array<std::uint64_t, 3> position{};  ///< sums of the column, row and plane
    std::array<std::uint32_t, 3> lower{none, none, none};
    std::array<std::uint32_t, 3> upper{};  ///< of the last element, not past it

    static constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();
};

/// The number of pixels, the box and the sums of positions of each object. Always gathered.
class RIX_EXPORT ShapeQuantity : public SumsOfObjects<ShapeQuantity, ShapeSums> {
public:
    static const QuantityInfo info;

    explicit ShapeQuantity(QuantityTable& /*table*/) {}

    void add(const RunLine& line) override;
    static void joinValues(ShapeSums& left, const ShapeSums& right);
};

/// Sums 0, 1, ..., n - 1.
constexpr std::uint64_t sumBelow(std::uint64_t n) {
    return n % 2 == 0 ? n / 2 * (n - 1) : (n - 1) / 2 * n;
}

}  // namespace rix::individual_analysis
