#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include <rix/Export.h>
#include <rix/image/ImageTypes.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::analysis {

/// The table of `ImageStatistics`: a row for each group of voxels.
class RIX_EXPORT ImageStatisticsMsr : public measurement::MeasurementObject {
public:
    ImageStatisticsMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    /// The place of a group; columns of the table where there are several groups along the axis.
    measurement::MeasurementArray<std::int64_t> plane;
    measurement::MeasurementArray<std::int64_t> frame;
    measurement::MeasurementArray<std::int64_t> channel;

    /// Finite voxels; the others are counted apart.
    measurement::MeasurementArray<std::int64_t> count;
    measurement::MeasurementArray<std::int64_t> nanCount;
    measurement::MeasurementArray<std::int64_t> infiniteCount;
    measurement::MeasurementArray<double> minimum;
    measurement::MeasurementArray<double> maximum;
    measurement::MeasurementArray<double> sum;
    measurement::MeasurementArray<double> mean;
    measurement::MeasurementArray<double> variance;
    measurement::MeasurementArray<double> standardDeviation;
    measurement::MeasurementArray<double> skewness;
    measurement::MeasurementArray<double> kurtosis;
    measurement::MeasurementArray<double> entropy;
    measurement::MeasurementArray<double> mode;
    /// Column, row, plane, frame and channel of the first extreme value; -1 without a finite voxel.
    std::array<measurement::MeasurementArray<std::int64_t>, RIX_COMPONENTS_SIZE> minimumAt;
    std::array<measurement::MeasurementArray<std::int64_t>, RIX_COMPONENTS_SIZE> maximumAt;
    /// As asked for, under the names "Quantile(0.5)".
    std::vector<measurement::MeasurementArray<double>> quantiles;

    /// Which of `plane`, `frame` and `channel` are columns.
    std::array<bool, 3> groupColumns{};

    /// Empties the arrays for so many rows, and makes those of quantiles.
    void reset(std::size_t rows, const std::vector<String>& quantileTexts);

protected:
    std::vector<const measurement::BaseMeasurementArray*> arrays() const override;
};

}  // namespace rix::analysis
