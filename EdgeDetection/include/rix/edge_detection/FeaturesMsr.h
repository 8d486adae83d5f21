#pragma once

#include <rix/Export.h>
#include <rix/measurement/TableOfImage.h>

namespace rix::edge_detection {

/// Corners, lines or circles, a row each; those of a plane in the order of falling strength. Positions are in the world
/// of the image.
class RIX_EXPORT FeaturesMsr : public measurement::TableOfPlaces {
public:
    FeaturesMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    measurement::MeasurementArray<double> strength;
    measurement::MeasurementArray<double> orientation;  ///< of corners and lines
    measurement::MeasurementArray<double> distance;     ///< of lines; without unit in voxels
    measurement::MeasurementArray<double> radius;       ///< of circles; without unit in voxels

    /// Which of the columns the table has.
    bool hasOrientations = false;
    bool hasDistances = false;
    bool hasRadii = false;

protected:
    Arrays columns() override;
};

}  // namespace rix::edge_detection
