#include "Measures.h"

namespace rix::individual_analysis {

// 1 for discs, balls, squares and one pixel of equal spacing; one pixel of unequal spacing is as long as its sides.
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
