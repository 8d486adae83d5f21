#include "ArithmeticRules.h"

#include <string>

#include <rix/point_operations/ArithmeticOperators.h>
#include <rix/rules/CompareRules.h>
#include <rix/rules/ImageEnforcements.h>

namespace rix::point_operations {

PromotionTypesRulesType promotionOf(int arithmeticOperator) {
    switch (arithmeticOperator) {
        case ArithmeticOperators::ADD:
        case ArithmeticOperators::SUBTRACT:
        case ArithmeticOperators::DIVIDE: return PROMOTION_ADDITIVE;
        case ArithmeticOperators::MULTIPLY: return PROMOTION_MULTIPLICATIVE;
        case ArithmeticOperators::MINIMUM: return PROMOTION_MINIMUM;
        case ArithmeticOperators::MAXIMUM: return PROMOTION_MAXIMUM;
        default: break;
    }
    throw RuleException("The provided arithmeticOperator is unknow (value=" + std::to_string(arithmeticOperator) +
                        ").");
}

bool needsOrder(PromotionTypesRulesType kind) {
    return kind == PROMOTION_MINIMUM || kind == PROMOTION_MAXIMUM;
}

std::vector<ScopedRule> outputRules(Property<ImageModel*>& output, VoxelTypes result,
                                    std::initializer_list<const Property<const ImageModel*>*> inputs) {
    std::vector<ScopedRule> rules;
    for (const Property<const ImageModel*>* const input : inputs) {
        if (input->get()->getVoxelType() != result) {
            rules.emplace_back(output, AddRuleCompare(CompareRelation::NotEqual, *input));
        }
    }
    rules.emplace_back(output, AddRuleEnforceImage(ImageCheck{result, **inputs.begin(), RIX_VALUE}));
    return rules;
}

bool isBinary(const ImageModel* image) {
    return image != nullptr && image->getInterpretation() == RIX_BINARY;
}

}  // namespace rix::point_operations
