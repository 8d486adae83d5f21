#include <rix/properties/BaseProperty.h>

#include <algorithm>
#include <utility>

#include <rix/exceptions/Exception.h>
#include <rix/properties/PropertySingleChoice.h>
#include <rix/properties/RealToInt.h>

namespace rix {

BasePropertyPrivate::BasePropertyPrivate(BaseProperty* owningProperty) : m_property(owningProperty) {}
BasePropertyPrivate::~BasePropertyPrivate() = default;

void BasePropertyPrivate::setDataRangeProvider(std::unique_ptr<DataRangeProvider> provider) {
    m_dataRangeProvider = std::move(provider);
}

DataRangeProvider::~DataRangeProvider() = default;

BaseProperty::~BaseProperty() = default;

String BaseProperty::getName() const {
    return getImpl()->m_name;
}

void BaseProperty::applyNamed(const std::function<void()>& rules) const {
    try {
        rules();
    } catch (RuleException& exception) {
        exception.addInfoLevel("Rule error in property " + getName());
        throw;
    }
}

String BaseProperty::getDescription() const {
    return getImpl()->m_description;
}

void BaseProperty::setDescription(const String& description) {
    getImpl()->m_description = description;
}

void BaseProperty::setIsInputOutput(bool inputOutput) {
    getImpl()->m_inputOutput = inputOutput;
}

bool BaseProperty::isInputOutput() const {
    return getImpl()->m_inputOutput;
}

bool BaseProperty::isLocked() const {
    return getImpl()->m_locked;
}

bool BaseProperty::isEnable() const {
    return getImpl()->m_enabled;
}

BaseAlgorithm* BaseProperty::getOwner() {
    return getImpl()->m_owner;
}

const BaseAlgorithm* BaseProperty::getOwner() const {
    return getImpl()->m_owner;
}

PropertyVisibility BaseProperty::getVisibility() const {
    return getImpl()->m_visibility;
}

void BaseProperty::setVisibility(const PropertyVisibility& visibility) {
    getImpl()->m_visibility = visibility;
}

int BaseProperty::getVersion() const {
    return getImpl()->m_version;
}

void BaseProperty::setVersion(double version) {
    getImpl()->m_version = helper::truncateToInt32(version * 10.0);
}

String BaseProperty::describeRelevance() const {
    const auto& [choice, values] = getImpl()->m_relevance;
    String text;
    for (const int value : values) {
        text += text.empty() ? choice->getName() + '=' : value == values.back() ? " or " : ", ";
        text += choice->getEnumInfo()->getLabelFromValue(value);
    }
    return text;
}

bool BaseProperty::isRelevant() const {
    const auto& [choice, values] = getImpl()->m_relevance;
    return choice == nullptr || std::find(values.begin(), values.end(), choice->get()) != values.end();
}

DataRangeProvider* BaseProperty::getDataRangeProvider() const {
    return getImpl()->m_dataRangeProvider.get();
}

}  // namespace rix
