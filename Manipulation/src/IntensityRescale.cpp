#include <rix/manipulation/IntensityRescale.h>

#include <algorithm>
#include <vector>

#include <rix/access/Steps.h>
#include <rix/algorithms/Definition.h>
#include <rix/analysis/GreyCounts.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/CompareRules.h>
#include <rix/rules/When.h>

#include "NumberImage.h"
#include "PointFunction.h"
#include "RangeKernels.h"

namespace rix::manipulation {

namespace {

constexpr double nanosecondsPerVoxel = 0.9;

void declare(IntensityRescale& algorithm, algorithms::Properties& properties) {
    const auto hasMode = [&algorithm](IntensityRescale::RangeMode mode) {
        return [&algorithm, mode] { return algorithm.getRangeMode() == mode; };
    };
    const AddRuleLimitedValue<double> notBelow(0.0, CHECK_GREATER_OR_EQUAL);
    const AddRuleLimitedValue<double> notAbove(1.0, CHECK_LOWER_OR_EQUAL);
    const auto quantiles = hasMode(IntensityRescale::QUANTILES);
    const char* const isQuantile = "when rangeMode is QUANTILES";
    const char* const isOther = "when rangeMode is OTHER";
    properties.input(algorithm.inputImage, "The image whose grey values are stretched.", AddRulesForRealImage());
    properties.input(algorithm.inputMinimum, "The quantile or the value that becomes outputMinimum.",
                     AddRuleAssertFinite(), AddRuleWhen(isQuantile, quantiles, notBelow),
                     AddRuleWhen(isQuantile, quantiles, notAbove));
    algorithm.inputMaximum = 1.0;
    properties.input(
        algorithm.inputMaximum, "The quantile or the value that becomes outputMaximum.", AddRuleAssertFinite(),
        AddRuleWhen(isQuantile, quantiles, notBelow), AddRuleWhen(isQuantile, quantiles, notAbove),
        AddRuleWhen(isQuantile, quantiles, AddRuleCompare(CompareRelation::GreaterOrEqual, algorithm.inputMinimum)),
        AddRuleWhen(isOther, hasMode(IntensityRescale::OTHER),
                    AddRuleCompare(CompareRelation::Greater, algorithm.inputMinimum)));
    properties.input(algorithm.rangeMode, "Where the input's range comes from.");
    properties.onlyWith(algorithm.rangeMode, {IntensityRescale::QUANTILES, IntensityRescale::OTHER},
                        algorithm.inputMinimum, algorithm.inputMaximum);
    properties.input(algorithm.outputMinimum, "What the lower end of the range becomes.", AddRuleAssertFinite());
    algorithm.outputMaximum = 255.0;
    properties.input(algorithm.outputMaximum, "What the upper end of the range becomes.", AddRuleAssertFinite());
    properties.input(algorithm.outputType, "The type of the result, to which results are rounded and clamped.");
    properties.output(
        algorithm.outputImage, "The stretched grey values.", AddRuleAssertNotNull(),
        AddRuleInPlaceOrDisjoint(algorithm.inputImage),
        AddRuleEnforceLike(algorithm.inputImage, {.interpretation = RIX_VALUE, .chosenType = [&algorithm] {
                                                      return algorithms::voxelTypeOf(algorithm.getOutputType());
                                                  }}));
}

analysis::GreyRange rangeOf(const IntensityRescale& algorithm, access::ExecutionContext& context, OptimLevelType level,
                            const ImageModel& image) {
    const double first = algorithm.getInputMinimum();
    const double last = algorithm.getInputMaximum();
    switch (algorithm.getRangeMode()) {
        case IntensityRescale::MIN_MAX: return analysis::extremesOf(context, level, image);
        case IntensityRescale::QUANTILES: {
            const double shares[] = {first, last};
            const std::vector<double> values = analysis::quantilesOf(context, level, image, shares);
            return {values[0], values[1]};
        }
        default: return {first, last};
    }
}

void process(IntensityRescale& algorithm, OptimLevelType level) {
    const bool binary = algorithms::wasBinary(algorithm);
    const access::Steps steps(algorithm.executionContext(),
                              (binary ? 1U : 0U) + (algorithm.getRangeMode() == IntensityRescale::OTHER ? 1U : 2U));
    const NumberImage numbers(algorithm, *algorithm.getInputImage(), binary, level);
    analysis::GreyRange range = rangeOf(algorithm, algorithm.executionContext(), level, numbers.image());
    if (!range.hasValues()) {
        range = {0.0, 0.0};
    }
    const Rescaling rescaling{range.minimum, range.maximum, algorithm.getOutputMinimum(), algorithm.getOutputMaximum()};
    const auto rows = [&]<class T>(const T* in, T* out, std::size_t count) {
        rescaleRow<T>(level)(in, out, count, rescaling);
    };
    applyFunction(algorithm, numbers.image(), false, *algorithm.getOutputImage(), level, nanosecondsPerVoxel, rows);
}

std::size_t memoryOf(const IntensityRescale& algorithm) {
    const ImageModel& input = *algorithm.getInputImage();
    const std::size_t threads = algorithm.getMaximumThreads();
    const std::size_t ofRange =
        algorithm.getRangeMode() == IntensityRescale::QUANTILES ? analysis::quantilesMemory(input, 2, threads) : 0;
    return NumberImage::memory(input, isBinary(&input)) + std::max(ofRange, functionMemory(threads));
}

constexpr algorithms::Definition<IntensityRescale> definition{
    .summary = "Stretches a range of grey values to another one.",
    .kind = AlgorithmKind::Composite,
    .declare = &declare,
    .process = &process,
    .prepare = &algorithms::rememberMeaning<IntensityRescale>,
    .memory = &memoryOf,
    .memoryIsExact = false,  // quantiles depend on the values
};

}  // namespace

const EnumInfo& IntensityRescale::getInfoRangeMode() {
    static const EnumInfo info("RangeMode", "MIN_MAX = 0, QUANTILES, OTHER");
    return info;
}

RIX_DEFINE_ALGORITHM_WITH(IntensityRescale, algorithms::InputMeaning, definition)

}  // namespace rix::manipulation
