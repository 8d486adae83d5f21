#include "Measures.h"

namespace rix::individual_analysis {

// Pixels times the area of one. One pixel: that area. Of a disc of radius r >= 5 pixels, centred anywhere, within 5 % of
// pi r^2, and without bias: the mean over all centres is pi r^2.
const MeasureDefinition areaDefinition{
    .name = "Area",
    .description = "Area of the object: the number of pixels times the area of one.",
    .existence = Existence::Only2d,
    .values = {{"", "", {.length = 2}}},
    .compute =
        [](const ObjectView& object, std::span<double> values) {
            values[0] = static_cast<double>(object.shape().count) * object.elementSize();
        },
};

}  // namespace rix::individual_analysis
