#include <rix/geometry/ContoursMsr.h>

#include <memory>

#include <rix/algorithms/ObjectInfo.h>

namespace rix::geometry {

namespace {

std::shared_ptr<measurement::MeasurementObject> make() {
    return std::make_shared<ContoursMsr>();
}

}  // namespace

ContoursMsr::ContoursMsr()
    : line("Line", "The number of the line, from 1."),
      x("X", "The point: x in the world."),
      y("Y", "The point: y in the world."),
      z("Z", "The point: z in the world.") {}

const ObjectInfo& ContoursMsr::getInfo() {
    static const ObjectInfo info("ContoursMsr", &make);
    return info;
}

const ObjectInfo& ContoursMsr::getClassInfo() const {
    return getInfo();
}

String ContoursMsr::getDescription() const {
    return "This object contains lines in an image.";
}

measurement::TableOfImage::Arrays ContoursMsr::columns() {
    return {&line, &x, &y, &z};
}

void ContoursMsr::setUnits(const String& unit) {
    for (auto* const array : {&x, &y, &z}) {
        array->setUnit(unit);
    }
}

}  // namespace rix::geometry
