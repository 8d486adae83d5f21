#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <rix/Export.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::edge_detection {

/// Places on edges, a row for each edge voxel in storage order: the point near the voxel's centre where the gradient is
/// strongest, in the world of the image.
class RIX_EXPORT EdgesMsr : public measurement::MeasurementObject {
public:
    EdgesMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    measurement::MeasurementArray<std::int64_t> frame;    ///< a column where there are several
    measurement::MeasurementArray<std::int64_t> channel;  ///< a column where there are several
    measurement::MeasurementArray<double> positionX;
    measurement::MeasurementArray<double> positionY;
    measurement::MeasurementArray<double> positionZ;  ///< a column of volumes and of several planes
    measurement::MeasurementArray<double> strength;
    measurement::MeasurementArray<double> orientation;  ///< of planes
    /// Of volumes: the direction of the gradient, of length 1.
    measurement::MeasurementArray<double> directionX;
    measurement::MeasurementArray<double> directionY;
    measurement::MeasurementArray<double> directionZ;

    /// Which of the columns the table has.
    bool hasFrames = false;
    bool hasChannels = false;
    bool hasPlanes = false;
    bool ofVolumes = false;

    void reset(std::size_t rows);

protected:
    std::vector<const measurement::BaseMeasurementArray*> arrays() const override;
};

}  // namespace rix::edge_detection
