#include <rix/rules/RuleSupport.h>

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
    throw RuleException(parameterText(property) + " must be set.", where);
}

void refuseUnknownRule(std::source_location where) {
    throw RuleException("The type of the rule is unknown.", where);
}

}  // namespace rix::rules
