#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include <rix/properties/EnumInfo.h>
#include <rix/rules/RuleSupport.h>

/// Rules on choices: one value of an enumeration, or a combination of its flags.
namespace rix {

/// Whether a combination may have no flag at all.
enum class EmptyCombination : std::uint8_t { Accepted, Refused };

namespace rules {

/// The values of an enumeration that a rule accepts.
class RIX_EXPORT EnumValues {
public:
    /// @param excluded values of the enumeration that are refused nevertheless.
    EnumValues(const EnumInfo& info, std::vector<int> excluded);

    bool contains(int value) const;
    /// "LESS_THAN, EQUAL_TO": the first label of each accepted value, in the order of values.
    String toText() const;

private:
    EnumInfo m_info;
    std::vector<int> m_excluded;
};

/// The flags of an enumeration that may be combined.
class RIX_EXPORT FlagValues {
public:
    FlagValues(const EnumInfo& info, int forbiddenMask, EmptyCombination empty);

    /// True for a combination of the enumeration's flags none of which shares a bit with the forbidden mask. The value
    /// 0 is decided by the rule's own answer alone.
    bool accepts(int value) const;
    /// "BY_PLANE, BY_TIME_STEP": the flags that may be combined; empty values of the enumeration are not listed.
    String toText() const;
    bool acceptsEmpty() const { return m_empty == EmptyCombination::Accepted; }

private:
    EnumInfo m_info;
    unsigned int m_possible = 0;
    unsigned int m_forbidden;
    EmptyCombination m_empty;
};

/// Throws `The value of the parameter "name" is not valid` with the given and the accepted values above it.
[[noreturn]] RIX_EXPORT void refuseChoice(const BaseProperty& property, int value, const String& accepted,
                                          std::source_location where = std::source_location::current());

}  // namespace rules

/// The value is one of an enumeration, and not an excluded one.
/// @tparam T `int` (the choice properties) or the enumeration.
template <class T>
class RIX_EXPORT RuleIsAnEnumOfType : public Rules<Property<T>> {
public:
    using ValueType = T;

    explicit RuleIsAnEnumOfType(const EnumInfo& info, std::vector<int> excluded = {})
        : m_values(info, std::move(excluded)) {}

    bool isIndividual() const override { return true; }
    void apply(Property<T>& property) override {
        const int value = static_cast<int>(property.get());
        if (!m_values.contains(value)) {
            rules::refuseChoice(property, value, m_values.toText());
        }
    }
    String describe() const override { return "one of: " + m_values.toText(); }

private:
    rules::EnumValues m_values;
};

/// Attaches `RuleIsAnEnumOfType` to a choice, or to a property of the enumeration's own type.
class AddRuleIsAnEnumOfType {
public:
    explicit AddRuleIsAnEnumOfType(const EnumInfo& info, std::vector<int> excluded = {})
        : m_info(info), m_excluded(std::move(excluded)) {}

    template <class T>
    std::shared_ptr<Rules<Property<T>>> operator()(Property<T>& property) const {
        return rules::RuleAdder<RuleIsAnEnumOfType<T>, EnumInfo, std::vector<int>>(m_info, m_excluded)(property);
    }

private:
    EnumInfo m_info;
    std::vector<int> m_excluded;
};

/// The value combines flags of an enumeration, without forbidden ones. Whether 0 (no flag) passes is its own question.
/// @tparam T `int` (the choice properties) or the enumeration.
template <class T>
class RIX_EXPORT RuleCombinaisonOf : public Rules<Property<T>> {
public:
    using ValueType = T;

    RuleCombinaisonOf(const EnumInfo& info, int forbiddenMask, EmptyCombination empty)
        : m_flags(info, forbiddenMask, empty) {}

    bool isIndividual() const override { return true; }
    void apply(Property<T>& property) override {
        const int value = static_cast<int>(property.get());
        if (!m_flags.accepts(value)) {
            rules::refuseChoice(property, value, describe());
        }
    }
    String describe() const override {
        return (m_flags.acceptsEmpty() ? "a combination of: " : "at least one of: ") + m_flags.toText();
    }

private:
    rules::FlagValues m_flags;
};

/// Attaches `RuleCombinaisonOf` to a choice, or to a property of the enumeration's own type.
class AddRuleCombinaisonOf {
public:
    AddRuleCombinaisonOf(const EnumInfo& info, int forbiddenMask, EmptyCombination empty)
        : m_info(info), m_forbiddenMask(forbiddenMask), m_empty(empty) {}

    template <class T>
    std::shared_ptr<Rules<Property<T>>> operator()(Property<T>& property) const {
        return rules::RuleAdder<RuleCombinaisonOf<T>, EnumInfo, int, EmptyCombination>(m_info, m_forbiddenMask,
                                                                                       m_empty)(property);
    }

private:
    EnumInfo m_info;
    int m_forbiddenMask;
    EmptyCombination m_empty;
};

}  // namespace rix
