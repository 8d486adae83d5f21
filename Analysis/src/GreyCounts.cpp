#include <rix/analysis/GreyCounts.h>

#include <limits>
#include <utility>

#include "Extrema.h"
#include "GroupStatistics.h"
#include "HistogramFilling.h"
#include "RankSelection.h"
#include "ValueCounts.h"

namespace rix::analysis {

GreyRange extremesOf(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image) {
    const Extrema extrema = measureExtrema(context, level, image);
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    return extrema.hasFiniteValue() ? GreyRange{extrema.minimum + 0.0, extrema.maximum + 0.0} : GreyRange{none, none};
}

std::vector<double> quantilesOf(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image,
                                std::span<const double> shares) {
    return measureGroup(context, level, {&image, nullptr}, {{}, shares}).quantiles;
}

std::size_t quantilesMemory(const ImageModel& image, std::size_t shares, std::size_t threads) {
    std::size_t voxels = 0;
    static_cast<void>(helper::getElementCount(image, voxels));
    const std::size_t ofSelection = hasValueCounts(image.getVoxelType()) ? 0 : selectionMemory(threads, 2 * shares);
    return groupMemory(image.getVoxelType(), voxels, threads, false) + ofSelection;
}

bool hasValueCounts(VoxelTypes type) {
    return helper::getSizeOf(type) <= 2;
}

GreyCounts countsOfValues(access::ExecutionContext& context, const ImageModel& image) {
    return std::move(countValues(context, image).counts);
}

GreyCounts countsOfClasses(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image,
                           const GreyRange& range, std::size_t classes) {
    const access::MemoryCharge ofHistogram(classes * sizeof(std::uint64_t));
    math::Histogram histogram(classes, range.minimum, range.maximum);
    fillHistogram(context, level, image, histogram);
    return {histogram.getCounts().begin(), histogram.getCounts().end()};
}

std::size_t countsMemory(const ImageModel& image, std::size_t classes, std::size_t threads) {
    const VoxelTypes type = image.getVoxelType();
    return hasValueCounts(type) ? tableBytes(image) + countingMemory(threads)
                                : 2 * classes * sizeof(std::uint64_t) + fillingMemory(image, classes, threads);
}

}  // namespace rix::analysis
