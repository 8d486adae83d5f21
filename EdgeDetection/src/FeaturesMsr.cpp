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
    : frame("Frame", "The frame that it is in."),
      channel("Channel", "The channel that it is in."),
      positionX("PositionX", "Column coordinate in the world."),
      positionY("PositionY", "Row coordinate in the world."),
      positionZ("PositionZ", "Plane coordinate in the world."),
      strength("Strength", "The measure of corners, the votes for lines, the part of a circle's voxels that is there."),
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

void FeaturesMsr::reset(std::size_t rows) {
    frame.reset(rows);
    channel.reset(rows);
    for (auto* const array : {&positionX, &positionY, &positionZ, &strength, &orientation, &distance, &radius}) {
        array->reset(rows);
    }
}

std::vector<const measurement::BaseMeasurementArray*> FeaturesMsr::arrays() const {
    std::vector<const measurement::BaseMeasurementArray*> all;
    const auto add = [&](bool has, const measurement::BaseMeasurementArray& array) {
        if (has) {
            all.push_back(&array);
        }
    };
    add(hasFrames, frame);
    add(hasChannels, channel);
    add(true, positionX);
    add(true, positionY);
    add(hasPlanes, positionZ);
    add(hasRadii, radius);
    add(true, strength);
    add(hasOrientations, orientation);
    add(hasDistances, distance);
    return all;
}

}  // namespace rix::edge_detection
