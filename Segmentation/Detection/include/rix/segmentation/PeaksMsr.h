#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <rix/Export.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::segmentation {

/// Points where something is greatest, a row for each, in the world of the image: along the image's own axes, in the
/// unit of its spacings (in voxels where all spacings are 0).
class RIX_EXPORT PeaksMsr : public measurement::MeasurementObject {
public:
    PeaksMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    measurement::MeasurementArray<std::int64_t> frame;    ///< a column where there are several
    measurement::MeasurementArray<std::int64_t> channel;  ///< a column where there are several
    measurement::MeasurementArray<double> positionX;
    measurement::MeasurementArray<double> positionY;
    measurement::MeasurementArray<double> positionZ;  ///< a column of volumes and of several planes
    measurement::MeasurementArray<double> value;
    /// Of blobs.
    measurement::MeasurementArray<double> scale;
    measurement::MeasurementArray<double> radius;

    /// Which of the columns the table has.
    bool hasFrames = false;
    bool hasChannels = false;
    bool hasPlanes = false;
    bool hasScales = false;

    /// Keeps the rows that remain.
    void resize(std::size_t rows);

protected:
    std::vector<const measurement::BaseMeasurementArray*> arrays() const override;
};

}  // namespace rix::segmentation
