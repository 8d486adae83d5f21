#include "Measures.h"

namespace rix::individual_analysis {

namespace {

constexpr vessel::ColumnType integer = vessel::ColumnType::INTEGER;

void compute(const ObjectView& object, std::span<double> values) {
    for (std::size_t axis = 0; axis < object.axes(); ++axis) {
        values[axis] = object.shape().lower[axis];
        values[object.axes() + axis] = object.shape().upper[axis];
    }
}

}  // namespace

// Indices, so that the box can be cut out of the image. One pixel: twice its position.
const MeasureDefinition boundingBoxDefinition{
    .name = "BoundingBox",
    .description = "Smallest box around the object, as indices of elements.",
    .values = {{"MinX", "First column.", {}, integer},
               {"MinY", "First row.", {}, integer},
               {"MinZ", "First plane.", {}, integer, Existence::Only3d},
               {"MaxX", "Last column.", {}, integer},
               {"MaxY", "Last row.", {}, integer},
               {"MaxZ", "Last plane.", {}, integer, Existence::Only3d}},
    .compute = &compute,
};

}  // namespace rix::individual_analysis
