#include <rix/synthesis/ShapesMsr.h>

#include <memory>

#include <rix/algorithms/ObjectInfo.h>

namespace rix::synthesis {

namespace {

std::shared_ptr<measurement::MeasurementObject> make() {
    return std::make_shared<ShapesMsr>();
}

}  // namespace

ShapesMsr::ShapesMsr()
    : label("Label", "The number of the shape, from 1: its label in the label image."),
      shape("Shape", "What it is."),
      x("X", "Column coordinate of its centroid."),
      y("Y", "Row coordinate of its centroid."),
      z("Z", "Plane coordinate of its centroid."),
      area("Area", "Its area."),
      perimeter("Perimeter", "The length of its outline, of holes as well."),
      volume("Volume", "Its volume."),
      surfaceArea("SurfaceArea", "The area of its surface."),
      equivalentDiameter("EquivalentDiameter", "The diameter of the disc or ball of the same size."),
      value("Value", "The grey value that it was drawn with.") {}

const ObjectInfo& ShapesMsr::getInfo() {
    static const ObjectInfo info("ShapesMsr", &make);
    return info;
}

const ObjectInfo& ShapesMsr::getClassInfo() const {
    return getInfo();
}

String ShapesMsr::getDescription() const {
    return "This object contains the true sizes of shapes that were drawn.";
}

void ShapesMsr::reset(std::size_t rows, bool ofBodies) {
    inSpace = ofBodies;
    label.reset(rows);
    shape.reset(rows);
    for (auto* const array : {&x, &y, &z, &area, &perimeter, &volume, &surfaceArea, &equivalentDiameter, &value}) {
        array->reset(rows);
    }
}

std::vector<const measurement::BaseMeasurementArray*> ShapesMsr::arrays() const {
    if (inSpace) {
        return {&label, &shape, &x, &y, &z, &volume, &surfaceArea, &equivalentDiameter, &value};
    }
    return {&label, &shape, &x, &y, &area, &perimeter, &equivalentDiameter, &value};
}

}  // namespace rix::synthesis
