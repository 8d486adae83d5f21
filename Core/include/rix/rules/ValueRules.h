#pragma once

#include <cmath>
#include <cstdint>
#include <utility>

#include <rix/rules/RuleSupport.h>

/// Rules on one number, and rules on the value of any type.
namespace rix {

/// How a value has to stand to a limit.
enum LimitConfiguration : std::int32_t {
    CHECK_GREATER = 0,
    CHECK_LOWER = 1,
    CHECK_GREATER_OR_EQUAL = 2,
    CHECK_LOWER_OR_EQUAL = 3
};

/// Whether the bound of a range belongs to the range.
enum class Bound : std::uint8_t { Included, Excluded };

namespace rules {

/// "must be greater than", ...; throws a RuleException for an unknown configuration.
RIX_EXPORT const char* limitPhrase(LimitConfiguration configuration);

/// True when the comparison that refuses a value holds. Literal: no comparison with NaN holds, so NaN passes.
template <class T>
bool isBeyondLimit(const T& value, const T& limit, LimitConfiguration configuration) {
    switch (configuration) {
        case CHECK_GREATER: return value <= limit;
        case CHECK_LOWER: return value >= limit;
        case CHECK_GREATER_OR_EQUAL: return value < limit;
        case CHECK_LOWER_OR_EQUAL: return value > limit;
    }
    refuseUnknownRule();
}

/// The test of RuleLimitedValue on one number of a property.
template <class T>
void assertLimit(const BaseProperty& property, const T& value, const T& limit, LimitConfiguration configuration) {
    if (isBeyondLimit(value, limit, configuration)) {
        refuse(parameterText(property) + " (value = " + valueToText(value) + ") " + limitPhrase(configuration) + " <" +
               valueToText(limit) + ">.");
    }
}

/// A range with its bounds: "[0 ; 1[" is the range from 0, included, to 1, excluded. NaN lies in no range.
template <class T>
struct Range {
    T minimum;
    T maximum;
    Bound minimumBound;
    Bound maximumBound;

    bool contains(const T& value) const {
        return (minimumBound == Bound::Included ? value >= minimum : value > minimum) &&
               (maximumBound == Bound::Included ? value <= maximum : value < maximum);
    }
    String toText() const {
        String text(1, minimumBound == Bound::Included ? '[' : ']');
        text += valueToText(minimum) + " ; " + valueToText(maximum);
        text += maximumBound == Bound::Included ? ']' : '[';
        return text;
    }
};

/// What RuleInRange requires, of every number of a value.
template <class T, class V>
void assertInRange(const BaseProperty& property, const V& value, const Range<T>& range) {
    forEachNumber(value, [&](const auto& number, std::size_t index) {
        if (!range.contains(number)) {
            refuse(parameterText(property) + " must be in the range " + range.toText() + ".",
                   givenText(value, number, index));
        }
    });
}

}  // namespace rules

/// The value compares with a limit as configured. Comparisons are literal: NaN passes; where NaN makes no sense
/// attach `RuleAssertFinite` or `RuleAssertNotNaN` as well.
/// @throws RuleException with the value and the limit.
template <class T>
class RIX_EXPORT RuleLimitedValue : public Rules<Property<T>> {
public:
    using ValueType = T;

    RuleLimitedValue(T limit, LimitConfiguration configuration)
        : m_limit(std::move(limit)), m_configuration(configuration) {}

    bool isIndividual() const override { return true; }
    void apply(Property<T>& property) override {
        rules::assertLimit(property, property.get(), m_limit, m_configuration);
    }
    String describe() const override {
        return String(rules::limitPhrase(m_configuration)) + " " + rules::valueToText(m_limit);
    }

private:
    T m_limit;
    LimitConfiguration m_configuration;
};

template <class T>
using AddRuleLimitedValue = rules::RuleAdder<RuleLimitedValue<T>, T, LimitConfiguration>;

/// The value lies between two bounds, each of which belongs to the range or not. NaN is refused.
template <class T>
class RIX_EXPORT RuleInRange : public Rules<Property<T>> {
public:
    using ValueType = T;

    RuleInRange(T minimum, T maximum, Bound minimumBound, Bound maximumBound)
        : m_range{std::move(minimum), std::move(maximum), minimumBound, maximumBound} {}

    bool isIndividual() const override { return true; }
    void apply(Property<T>& property) override { rules::assertInRange(property, property.get(), m_range); }
    String describe() const override { return "must be in the range " + m_range.toText(); }

private:
    rules::Range<T> m_range;
};

template <class T>
using AddRuleInRange = rules::RuleAdder<RuleInRange<T>, T, T, Bound, Bound>;

/// Every number of the value is strictly positive. NaN is refused. `T` is a number or a vector of numbers.
template <class T>
class RIX_EXPORT RuleAssertPositiveOnly : public Rules<Property<T>> {
public:
    using ValueType = T;

    bool isIndividual() const override { return true; }
    void apply(Property<T>& property) override {
        rules::forEachNumber(property.get(), [&](const auto& number, std::size_t index) {
            if (!(number > 0)) {
                rules::refuse(rules::parameterText(property) + " must be strictly positive.",
                              rules::givenText(property.get(), number, index));
            }
        });
    }
    String describe() const override { return "must be strictly positive"; }
};

/// Every number of the value is finite: neither infinite nor NaN.
template <class T>
class RIX_EXPORT RuleAssertFinite : public Rules<Property<T>> {
public:
    using ValueType = T;

    bool isIndividual() const override { return true; }
    void apply(Property<T>& property) override {
        rules::forEachNumber(property.get(), [&](const auto& number, std::size_t index) {
            if (!std::isfinite(number)) {
                rules::refuse(rules::parameterText(property) + " must be finite.",
                              rules::givenText(property.get(), number, index));
            }
        });
    }
    String describe() const override { return "must be finite"; }
};

/// No number of the value is NaN; infinities pass.
template <class T>
class RIX_EXPORT RuleAssertNotNaN : public Rules<Property<T>> {
public:
    using ValueType = T;

    bool isIndividual() const override { return true; }
    void apply(Property<T>& property) override {
        rules::forEachNumber(property.get(), [&](const auto& number, std::size_t index) {
            if (std::isnan(number)) {
                rules::refuse(rules::parameterText(property) + " must not be NaN.",
                              rules::givenText(property.get(), number, index));
            }
        });
    }
    String describe() const override { return "must not be NaN"; }
};

/// The property holds something: `T` is an image, or any other pointer, plain or shared.
template <class T>
class RIX_EXPORT RuleAssertNotNull : public Rules<Property<T>> {
public:
    using ValueType = T;

    bool isIndividual() const override { return true; }
    void apply(Property<T>& property) override {
        if (property.get() == nullptr) {
            rules::refuseUnset(property);
        }
    }
    String describe() const override { return "must be set"; }
};

namespace rules {

/// Attaches rules that need no arguments to a property of whatever type fits the rule.
template <template <class> class Rule>
class PlainRuleAdder {
public:
    template <class T>
    std::shared_ptr<Rules<Property<T>>> operator()(Property<T>& property) const {
        return RuleAdder<Rule<T>>()(property);
    }
};

}  // namespace rules

using AddRuleAssertPositiveOnly = rules::PlainRuleAdder<RuleAssertPositiveOnly>;
using AddRuleAssertFinite = rules::PlainRuleAdder<RuleAssertFinite>;
using AddRuleAssertNotNaN = rules::PlainRuleAdder<RuleAssertNotNaN>;
using AddRuleAssertNotNull = rules::PlainRuleAdder<RuleAssertNotNull>;

}  // namespace rix
