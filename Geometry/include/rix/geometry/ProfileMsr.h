#pragma once

#include <cstdint>

#include <rix/Export.h>
#include <rix/measurement/TableOfImage.h>

namespace rix::geometry {

/// Values of an image along a line, a row for each: from one end to the other, for each frame and channel.
class RIX_EXPORT ProfileMsr : public measurement::TableOfImage {
public:
    ProfileMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    measurement::MeasurementArray<double> distance;
    measurement::MeasurementArray<double> value;

protected:
    Arrays columns() override;
    void setUnits(const String& unit) override;
};

}  // namespace rix::geometry
