#pragma once

#include <cstdint>

#include <rix/Export.h>
#include <rix/measurement/TableOfImage.h>

namespace rix::geometry {

/// Values of an image at points of the world, a row for each: the points in their order, for each frame and channel.
class RIX_EXPORT PointValuesMsr : public measurement::TableOfImage {
public:
    PointValuesMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    measurement::MeasurementArray<double> x;
    measurement::MeasurementArray<double> y;
    measurement::MeasurementArray<double> z;
    measurement::MeasurementArray<double> value;

protected:
    Arrays columns() override;
    void setUnits(const String& unit) override;
};

}  // namespace rix::geometry
