#include <rix/rules/RuleSupport.h>

#include <string_view>

#include <rix/rules/KnownWords.h>

namespace rix {

KnownWords::~KnownWords() = default;

}  // namespace rix

namespace rix::rules {

String quotedName(const BaseProperty& property) {
    return "\"" + property.getName() + "\"";
}

String parameterText(const BaseProperty& property) {
    return "The parameter " + quotedName(property);
}

void refuse(const String& message, std::source_location where) {
    throw RuleException(message, where);
}

void refuse(const String& message, const String& values, std::source_location where) {
    RuleException exception(message, where);
    exception.addInfoLevel(values, where);
    throw exception;
}

void refuseUnset(const BaseProperty& property, std::source_location where) {
    RuleException exception(parameterText(property) + " must be set.", where);
    constexpr std::string_view resultObject = "result object ";
    const String type = property.getImpl()->describeType();
    if (type.starts_with(resultObject)) {
        exception.addInfoLevel("Make an object of the class " + type.substr(resultObject.size()) +
                                   " that lives until its results are read, and set its address.",
                               where);
    }
    throw exception;
}

void refuseUnknownRule(std::source_location where) {
    throw RuleException("The type of the rule is unknown.", where);
}

}  // namespace rix::rules
