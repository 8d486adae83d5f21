#pragma once

#include <cstdint>

#include <rix/Export.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::morphology {

/// The table of `Granulometry2d` and `Granulometry3d`: a row for each radius, from 0 on.
class RIX_EXPORT GranulometryMsr : public measurement::MeasurementObject {
public:
    GranulometryMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    measurement::MeasurementArray<double> radius;
    /// Of all voxels of the opened image.
    measurement::MeasurementArray<double> sum;
    /// What goes with the next radius, as a part of the sum at radius 0; in the last row what is left.
    measurement::MeasurementArray<double> share;

protected:
    std::vector<const measurement::BaseMeasurementArray*> arrays() const override;
};

}  // namespace rix::morphology
