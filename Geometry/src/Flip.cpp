#include <rix/geometry/Flip.h>

#include <rix/properties/EnumInfo.h>

#include "Mapped.h"

namespace rix::geometry {

namespace {

AxisMaps mapsOf(const Flip& flip) {
    AxisMaps maps = identityMaps(*flip.getInputImage());
    reverse(maps[static_cast<std::size_t>(flip.getAxis())]);
    return maps;
}

using Image = Mapped<Flip, &mapsOf>;

void declare(Flip& flip, algorithms::Properties& properties) {
    Image::declareInput(flip, properties, "The image that is flipped.");
    properties.input(flip.axis, "The axis that is reversed.");
    Image::declareOutput(flip, properties, "The flipped image.");
}

constexpr algorithms::Definition<Flip> definition{
    .summary = "Reverses an axis of an image.",
    .kind = AlgorithmKind::Geometry,
    .declare = &declare,
    .process = &Image::process,
};

}  // namespace

const EnumInfo& Flip::getInfoAxis() {
    static const EnumInfo info("Axis", "COLUMNS = 0, ROWS, PLANS");
    return info;
}

RIX_DEFINE_ALGORITHM(Flip, definition)

}  // namespace rix::geometry
