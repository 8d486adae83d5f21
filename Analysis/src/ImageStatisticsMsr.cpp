#include <rix/analysis/ImageStatisticsMsr.h>

#include <memory>

#include <rix/algorithms/ObjectInfo.h>

namespace rix::analysis {

namespace {

using Places = std::array<measurement::MeasurementArray<std::int64_t>, RIX_COMPONENTS_SIZE>;

Places places(const String& name, const String& what) {
    const auto place = [&](const char* axis, const char* of) {
        return measurement::MeasurementArray<std::int64_t>(
            name + axis, String(of) + " of the first " + what + ", from 0; -1 without a finite voxel.");
    };
    return {place("X", "Column"), place("Y", "Row"), place("Z", "Plane"), place("T", "Frame"), place("C", "Channel")};
}

/// Calls `use(statistic, array)` for the arrays of a table in the order of its columns, but for places and quantiles.
template <class Table, class Use>
void forEachArray(Table& table, const Use& use) {
    use(Statistic::Count, table.count);
    use(Statistic::Minimum, table.minimum);
    use(Statistic::Maximum, table.maximum);
    use(Statistic::Sum, table.sum);
    use(Statistic::Mean, table.mean);
    use(Statistic::Variance, table.variance);
    use(Statistic::StandardDeviation, table.standardDeviation);
    use(Statistic::Skewness, table.skewness);
    use(Statistic::Kurtosis, table.kurtosis);
    use(Statistic::Entropy, table.entropy);
    use(Statistic::Mode, table.mode);
    use(Statistic::NanCount, table.nanCount);
    use(Statistic::InfiniteCount, table.infiniteCount);
    for (auto& array : table.minimumAt) {
        use(Statistic::MinimumPosition, array);
    }
    for (auto& array : table.maximumAt) {
        use(Statistic::MaximumPosition, array);
    }
}

std::shared_ptr<measurement::MeasurementObject> make() {
    return std::make_shared<ImageStatisticsMsr>();
}

}  // namespace

ImageStatisticsMsr::ImageStatisticsMsr()
    : plane("Plane", "The plane of the row, from 0."),
      frame("Frame", "The frame of the row, from 0."),
      channel("Channel", "The channel of the row, from 0."),
      count("Count", "The number of finite voxels, which all values but the next two are of."),
      nanCount("NanCount", "The number of voxels that are not a number."),
      infiniteCount("InfiniteCount", "The number of infinite voxels."),
      minimum("Minimum", "The smallest value."),
      maximum("Maximum", "The greatest value."),
      sum("Sum", "The sum of the values."),
      mean("Mean", "The mean of the values."),
      variance("Variance", "The mean of the squared distances to the mean."),
      standardDeviation("StandardDeviation", "The root of the variance."),
      skewness("Skewness", "The mean of the cubed distances to the mean in standard deviations; 0 for symmetry."),
      kurtosis("Kurtosis", "The mean of their fourth powers minus 3; 0 for a normal distribution."),
      entropy("Entropy", "The entropy of the distribution, in nats."),
      mode("Mode", "The most frequent value, or the centre of the most frequent class."),
      minimumAt(places("Minimum", "smallest value")),
      maximumAt(places("Maximum", "greatest value")) {
    m_told.addAll();
}

const ObjectInfo& ImageStatisticsMsr::getInfo() {
    static const ObjectInfo info("ImageStatisticsMsr", &make);
    return info;
}

const ObjectInfo& ImageStatisticsMsr::getClassInfo() const {
    return getInfo();
}

String ImageStatisticsMsr::getDescription() const {
    return "This object contains statistics of the values of an image.";
}

void ImageStatisticsMsr::reset(std::size_t rows, const StatisticSet& told, const std::vector<String>& quantileTexts) {
    m_told = told;
    for (auto* const array : {&plane, &frame, &channel}) {
        array->reset(rows);
    }
    forEachArray(*this, [&](Statistic statistic, auto& array) { array.reset(told.has(statistic) ? rows : 0); });
    quantiles.clear();
    for (const String& text : quantileTexts) {
        quantiles.emplace_back("Quantile(" + text + ")", "The value that this share of the values lies below.");
        quantiles.back().reset(rows);
    }
}

std::vector<const measurement::BaseMeasurementArray*> ImageStatisticsMsr::arrays() const {
    std::vector<const measurement::BaseMeasurementArray*> all;
    const std::array<const measurement::BaseMeasurementArray*, 3> groups{&plane, &frame, &channel};
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (groupColumns[i]) {
            all.push_back(groups[i]);
        }
    }
    forEachArray(*this, [&](Statistic statistic, const auto& array) {
        if (statistic == Statistic::NanCount) {  // quantiles follow the mode
            for (const auto& quantile : quantiles) {
                all.push_back(&quantile);
            }
        }
        if (m_told.has(statistic)) {
            all.push_back(&array);
        }
    });
    return all;
}

}  // namespace rix::analysis
