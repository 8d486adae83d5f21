#pragma once

#include <cstddef>
#include <memory>
#include <utility>

#include <rix/rules/ValueRules.h>

/// Rules on vectors and containers.
namespace rix {

namespace rules {

/// The container that a value is or points to. @throws RuleException for a null pointer.
template <class T>
const auto& containerOf(const Property<T>& property) {
    if constexpr (requires(const T& value) { value == nullptr; }) {
        if (property.get() == nullptr) {
            refuseUnset(property);
        }
        return *property.get();
    } else {
        return property.get();
    }
}

/// "in strictly ascending order", ...; throws a RuleException for an unknown configuration.
RIX_EXPORT const char* orderPhrase(LimitConfiguration configuration);

}  // namespace rules

/// Every number of a vector compares with the limit as configured; otherwise like `RuleLimitedValue`.
/// @tparam T the type of the limit. @tparam V the type of the vector.
template <class T, class V>
class RIX_EXPORT RuleLimitedValueVector : public Rules<Property<V>> {
public:
    using ValueType = V;

    RuleLimitedValueVector(T limit, LimitConfiguration configuration)
        : m_limit(std::move(limit)), m_configuration(configuration) {}

    bool isIndividual() const override { return true; }
    void apply(Property<V>& property) override {
        rules::forEachNumber(property.get(), [&](const auto& number, std::size_t index) {
            try {
                rules::assertLimit(property, static_cast<T>(number), m_limit, m_configuration);
            } catch (RuleException& exception) {
                exception.addInfoLevel(rules::givenText(property.get(), number, index));
                throw;
            }
        });
    }
    String describe() const override {
        return String("every component ") + rules::limitPhrase(m_configuration) + " " + rules::valueToText(m_limit);
    }

private:
    T m_limit;
    LimitConfiguration m_configuration;
};

template <class T, class V>
using AddRuleLimitedValueVector = rules::RuleAdder<RuleLimitedValueVector<T, V>, T, LimitConfiguration>;

/// Every number of a vector lies between two bounds; otherwise like `RuleInRange`.
template <class T, class V>
class RIX_EXPORT RuleInRangeVector : public Rules<Property<V>> {
public:
    using ValueType = V;

    RuleInRangeVector(T minimum, T maximum, Bound minimumBound, Bound maximumBound)
        : m_range{std::move(minimum), std::move(maximum), minimumBound, maximumBound} {}

    bool isIndividual() const override { return true; }
    void apply(Property<V>& property) override { rules::assertInRange(property, property.get(), m_range); }
    String describe() const override { return "every component must be in the range " + m_range.toText(); }

private:
    rules::Range<T> m_range;
};

template <class T, class V>
using AddRuleInRangeVector = rules::RuleAdder<RuleInRangeVector<T, V>, T, T, Bound, Bound>;

/// Each component stands to the one before it as configured: `CHECK_GREATER` asks for strictly ascending components.
/// A NaN is in no order. A vector of fewer than two components is in order.
template <class V>
class RIX_EXPORT RuleAssertOrderedVector : public Rules<Property<V>> {
public:
    using ValueType = V;

    explicit RuleAssertOrderedVector(LimitConfiguration configuration) : m_configuration(configuration) {}

    bool isIndividual() const override { return true; }
    void apply(Property<V>& property) override {
        const char* phrase = rules::orderPhrase(m_configuration);  // refuses a bad configuration for any vector
        const V& vector = property.get();
        for (std::size_t i = 1; i < rules::componentCount(vector); ++i) {
            if (!isInOrder(vector[i - 1], vector[i])) {
                rules::refuse(
                    "The components of the parameter " + rules::quotedName(property) + " must be " + phrase + ".",
                    "The value is " + rules::valueToText(vector) + ".");
            }
        }
    }
    String describe() const override { return String("components must be ") + rules::orderPhrase(m_configuration); }

private:
    template <class T>
    bool isInOrder(const T& before, const T& after) const {
        switch (m_configuration) {
            case CHECK_GREATER: return after > before;
            case CHECK_LOWER: return after < before;
            case CHECK_GREATER_OR_EQUAL: return after >= before;
            case CHECK_LOWER_OR_EQUAL: return after <= before;
        }
        rules::refuseUnknownRule();
    }

    LimitConfiguration m_configuration;
};

template <class V>
using AddRuleAssertOrderedVector = rules::RuleAdder<RuleAssertOrderedVector<V>, LimitConfiguration>;

/// The container that the property holds, or points to, has at least one element. A null pointer is unset.
template <class T>
class RIX_EXPORT RuleAssertContainerNoEmpty : public Rules<Property<T>> {
public:
    using ValueType = T;

    bool isIndividual() const override { return true; }
    void apply(Property<T>& property) override {
        if (rules::containerOf(property).size() == 0) {
            rules::refuse(rules::parameterText(property) + " should not be empty.");
        }
    }
    String describe() const override { return "must not be empty"; }
};

/// The form for a property whose value points to its container.
template <class T>
using RuleAssertContainerPtrNoEmpty = RuleAssertContainerNoEmpty<T>;

using AddRuleAssertContainerNoEmpty = rules::PlainRuleAdder<RuleAssertContainerNoEmpty>;
using AddRuleAssertContainerPtrNoEmpty = AddRuleAssertContainerNoEmpty;

/// The container that the property holds, or points to, has the given number of elements.
template <class T>
class RIX_EXPORT RuleAssertContainerSize : public Rules<Property<T>> {
public:
    using ValueType = T;

    explicit RuleAssertContainerSize(std::size_t size) : m_size(size) {}

    bool isIndividual() const override { return true; }
    void apply(Property<T>& property) override {
        const std::size_t size = rules::containerOf(property).size();
        if (size != m_size) {
            rules::refuse(rules::parameterText(property) + " must have a size of " + std::to_string(m_size) +
                          ". Current size is " + std::to_string(size) + ".");
        }
    }
    String describe() const override { return "must have a size of " + std::to_string(m_size); }

private:
    std::size_t m_size;
};

/// Attaches `RuleAssertContainerSize` to a property of whatever container type.
class AddRuleAssertContainerSize {
public:
    explicit AddRuleAssertContainerSize(std::size_t size) : m_size(size) {}

    template <class T>
    std::shared_ptr<Rules<Property<T>>> operator()(Property<T>& property) const {
        return rules::RuleAdder<RuleAssertContainerSize<T>, std::size_t>(m_size)(property);
    }

private:
    std::size_t m_size;
};

}  // namespace rix
