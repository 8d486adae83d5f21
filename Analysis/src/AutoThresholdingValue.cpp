#include <rix/analysis/AutoThresholdingValue.h>

#include <rix/algorithms/AlgorithmClass.h>
#include <rix/measurement/PropertyMeasurement.h>
#include <rix/properties/PropertySingleChoice.h>
#include <rix/rules/EnumRules.h>
#include <rix/rules/ImageAssertions.h>
#include <rix/rules/ValueRules.h>

#include "AutoThresholdingValueRunners.h"

namespace rix::analysis {

namespace {

struct AutoThresholdingValuePrivate : algorithms::AbstractPrivateImplementation {
    Property<const ImageModel*> inputGrayImage;
    PropertySingleChoice rangeMode{&ThresholdChoices::getInfoRangeModeType()};
    Property<math::Vector2<double>> intensityInputRange;
    PropertySingleChoice thresholdCriterion{&ThresholdChoices::getInfoThresholdCriterionType()};
    PropertyMeasurement<AutoThresholdingMsr> outputMeasurement;
};

}  // namespace

AlgoInfo& AutoThresholdingValue::getInfo() {
    return algorithms::classRecord<AutoThresholdingValue>("AutoThresholdingValue", &addAutoThresholdingValueRunners);
}

std::shared_ptr<AutoThresholdingValue> AutoThresholdingValue::New() {
    return std::make_shared<AutoThresholdingValue>();
}

AutoThresholdingValue::AutoThresholdingValue(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<AutoThresholdingValuePrivate>(given)) {
    auto& state = static_cast<AutoThresholdingValuePrivate&>(*implementation());
    addInput(state.inputGrayImage, "inputGrayImage", "The image whose threshold is chosen.");
    addRules(state.inputGrayImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(),
             AddRuleAssertIntegerOrFloating(), AddRuleAssertImageNotEmpty());
    addInput(state.rangeMode, "rangeMode", "Which range of grey levels the histogram covers.");
    addRules(state.rangeMode, AddRuleIsAnEnumOfType(getInfoRangeModeType()));
    addInput(state.intensityInputRange, "intensityInputRange",
             "Minimum and maximum of the range, when rangeMode is OTHER.");
    addRules(state.intensityInputRange, AddRuleAssertFinite());
    addInput(state.thresholdCriterion, "thresholdCriterion", "How the threshold is chosen from the histogram.");
    addRules(state.thresholdCriterion, AddRuleIsAnEnumOfType(getInfoThresholdCriterionType()));
    addOutput(state.outputMeasurement, "outputMeasurement", "The thresholds, one for each frame.");
    addRules(state.outputMeasurement, AddRuleAssertNotNull());
}

AlgoInfo& AutoThresholdingValue::getClassInfo() const {
    return getInfo();
}

AlgorithmDescription AutoThresholdingValue::describe() const {
    AlgorithmDescription description;
    description.summary = "Chooses a threshold from the histogram of an image.";
    description.kind = AlgorithmKind::Reduction;
    description.extraMemoryIsExact = false;  // it depends on the values that occur
    if (getInputGrayImage() != nullptr) {
        description.extraMemory = thresholdingMemory(*this);
    }
    return description;
}

}  // namespace rix::analysis
