#include <rix/properties/PropertySingleChoice.h>

#include <memory>

#include <rix/properties/Serialization.h>

#include "ChoicePrivate.h"

namespace rix {

PropertySingleChoice::PropertySingleChoice(const EnumInfo* info)
    : Property<int>(std::make_unique<ChoicePrivate>(info, "choice")) {}

const EnumInfo* PropertySingleChoice::getEnumInfo() const {
    return static_cast<const ChoicePrivate*>(getImpl())->m_enumInfo;
}

bool PropertySingleChoice::read(const String& text, String& normalised) {
    normalised = text;
    const EnumInfo* info = getEnumInfo();
    if (isLocked() || info == nullptr) {
        return false;
    }
    if (info->exists(text)) {
        set(info->getValueFromLabel(text));
        return true;
    }
    int number = 0;
    String accepted;
    if (!Deserialization<int>::doIt(text, number, accepted) || !info->exists(number)) {
        return false;
    }
    set(number);
    return true;
}

}  // namespace rix
