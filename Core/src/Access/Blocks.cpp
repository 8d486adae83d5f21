#include <rix/access/Blocks.h>

#include <algorithm>

namespace rix::access {

Interval partOf(std::size_t extent, std::size_t parts, std::size_t index) {
    // The first `extent % parts` parts have one element more; no product that could overflow.
    const std::size_t size = extent / parts;
    const std::size_t longer = extent % parts;
    const std::size_t begin = index * size + std::min(index, longer);
    return {begin, begin + size + (index < longer ? 1 : 0)};
}

Block withReach(const Block& block, const Reach& reach, const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents) {
    Block source = block;
    const Reach::Axis* const axes[] = {&reach.columns, &reach.rows, &reach.planes};
    for (std::size_t axis = COLUMNS; axis <= PLANS; ++axis) {
        Interval& interval = source.axes[axis];
        interval.begin -= std::min(interval.begin, axes[axis]->before);
        interval.end += std::min(extents[axis] - interval.end, axes[axis]->after);
    }
    return source;
}

}  // namespace rix::access
