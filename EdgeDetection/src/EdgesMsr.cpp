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
    : frame("Frame", "The frame that it is in."),
      channel("Channel", "The channel that it is in."),
      positionX("PositionX", "Column coordinate in the world."),
      positionY("PositionY", "Row coordinate in the world."),
      positionZ("PositionZ", "Plane coordinate in the world."),
      strength("Strength", "Length of the gradient at the edge voxel."),
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

void EdgesMsr::reset(std::size_t rows) {
    frame.reset(rows);
    channel.reset(rows);
    for (auto* const array :
         {&positionX, &positionY, &positionZ, &strength, &orientation, &directionX, &directionY, &directionZ}) {
        array->reset(rows);
    }
}

std::vector<const measurement::BaseMeasurementArray*> EdgesMsr::arrays() const {
    std::vector<const measurement::BaseMeasurementArray*> all;
    if (hasFrames) {
        all.push_back(&frame);
    }
    if (hasChannels) {
        all.push_back(&channel);
    }
    all.insert(all.end(), {&positionX, &positionY});
    if (hasPlanes || ofVolumes) {
        all.push_back(&positionZ);
    }
    all.push_back(&strength);
    if (ofVolumes) {
        all.insert(all.end(), {&directionX, &directionY, &directionZ});
    } else {
        all.push_back(&orientation);
    }
    return all;
}

}  // namespace rix::edge_detection
