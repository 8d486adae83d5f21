// Both local statistics: the rectangle is a box of one plane.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/filtering/smoothing/LocalStatistics2d.h>
#include <rix/filtering/smoothing/LocalStatistics3d.h>

#include "BoxNeeds.h"
#include "BoxSums.h"
#include "GaussianRows.h"
#include "LocalSums.h"

namespace rix::filtering::smoothing {

namespace {

template <class Filter>
constexpr bool hasPlanes = requires(Filter& filter) { filter.kernelSizeZ; };

template <class Filter>
std::array<std::int32_t, 3> windowOf(const Filter& filter) {
    std::array<std::int32_t, 3> sizes{filter.getKernelSizeX(), filter.getKernelSizeY(), 1};
    if constexpr (hasPlanes<Filter>) {
        sizes[PLANS] = filter.getKernelSizeZ();
    }
    return sizes;
}

bool isInteger(VoxelTypes type) {
    return access::contains(access::Integers{}, type);
}

/// The sums of a run: less the value beyond the edges, which so counts as 0 there.
template <class Filter>
BoxJob jobOf(const Filter& filter) {
    const auto sizes = windowOf(filter);
    const ImageModel& input = *filter.getInputImage();
    const auto extents = helper::getExtents(input);
    const access::BorderPolicy policy = filter.getBorderPolicy();
    const BoxBorder border = policy == Filter::FIXED      ? BoxBorder::Zero
                             : policy == Filter::CONTINUE ? BoxBorder::Continue
                                                          : BoxBorder::Mirror;
    BoxJob job;
    job.mean = true;
    job.origin = policy == Filter::FIXED ? filter.getBorderValue() : 0.0;
    for (std::size_t axis = 0; axis < job.axes.size(); ++axis) {
        job.axes[axis] = BoxAxis(extents[axis], static_cast<std::size_t>(sizes[axis]), border);
        job.voxels *= sizes[axis];
    }
    if (isInteger(input.getVoxelType())) {
        prepareForIntegers(job, input.getVoxelType());
    }
    return job;
}

template <class Filter>
VoxelTypes outputType(const Filter& filter) {
    return filter.getInputImage()->getVoxelType() == RIX_FLOAT64 ? RIX_FLOAT64 : RIX_FLOAT32;
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    const auto size = [&](Property<std::int32_t>& property, const char* description) {
        property = 3;
        properties.input(property, description,
                         AddRuleInRange<std::int32_t>(1, largestWindow, Bound::Included, Bound::Included));
    };
    properties.input(filter.inputImage, "The image whose windows are told of.", AddRulesForRealImage());
    size(filter.kernelSizeX, "Columns of the window, in voxels.");
    size(filter.kernelSizeY, "Rows of the window, in voxels.");
    if constexpr (hasPlanes<Filter>) {
        size(filter.kernelSizeZ, "Planes of the window, in voxels.");
    }
    properties.input(filter.statistic, "What is told of each window.");
    properties.border(filter.borderPolicy, filter.borderValue);
    addRules(filter.borderValue, AddRuleAssertFinite());
    properties.output(filter.outputImage, "The statistic of each window.", AddRuleAssertNotNull(),
                      AddRuleEnforceLike(filter.inputImage, {.interpretation = RIX_VALUE,
                                                             .chosenType = [&filter] { return outputType(filter); }}));
}

template <class Filter>
LocalStatistic statisticOf(const Filter& filter) {
    switch (filter.getStatistic()) {
        case Filter::VARIANCE: return LocalStatistic::Variance;
        case Filter::STANDARD_DEVIATION: return LocalStatistic::StandardDeviation;
        default: return LocalStatistic::Mean;
    }
}

/// Part of the mean square that a variance of reals has to exceed: below it may be nothing but rounding.
template <class Filter>
double leastVariance(const Filter& filter) {
    const auto sizes = windowOf(filter);
    return 0x1p-52 * (static_cast<double>(sizes[0]) + sizes[1] + sizes[2] + 4);
}

template <class Out>
void combine(access::ExecutionContext& context, const ImageModel& means, const ImageModel& squares, ImageModel& output,
             double least, bool isDeviation) {
    combineRows<Out>(
        context, output,
        [least, isDeviation](const double* mean, const double* square, Out* results, std::size_t count) {
            for (std::size_t x = 0; x < count; ++x) {
                const double difference = square[x] - mean[x] * mean[x];
                // NaN stays: only a comparison that holds makes a 0.
                const double variance = difference <= least * square[x] ? 0.0 : difference;
                results[x] = static_cast<Out>(isDeviation ? std::sqrt(variance) : variance);
            }
        },
        ReadAs<double>{means}, ReadAs<double>{squares});
}

template <class Out>
void addOrigin(access::ExecutionContext& context, const ImageModel& means, ImageModel& output, double origin) {
    combineRows<Out>(
        context, output,
        [origin](const double* mean, Out* results, std::size_t count) {
            for (std::size_t x = 0; x < count; ++x) {
                results[x] = static_cast<Out>(mean[x] + origin);
            }
        },
        ReadAs<double>{means});
}

/// Of reals: the means, and where they are asked for variances.
template <class Filter>
void tellOfReals(Filter& filter, const ImageModel& input, BoxJob job, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    ImageModel& output = *filter.getOutputImage();
    const bool isDouble = output.getVoxelType() == RIX_FLOAT64;
    if (filter.getStatistic() == Filter::MEAN) {
        if (!job.hasDifferences()) {
            access::writeApart(context, input, output,
                               [&](ImageModel& target) { sumBoxes(context, input, target, job, level); });
            return;
        }
        const access::Steps steps(context, {5.0, 1.0});
        access::TemporaryImage means(output, RIX_FLOAT64);
        sumBoxesInDoubles(context, input, means.image(), job, level);
        isDouble ? addOrigin<double>(context, means.image(), output, job.origin)
                 : addOrigin<float>(context, means.image(), output, job.origin);
        return;
    }
    const access::Steps steps(context, {5.0, 5.0, 1.0});
    access::TemporaryImage means(output, RIX_FLOAT64);
    access::TemporaryImage squares(output, RIX_FLOAT64);
    sumBoxesInDoubles(context, input, means.image(), job, level);
    job.squares = true;
    sumBoxesInDoubles(context, input, squares.image(), job, level);
    const bool isDeviation = filter.getStatistic() == Filter::STANDARD_DEVIATION;
    const double least = leastVariance(filter);
    isDouble ? combine<double>(context, means.image(), squares.image(), output, least, isDeviation)
             : combine<float>(context, means.image(), squares.image(), output, least, isDeviation);
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        const BoxJob job = jobOf(filter);
        if (isInteger(input.getVoxelType())) {
            access::ExecutionContext& context = filter.executionContext();
            access::writeApart(context, input, *filter.getOutputImage(), [&](ImageModel& target) {
                tellOfIntegers(context, input, target, job, statisticOf(filter), level);
            });
        } else {
            tellOfReals(filter, input, job, level);
        }
    });
}

template <class Filter>
access::Reach reachOf(const Filter& filter) {
    const auto sizes = windowOf(filter);
    return access::reachOfWindow(static_cast<std::size_t>(sizes[COLUMNS]), static_cast<std::size_t>(sizes[ROWS]),
                                 static_cast<std::size_t>(sizes[PLANS]));
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    BoxJob job = jobOf(filter);
    const std::size_t threads = filter.getMaximumThreads();
    const bool ofMeans = filter.getStatistic() == Filter::MEAN;
    if (isInteger(input.getVoxelType()) || (ofMeans && !job.hasDifferences())) {
        return boxWorkingBytes(input, job, threads) +
               access::writeApartMemory(input, filter.getOutputImage(), outputType(filter));
    }
    job.squares = !ofMeans;
    return (ofMeans ? 1 : 2) * access::TemporaryImage::bytes(input, RIX_FLOAT64) +
           boxWorkingBytesInDoubles(input, job, threads);
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .influence = &reachOf<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto rectangle =
    definitionOf<LocalStatistics2d>("Mean, variance or standard deviation in a rectangle around each voxel.");
constexpr auto box =
    definitionOf<LocalStatistics3d>("Mean, variance or standard deviation in a box around each voxel.");

const EnumInfo& infoStatistic() {
    static const EnumInfo info("Statistic", "MEAN = 0, VARIANCE, STANDARD_DEVIATION");
    return info;
}

}  // namespace

const EnumInfo& LocalStatistics2d::getInfoStatistic() {
    return infoStatistic();
}

const EnumInfo& LocalStatistics3d::getInfoStatistic() {
    return infoStatistic();
}

RIX_DEFINE_ALGORITHM_WITH(LocalStatistics2d, algorithms::InputMeaning, rectangle)
RIX_DEFINE_ALGORITHM_WITH(LocalStatistics3d, algorithms::InputMeaning, box)

}  // namespace rix::filtering::smoothing
