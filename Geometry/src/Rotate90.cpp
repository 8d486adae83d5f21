#include <rix/geometry/Rotate90.h>

#include <rix/properties/EnumInfo.h>

#include "Mapped.h"
#include "PlaneLabels.h"

namespace rix::geometry {

namespace {

AxisMaps mapsOf(const Rotate90& rotation) {
    AxisMaps maps = identityMaps(*rotation.getInputImage());
    const Rotate90::Plane plane = rotation.getPlane();
    AxisMap& first = maps[plane == Rotate90::YZ ? ROWS : COLUMNS];
    AxisMap& second = maps[plane == Rotate90::XY ? ROWS : PLANS];
    const int turns = ((rotation.getQuarterTurns() % 4) + 4) % 4;
    for (int turn = 0; turn < turns; ++turn) {
        std::swap(first, second);
        reverse(first);
    }
    return maps;
}

using Image = Mapped<Rotate90, &mapsOf>;

void declare(Rotate90& rotation, algorithms::Properties& properties) {
    Image::declareInput(rotation, properties, "The image that is turned.");
    rotation.quarterTurns = 1;
    properties.input(rotation.quarterTurns, "Turns by 90 degrees from the first axis of the plane to the second.");
    properties.choice(rotation.plane, "The axes of the plane in which the image is turned.",
                      AddRuleIsAnEnumOfType(Rotate90::getInfoPlane()));
    keepLabelsOfPlanes<Rotate90, &mapsOf>(rotation, rotation.plane);
    Image::declareOutput(rotation, properties, "The turned image.");
}

constexpr algorithms::Definition<Rotate90> definition{
    .summary = "Turns an image by quarter turns.",
    .kind = AlgorithmKind::Geometry,
    .declare = &declare,
    .process = &Image::process,
};

}  // namespace

const EnumInfo& Rotate90::getInfoPlane() {
    static const EnumInfo info("Plane", "XY = 0, XZ, YZ");
    return info;
}

RIX_DEFINE_ALGORITHM(Rotate90, definition)

}  // namespace rix::geometry
