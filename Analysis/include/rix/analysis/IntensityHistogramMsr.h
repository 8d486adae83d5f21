#pragma once

#include <cstdint>

#include <rix/Export.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::analysis {

/// The table of `IntensityHistogram`: a row for each class, from the lowest on.
class RIX_EXPORT IntensityHistogramMsr : public measurement::MeasurementObject {
public:
    IntensityHistogramMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    /// The smallest value of the class; that of the next one belongs to the next one.
    measurement::MeasurementArray<double> classStart;
    measurement::MeasurementArray<std::int64_t> count;

protected:
    std::vector<const measurement::BaseMeasurementArray*> arrays() const override;
};

}  // namespace rix::analysis
