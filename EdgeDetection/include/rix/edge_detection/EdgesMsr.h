#pragma once

#include <rix/Export.h>
#include <rix/measurement/TableOfImage.h>

namespace rix::edge_detection {

/// Places on edges, a row for each edge voxel in storage order: the point near the voxel's centre where the gradient is
/// strongest, in the world of the image.
class RIX_EXPORT EdgesMsr : public measurement::TableOfPlaces {
public:
    EdgesMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    measurement::MeasurementArray<double> strength;
    measurement::MeasurementArray<double> orientation;  ///< of planes
    /// Of volumes: the direction of the gradient, of length 1.
    measurement::MeasurementArray<double> directionX;
    measurement::MeasurementArray<double> directionY;
    measurement::MeasurementArray<double> directionZ;

    /// Which of the columns the table has.
    bool ofVolumes = false;

protected:
    Arrays columns() override;
};

}  // namespace rix::edge_detection
