#include <rix/algorithms/AlgorithmClass.h>
#include <rix/point_operations/LogicalOperationWithImage.h>
#include <rix/point_operations/LogicalOperationWithValue.h>
#include <rix/properties/PropertySingleChoice.h>
#include <rix/rules/EnumRules.h>
#include <rix/rules/ImageAssertions.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/OverlapRules.h>
#include <rix/rules/ValueRules.h>

#include <rix/access/Pieces.h>
#include "PointRunners.h"

namespace rix::point_operations {

namespace {

struct WithImagePrivate : algorithms::AbstractPrivateImplementation {
    Property<const ImageModel*> inputImage1;
    Property<const ImageModel*> inputImage2;
    PropertySingleChoice logicalOperator{&LogicalOperators::getInfoLogicalOperatorType()};
    Property<ImageModel*> outputImage;
};

struct WithValuePrivate : algorithms::AbstractPrivateImplementation {
    Property<const ImageModel*> inputImage;
    Property<long> value;
    PropertySingleChoice logicalOperator{&LogicalOperators::getInfoLogicalOperatorType()};
    Property<ImageModel*> outputImage;
};

template <class... Inputs>
void addOutputRules(Property<ImageModel*>& output, const Property<const ImageModel*>& first, const Inputs&... others) {
    addRules(output, AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(first), AddRuleInPlaceOrDisjoint(others)...,
             AddRuleEnforceSameSizeCalibrationAndType(first), AddRuleEnforceSameInterpretation(first),
             AddRuleEnforceSameColorInterpretation(first));
}

AlgorithmDescription describeLike(const BaseAlgorithm& algorithm, const char* summary, const ImageModel* first) {
    AlgorithmDescription description;
    description.summary = summary;
    description.kind = AlgorithmKind::Point;
    description.inPlace = true;
    description.extraMemory = access::pieceMemory(algorithm.getMaximumThreads());
    if (first != nullptr) {
        description.outputs.push_back({"outputImage", first->getVoxelType(), helper::getExtents(*first)});
    }
    return description;
}

}  // namespace

AlgoInfo& LogicalOperationWithImage::getInfo() {
    return algorithms::classRecord<LogicalOperationWithImage>("LogicalOperationWithImage",
                                                              &addLogicalOperationWithImageRunners);
}

std::shared_ptr<LogicalOperationWithImage> LogicalOperationWithImage::New() {
    return std::make_shared<LogicalOperationWithImage>();
}

LogicalOperationWithImage::LogicalOperationWithImage(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<WithImagePrivate>(given)) {
    auto& state = static_cast<WithImagePrivate&>(*implementation());
    addInput(state.inputImage1, "inputImage1", "The first operand.");
    addInput(state.inputImage2, "inputImage2", "The second operand.");
    addRules(state.inputImage1, AddRuleAssertNotNull(), AddRuleAssertSingleElement(), AddRuleAssertInteger(),
             AddRuleAssertImageNotEmpty(), AddRuleAssertBinaryIfBinary(state.inputImage2));
    addRules(state.inputImage2, AddRuleAssertNotNull(), AddRuleAssertSingleElement(), AddRuleAssertInteger(),
             AddRuleAssertSameSize(state.inputImage1), AddRuleAssertSameType(state.inputImage1),
             AddRuleAssertBinaryIfBinary(state.inputImage1));
    addInput(state.logicalOperator, "logicalOperator", "How the bits of the operands are combined.");
    addRules(state.logicalOperator, AddRuleIsAnEnumOfType(getInfoLogicalOperatorType()));
    addOutput(state.outputImage, "outputImage", "The first operand combined with the second, bit by bit.");
    addOutputRules(state.outputImage, state.inputImage1, state.inputImage2);
}

AlgoInfo& LogicalOperationWithImage::getClassInfo() const {
    return getInfo();
}

AlgorithmDescription LogicalOperationWithImage::describe() const {
    return describeLike(*this, "Combines two integer or binary images bit by bit.", getInputImage1());
}

AlgoInfo& LogicalOperationWithValue::getInfo() {
    return algorithms::classRecord<LogicalOperationWithValue>("LogicalOperationWithValue",
                                                              &addLogicalOperationWithValueRunners);
}

std::shared_ptr<LogicalOperationWithValue> LogicalOperationWithValue::New() {
    return std::make_shared<LogicalOperationWithValue>();
}

LogicalOperationWithValue::LogicalOperationWithValue(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<WithValuePrivate>(given)) {
    auto& state = static_cast<WithValuePrivate&>(*implementation());
    addInput(state.inputImage, "inputImage", "The first operand.");
    addRules(state.inputImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(), AddRuleAssertInteger(),
             AddRuleAssertImageNotEmpty());
    addInput(state.value, "value", "The second operand of every voxel: its low bits.");
    addInput(state.logicalOperator, "logicalOperator", "How the bits of the operands are combined.");
    addRules(state.logicalOperator, AddRuleIsAnEnumOfType(getInfoLogicalOperatorType()));
    addOutput(state.outputImage, "outputImage", "The image combined with the value, bit by bit.");
    addOutputRules(state.outputImage, state.inputImage);
}

AlgoInfo& LogicalOperationWithValue::getClassInfo() const {
    return getInfo();
}

AlgorithmDescription LogicalOperationWithValue::describe() const {
    return describeLike(*this, "Combines every voxel of an integer or binary image with a value bit by bit.",
                        getInputImage());
}

}  // namespace rix::point_operations
