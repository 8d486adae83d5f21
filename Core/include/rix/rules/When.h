#pragma once

#include <functional>
#include <memory>
#include <utility>

#include <rix/rules/RuleSupport.h>

namespace rix {

namespace rules {

/// Applies another rule when a condition holds: on the property itself, or on others of the same algorithm.
template <class T>
class RIX_EXPORT RuleWhen : public Rules<Property<T>> {
public:
    using Text = std::function<String()>;
    using Condition = std::function<bool(const Property<T>&)>;

    /// @param text of the condition, asked for when the rule is described
    /// @param looksAtOthers whether the condition looks at other properties
    RuleWhen(Text text, Condition condition, bool looksAtOthers, std::shared_ptr<Rules<Property<T>>> rule)
        : m_text(std::move(text)),
          m_condition(std::move(condition)),
          m_looksAtOthers(looksAtOthers),
          m_rule(std::move(rule)) {}

    bool isIndividual() const override { return !m_looksAtOthers && m_rule->isIndividual(); }
    void apply(Property<T>& property) override {
        if (m_condition(property)) {
            m_rule->apply(property);
        }
    }
    String describe() const override { return m_text() + ", " + m_rule->describe(); }

    const Rules<Property<T>>& rule() const { return *m_rule; }

private:
    Text m_text;
    Condition m_condition;
    bool m_looksAtOthers;
    std::shared_ptr<Rules<Property<T>>> m_rule;
};

/// Appends the rule of an adder to a property, under a condition. @return the rule, so that it can be removed again.
template <class T, class Adder>
std::shared_ptr<Rules<Property<T>>> addWhen(Property<T>& property, const Adder& adder, typename RuleWhen<T>::Text text,
                                            typename RuleWhen<T>::Condition condition, bool looksAtOthers) {
    const std::shared_ptr<Rules<Property<T>>> rule = adder(property);
    property.getImpl()->removeRule(rule);
    auto wrapped = std::make_shared<RuleWhen<T>>(std::move(text), std::move(condition), looksAtOthers, rule);
    property.getImpl()->addRule(wrapped);
    return wrapped;
}

}  // namespace rules

/// Makes a rule conditional: `AddRuleWhen("for a minimum or a maximum", [&] { ... },
/// AddRuleAssertIntegerOrFloating())`. The condition is asked when the rule's turn comes, so it may rely on what the
/// rules before it have found.
template <class Adder>
class AddRuleWhen {
public:
    AddRuleWhen(String text, std::function<bool()> holds, Adder adder)
        : m_text(std::move(text)), m_holds(std::move(holds)), m_adder(std::move(adder)) {}

    template <class T>
    std::shared_ptr<Rules<Property<T>>> operator()(Property<T>& property) const {
        return rules::addWhen(
            property, m_adder, [text = m_text] { return text; },
            [holds = m_holds](const Property<T>&) { return holds(); }, true);
    }

private:
    String m_text;
    std::function<bool()> m_holds;
    Adder m_adder;
};

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
        : m_adder(std::move(adder)), m_other(&other), m_isSet([&other] { return other.get() != nullptr; }) {}

    template <class T>
    std::shared_ptr<Rules<Property<T>>> operator()(Property<T>& property) const {
        if (m_other == nullptr) {
            return rules::addWhen(
                property, m_adder, [] { return String("when set"); },
                [](const Property<T>& own) { return own.get() != nullptr; }, false);
        }
        return rules::addWhen(
            property, m_adder, [other = m_other] { return "when " + rules::quotedName(*other) + " is set"; },
            [isSet = m_isSet](const Property<T>&) { return isSet(); }, true);
    }

private:
    Adder m_adder;
    const BaseProperty* m_other = nullptr;
    std::function<bool()> m_isSet;
};

}  // namespace rix
