#pragma once

#include <rix/properties/Property.h>

namespace rix {

class EnumInfo;

/// State of a property that holds values of an enumeration.
class ChoicePrivate : public PropertyPrivate<int> {
public:
    /// The property enters itself.
    ChoicePrivate(const EnumInfo* info, const char* typeName)
        : PropertyPrivate<int>(nullptr), m_enumInfo(info), m_typeName(typeName) {}

    String describeType() const override { return m_typeName; }

    const EnumInfo* const m_enumInfo;

private:
    const char* const m_typeName;
};

}  // namespace rix
