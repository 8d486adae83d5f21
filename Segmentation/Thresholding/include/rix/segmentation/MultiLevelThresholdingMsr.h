#pragma once

#include <rix/Export.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::segmentation {

/// The thresholds of `MultiLevelThresholding`: a row for each, from the lowest on.
class RIX_EXPORT MultiLevelThresholdingMsr : public measurement::MeasurementObject {
public:
    MultiLevelThresholdingMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    /// In the image's grey levels: what is not below belongs to the next class.
    measurement::MeasurementArray<double> threshold;

protected:
    std::vector<const measurement::BaseMeasurementArray*> arrays() const override;
};

}  // namespace rix::segmentation
