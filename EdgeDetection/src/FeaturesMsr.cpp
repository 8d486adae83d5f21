#include <rix/edge_detection/FeaturesMsr.h>

#include <memory>

#include <rix/algorithms/ObjectInfo.h>

namespace rix::edge_detection {

namespace {

std::shared_ptr<measurement::MeasurementObject> make() {
    return std::make_shared<FeaturesMsr>();
}

}  // namespace

FeaturesMsr::FeaturesMsr()
    : strength("Strength", "The measure of corners, the votes for lines, the part of a circle's voxels that is there."),
      orientation("Orientation", "Angle of the gradient or of a line's normal, from the x axis toward the y axis.",
                  "rad"),
      distance("Distance", "Of a line from the first voxel, along its normal."),
      radius("Radius", "Of a circle.") {}

const ObjectInfo& FeaturesMsr::getInfo() {
    static const ObjectInfo info("FeaturesMsr", &make);
    return info;
}

const ObjectInfo& FeaturesMsr::getClassInfo() const {
    return getInfo();
}

String FeaturesMsr::getDescription() const {
    return "This object contains corners, lines or circles.";
}

measurement::TableOfImage::Arrays FeaturesMsr::columns() {
    Arrays all = TableOfPlaces::columns();
    if (hasRadii) {
        all.push_back(&radius);
    }
    all.push_back(&strength);
    if (hasOrientations) {
        all.push_back(&orientation);
    }
    if (hasDistances) {
        all.push_back(&distance);
    }
    return all;
}

}  // namespace rix::edge_detection
