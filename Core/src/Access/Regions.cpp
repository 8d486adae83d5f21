#include <rix/access/Regions.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include <rix/exceptions/Exception.h>

namespace rix::access {

namespace {

/// The number of whole elements in [0, extent] below a place; places beyond 64 bits included.
std::size_t clampedIndex(double place, std::size_t extent) {
    if (!(place > 0)) {
        return 0;
    }
    return place >= static_cast<double>(extent) ? extent : std::min(static_cast<std::size_t>(place), extent);
}

/// The elements from floor(low) - before to floor(high) + after.
Interval intervalOf(double low, double high, const Reach::Axis& support, std::size_t extent) {
    // Beyond 2^53 a sum in doubles would lose the support, but there it decides nothing: no image reaches so far.
    // Below, it is exact.
    Interval interval;
    interval.begin = clampedIndex(std::floor(low) - static_cast<double>(support.before), extent);
    interval.end = clampedIndex(std::floor(high) + static_cast<double>(support.after) + 1.0, extent);
    return interval;
}

}  // namespace

Block sourceRegion(const Block& output, const RegionMap& map, const Reach& support,
                   const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents) {
    const Interval* const axes[] = {&output.columns(), &output.rows(), &output.planes()};
    if (std::any_of(std::begin(axes), std::end(axes), [](const Interval* axis) { return axis->end <= axis->begin; })) {
        throw InvalidCall("An empty block of an output reads no region of the input.");
    }
    Block source = output;
    const Reach::Axis* const supports[] = {&support.columns, &support.rows, &support.planes};
    for (std::size_t axis = COLUMNS; axis <= PLANS; ++axis) {
        double low = std::numeric_limits<double>::infinity();
        double high = -low;
        for (unsigned corner = 0; corner < 8; ++corner) {
            const auto index = [&](unsigned i) { return (corner >> i & 1U) != 0 ? axes[i]->end - 1 : axes[i]->begin; };
            const double place = map.place(axis, index(0), index(1), index(2));
            if (!std::isfinite(place)) {
                throw InvalidCall("The map of an output to its input gives a place that is not finite, at column " +
                                  std::to_string(index(0)) + ", row " + std::to_string(index(1)) + ", plane " +
                                  std::to_string(index(2)) + ", axis " + std::to_string(axis) + ".");
            }
            low = std::min(low, place);
            high = std::max(high, place);
        }
        source.axes[axis] = intervalOf(low, high, *supports[axis], extents[axis]);
    }
    return source;
}

}  // namespace rix::access
