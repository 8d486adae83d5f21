#include <rix/segmentation/ThresholdingByCriterion.h>

#include <cstring>

#include <rix/access/PointFilters.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/properties/EnumInfo.h>

#include "Comparison.h"
#include "ThresholdKernels.h"

namespace rix::segmentation {

namespace {

void declare(ThresholdingByCriterion& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputGrayImage, "The image whose voxels are compared.", AddRulesForRealImage());
    properties.input(algorithm.comparisonCriterion, "How a voxel is compared with the value.");
    properties.input(algorithm.comparisonValue, "The value that voxels are compared with.");
    properties.output(
        algorithm.outputBinaryImage, "1 where the comparison holds, 0 elsewhere.", AddRuleAssertNotNull(),
        AddRuleInPlaceOrDisjoint(algorithm.inputGrayImage),
        AddRuleEnforceLike(algorithm.inputGrayImage, {.voxelType = RIX_UINT8, .interpretation = RIX_BINARY}));
}

/// Rough cost of the scalar kernels, for deciding whether threads pay.
constexpr double nanosecondsPerVoxel = 0.1;

void process(ThresholdingByCriterion& algorithm, OptimLevelType level) {
    ImageModel& output = *algorithm.getOutputBinaryImage();
    access::ExecutionContext& context = algorithm.executionContext();
    const Comparison comparison = reduceComparison(algorithm.getInputGrayImage()->getVoxelType(),
                                                   algorithm.getComparisonCriterion(), algorithm.getComparisonValue());

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
        algorithms::readAsItWas(algorithm, [&](const ImageModel& input) {
            access::transformRows<T, std::uint8_t>(
                context, input, output, nanosecondsPerVoxel,
                [&](const T* in, std::uint8_t* out, std::size_t count) { compareRow(in, out, count, threshold); });
        });
    });
}

constexpr algorithms::Definition<ThresholdingByCriterion> definition{
    .summary = "Compares every voxel with a value and writes a binary image.",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
    .prepare = &algorithms::rememberMeaning<ThresholdingByCriterion>,
};

}  // namespace

const EnumInfo& ThresholdingByCriterion::getInfoCriterionType() {
    static const EnumInfo info("CriterionType",
                               "LESS_THAN = 0, LESS_THAN_OR_EQUAL_TO, EQUAL_TO, GREATER_THAN_OR_EQUAL_TO, "
                               "GREATER_THAN, NOT_EQUAL_TO");
    return info;
}

RIX_DEFINE_ALGORITHM_WITH(ThresholdingByCriterion, algorithms::InputMeaning, definition)

}  // namespace rix::segmentation
