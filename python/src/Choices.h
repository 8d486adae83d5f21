#pragma once

#include <pybind11/pybind11.h>

#include <rix/properties/BaseProperty.h>
#include <rix/properties/EnumInfo.h>

namespace rix::python {

/// The enumeration as a class of Python: an IntEnum, or an IntFlag where its values are combined. One class for each
/// enumeration, so that members of classes that share it are the same.
pybind11::object enumerationClass(const BaseProperty& property);

/// The value of a choice as a member of that class.
pybind11::object getChoice(const BaseProperty& property);

/// Takes a member, the number or the label of one. @throws RefusedError, naming all labels
void setChoice(BaseProperty& property, pybind11::handle value);

}  // namespace rix::python
