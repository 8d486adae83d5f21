#include "Measures.h"

namespace rix::individual_analysis {

// Of the principal axes. One pixel: the ratio of its longest and shortest side, 1 for equal spacing. Unequal spacing:
// as exact as equal one. Discs of radius 5 pixels and more: up to 1.11, 1.03 in the mean, from 15 on up to 1.025, 1.008
// in the mean; balls of radius 5 and more up to 1.05, from 12 on 1.01. Never below 1.
const MeasureDefinition elongationDefinition{
    .name = "Elongation",
    .description = "Longest principal axis divided by the shortest.",
    .type = MeasureProcessingType::None,
    .values = {{"", "", {}}},
    .neededForFinalization = {"PrincipalAxes"},
    .compute =
        [](const ObjectView& object, std::span<double> values) {
            values[0] = object.dependency(0, 0) / object.dependency(0, object.axes() - 1);
        },
};

}  // namespace rix::individual_analysis
