#include "Measures.h"

namespace rix::individual_analysis {

// Exact for the union of the pixels. One pixel: the area of one. Unequal spacing: exact. Discs of radius 5 pixels and
// more: -8.5 to +10 %, the mean over places and radii within 0.2 %; from 15 on within 2.5 % and 0.1 %. Most just below
// and just above a radius at which many pixels enter at once, about the centre of one.
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
