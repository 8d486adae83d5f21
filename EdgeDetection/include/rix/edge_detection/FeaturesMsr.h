#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <rix/Export.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::edge_detection {

/// Corners, lines or circles, a row each; those of a plane in the order of falling strength. Positions are in the world
/// of the image.
class RIX_EXPORT FeaturesMsr : public measurement::MeasurementObject {
public:
    FeaturesMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    measurement::MeasurementArray<std::int64_t> frame;    ///< a column where there are several
    measurement::MeasurementArray<std::int64_t> channel;  ///< a column where there are several
    measurement::MeasurementArray<double> positionX;
    measurement::MeasurementArray<double> positionY;
    measurement::MeasurementArray<double> positionZ;  ///< a column of several planes
    measurement::MeasurementArray<double> strength;
    measurement::MeasurementArray<double> orientation;  ///< of corners and lines
    measurement::MeasurementArray<double> distance;     ///< of lines
    measurement::MeasurementArray<double> radius;       ///< of circles

    /// Which of the columns the table has.
    bool hasFrames = false;
    bool hasChannels = false;
    bool hasPlanes = false;
    bool hasOrientations = false;
    bool hasDistances = false;
    bool hasRadii = false;

    void reset(std::size_t rows);

protected:
    std::vector<const measurement::BaseMeasurementArray*> arrays() const override;
};

}  // namespace rix::edge_detection
