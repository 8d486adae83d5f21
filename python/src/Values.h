#pragma once

#include <string>

#include <pybind11/pybind11.h>

#include <rix/properties/BaseProperty.h>

namespace rix::python {

/// How values of one type pass between a property and Python.
struct ValueKind {
    bool (*matches)(const BaseProperty& property);
    pybind11::object (*get)(const BaseProperty& property);
    /// @throws WrongTypeError, RefusedError or a Python error; the caller names the property
    void (*set)(BaseProperty& property, pybind11::handle value);
    std::string annotation;  ///< for type checkers: "int", "Sequence[float]"
};

/// The kind of a property's values; null for images, result objects and types that Python has no form for.
const ValueKind* findValueKind(const BaseProperty& property);

}  // namespace rix::python
