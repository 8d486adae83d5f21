#include "Measures.h"

namespace rix::individual_analysis {

namespace {

void compute(const ObjectView& object, std::span<double> values) {
    const ShapeSums& shape = object.shape();
    double box = 1.0;
    for (std::size_t axis = 0; axis < object.axes(); ++axis) {
        box *= static_cast<double>(shape.upper[axis] - shape.lower[axis] + 1);
    }
    values[0] = static_cast<double>(shape.count) / box;
}

}  // namespace

// Pixels by those of the box. One pixel and every upright box: 1. The spacing cancels out. Discs of radius 5 pixels and
// more: pi / 4 within -16.5 and +15 %, mean within 0.8 %, from 15 on -7 to +5.5 %; balls: pi / 6 within -27 and +28.5
// %, mean within 2 %, from 12 on within 13 %.
const MeasureDefinition extentDefinition{
    .name = "Extent",
    .description = "Part of the bounding box that the object fills.",
    .values = {{"", "", {}}},
    .compute = &compute,
};

}  // namespace rix::individual_analysis
