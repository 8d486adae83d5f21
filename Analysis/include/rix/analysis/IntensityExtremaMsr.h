#pragma once

#include <cstdint>

#include <rix/Export.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::analysis {

/// The extreme values of an image; each array has one value.
class RIX_EXPORT IntensityExtremaMsr : public measurement::MeasurementObject {
public:
    IntensityExtremaMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    /// The smallest and the greatest finite value; NaN when the image has none.
    measurement::MeasurementArray<double> minimum;
    measurement::MeasurementArray<double> maximum;
    measurement::MeasurementArray<std::int64_t> nanCount;
    measurement::MeasurementArray<std::int64_t> infiniteCount;

protected:
    std::vector<const measurement::BaseMeasurementArray*> arrays() const override;
};

}  // namespace rix::analysis
