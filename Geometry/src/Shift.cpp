#include <rix/geometry/Shift.h>

#include "Mapped.h"

namespace rix::geometry {

namespace {

AxisMaps mapsOf(const Shift& shift) {
    AxisMaps maps = identityMaps(*shift.getInputImage());
    const std::array<std::int64_t, 3> offsets{shift.getOffsetX(), shift.getOffsetY(), shift.getOffsetZ()};
    for (std::size_t axis = 0; axis < offsets.size(); ++axis) {
        maps[axis].first = -(offsets[axis] % static_cast<std::int64_t>(maps[axis].extent));
        maps[axis].beyond = Beyond::Again;
    }
    return maps;
}

using Image = Mapped<Shift, &mapsOf>;

void declare(Shift& shift, algorithms::Properties& properties) {
    Image::declareInput(shift, properties, "The image that is shifted.");
    properties.input(shift.offsetX, "Columns by which the image is shifted.");
    properties.input(shift.offsetY, "Rows by which the image is shifted.");
    properties.input(shift.offsetZ, "Planes by which the image is shifted.");
    Image::declareOutput(shift, properties, "The shifted image.");
}

constexpr algorithms::Definition<Shift> definition{
    .summary = "Shifts an image cyclically.",
    .kind = AlgorithmKind::Geometry,
    .declare = &declare,
    .process = &Image::process,
};

}  // namespace

RIX_DEFINE_ALGORITHM(Shift, definition)

}  // namespace rix::geometry
