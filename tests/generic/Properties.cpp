#include "Properties.h"

#include <cmath>
#include <ios>
#include <limits>
#include <sstream>
#include <type_traits>

#include <rix/properties/PropertyMultipleChoices.h>
#include <rix/properties/PropertySingleChoice.h>

namespace rix::test {

namespace {

template <class... Ts>
struct Types {};

using Numbers = Types<int, unsigned int, long, unsigned long, double>;
using Vectors = Types<math::Vector2<int>, math::Vector2<unsigned int>, math::Vector2<double>, math::Vector3<int>,
                      math::Vector3<unsigned int>, math::Vector3<double>, math::Vector4<int>,
                      math::Vector4<unsigned int>, math::Vector4<double>>;

/// Converts when the type can hold the number's integral part.
template <class T>
std::optional<T> numberAs(double number) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(number);
    } else {
        // The upper limit is excluded: as a double it may be one more than the type holds.
        const bool fits = number >= static_cast<double>(std::numeric_limits<T>::min()) &&
                          (sizeof(T) < sizeof(double) ? number <= static_cast<double>(std::numeric_limits<T>::max())
                                                      : number < static_cast<double>(std::numeric_limits<T>::max()));
        return fits && number == std::floor(number) ? std::optional<T>(static_cast<T>(number)) : std::nullopt;
    }
}

template <class T>
bool setPlain(BaseProperty* property, double number) {
    auto* const slot = dynamic_cast<Property<T>*>(property);
    const std::optional<T> value = slot != nullptr ? numberAs<T>(number) : std::nullopt;
    if (value.has_value()) {
        slot->set(*value);
    }
    return value.has_value();
}

template <class V>
bool setVector(BaseProperty* property, double number) {
    using T = std::remove_cvref_t<decltype(V{}[0])>;
    auto* const slot = dynamic_cast<Property<V>*>(property);
    const std::optional<T> value = slot != nullptr ? numberAs<T>(number) : std::nullopt;
    if (value.has_value()) {
        V vector{};
        for (std::size_t i = 0; i < sizeof(V) / sizeof(T); ++i) {
            vector[i] = *value;
        }
        slot->set(vector);
    }
    return value.has_value();
}

template <class... Ts>
bool setAnyPlain(Types<Ts...> /*types*/, BaseProperty* property, double number) {
    return (setPlain<Ts>(property, number) || ...);
}

template <class... Vs>
bool setAnyVector(Types<Vs...> /*types*/, BaseProperty* property, double number) {
    return (setVector<Vs>(property, number) || ...);
}

template <class... Ts>
bool isAny(Types<Ts...> /*types*/, BaseProperty* property) {
    return ((dynamic_cast<Property<Ts>*>(property) != nullptr) || ...);
}

}  // namespace

std::vector<BaseProperty*> inputsOf(const BaseAlgorithm& algorithm) {
    std::vector<BaseProperty*> properties;
    for (std::size_t i = 0; i < algorithm.getNumOfInputProperties(); ++i) {
        properties.push_back(algorithm.getInputProperty(i));
    }
    return properties;
}

std::vector<BaseProperty*> outputsOf(const BaseAlgorithm& algorithm) {
    std::vector<BaseProperty*> properties;
    for (std::size_t i = 0; i < algorithm.getNumOfOutputProperties(); ++i) {
        properties.push_back(algorithm.getOutputProperty(i));
    }
    return properties;
}

Property<const ImageModel*>* readImageSlot(BaseProperty* property) {
    return dynamic_cast<Property<const ImageModel*>*>(property);
}

Property<ImageModel*>* writtenImageSlot(BaseProperty* property) {
    return dynamic_cast<Property<ImageModel*>*>(property);
}

bool holdsImage(BaseProperty* property) {
    return readImageSlot(property) != nullptr || writtenImageSlot(property) != nullptr;
}

void setImage(BaseProperty* property, ImageModel* image) {
    if (auto* const slot = readImageSlot(property)) {
        slot->set(image);
    } else if (auto* const written = writtenImageSlot(property)) {
        written->set(image);
    }
}

const EnumInfo* enumerationOf(const BaseProperty* property) {
    if (const auto* const choice = dynamic_cast<const PropertySingleChoice*>(property)) {
        return choice->getEnumInfo();
    }
    if (const auto* const choices = dynamic_cast<const PropertyMultipleChoices*>(property)) {
        return choices->getEnumInfo();
    }
    return nullptr;
}

std::vector<int> valuesOf(const EnumInfo& enumeration) {
    std::vector<int> values;
    for (std::size_t i = 0; i < enumeration.getNumOfValues(); ++i) {
        values.push_back(enumeration.getValueFromValueIndex(i));
    }
    return values;
}

bool setNumber(BaseProperty* property, double number) {
    return setAnyPlain(Numbers{}, property, number) || setAnyVector(Vectors{}, property, number);
}

bool holdsNumber(BaseProperty* property) {
    return enumerationOf(property) == nullptr && (isAny(Numbers{}, property) || isAny(Vectors{}, property));
}

bool refusesSomeTexts(BaseProperty* property) {
    return enumerationOf(property) != nullptr || isAny(Numbers{}, property) || isAny(Vectors{}, property) ||
           isAny(Types<bool, Scalar>{}, property);
}

std::optional<String> exactText(const BaseProperty* property) {
    if (const auto* const real = dynamic_cast<const Property<double>*>(property)) {
        std::ostringstream text;
        text << std::hexfloat << real->get();
        return text.str();
    }
    String text;
    return property->write(text) ? std::optional<String>(text) : std::nullopt;
}

}  // namespace rix::test
