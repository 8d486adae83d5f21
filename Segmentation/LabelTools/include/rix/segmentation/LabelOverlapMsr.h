#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <rix/Export.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::segmentation {

/// Pairs of labels that have voxels in common, a row for each.
class RIX_EXPORT LabelOverlapMsr : public measurement::MeasurementObject {
public:
    LabelOverlapMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    measurement::MeasurementArray<std::int64_t> label1;
    measurement::MeasurementArray<std::int64_t> label2;
    measurement::MeasurementArray<std::int64_t> intersection;
    measurement::MeasurementArray<double> jaccard;
    measurement::MeasurementArray<double> dice;

    void reset(std::size_t rows);

protected:
    std::vector<const measurement::BaseMeasurementArray*> arrays() const override;
};

}  // namespace rix::segmentation
