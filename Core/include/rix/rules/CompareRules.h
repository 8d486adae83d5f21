#pragma once

#include <cstdint>
#include <utility>

#include <rix/rules/ImageRule.h>
#include <rix/rules/RuleSupport.h>

/// Rules that relate the values of two properties.
namespace rix {

/// How a value has to stand to another one.
enum class CompareRelation : std::uint8_t { Equal, NotEqual, Less, LessOrEqual, Greater, GreaterOrEqual };

namespace rules {

/// "equal to", "not equal to", "less than", ...; throws a RuleException for an unknown relation.
RIX_EXPORT const char* relationPhrase(CompareRelation relation);

/// True when the relation holds. Integers compare by value whatever their signs; nothing but "not equal" holds for NaN.
template <class A, class B>
bool holds(CompareRelation relation, const A& a, const B& b) {
    constexpr bool integers =
        std::is_integral_v<A> && std::is_integral_v<B> && !std::is_same_v<A, bool> && !std::is_same_v<B, bool>;
    if constexpr (integers) {
        switch (relation) {
            case CompareRelation::Equal: return std::cmp_equal(a, b);
            case CompareRelation::NotEqual: return std::cmp_not_equal(a, b);
            case CompareRelation::Less: return std::cmp_less(a, b);
            case CompareRelation::LessOrEqual: return std::cmp_less_equal(a, b);
            case CompareRelation::Greater: return std::cmp_greater(a, b);
            case CompareRelation::GreaterOrEqual: return std::cmp_greater_equal(a, b);
        }
    } else {
        switch (relation) {
            case CompareRelation::Equal: return a == b;
            case CompareRelation::NotEqual: return a != b;
            default: break;
        }
        if constexpr (requires { a < b; } && !std::is_pointer_v<A>) {
            switch (relation) {
                case CompareRelation::Less: return a < b;
                case CompareRelation::LessOrEqual: return a <= b;
                case CompareRelation::Greater: return a > b;
                case CompareRelation::GreaterOrEqual: return a >= b;
                default: break;
            }
        }
    }
    refuseUnknownRule();
}

}  // namespace rules

/// The value stands in a relation to the value of another property of the same algorithm.
///
/// Two image properties are equal when they hold the same image: the same object, or two whose samples start at the
/// same address of memory. Images have no other relations. An unset image is refused.
/// @throws RuleException with both values.
template <class T, class Other = T>
class RIX_EXPORT RuleCompare : public Rules<Property<T>> {
public:
    using ValueType = T;

    /// @param other outlives the rule.
    RuleCompare(CompareRelation relation, const Property<Other>& other) : m_relation(relation), m_other(&other) {}

    void apply(Property<T>& property) override {
        if (!relationHolds(property)) {
            rules::refuse(rules::parameterText(property) + valueText(property) + " must be " +
                          rules::relationPhrase(m_relation) + " the parameter " + rules::quotedName(*m_other) +
                          valueText(*m_other) + ".");
        }
    }
    String describe() const override {
        if constexpr (isImage) {
            return String("must ") + (m_relation == CompareRelation::NotEqual ? "not " : "") + "be the image of " +
                   m_other->getName();
        } else {
            return String("must be ") + rules::relationPhrase(m_relation) + " " + m_other->getName();
        }
    }

private:
    static constexpr bool isImage = rules::ImageValue<T> && rules::ImageValue<Other>;

    bool relationHolds(const Property<T>& property) const {
        if constexpr (isImage) {
            const auto image = rules::openImage(property);
            const auto other = rules::openImage(*m_other);
            bool same = rules::isSameImage(*image, *other);
            if constexpr (requires { property.get() == m_other->get(); }) {
                same = same || property.get() == m_other->get();  // a view that is not in memory, opened twice
            }
            switch (m_relation) {
                case CompareRelation::Equal: return same;
                case CompareRelation::NotEqual: return !same;
                default: rules::refuseUnknownRule();
            }
        } else {
            return rules::holds(m_relation, property.get(), m_other->get());
        }
    }

    template <class V>
    static String valueText(const Property<V>& property) {
        if constexpr (isImage) {
            return " (value=" + rules::openImage(property)->getImageId() + ")";
        } else {
            return " (value=" + rules::valueToText(property.get()) + ")";
        }
    }

    CompareRelation m_relation;
    const Property<Other>* m_other;
};

/// Attaches `RuleCompare` to a property: `AddRuleCompare(CompareRelation::NotEqual, inputImage)(outputImage)`.
template <class Other>
class AddRuleCompare {
public:
    AddRuleCompare(CompareRelation relation, const Property<Other>& other) : m_relation(relation), m_other(&other) {}

    template <class T>
    std::shared_ptr<Rules<Property<T>>> operator()(Property<T>& property) const {
        std::shared_ptr<Rules<Property<T>>> rule = std::make_shared<RuleCompare<T, Other>>(m_relation, *m_other);
        property.getImpl()->addRule(rule);
        return rule;
    }

private:
    CompareRelation m_relation;
    const Property<Other>* m_other;
};

}  // namespace rix
