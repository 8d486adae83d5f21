#include <rix/segmentation/AutoThresholding.h>

#include <memory>

#include <rix/access/Steps.h>
#include <rix/algorithms/Children.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/analysis/AutoThresholdingValue.h>
#include <rix/rules/CompareRules.h>
#include <rix/segmentation/AutoThresholdingBright.h>
#include <rix/segmentation/AutoThresholdingDark.h>
#include <rix/segmentation/ThresholdingByCriterion.h>
#include <rix/settings/Settings.h>

namespace rix::segmentation {

namespace {

/// The children, made by the first run and kept for the next: on a small image to make them takes longer than to run
/// them.
struct Children {
    analysis::AutoThresholdingValue value;
    ThresholdingByCriterion thresholding;
};

struct AutoThresholdingState : algorithms::InputMeaning {
    std::unique_ptr<Children> children;
};

template <class Algorithm>
void declare(Algorithm& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputGrayImage, "The image that is separated.", AddRulesForRealImage());
    properties.input(algorithm.rangeMode, "Which range of grey levels the histogram covers.");
    algorithm.intensityInputRange = math::Vector2<double>{0.0, 255.0};
    properties.input(algorithm.intensityInputRange, "Minimum and maximum of the range, when rangeMode is OTHER.",
                     AddRuleAssertFinite());
    properties.onlyWith(algorithm.rangeMode, {Algorithm::OTHER}, algorithm.intensityInputRange);
    properties.input(algorithm.thresholdCriterion, "How the threshold is chosen from the histogram.");
    properties.output(
        algorithm.outputBinaryImage, "1 on the kept side of the threshold, 0 elsewhere.", AddRuleAssertNotNull(),
        AddRuleCompare(CompareRelation::NotEqual, algorithm.inputGrayImage),
        AddRuleDisjointFrom(algorithm.inputGrayImage),
        AddRuleEnforceLike(algorithm.inputGrayImage, {.voxelType = RIX_UINT8, .interpretation = RIX_BINARY}));
    properties.output(
        algorithm.outputMeasurement,
        "The thresholds, one for each frame; that of the first is applied to all, unless each frame is run "
        "by itself.",
        AddRuleAssertNotNull());
}

void configure(const AutoThresholding& algorithm, const ImageModel* input, analysis::AutoThresholdingValue& child) {
    child.setInputGrayImage(input);
    child.setRangeMode(algorithm.getRangeMode());
    child.setIntensityInputRange(algorithm.getIntensityInputRange());
    child.setThresholdCriterion(algorithm.getThresholdCriterion());
}

template <class Algorithm>
constexpr auto keptSide = ThresholdingByCriterion::GREATER_THAN_OR_EQUAL_TO;
template <>
constexpr auto keptSide<AutoThresholdingDark> = ThresholdingByCriterion::LESS_THAN;

template <class Algorithm>
void process(Algorithm& algorithm, OptimLevelType level) {
    const access::Steps steps(algorithm.executionContext(), 2);

    std::unique_ptr<Children>& children = algorithms::stateOf<AutoThresholdingState>(algorithm).children;
    if (children == nullptr) {
        children = std::make_unique<Children>();
    }
    algorithms::readAsItWas(algorithm, [&](const ImageModel& input) {
        analysis::AutoThresholdingValue& value = children->value;
        configure(algorithm, &input, value);
        value.setOutputMeasurement(algorithm.getOutputMeasurement());
        algorithms::runChild(algorithm, value, level);

        ThresholdingByCriterion& thresholding = children->thresholding;
        thresholding.setInputGrayImage(&input);
        thresholding.setComparisonCriterion(keptSide<Algorithm>);
        thresholding.setComparisonValue(algorithm.getOutputMeasurement()->threshold[0]);
        thresholding.setOutputBinaryImage(algorithm.getOutputBinaryImage());
        algorithms::runChild(algorithm, thresholding, level);
    });
}

template <class Algorithm>
std::size_t memoryOf(const Algorithm& algorithm) {
    analysis::AutoThresholdingValue child;
    child.settings() = algorithm.settings();
    configure(algorithm, algorithm.getInputGrayImage(), child);
    return child.describe().extraMemory;
}

template <class Algorithm>
constexpr algorithms::Definition<Algorithm> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Composite,
        .declare = &declare<Algorithm>,
        .process = &process<Algorithm>,
        .prepare = &algorithms::rememberMeaning<Algorithm>,
        .memory = &memoryOf<Algorithm>,
        .memoryIsExact = false,
    };
}

constexpr auto bright = definitionOf<AutoThresholdingBright>(
    "Keeps the bright side of a threshold that is chosen automatically; all frames take that of the first.");
constexpr auto dark = definitionOf<AutoThresholdingDark>(
    "Keeps the dark side of a threshold that is chosen automatically; all frames take that of the first.");

}  // namespace

RIX_DEFINE_ALGORITHM_ON(AutoThresholding, AutoThresholdingBright, AutoThresholdingState, bright)
RIX_DEFINE_ALGORITHM_ON(AutoThresholding, AutoThresholdingDark, AutoThresholdingState, dark)

}  // namespace rix::segmentation
