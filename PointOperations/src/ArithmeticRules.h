#pragma once

#include <initializer_list>
#include <vector>

#include <rix/properties/Property.h>
#include <rix/rules/Promotion.h>
#include <rix/rules/ScopedRule.h>

namespace rix::point_operations {

/// The promotion table of an operator.
/// @throws RuleException "The provided arithmeticOperator is unknow (value=...)."
PromotionTypesRulesType promotionOf(int arithmeticOperator);

/// Whether the operator compares its operands, which complex numbers don't allow.
bool needsOrder(PromotionTypesRulesType kind);

/// The rules that shape the output of an arithmetic operation, for one pass: no input of another type than `result` may
/// be the output, and the output becomes an image of `result` like the first input.
std::vector<ScopedRule> outputRules(Property<ImageModel*>& output, VoxelTypes result,
                                    std::initializer_list<const Property<const ImageModel*>*> inputs);

/// Whether an image is set and its voxels count as 0 and 1.
bool isBinary(const ImageModel* image);

}  // namespace rix::point_operations
