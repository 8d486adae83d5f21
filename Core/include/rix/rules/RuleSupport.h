#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <locale>
#include <memory>
#include <source_location>
#include <sstream>
#include <tuple>
#include <type_traits>
#include <utility>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/exceptions/Exception.h>
#include <rix/math/Vector.h>
#include <rix/properties/Property.h>
#include <rix/rules/Rules.h>

/// What all rules share: their texts, the components of a value, and the helpers that attach them.
namespace rix::rules {

/// `The parameter "name"`: how messages begin.
RIX_EXPORT String parameterText(const BaseProperty& property);

/// `"name"`
RIX_EXPORT String quotedName(const BaseProperty& property);

/// Throws a RuleException of one level: the message says what was given and what is accepted.
[[noreturn]] RIX_EXPORT void refuse(const String& message,
                                    std::source_location where = std::source_location::current());

/// Throws a RuleException of two levels: the cause, and above it the values that the cause's text does not carry.
[[noreturn]] RIX_EXPORT void refuse(const String& message, const String& values,
                                    std::source_location where = std::source_location::current());

/// Throws `The parameter "name" must be set.`
[[noreturn]] RIX_EXPORT void refuseUnset(const BaseProperty& property,
                                         std::source_location where = std::source_location::current());

/// Throws "The type of the rule is unknown.", for a configuration that its enumeration does not have.
[[noreturn]] RIX_EXPORT void refuseUnknownRule(std::source_location where = std::source_location::current());

/// A value that is one number.
template <class V>
concept NumberValue = std::is_arithmetic_v<V> || std::is_enum_v<V>;

/// The number of components of a vector: a container counts its elements, a fixed vector knows.
template <class V>
    requires requires(const V& value) { value.size(); }
std::size_t componentCount(const V& value) {
    return static_cast<std::size_t>(value.size());
}
template <class T>
std::size_t componentCount(const math::Vector2<T>&) {
    return 2;
}
template <class T>
std::size_t componentCount(const math::Vector3<T>&) {
    return 3;
}
template <class T>
std::size_t componentCount(const math::Vector4<T>&) {
    return 4;
}

/// A value made of components that are reached by index.
template <class V>
concept VectorValue = !std::convertible_to<V, String> && requires(const V& value) {
    componentCount(value);
    value[0];
};

/// A number as default stream formatting writes it, unless that loses digits: a refused value must never read like
/// its limit. Then the shortest text that reads back as the number.
template <std::floating_point F>
String numberToText(F number) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << number;
    String text = stream.str();
    F readBack{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), readBack);
    const bool lost = error != std::errc() || (readBack != number && number == number);
    if (!lost) {
        return text;
    }
    char shortest[64];
    const auto result = std::to_chars(shortest, shortest + sizeof(shortest), number);
    return {shortest, result.ptr};
}

/// A value for messages; "?" for one that has no text.
template <class V>
String valueToText(const V& value) {
    if constexpr (std::is_floating_point_v<V>) {
        return numberToText(value);
    } else if constexpr (std::is_enum_v<V>) {
        return std::to_string(static_cast<std::underlying_type_t<V>>(value));
    } else if constexpr (std::is_arithmetic_v<V>) {
        return std::to_string(value);
    } else if constexpr (VectorValue<V>) {
        String text = "(";
        for (std::size_t i = 0; i < componentCount(value); ++i) {
            text += (i == 0 ? "" : ", ") + valueToText(std::remove_cvref_t<decltype(value[i])>(value[i]));
        }
        return text + ")";
    } else {
        String text;
        V copy = value;
        return Serialization<V>::doIt(text, copy) ? text : String("?");
    }
}

/// Calls `function(number, index)` for every number of a value; `index` counts the components of the outermost vector.
template <class V, class F>
void forEachNumber(const V& value, const F& function) {
    if constexpr (NumberValue<V>) {
        function(value, std::size_t{0});
    } else {
        static_assert(VectorValue<V>, "the rule needs a number or a vector of numbers");
        for (std::size_t i = 0; i < componentCount(value); ++i) {
            using Component = std::remove_cvref_t<decltype(value[i])>;
            const Component component = value[i];
            if constexpr (NumberValue<Component>) {
                function(component, i);
            } else {
                forEachNumber(component, [&](const auto& number, std::size_t) { function(number, i); });
            }
        }
    }
}

/// "The value is 5." or "Component 2 is 5.": the level above a text that does not carry the value.
template <class V, class N>
String givenText(const V&, const N& number, std::size_t index) {
    return NumberValue<V> ? "The value is " + valueToText(number) + "."
                          : "Component " + std::to_string(index) + " is " + valueToText(number) + ".";
}

/// Builds rules of class `Rule` from kept arguments and attaches them: the base of the `AddRule...` helpers.
template <class Rule, class... Arguments>
class RuleAdder {
public:
    using ValueType = typename Rule::ValueType;

    explicit RuleAdder(Arguments... arguments) : m_arguments(std::move(arguments)...) {}

    /// Appends a new rule to the property. @return the rule, so that it can be removed again.
    std::shared_ptr<Rules<Property<ValueType>>> operator()(Property<ValueType>& property) const {
        std::shared_ptr<Rules<Property<ValueType>>> rule =
            std::apply([](const Arguments&... arguments) { return std::make_shared<Rule>(arguments...); }, m_arguments);
        property.getImpl()->addRule(rule);
        return rule;
    }

private:
    std::tuple<Arguments...> m_arguments;
};

}  // namespace rix::rules

namespace rix {

/// Attaches rules to a property in the order given, which is the order of application:
/// `addRules(outputImage, AddRuleAssertNotNull(), AddRuleEnforceSameType(inputImage))`. As a statement of its own
/// `AddRuleEnforceSameType(inputImage)(outputImage)` would declare a variable; with braces it would not.
template <class T, class... Adders>
void addRules(Property<T>& property, const Adders&... adders) {
    (adders(property), ...);
}

}  // namespace rix
