#include <rix/segmentation/LabelOverlapMsr.h>

#include <memory>

#include <rix/algorithms/ObjectInfo.h>

namespace rix::segmentation {

namespace {

std::shared_ptr<measurement::MeasurementObject> make() {
    return std::make_shared<LabelOverlapMsr>();
}

}  // namespace

LabelOverlapMsr::LabelOverlapMsr()
    : label1("Label1", "Label in the first image."),
      label2("Label2", "Label in the second image."),
      intersection("Intersection", "Voxels that have both."),
      jaccard("Jaccard", "Voxels that have both, divided by those that have one of them."),
      dice("Dice", "Voxels that have both, divided by the mean of those that have the one and the other.") {}

const ObjectInfo& LabelOverlapMsr::getInfo() {
    static const ObjectInfo info("LabelOverlapMsr", &make);
    return info;
}

const ObjectInfo& LabelOverlapMsr::getClassInfo() const {
    return getInfo();
}

String LabelOverlapMsr::getDescription() const {
    return "This object contains pairs of labels that have voxels in common.";
}

void LabelOverlapMsr::reset(std::size_t rows) {
    for (auto* const array : {&label1, &label2, &intersection}) {
        array->reset(rows);
    }
    jaccard.reset(rows);
    dice.reset(rows);
}

std::vector<const measurement::BaseMeasurementArray*> LabelOverlapMsr::arrays() const {
    return {&label1, &label2, &intersection, &jaccard, &dice};
}

}  // namespace rix::segmentation
