#include "GreyMap.h"

#include <algorithm>
#include <limits>
#include <type_traits>

#include <rix/access/VoxelTypeLists.h>

#include "PointFunction.h"

namespace rix::manipulation {

namespace {

constexpr double nanosecondsPerVoxel = 4.0;

analysis::GreyRange rangeOfType(VoxelTypes type) {
    analysis::GreyRange range{};
    access::dispatch(access::Integers{}, type, [&](auto tag) {
        using Limits = std::numeric_limits<typename decltype(tag)::type>;
        range = {static_cast<double>(Limits::min()), static_cast<double>(Limits::max())};
    });
    return range;
}

}  // namespace

GreyDistribution distributionOf(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image,
                                std::size_t classes) {
    if (analysis::hasValueCounts(image.getVoxelType())) {
        return {rangeOfType(image.getVoxelType()), true, analysis::countsOfValues(context, image)};
    }
    const analysis::GreyRange range = analysis::extremesOf(context, level, image);
    if (!range.hasValues()) {
        return {range, false, {}};
    }
    return {range, false, analysis::countsOfClasses(context, level, image, range, classes)};
}

std::size_t distributionMemory(const ImageModel& image, std::size_t classes, std::size_t threads) {
    return analysis::countsMemory(image, classes, threads);
}

analysis::GreyRange fullRangeOf(const ImageModel& image, const analysis::GreyRange& range) {
    return analysis::hasValueCounts(image.getVoxelType()) ? rangeOfType(image.getVoxelType()) : range;
}

double GreyMap::at(double value) const {
    if (!(value > minimum)) {
        return value == value ? entries.front() : value;
    }
    if (value >= maximum) {
        return entries.back();
    }
    // Halves, because twice the largest real is none. Where entries belong to integers, their places are exact.
    const auto last = static_cast<double>(entries.size() - 1);
    const double distance = value * 0.5 - minimum * 0.5;
    const double length = maximum * 0.5 - minimum * 0.5;
    const double place = length * 2.0 == last ? distance * 2.0 : distance / length * last;
    const std::size_t below = std::min(static_cast<std::size_t>(place), entries.size() - 2);
    const double share = place - static_cast<double>(below);
    return share == 0.0 ? entries[below] : entries[below] * (1.0 - share) + entries[below + 1] * share;
}

// Reading a table has no vector form here: every level runs the same code, but for 8 and 16 bits.
void applyMap(BaseAlgorithm& algorithm, const ImageModel& input, const GreyMap& map, ImageModel& output,
              OptimLevelType level) {
    const auto rows = [&]<class T>(const T* in, T* out, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            out[i] = static_cast<T>(map.at(static_cast<double>(in[i])));
        }
    };
    applyFunction(algorithm, input, false, output, level, nanosecondsPerVoxel, rows);
}

}  // namespace rix::manipulation
