#pragma once

#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/properties/EnumInfo.h>
#include <rix/properties/Property.h>

#include "Testing.h"

/// How tests that know no algorithm by name reach the properties of all of them.
namespace rix::test {

std::vector<BaseProperty*> inputsOf(const BaseAlgorithm& algorithm);
std::vector<BaseProperty*> outputsOf(const BaseAlgorithm& algorithm);

/// The property as an image slot that is only read, or that is written; null when it is another property.
Property<const ImageModel*>* readImageSlot(BaseProperty* property);
Property<ImageModel*>* writtenImageSlot(BaseProperty* property);
bool holdsImage(BaseProperty* property);
/// Sets an image slot of either kind.
void setImage(BaseProperty* property, ImageModel* image);

/// The enumeration of a choice; null for other properties.
const EnumInfo* enumerationOf(const BaseProperty* property);
/// The values of an enumeration, ascending.
std::vector<int> valuesOf(const EnumInfo& enumeration);

/// Sets a property that holds a number, or every component of one that holds a vector of numbers. A number that the
/// type cannot hold is passed over: false, as for properties that hold no numbers.
bool setNumber(BaseProperty* property, double number);
/// Whether the property holds a number or a vector of numbers; choices are none.
bool holdsNumber(BaseProperty* property);
/// Whether a property's text form is that of numbers or labels, so that not every text is good.
bool refusesSomeTexts(BaseProperty* property);

/// The value of a property without an image as text that tells any two values apart; none when it has no text form.
std::optional<String> exactText(const BaseProperty* property);

}  // namespace rix::test
