#include <memory>

#include <rix/algorithms/ObjectInfo.h>
#include <rix/analysis/AutoThresholdingMsr.h>
#include <rix/analysis/IntensityExtremaMsr.h>
#include <rix/analysis/IntensityHistogramMsr.h>

namespace rix::analysis {

namespace {

template <class M>
std::shared_ptr<measurement::MeasurementObject> make() {
    return std::make_shared<M>();
}

}  // namespace

AutoThresholdingMsr::AutoThresholdingMsr() : threshold("threshold", "The threshold computed by the algorithm.") {}

const ObjectInfo& AutoThresholdingMsr::getInfo() {
    static const ObjectInfo info("AutoThresholdingMsr", &make<AutoThresholdingMsr>);
    return info;
}

const ObjectInfo& AutoThresholdingMsr::getClassInfo() const {
    return getInfo();
}

String AutoThresholdingMsr::getDescription() const {
    return "This object contains the threshold of binarization computed by automatic method.";
}

std::vector<const measurement::BaseMeasurementArray*> AutoThresholdingMsr::arrays() const {
    return {&threshold};
}

IntensityExtremaMsr::IntensityExtremaMsr()
    : minimum("minimum", "The smallest finite value of the image."),
      maximum("maximum", "The greatest finite value of the image."),
      nanCount("nanCount", "The number of voxels that are not a number."),
      infiniteCount("infiniteCount", "The number of infinite voxels.") {}

const ObjectInfo& IntensityExtremaMsr::getInfo() {
    static const ObjectInfo info("IntensityExtremaMsr", &make<IntensityExtremaMsr>);
    return info;
}

const ObjectInfo& IntensityExtremaMsr::getClassInfo() const {
    return getInfo();
}

String IntensityExtremaMsr::getDescription() const {
    return "This object contains the extreme values of an image.";
}

std::vector<const measurement::BaseMeasurementArray*> IntensityExtremaMsr::arrays() const {
    return {&minimum, &maximum, &nanCount, &infiniteCount};
}

IntensityHistogramMsr::IntensityHistogramMsr()
    : classStart("ClassStart", "The smallest value of the class."),
      count("Count", "The number of voxels in the class.") {}

const ObjectInfo& IntensityHistogramMsr::getInfo() {
    static const ObjectInfo info("IntensityHistogramMsr", &make<IntensityHistogramMsr>);
    return info;
}

const ObjectInfo& IntensityHistogramMsr::getClassInfo() const {
    return getInfo();
}

String IntensityHistogramMsr::getDescription() const {
    return "This object contains how many voxels of an image lie in each class of values.";
}

std::vector<const measurement::BaseMeasurementArray*> IntensityHistogramMsr::arrays() const {
    return {&classStart, &count};
}

}  // namespace rix::analysis
