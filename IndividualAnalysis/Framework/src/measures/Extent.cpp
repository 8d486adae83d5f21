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

// One pixel and every upright box: 1. A disc tends to pi / 4, a ball to pi / 6. The spacing cancels out.
const MeasureDefinition extentDefinition{
    .name = "Extent",
    .description = "Part of the bounding box that the object fills.",
    .values = {{"", "", {}}},
    .compute = &compute,
};

}  // namespace rix::individual_analysis
