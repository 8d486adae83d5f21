#include <rix/individual_analysis/ShapeQuantity.h>

#include <algorithm>

namespace rix::individual_analysis {

const QuantityInfo ShapeQuantity::info{
    .name = "Shape", .create = &makeQuantity<ShapeQuantity>, .bytesOfObject = sizeof(ShapeSums)};

void ShapeQuantity::add(const RunLine& line) {
    const std::uint32_t row = line.row();
    const std::uint32_t plane = line.plane();
    ShapeSums* const all = data();
    for (const Run& run : line.runs()) {
        ShapeSums& sums = all[run.slot];
        const std::uint64_t length = run.end - run.begin;
        sums.count += length;
        sums.runs += 1;
        sums.position[0] += length * run.begin + sumBelow(length);
        sums.position[1] += length * row;
        sums.position[2] += length * plane;
        sums.lower[0] = std::min(sums.lower[0], run.begin);
        sums.upper[0] = std::max(sums.upper[0], run.end - 1);
        sums.lower[1] = std::min(sums.lower[1], row);
        sums.upper[1] = std::max(sums.upper[1], row);
        sums.lower[2] = std::min(sums.lower[2], plane);
        sums.upper[2] = plane;
    }
}

void ShapeQuantity::joinValues(ShapeSums& left, const ShapeSums& right) {
    left.count += right.count;
    left.runs += right.runs;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        left.position[axis] += right.position[axis];
        left.lower[axis] = std::min(left.lower[axis], right.lower[axis]);
        left.upper[axis] = std::max(left.upper[axis], right.upper[axis]);
    }
}

}  // namespace rix::individual_analysis
