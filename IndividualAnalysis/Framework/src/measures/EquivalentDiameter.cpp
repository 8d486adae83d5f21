#include "Measures.h"

#include <cmath>
#include <numbers>

namespace rix::individual_analysis {

namespace {

void compute(const ObjectView& object, std::span<double> values) {
    const double size = static_cast<double>(object.shape().count) * object.elementSize();
    values[0] = object.inSpace() ? std::cbrt(6.0 * size / std::numbers::pi) : std::sqrt(4.0 * size / std::numbers::pi);
}

}  // namespace

// sqrt(4 area / pi), in space cbrt(6 volume / pi). One pixel of side 1: 1.128, in space 1.241. Unequal spacing: exact
// for the union of the pixels. Discs of radius 5 pixels and more: within 5 %, mean within 0.1 %, from 15 on 1.5 %;
// balls of radius 5 and more within 3 %, from 12 on 1 %, mean within 0.1 %.
const MeasureDefinition equivalentDiameterDefinition{
    .name = "EquivalentDiameter",
    .description = "Diameter of the disc (ball) of the same area (volume).",
    .values = {{"", "", {.length = 1}}},
    .compute = &compute,
};

}  // namespace rix::individual_analysis
