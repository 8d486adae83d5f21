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
    : value("Value", "What is greatest there."),
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

measurement::TableOfImage::Arrays PeaksMsr::columns() {
    Arrays all = TableOfPlaces::columns();
    all.push_back(&value);
    if (hasScales) {
        all.insert(all.end(), {&scale, &radius});
    }
    return all;
}

}  // namespace rix::segmentation
