#include <rix/segmentation/ThresholdingByCriterion.h>

#include <rix/algorithms/AlgorithmClass.h>
#include <rix/properties/EnumInfo.h>
#include <rix/properties/PropertySingleChoice.h>
#include <rix/rules/EnumRules.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/OverlapRules.h>
#include <rix/rules/ValueRules.h>

#include "ThresholdingByCriterionRunners.h"

namespace rix::segmentation {

namespace {

struct ThresholdingByCriterionPrivate : algorithms::AbstractPrivateImplementation {
    Property<const ImageModel*> inputGrayImage;
    PropertySingleChoice comparisonCriterion{&ThresholdingByCriterion::getInfoCriterionType()};
    Property<double> comparisonValue;
    Property<ImageModel*> outputBinaryImage;
};

}  // namespace

const EnumInfo& ThresholdingByCriterion::getInfoCriterionType() {
    static const EnumInfo info("CriterionType",
                               "LESS_THAN = 0, LESS_THAN_OR_EQUAL_TO, EQUAL_TO, GREATER_THAN_OR_EQUAL_TO, "
                               "GREATER_THAN, NOT_EQUAL_TO");
    return info;
}

AlgoInfo& ThresholdingByCriterion::getInfo() {
    return algorithms::classRecord<ThresholdingByCriterion>("ThresholdingByCriterion",
                                                            &addThresholdingByCriterionRunners);
}

std::shared_ptr<ThresholdingByCriterion> ThresholdingByCriterion::New() {
    return std::make_shared<ThresholdingByCriterion>();
}

ThresholdingByCriterion::ThresholdingByCriterion(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<ThresholdingByCriterionPrivate>(given)) {
    auto& state = static_cast<ThresholdingByCriterionPrivate&>(*implementation());
    addInput(state.inputGrayImage, "inputGrayImage", "The image whose voxels are compared.");
    addRules(state.inputGrayImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(),
             AddRuleAssertIntegerOrFloating(), AddRuleAssertImageNotEmpty());
    addInput(state.comparisonCriterion, "comparisonCriterion", "How a voxel is compared with the value.");
    addRules(state.comparisonCriterion, AddRuleIsAnEnumOfType(getInfoCriterionType()));
    addInput(state.comparisonValue, "comparisonValue", "The value that voxels are compared with.");
    addOutput(state.outputBinaryImage, "outputBinaryImage", "1 where the comparison holds, 0 elsewhere.");
    addRules(state.outputBinaryImage, AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(state.inputGrayImage),
             AddRuleEnforceImage(ImageCheck{RIX_UINT8, state.inputGrayImage, RIX_BINARY}));
}

AlgoInfo& ThresholdingByCriterion::getClassInfo() const {
    return getInfo();
}

AlgorithmDescription ThresholdingByCriterion::describe() const {
    AlgorithmDescription description;
    description.summary = "Compares every voxel with a value and writes a binary image.";
    description.kind = AlgorithmKind::Point;
    description.inPlace = true;
    if (const ImageModel* const input = getInputGrayImage(); input != nullptr) {
        description.outputs.push_back({"outputBinaryImage", RIX_UINT8, helper::getExtents(*input)});
    }
    return description;
}

}  // namespace rix::segmentation
