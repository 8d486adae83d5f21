#include <rix/edge_detection/EdgesMsr.h>

#include <memory>

#include <rix/algorithms/ObjectInfo.h>

namespace rix::edge_detection {

namespace {

std::shared_ptr<measurement::MeasurementObject> make() {
    return std::make_shared<EdgesMsr>();
}

}  // namespace

EdgesMsr::EdgesMsr()
    : strength("Strength", "Length of the gradient at the edge voxel."),
      orientation("Orientation", "Angle of the gradient, from the x axis toward the y axis.", "rad"),
      directionX("DirectionX", "Component of the gradient's direction along x."),
      directionY("DirectionY", "Component of the gradient's direction along y."),
      directionZ("DirectionZ", "Component of the gradient's direction along z.") {}

const ObjectInfo& EdgesMsr::getInfo() {
    static const ObjectInfo info("EdgesMsr", &make);
    return info;
}

const ObjectInfo& EdgesMsr::getClassInfo() const {
    return getInfo();
}

String EdgesMsr::getDescription() const {
    return "This object contains places on edges.";
}

measurement::TableOfImage::Arrays EdgesMsr::columns() {
    Arrays all = TableOfPlaces::columns();
    all.push_back(&strength);
    if (ofVolumes) {
        all.insert(all.end(), {&directionX, &directionY, &directionZ});
    } else {
        all.push_back(&orientation);
    }
    return all;
}

}  // namespace rix::edge_detection
