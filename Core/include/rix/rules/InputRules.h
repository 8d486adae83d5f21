#pragma once

#include <utility>
#include <vector>

#include <rix/rules/ImageAssertions.h>
#include <rix/rules/ValueRules.h>

/// The rules of the usual input images, each bundle in the order that gives the clearest refusal: set, one value a
/// voxel, a type, not empty.
namespace rix {

/// Any type, complex ones as well.
struct AddRulesForScalarImage {
    template <class T>
    void operator()(Property<T>& property) const {
        addRules(property, AddRuleAssertNotNull(), AddRuleAssertSingleElement(), AddRuleAssertImageNotEmpty());
    }
};

/// `uint8` to `float64`.
struct AddRulesForRealImage {
    template <class T>
    void operator()(Property<T>& property) const {
        addRules(property, AddRuleAssertNotNull(), AddRuleAssertSingleElement(), AddRuleAssertIntegerOrFloating(),
                 AddRuleAssertImageNotEmpty());
    }
};

/// `uint8` to `int32`.
struct AddRulesForIntegerImage {
    template <class T>
    void operator()(Property<T>& property) const {
        addRules(property, AddRuleAssertNotNull(), AddRuleAssertSingleElement(), AddRuleAssertInteger(),
                 AddRuleAssertImageNotEmpty());
    }
};

/// One of a list of types.
class AddRulesForImageOf {
public:
    explicit AddRulesForImageOf(std::vector<VoxelTypes> types) : m_types(std::move(types)) {}
    template <class T>
    void operator()(Property<T>& property) const {
        addRules(property, AddRuleAssertNotNull(), AddRuleAssertSingleElement(), AddRuleAssertType(m_types),
                 AddRuleAssertImageNotEmpty());
    }

private:
    std::vector<VoxelTypes> m_types;
};

}  // namespace rix
