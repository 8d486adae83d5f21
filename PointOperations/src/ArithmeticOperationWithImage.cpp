#include <rix/point_operations/ArithmeticOperationWithImage.h>

#include <rix/algorithms/AlgorithmClass.h>
#include <rix/rules/EnumRules.h>
#include <rix/rules/ImageAssertions.h>
#include <rix/rules/OverlapRules.h>
#include <rix/rules/ValueRules.h>

#include "ArithmeticOperationWithImagePrivate.h"
#include "ArithmeticRules.h"
#include <rix/access/Pieces.h>
#include "PointRunners.h"

namespace rix::point_operations {

using Private = ArithmeticOperationWithImagePrivate;

AlgoInfo& ArithmeticOperationWithImage::getInfo() {
    return algorithms::classRecord<ArithmeticOperationWithImage>("ArithmeticOperationWithImage",
                                                                 &addArithmeticOperationWithImageRunners);
}

std::shared_ptr<ArithmeticOperationWithImage> ArithmeticOperationWithImage::New() {
    return std::make_shared<ArithmeticOperationWithImage>();
}

ArithmeticOperationWithImage::ArithmeticOperationWithImage(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<Private>(given)) {
    Private& state = Private::of(*this);
    addInput(state.inputImage1, "inputImage1", "The first operand.");
    addRules(state.inputImage1, AddRuleAssertNotNull(), AddRuleAssertSingleElement(), AddRuleAssertImageNotEmpty());
    addInput(state.inputImage2, "inputImage2", "The second operand.");
    addRules(state.inputImage2, AddRuleAssertNotNull(), AddRuleAssertSingleElement(),
             AddRuleAssertSameSize(state.inputImage1));
    addInput(state.arithmeticOperator, "arithmeticOperator", "How the operands are combined.");
    addRules(state.arithmeticOperator, AddRuleIsAnEnumOfType(getInfoArithmeticOperatorType()));
    addOutput(state.outputImage, "outputImage", "The first operand combined with the second, voxel by voxel.");
    addRules(state.outputImage, AddRuleAssertNotNull(), AddRuleInPlaceOrDisjoint(state.inputImage1),
             AddRuleInPlaceOrDisjoint(state.inputImage2));
}

AlgoInfo& ArithmeticOperationWithImage::getClassInfo() const {
    return getInfo();
}

void ArithmeticOperationWithImage::applyAllRules() {
    Private& state = Private::of(*this);
    const PromotionTypesRulesType kind = promotionOf(getArithmeticOperator());
    const ImageModel* const first = getInputImage1();
    const ImageModel* const second = getInputImage2();
    state.isBinary1 = isBinary(first);
    state.isBinary2 = isBinary(second);

    std::vector<ScopedRule> ofThisPass;
    if (needsOrder(kind)) {
        ofThisPass.emplace_back(state.inputImage1, AddRuleAssertIntegerOrFloating());
        ofThisPass.emplace_back(state.inputImage2, AddRuleAssertIntegerOrFloating());
    }
    std::vector<ScopedRule> ofOutput;
    if (first != nullptr && second != nullptr) {
        ofOutput = outputRules(state.outputImage, getPromotedType(first, second, kind),
                               {&state.inputImage1, &state.inputImage2});
    }
    BaseAlgorithm::applyAllRules();
}

AlgorithmDescription ArithmeticOperationWithImage::describe() const {
    AlgorithmDescription description;
    description.summary = "Adds, subtracts, multiplies, divides or compares two images voxel by voxel.";
    description.kind = AlgorithmKind::Point;
    description.inPlace = true;
    description.extraMemory = access::pieceMemory(getMaximumThreads());
    const ImageModel* const first = getInputImage1();
    const ImageModel* const second = getInputImage2();
    if (first != nullptr && second != nullptr && getInfoArithmeticOperatorType().exists(getArithmeticOperator())) {
        const VoxelTypes type = getPromotedType(first, second, promotionOf(getArithmeticOperator()));
        description.outputs.push_back({"outputImage", type, helper::getExtents(*first)});
    }
    return description;
}

}  // namespace rix::point_operations
