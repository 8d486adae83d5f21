#pragma once

#include <cstdint>

#include <rix/Export.h>
#include <rix/measurement/TableOfImage.h>

namespace rix::geometry {

/// Lines in an image, a row for each of their points, in the order of the lines. A line that is closed ends with the
/// point that it began with.
class RIX_EXPORT ContoursMsr : public measurement::TableOfImage {
public:
    ContoursMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    measurement::MeasurementArray<std::int64_t> line;
    measurement::MeasurementArray<double> x;
    measurement::MeasurementArray<double> y;
    measurement::MeasurementArray<double> z;

protected:
    Arrays columns() override;
    void setUnits(const String& unit) override;
};

}  // namespace rix::geometry
