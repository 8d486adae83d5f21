#include <rix/rules/EnumRules.h>

#include <algorithm>

namespace rix::rules {

namespace {

void appendToList(String& list, const String& item) {
    list += (list.empty() ? "" : ", ") + item;
}

}  // namespace

EnumValues::EnumValues(const EnumInfo& info, std::vector<int> excluded)
    : m_info(info), m_excluded(std::move(excluded)) {}

bool EnumValues::contains(int value) const {
    return m_info.exists(value) && std::find(m_excluded.begin(), m_excluded.end(), value) == m_excluded.end();
}

String EnumValues::toText() const {
    String text;
    for (std::size_t i = 0; i < static_cast<std::size_t>(m_info.getNumOfValues()); ++i) {
        if (contains(m_info.getValueFromValueIndex(i))) {
            appendToList(text, m_info.getLabelFromValueIndex(i, 0));
        }
    }
    return text;
}

FlagValues::FlagValues(const EnumInfo& info, int forbiddenMask, EmptyCombination empty)
    : m_info(info), m_forbidden(static_cast<unsigned int>(forbiddenMask)), m_empty(empty) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(m_info.getNumOfValues()); ++i) {
        m_possible |= static_cast<unsigned int>(m_info.getValueFromValueIndex(i));
    }
}

bool FlagValues::accepts(int value) const {
    const auto bits = static_cast<unsigned int>(value);
    return bits == 0 ? acceptsEmpty() : (bits & ~m_possible) == 0 && (bits & m_forbidden) == 0;
}

String FlagValues::toText() const {
    String text;
    for (std::size_t i = 0; i < static_cast<std::size_t>(m_info.getNumOfValues()); ++i) {
        const auto bits = static_cast<unsigned int>(m_info.getValueFromValueIndex(i));
        if (bits != 0 && (bits & m_forbidden) == 0) {
            appendToList(text, m_info.getLabelFromValueIndex(i, 0));
        }
    }
    return text;
}

void refuseChoice(const BaseProperty& property, int value, const String& accepted, std::source_location where) {
    refuse("The value of the parameter " + quotedName(property) + " is not valid",
           "The value is " + std::to_string(value) + "; accepted: " + accepted + ".", where);
}

}  // namespace rix::rules
