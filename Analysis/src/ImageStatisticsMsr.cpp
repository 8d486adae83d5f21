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
      maximumAt(places("Maximum", "greatest value")) {}

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

void ImageStatisticsMsr::reset(std::size_t rows, const std::vector<String>& quantileTexts) {
    for (auto* const array : {&plane, &frame, &channel, &count, &nanCount, &infiniteCount}) {
        array->reset(rows);
    }
    for (auto* const array :
         {&minimum, &maximum, &sum, &mean, &variance, &standardDeviation, &skewness, &kurtosis, &entropy, &mode}) {
        array->reset(rows);
    }
    for (std::size_t axis = 0; axis < minimumAt.size(); ++axis) {
        minimumAt[axis].reset(rows);
        maximumAt[axis].reset(rows);
    }
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
    all.insert(all.end(), {&count, &minimum, &maximum, &sum, &mean, &variance, &standardDeviation, &skewness, &kurtosis,
                           &entropy, &mode});
    for (const auto& array : quantiles) {
        all.push_back(&array);
    }
    all.insert(all.end(), {&nanCount, &infiniteCount});
    for (const auto* const at : {&minimumAt, &maximumAt}) {
        for (const auto& array : *at) {
            all.push_back(&array);
        }
    }
    return all;
}

}  // namespace rix::analysis
