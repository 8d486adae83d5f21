#include <rix/segmentation/MultiLevelThresholdingMsr.h>

#include <memory>

#include <rix/algorithms/ObjectInfo.h>

namespace rix::segmentation {

MultiLevelThresholdingMsr::MultiLevelThresholdingMsr()
    : threshold("Threshold", "The smallest value of the next class, in the image's grey levels.") {}

const ObjectInfo& MultiLevelThresholdingMsr::getInfo() {
    static const ObjectInfo info("MultiLevelThresholdingMsr", []() -> std::shared_ptr<measurement::MeasurementObject> {
        return std::make_shared<MultiLevelThresholdingMsr>();
    });
    return info;
}

const ObjectInfo& MultiLevelThresholdingMsr::getClassInfo() const {
    return getInfo();
}

String MultiLevelThresholdingMsr::getDescription() const {
    return "This object contains the thresholds between the classes of an image's grey values.";
}

std::vector<const measurement::BaseMeasurementArray*> MultiLevelThresholdingMsr::arrays() const {
    return {&threshold};
}

}  // namespace rix::segmentation
