#include <rix/properties/PropertyMultipleChoices.h>

#include <memory>

#include "ChoicePrivate.h"
#include "StrictNumber.h"

namespace rix {

PropertyMultipleChoices::PropertyMultipleChoices(const EnumInfo* info)
    : Property<int>(std::make_unique<ChoicePrivate>(info, "choices")) {}

const EnumInfo* PropertyMultipleChoices::getEnumInfo() const {
    return static_cast<const ChoicePrivate*>(getImpl())->m_enumInfo;
}

bool PropertyMultipleChoices::read(const String& text, String& normalised) {
    normalised = text;
    const EnumInfo* info = getEnumInfo();
    if (isLocked() || info == nullptr) {
        return false;
    }
    int combined = 0;
    String labels;
    for (std::size_t begin = text.find_first_not_of(SEPARATOR_VALUES); begin != String::npos;) {
        const std::size_t end = text.find_first_of(SEPARATOR_VALUES, begin);
        String token = text.substr(begin, end == String::npos ? end : end - begin);
        if (info->exists(token)) {
            combined |= info->getValueFromLabel(token);
        } else {
            const auto number = helper::readStrictNumber<int>(token);
            if (!number || !helper::readOneValue(*info, *number, SEPARATOR_VALUES, token)) {
                return false;
            }
            combined |= *number;
        }
        labels += (labels.empty() ? "" : SEPARATOR_VALUES) + token;
        begin = text.find_first_not_of(SEPARATOR_VALUES, end);
    }
    if (labels.empty()) {
        return false;
    }
    set(combined);
    normalised = labels;
    return true;
}

bool helper::readOneValue(const EnumInfo& info, int number, const char* separator, String& text) {
    if (number < 1) {
        return false;
    }
    if (info.exists(number)) {
        text = info.getLabelFromValue(number);
        return true;
    }
    int covered = 0;
    String labels;
    for (std::size_t i = 0; i < info.getNumOfValues() && covered != number; ++i) {
        const int flag = info.getValueFromValueIndex(i);
        if ((number & flag) == flag) {
            covered |= flag;
            labels += (labels.empty() ? "" : separator) + info.getLabelFromValue(flag);
        }
    }
    if (covered != number) {
        return false;
    }
    text = labels;
    return true;
}

}  // namespace rix
