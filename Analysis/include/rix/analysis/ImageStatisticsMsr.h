#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <vector>

#include <rix/Export.h>
#include <rix/image/ImageTypes.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::analysis {

/// What `ImageStatistics` can tell, in the order of its columns; a position has a column for each axis.
enum class Statistic : std::uint8_t {
    Count = 0,
    Minimum,
    Maximum,
    Sum,
    Mean,
    Variance,
    StandardDeviation,
    Skewness,
    Kurtosis,
    Entropy,
    Mode,
    NanCount,
    InfiniteCount,
    MinimumPosition,
    MaximumPosition
};
inline constexpr std::size_t statisticsSize = 15;

/// Some of them, by their numbers.
class StatisticSet {
public:
    bool has(Statistic statistic) const { return m_bits[static_cast<std::size_t>(statistic)]; }
    template <class... Others>
    bool hasAny(Statistic first, Others... others) const {
        return (has(first) || ... || has(others));
    }
    void add(Statistic statistic) { m_bits.set(static_cast<std::size_t>(statistic)); }
    void addAll() { m_bits.set(); }

private:
    std::bitset<statisticsSize> m_bits;
};

/// The table of `ImageStatistics`: a row for each group of voxels. What was not asked for is no column of it, and its
/// array is empty.
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

    /// What the table tells beside quantiles; of a new one everything.
    const StatisticSet& told() const { return m_told; }

    /// Makes the arrays of what is told, for so many rows, and those of quantiles; the others are empty then.
    void reset(std::size_t rows, const StatisticSet& told, const std::vector<String>& quantileTexts);

protected:
    std::vector<const measurement::BaseMeasurementArray*> arrays() const override;

private:
    StatisticSet m_told;
};

}  // namespace rix::analysis
