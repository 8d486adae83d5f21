#pragma once

#include <cstdint>

#include <rix/Export.h>
#include <rix/measurement/TableOfImage.h>

namespace rix::geometry {

/// Triangles of a surface, a row for each: the numbers of their three corners and where these lie. Corners with the
/// same number are the same point of the surface. The corners of a triangle follow each other counterclockwise, seen
/// from where the values are lower.
class RIX_EXPORT SurfaceMsr : public measurement::TableOfImage {
public:
    SurfaceMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    measurement::MeasurementArray<std::int64_t> vertex1;
    measurement::MeasurementArray<std::int64_t> vertex2;
    measurement::MeasurementArray<std::int64_t> vertex3;
    measurement::MeasurementArray<double> x1;
    measurement::MeasurementArray<double> y1;
    measurement::MeasurementArray<double> z1;
    measurement::MeasurementArray<double> x2;
    measurement::MeasurementArray<double> y2;
    measurement::MeasurementArray<double> z2;
    measurement::MeasurementArray<double> x3;
    measurement::MeasurementArray<double> y3;
    measurement::MeasurementArray<double> z3;

protected:
    Arrays columns() override;
    void setUnits(const String& unit) override;
};

}  // namespace rix::geometry
