#pragma once

#include <rix/Export.h>
#include <rix/measurement/TableOfImage.h>

namespace rix::segmentation {

/// Points where something is greatest, a row for each, in the world of the image: along the image's own axes, in the
/// unit of its spacings (in voxels where all spacings are 0).
class RIX_EXPORT PeaksMsr : public measurement::TableOfPlaces {
public:
    PeaksMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    measurement::MeasurementArray<double> value;
    /// Of blobs; without unit in voxels.
    measurement::MeasurementArray<double> scale;
    measurement::MeasurementArray<double> radius;

    /// Which of the columns the table has.
    bool hasScales = false;

protected:
    Arrays columns() override;
};

}  // namespace rix::segmentation
