#pragma once

#include <rix/Export.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::analysis {

/// The thresholds that `AutoThresholdingValue` found.
class RIX_EXPORT AutoThresholdingMsr : public measurement::MeasurementObject {
public:
    AutoThresholdingMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    /// One threshold for each frame (index of the sequence axis) of the image, in the image's grey levels.
    measurement::MeasurementArray<double> threshold;

protected:
    std::vector<const measurement::BaseMeasurementArray*> arrays() const override;
};

}  // namespace rix::analysis
