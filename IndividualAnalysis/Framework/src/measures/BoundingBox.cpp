#include "Measures.h"

namespace rix::individual_analysis {

namespace {

constexpr vessel::ColumnType integer = vessel::ColumnType::INTEGER;

void compute(const ObjectView& object, std::span<double> values) {
    for (std::size_t axis = 0; axis < object.axes(); ++axis) {
        values[axis] = object.shape().lower[axis];
        values[object.axes() + axis] = object.shape().upper[axis];
        const std::uint32_t count = object.shape().upper[axis] - object.shape().lower[axis] + 1;
        values[2 * object.axes() + axis] = count * object.spacing(axis);
    }
}

}  // namespace

// First and last indices, so that the box can be cut out of the image, and the lengths of its sides. One pixel: twice
// its position, and its sides. Exact, with unequal spacing as well; of discs and balls it has up to a pixel more or
// less on each side.
const MeasureDefinition boundingBoxDefinition{
    .name = "BoundingBox",
    .description = "Smallest upright box around the object.",
    .values = {{"MinX", "First column.", {}, integer},
               {"MinY", "First row.", {}, integer},
               {"MinZ", "First plane.", {}, integer, Existence::Only3d},
               {"MaxX", "Last column.", {}, integer},
               {"MaxY", "Last row.", {}, integer},
               {"MaxZ", "Last plane.", {}, integer, Existence::Only3d},
               {"SizeX", "Side along the columns.", {.length = 1}},
               {"SizeY", "Side along the rows.", {.length = 1}},
               {"SizeZ", "Side along the planes.", {.length = 1}, vessel::ColumnType::REAL, Existence::Only3d}},
    .compute = &compute,
};

}  // namespace rix::individual_analysis
