#include <rix/geometry/SurfaceMsr.h>

#include <memory>

#include <rix/algorithms/ObjectInfo.h>

namespace rix::geometry {

namespace {

std::shared_ptr<measurement::MeasurementObject> make() {
    return std::make_shared<SurfaceMsr>();
}

}  // namespace

SurfaceMsr::SurfaceMsr()
    : vertex1("Vertex1", "The number of corner 1, from 0."),
      vertex2("Vertex2", "The number of corner 2, from 0."),
      vertex3("Vertex3", "The number of corner 3, from 0."),
      x1("X1", "Corner 1: x in the world."),
      y1("Y1", "Corner 1: y in the world."),
      z1("Z1", "Corner 1: z in the world."),
      x2("X2", "Corner 2: x in the world."),
      y2("Y2", "Corner 2: y in the world."),
      z2("Z2", "Corner 2: z in the world."),
      x3("X3", "Corner 3: x in the world."),
      y3("Y3", "Corner 3: y in the world."),
      z3("Z3", "Corner 3: z in the world.") {}

const ObjectInfo& SurfaceMsr::getInfo() {
    static const ObjectInfo info("SurfaceMsr", &make);
    return info;
}

const ObjectInfo& SurfaceMsr::getClassInfo() const {
    return getInfo();
}

String SurfaceMsr::getDescription() const {
    return "This object contains the triangles of a surface.";
}

measurement::TableOfImage::Arrays SurfaceMsr::columns() {
    return {&vertex1, &vertex2, &vertex3, &x1, &y1, &z1, &x2, &y2, &z2, &x3, &y3, &z3};
}

void SurfaceMsr::setUnits(const String& unit) {
    for (auto* const array : {&x1, &y1, &z1, &x2, &y2, &z2, &x3, &y3, &z3}) {
        array->setUnit(unit);
    }
}

}  // namespace rix::geometry
