#include <rix/geometry/PointValuesMsr.h>

#include <memory>

#include <rix/algorithms/ObjectInfo.h>

namespace rix::geometry {

namespace {

std::shared_ptr<measurement::MeasurementObject> make() {
    return std::make_shared<PointValuesMsr>();
}

}  // namespace

PointValuesMsr::PointValuesMsr()
    : x("X", "The point: x in the world."),
      y("Y", "The point: y in the world."),
      z("Z", "The point: z in the world."),
      value("Value", "The value of the image there.") {}

const ObjectInfo& PointValuesMsr::getInfo() {
    static const ObjectInfo info("PointValuesMsr", &make);
    return info;
}

const ObjectInfo& PointValuesMsr::getClassInfo() const {
    return getInfo();
}

String PointValuesMsr::getDescription() const {
    return "This object contains the values of an image at points.";
}

measurement::TableOfImage::Arrays PointValuesMsr::columns() {
    return {&x, &y, &z, &value};
}

void PointValuesMsr::setUnits(const String& unit) {
    for (auto* const array : {&x, &y, &z}) {
        array->setUnit(unit);
    }
}

}  // namespace rix::geometry
