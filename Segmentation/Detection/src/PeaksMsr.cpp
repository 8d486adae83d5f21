#include <rix/segmentation/PeaksMsr.h>

#include <memory>

#include <rix/algorithms/ObjectInfo.h>

namespace rix::segmentation {

namespace {

std::shared_ptr<measurement::MeasurementObject> make() {
    return std::make_shared<PeaksMsr>();
}

}  // namespace

PeaksMsr::PeaksMsr()
    : frame("Frame", "The frame that it is in."),
      channel("Channel", "The channel that it is in."),
      positionX("PositionX", "Column coordinate in the world."),
      positionY("PositionY", "Row coordinate in the world."),
      positionZ("PositionZ", "Plane coordinate in the world."),
      value("Value", "What is greatest there."),
      scale("Scale", "Standard deviation of the Gaussian that fits best."),
      radius("Radius", "Radius of the disc or ball that fits best.") {}

const ObjectInfo& PeaksMsr::getInfo() {
    static const ObjectInfo info("PeaksMsr", &make);
    return info;
}

const ObjectInfo& PeaksMsr::getClassInfo() const {
    return getInfo();
}

String PeaksMsr::getDescription() const {
    return "This object contains points where something is greatest.";
}

void PeaksMsr::resize(std::size_t rows) {
    frame.resize(rows);
    channel.resize(rows);
    for (auto* const array : {&positionX, &positionY, &positionZ, &value, &scale, &radius}) {
        array->resize(rows);
    }
}

std::vector<const measurement::BaseMeasurementArray*> PeaksMsr::arrays() const {
    std::vector<const measurement::BaseMeasurementArray*> all;
    if (hasFrames) {
        all.push_back(&frame);
    }
    if (hasChannels) {
        all.push_back(&channel);
    }
    all.insert(all.end(), {&positionX, &positionY});
    if (hasPlanes) {
        all.push_back(&positionZ);
    }
    all.push_back(&value);
    if (hasScales) {
        all.insert(all.end(), {&scale, &radius});
    }
    return all;
}

}  // namespace rix::segmentation
