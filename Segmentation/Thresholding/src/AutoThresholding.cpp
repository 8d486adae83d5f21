#include <rix/segmentation/AutoThresholding.h>

#include <rix/algorithms/AlgorithmClass.h>
#include <rix/analysis/AutoThresholdingValue.h>
#include <rix/measurement/PropertyMeasurement.h>
#include <rix/properties/PropertySingleChoice.h>
#include <rix/rules/CompareRules.h>
#include <rix/rules/EnumRules.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/OverlapRules.h>
#include <rix/rules/ValueRules.h>
#include <rix/segmentation/AutoThresholdingBright.h>
#include <rix/segmentation/AutoThresholdingDark.h>
#include <rix/settings/Settings.h>

#include "AutoThresholdingRunners.h"

namespace rix::segmentation {

namespace {

struct AutoThresholdingPrivate : algorithms::AbstractPrivateImplementation {
    AutoThresholdingPrivate() { intensityInputRange = math::Vector2<double>{0.0, 255.0}; }

    Property<const ImageModel*> inputGrayImage;
    PropertySingleChoice rangeMode{&AutoThresholding::getInfoRangeModeType()};
    Property<math::Vector2<double>> intensityInputRange;
    PropertySingleChoice thresholdCriterion{&AutoThresholding::getInfoThresholdCriterionType()};
    Property<ImageModel*> outputBinaryImage;
    PropertyMeasurement<analysis::AutoThresholdingMsr> outputMeasurement;
};

}  // namespace

AutoThresholding::AutoThresholding(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<AutoThresholdingPrivate>(given)) {
    auto& state = static_cast<AutoThresholdingPrivate&>(*implementation());
    addInput(state.inputGrayImage, "inputGrayImage", "The image that is parted.");
    addRules(state.inputGrayImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(),
             AddRuleAssertIntegerOrFloating(), AddRuleAssertImageNotEmpty());
    addInput(state.rangeMode, "rangeMode", "Which range of grey levels the histogram covers.");
    addRules(state.rangeMode, AddRuleIsAnEnumOfType(getInfoRangeModeType()));
    addInput(state.intensityInputRange, "intensityInputRange",
             "Minimum and maximum of the range, when rangeMode is OTHER.");
    addRules(state.intensityInputRange, AddRuleAssertFinite());
    addInput(state.thresholdCriterion, "thresholdCriterion", "How the threshold is chosen from the histogram.");
    addRules(state.thresholdCriterion, AddRuleIsAnEnumOfType(getInfoThresholdCriterionType()));
    addOutput(state.outputBinaryImage, "outputBinaryImage", "1 on the kept side of the threshold, 0 elsewhere.");
    addRules(state.outputBinaryImage, AddRuleAssertNotNull(),
             AddRuleCompare(CompareRelation::NotEqual, state.inputGrayImage), AddRuleDisjointFrom(state.inputGrayImage),
             AddRuleEnforceImage(ImageCheck{RIX_UINT8, state.inputGrayImage, RIX_BINARY}));
    addOutput(state.outputMeasurement, "outputMeasurement", "The thresholds, one for each frame.");
    addRules(state.outputMeasurement, AddRuleAssertNotNull());
}

AlgorithmDescription AutoThresholding::describe() const {
    AlgorithmDescription description;
    description.summary = String("Keeps the ") + sideName() + " side of a threshold that is chosen automatically.";
    description.kind = AlgorithmKind::Composite;
    if (const ImageModel* const image = getInputGrayImage(); image != nullptr) {
        description.outputs.push_back({"outputBinaryImage", RIX_UINT8, helper::getExtents(*image)});
        analysis::AutoThresholdingValue child;
        child.settings() = settings();
        child.setInputGrayImage(image);
        child.setRangeMode(getRangeMode());
        child.setIntensityInputRange(getIntensityInputRange());
        child.setThresholdCriterion(getThresholdCriterion());
        description.extraMemory = child.describe().extraMemory;
        description.extraMemoryIsExact = false;
    }
    return description;
}

AutoThresholdingBright::AutoThresholdingBright(algorithms::AbstractPrivateImplementation* given)
    : AutoThresholding(given) {}

AutoThresholdingDark::AutoThresholdingDark(algorithms::AbstractPrivateImplementation* given)
    : AutoThresholding(given) {}

std::shared_ptr<AutoThresholdingBright> AutoThresholdingBright::New() {
    return std::make_shared<AutoThresholdingBright>();
}

std::shared_ptr<AutoThresholdingDark> AutoThresholdingDark::New() {
    return std::make_shared<AutoThresholdingDark>();
}

AlgoInfo& AutoThresholdingBright::getInfo() {
    return algorithms::classRecord<AutoThresholdingBright>("AutoThresholdingBright", &addAutoThresholdingBrightRunners);
}

AlgoInfo& AutoThresholdingDark::getInfo() {
    return algorithms::classRecord<AutoThresholdingDark>("AutoThresholdingDark", &addAutoThresholdingDarkRunners);
}

AlgoInfo& AutoThresholdingBright::getClassInfo() const {
    return getInfo();
}

AlgoInfo& AutoThresholdingDark::getClassInfo() const {
    return getInfo();
}

const char* AutoThresholdingBright::sideName() const {
    return "bright";
}

const char* AutoThresholdingDark::sideName() const {
    return "dark";
}

}  // namespace rix::segmentation
