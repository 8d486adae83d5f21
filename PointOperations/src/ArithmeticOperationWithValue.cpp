#include <rix/point_operations/ArithmeticOperationWithValue.h>

#include <rix/algorithms/AlgorithmClass.h>
#include <rix/rules/EnumRules.h>
#include <rix/rules/ImageAssertions.h>
#include <rix/rules/OverlapRules.h>
#include <rix/rules/ValueRules.h>

#include "ArithmeticOperationWithValuePrivate.h"
#include "ArithmeticRules.h"
#include <rix/access/Pieces.h>
#include "PointRunners.h"

namespace rix::point_operations {

using Private = ArithmeticOperationWithValuePrivate;

AlgoInfo& ArithmeticOperationWithValue::getInfo() {
    return algorithms::classRecord<ArithmeticOperationWithValue>("ArithmeticOperationWithValue",
                                                                 &addArithmeticOperationWithValueRunners);
}

std::shared_ptr<ArithmeticOperationWithValue> ArithmeticOperationWithValue::New() {
    return std::make_shared<ArithmeticOperationWithValue>();
}

ArithmeticOperationWithValue::ArithmeticOperationWithValue(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<Private>(given)) {
    Private& state = Private::of(*this);
    addInput(state.inputImage, "inputImage", "The first operand.");
    addRules(state.inputImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(), AddRuleAssertImageNotEmpty());
    addInput(state.value, "value", "The second operand of every voxel.");
    addInput(state.arithmeticOperator, "arithmeticOperator", "How the operands are combined.");
    addRules(state.arithmeticOperator, AddRuleIsAnEnumOfType(getInfoArithmeticOperatorType()));
    addOutput(state.outputImage, "outputImage", "The image combined with the value, voxel by voxel.");
    addRules(state.outputImage, AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(state.inputImage));
}

AlgoInfo& ArithmeticOperationWithValue::getClassInfo() const {
    return getInfo();
}

void ArithmeticOperationWithValue::applyAllRules() {
    Private& state = Private::of(*this);
    const PromotionTypesRulesType kind = promotionOf(getArithmeticOperator());
    const ImageModel* const image = getInputImage();
    state.isBinary = isBinary(image);

    std::vector<ScopedRule> ofThisPass;
    if (needsOrder(kind)) {
        ofThisPass.emplace_back(state.inputImage, AddRuleAssertIntegerOrFloating());
    }
    std::vector<ScopedRule> ofOutput;
    if (image != nullptr) {
        ofOutput = outputRules(state.outputImage, getPromotedType(image, getValue(), kind), {&state.inputImage});
    }
    BaseAlgorithm::applyAllRules();
}

AlgorithmDescription ArithmeticOperationWithValue::describe() const {
    AlgorithmDescription description;
    description.summary = "Adds a value to every voxel, or subtracts, multiplies, divides or compares with it.";
    description.kind = AlgorithmKind::Point;
    description.inPlace = true;
    description.extraMemory = access::pieceMemory(getMaximumThreads());
    const ImageModel* const image = getInputImage();
    if (image != nullptr && getInfoArithmeticOperatorType().exists(getArithmeticOperator())) {
        const VoxelTypes type = getPromotedType(image, getValue(), promotionOf(getArithmeticOperator()));
        description.outputs.push_back({"outputImage", type, helper::getExtents(*image)});
    }
    return description;
}

}  // namespace rix::point_operations
