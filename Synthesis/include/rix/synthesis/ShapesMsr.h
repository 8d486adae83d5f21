#pragma once

#include <cstdint>
#include <vector>

#include <rix/Export.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::synthesis {

/// The true sizes of shapes that were drawn: a row a shape, in their order. Lengths are in the unit of the spacing, and
/// shapes are whole here, also where others cover them or the image ends.
class RIX_EXPORT ShapesMsr : public measurement::MeasurementObject {
public:
    ShapesMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    measurement::MeasurementArray<std::int64_t> label;
    measurement::MeasurementArray<String> shape;
    measurement::MeasurementArray<double> x;
    measurement::MeasurementArray<double> y;
    measurement::MeasurementArray<double> z;  ///< of bodies
    /// Of figures.
    measurement::MeasurementArray<double> area;
    measurement::MeasurementArray<double> perimeter;
    /// Of bodies.
    measurement::MeasurementArray<double> volume;
    measurement::MeasurementArray<double> surfaceArea;
    measurement::MeasurementArray<double> equivalentDiameter;
    measurement::MeasurementArray<double> value;

    bool inSpace = false;  ///< which of the columns the table has

    void reset(std::size_t rows, bool ofBodies);

protected:
    std::vector<const measurement::BaseMeasurementArray*> arrays() const override;
};

}  // namespace rix::synthesis
