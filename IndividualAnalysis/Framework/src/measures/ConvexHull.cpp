#include "Measures.h"

#include "geometry/HullMeasures.h"
#include "quantities/OutlineQuantity.h"

namespace rix::individual_analysis {

namespace {

void compute(const ObjectView& object, std::span<double> values) {
    if (object.inSpace()) {
        const HullInSpace hull = measureHullInSpace(object.gathered<OutlineQuantity>(),
                                                    {object.spacing(0), object.spacing(1), object.spacing(2)});
        values[0] = hull.volume;
        values[1] = hull.diameter;
        return;
    }
    const HullInPlane hull =
        measureHullInPlane(object.gathered<OutlineQuantity>(), {object.spacing(0), object.spacing(1)});
    values[0] = hull.area;
    values[1] = hull.diameter;
    values[2] = hull.diameterAngle;
    values[3] = hull.width;
    values[4] = hull.widthAngle;
}

constexpr vessel::ColumnType real = vessel::ColumnType::REAL;

}  // namespace

// Of the corners of the pixels (in the plane by the monotone chain of Andrew 1979, in space by the quick hull of
// Barber, Dobkin and Huhdanpaa 1996), with exact integers, so that the hull holds every pixel as a whole; lengths and
// angles are those in the world. What other measures of the hull are taken from: their bias is told there.
const MeasureDefinition convexHullDefinition{
    .name = "ConvexHull",
    .description = "Convex hull of the object.",
    .quantities = {&OutlineQuantity::info},
    .values = {{"Area", "Area of the hull.", {.length = 2}, real, Existence::Only2d},
               {"Volume", "Volume of the hull.", {.length = 3}, real, Existence::Only3d},
               {"Diameter", "Largest distance of two of its points.", {.length = 1}},
               {"DiameterAngle", "Direction of the diameter.", {}, real, Existence::Only2d, "rad"},
               {"Width", "Smallest distance of two parallel lines around it.", {.length = 1}, real, Existence::Only2d},
               {"WidthAngle", "Direction in which the width is measured.", {}, real, Existence::Only2d, "rad"}},
    .compute = &compute,
};

}  // namespace rix::individual_analysis
