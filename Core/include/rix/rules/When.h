#pragma once

#include <functional>
#include <memory>
#include <utility>

#include <rix/rules/RuleSupport.h>

namespace rix {

namespace rules {

/// Applies another rule when a condition on the other properties holds.
template <class T>
class RIX_EXPORT RuleWhen : public Rules<Property<T>> {
public:
    RuleWhen(String condition, std::function<bool()> holds, std::shared_ptr<Rules<Property<T>>> rule)
        : m_condition(std::move(condition)), m_holds(std::move(holds)), m_rule(std::move(rule)) {}

    void apply(Property<T>& property) override {
        if (m_holds()) {
            m_rule->apply(property);
        }
    }
    String describe() const override { return m_condition + ", " + m_rule->describe(); }

private:
    String m_condition;
    std::function<bool()> m_holds;
    std::shared_ptr<Rules<Property<T>>> m_rule;
};

}  // namespace rules

/// Makes a rule conditional: `AddRuleWhen("for a minimum or a maximum", [&] { ... },
/// AddRuleAssertIntegerOrFloating())`. The condition is asked when the rule's turn comes, so it may rely on what the
/// rules before it have found.
template <class Adder>
class AddRuleWhen {
public:
    AddRuleWhen(String condition, std::function<bool()> holds, Adder adder)
        : m_condition(std::move(condition)), m_holds(std::move(holds)), m_adder(std::move(adder)) {}

    /// Appends a new rule to the property. @return the rule, so that it can be removed again.
    template <class T>
    std::shared_ptr<Rules<Property<T>>> operator()(Property<T>& property) const {
        const std::shared_ptr<Rules<Property<T>>> rule = m_adder(property);
        property.getImpl()->removeRule(rule);
        auto wrapped = std::make_shared<rules::RuleWhen<T>>(m_condition, m_holds, rule);
        property.getImpl()->addRule(wrapped);
        return wrapped;
    }

private:
    String m_condition;
    std::function<bool()> m_holds;
    Adder m_adder;
};

}  // namespace rix
