#pragma once

#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include <rix/properties/BaseProperty.h>

namespace rix::description {

/// The value as the library writes it, a choice by its label, a real with all its digits, and a JSON array where the
/// library has no text for several components; none when the property has no text form.
std::optional<std::string> valueToText(const BaseProperty& property);

/// The value as JSON: numbers, booleans and texts as they are, choices by their labels, vectors and lists as arrays,
/// matrices and kernels as arrays of rows (3D: of planes of rows), a recursive kernel as an object of its three lists.
/// Null for images, result objects and other things that are no values.
nlohmann::json valueToJson(const BaseProperty& property);

/// Reads a value by the library's own text form, or where that has several components from a JSON array as well,
/// whose outermost brackets may be left out ("1,1,2.5").
/// Stricter than the library where it would take a slip of the pen for another number: the whole text has to be a
/// number, and one that the type can hold.
/// @throws WrongInput naming what is accepted
void setValue(BaseProperty& property, const std::string& text);

/// Takes what `valueToJson` gives, and for every property its text. Labels may be numbers.
/// @throws WrongInput naming what is accepted
void setValueFromJson(BaseProperty& property, const nlohmann::json& value);

}  // namespace rix::description
