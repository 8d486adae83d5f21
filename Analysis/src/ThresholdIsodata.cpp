#include <rix/analysis/ThresholdCriteria.h>

#include <algorithm>
#include <cmath>

#include <rix/access/Joins.h>
#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>

#include "ClassKernels.h"
#include "Extrema.h"
#include "Isodata.h"

namespace rix::analysis {

namespace {

constexpr double nanosecondsPerVoxel = 1.0;
constexpr std::size_t mostIterations = 10;

/// The middle of the means of the two sides; a side without voxels has the mean 0.
double middleOfMeans(const SplitSums& sums, double scale) {
    const auto mean = [scale](Int128 sum, std::uint64_t count) {
        // Dividing before scaling: the sum itself might overflow. Both orders round once.
        return count > 0 ? static_cast<double>(sum) / static_cast<double>(count) / scale : 0.0;
    };
    return (mean(sums.low, sums.lowCount) + mean(sums.high, sums.highCount)) / 2.0;
}

/// @param split gives the sums of the two sides of a threshold
template <class Split>
double iterate(double start, double scale, const Split& split) {
    double threshold = start;
    for (std::size_t iteration = 0; iteration < mostIterations; ++iteration) {
        const SplitSums sums = split(threshold);
        if (sums.lowCount + sums.highCount == 0) {
            break;  // nothing to have a mean of
        }
        const double next = middleOfMeans(sums, scale);
        if (std::abs(next - threshold) < 1e-6) {
            break;
        }
        threshold = next;
    }
    return threshold;
}

/// The unit in which the voxels of an image are summed: as fine as leaves room for all of them. Integers, and reals
/// that are whole multiples of it, are summed exactly.
double scaleOf(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image) {
    if (!access::contains(access::Floatings{}, image.getVoxelType())) {
        return 1.0;
    }
    const Extrema extrema = measureExtrema(context, level, image);
    if (!extrema.hasFiniteValue()) {
        return 1.0;
    }
    int exponent = 0;
    std::frexp(std::max(std::abs(extrema.minimum), std::abs(extrema.maximum)), &exponent);
    return std::ldexp(1.0, std::min(50 - exponent, 1000));
}

double isodataOfImage(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image, double start) {
    const access::Steps steps(context, mostIterations + 1);
    const double scale = scaleOf(context, level, image);
    double threshold = start;
    access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const SplitRow<T> splitRow = classRows<T>(level).split;
        threshold = iterate(start, scale, [&](double at) {
            SplitSums joined;
            access::accumulate<T, SplitSums>(
                context, image, nanosecondsPerVoxel, [] { return std::make_unique<SplitSums>(); },
                [&](SplitSums& partial, const T* row, std::size_t count) { splitRow(row, count, at, scale, partial); },
                [&](const SplitSums& partial) {
                    joined.low += partial.low;
                    joined.high += partial.high;
                    joined.lowCount += partial.lowCount;
                    joined.highCount += partial.highCount;
                });
            return joined;
        });
    });
    return threshold;
}

}  // namespace

double isodataOfCounts(const ValueCounts& values, double start) {
    return iterate(start, 1.0, [&](double threshold) {
        SplitSums sums;
        for (std::size_t i = 0; i < values.counts.size(); ++i) {
            const double value = values.valueAt(i);
            const Int128 sum = Int128(values.counts[i]) * static_cast<std::int64_t>(value);
            if (value < threshold) {
                sums.low += sum;
                sums.lowCount += values.counts[i];
            } else {
                sums.high += sum;
                sums.highCount += values.counts[i];
            }
        }
        return sums;
    });
}

double details::computeThresholdIsodata(const math::Histogram& histogram, const ImageModel& image,
                                        access::ExecutionContext& context, OptimLevelType level) {
    const double start = computeThresholdFactorization(histogram);
    if (hasCountableRange(image)) {
        return isodataOfCounts(countValues(context, image), start);
    }
    return isodataOfImage(context, level, image, start);
}

}  // namespace rix::analysis
