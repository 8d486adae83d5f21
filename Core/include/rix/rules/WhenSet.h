#pragma once

#include <memory>
#include <utility>

#include <rix/rules/RuleSupport.h>

namespace rix {

namespace rules {

/// Applies another rule when a property is set: the one that has the rule, or another of the same algorithm.
template <class T>
class RIX_EXPORT RuleWhenSet : public Rules<Property<T>> {
public:
    using IsSet = bool (*)(const BaseProperty&);

    /// @param other null for the property that has the rule
    RuleWhenSet(std::shared_ptr<Rules<Property<T>>> rule, IsSet isSet, const BaseProperty* other)
        : m_rule(std::move(rule)), m_isSet(isSet), m_other(other) {}

    bool isIndividual() const override { return m_other == nullptr && m_rule->isIndividual(); }
    void apply(Property<T>& property) override {
        if (m_isSet(m_other != nullptr ? *m_other : property)) {
            m_rule->apply(property);
        }
    }
    String describe() const override {
        return (m_other != nullptr ? "when " + quotedName(*m_other) + " is set, " : "when set, ") + m_rule->describe();
    }

private:
    std::shared_ptr<Rules<Property<T>>> m_rule;
    IsSet m_isSet;
    const BaseProperty* m_other;
};

}  // namespace rules

/// Makes what a rule asks optional: `AddRuleWhenSet(AddRuleAssertImageNotEmpty())` is for a property that may be unset,
/// `AddRuleWhenSet(inputMaskImage, AddRuleAssertSameSize(inputMaskImage))` for what depends on another that may be.
/// Only values that can be unset have it: images and result objects.
template <class Adder>
class AddRuleWhenSet {
public:
    explicit AddRuleWhenSet(Adder adder) : m_adder(std::move(adder)) {}
    /// @param other outlives the rule: it belongs to the same algorithm
    template <class U>
    AddRuleWhenSet(const Property<U>& other, Adder adder)
        : m_adder(std::move(adder)), m_other(&other), m_isSet(&isSet<U>) {}

    /// Appends a new rule to the property. @return the rule, so that it can be removed again.
    template <class T>
    std::shared_ptr<Rules<Property<T>>> operator()(Property<T>& property) const {
        const std::shared_ptr<Rules<Property<T>>> rule = m_adder(property);
        property.getImpl()->removeRule(rule);
        auto wrapped = std::make_shared<rules::RuleWhenSet<T>>(rule, m_other != nullptr ? m_isSet : &isSet<T>, m_other);
        property.getImpl()->addRule(wrapped);
        return wrapped;
    }

private:
    template <class U>
    static bool isSet(const BaseProperty& property) {
        return static_cast<const Property<U>&>(property).get() != nullptr;
    }

    Adder m_adder;
    const BaseProperty* m_other = nullptr;
    bool (*m_isSet)(const BaseProperty&) = nullptr;
};

}  // namespace rix
