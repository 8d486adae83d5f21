#include "ThresholdingByCriterionRunners.h"

#include <cstring>

#include <rix/access/PointFilters.h>
#include <rix/algorithms/LevelRunner.h>
#include <rix/segmentation/ThresholdingByCriterion.h>

#include "Comparison.h"
#include "ThresholdKernels.h"

namespace rix::segmentation {

namespace {

/// Rough cost of the scalar kernels, for deciding whether threads pay.
constexpr double nanosecondsPerVoxel = 0.1;

void process(ThresholdingByCriterion& algorithm, OptimLevelType level) {
    const ImageModel& input = *algorithm.getInputGrayImage();
    ImageModel& output = *algorithm.getOutputBinaryImage();
    access::ExecutionContext& context = algorithm.executionContext();
    const Comparison comparison =
        reduceComparison(input.getVoxelType(), algorithm.getComparisonCriterion(), algorithm.getComparisonValue());

    if (comparison.kind != Comparison::Kind::Compare) {
        const int value = comparison.kind == Comparison::Kind::Always ? 1 : 0;
        access::generateRows<std::uint8_t>(
            context, output, nanosecondsPerVoxel,
            [value](std::uint8_t* out, std::size_t count) { std::memset(out, value, count); });
        return;
    }
    access::dispatch(access::Reals{}, comparison.voxelType, [&](auto tag) {
        using T = typename decltype(tag)::type;
        const ThresholdRow<T> compareRow = thresholdRows<T>(level).byCriterion[comparison.criterion];
        const auto threshold = static_cast<T>(comparison.threshold);
        access::transformRows<T, std::uint8_t>(
            context, input, output, nanosecondsPerVoxel,
            [&](const T* in, std::uint8_t* out, std::size_t count) { compareRow(in, out, count, threshold); });
    });
}

}  // namespace

void addThresholdingByCriterionRunners(AlgoInfo& info) {
    algorithms::addLevelRunners<ThresholdingByCriterion, &process, &algorithms::acceptsAll<ThresholdingByCriterion>>(
        info);
}

}  // namespace rix::segmentation
