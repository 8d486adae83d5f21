#include "Measures.h"

namespace rix::individual_analysis {

namespace {

void compute(const ObjectView& object, std::span<double> values) {
    bool touches = false;
    for (std::size_t axis = 0; axis < object.axes(); ++axis) {
        touches = touches || object.shape().lower[axis] == 0 ||
                  object.shape().upper[axis] + std::size_t{1} == object.extent(axis);
    }
    values[0] = touches ? 1.0 : 0.0;
}

}  // namespace

// Such objects may go on outside the image: measures of their shape are not to be trusted. In the plane the edges of
// rows and columns count, in space those of planes as well. Exact; independent of the spacing.
const MeasureDefinition touchesBorderDefinition{
    .name = "TouchesBorder",
    .description = "1 when a pixel of the object lies at the edge of the image, else 0.",
    .values = {{"", "", {}, vessel::ColumnType::INTEGER}},
    .compute = &compute,
};

}  // namespace rix::individual_analysis
