#include "Measures.h"

#include "CroftonWeights.h"
#include "quantities/ContactsQuantity.h"

namespace rix::individual_analysis {

// The length of all boundaries, those of holes and of the part at the image's edge included: Crofton's formula with
// lines in four directions, weighted by the angles that they stand for (Serra 1982), also for unequal spacing. One
// pixel of side 1: 2.682. Discs of radius 5 pixels and more: -7 to +8.5 %, mean within 0.3 %, from 15 on within 3 %,
// mean within 0.2 %. Straight edges along the axes are underestimated by 5 to 8 %; long ellipses are met within 6 %.
const MeasureDefinition perimeterDefinition{
    .name = "Perimeter",
    .description = "Length of the object's boundary, by the formula of Crofton in four directions.",
    .quantities = {&ContactsQuantity::info},
    .existence = Existence::Only2d,
    .values = {{"", "", {.length = 1}}},
    .compute = [](const ObjectView& object, std::span<double> values) { values[0] = weightedEntries(object); },
    .prepare =
        [](const LabelImageInfo& image) {
            return perimeterWeights(image.calibration.m_spacingOf[0], image.calibration.m_spacingOf[1]);
        },
};

}  // namespace rix::individual_analysis
