#pragma once

#include <memory>

#include <pybind11/pybind11.h>

#include <rix/measurement/MeasurementObject.h>

namespace rix::python {

/// A result object as a `rix.Table`: its arrays by name, with units and descriptions. Arrays of numbers show the memory
/// of the object and keep it alive.
pybind11::object tableOf(const std::shared_ptr<measurement::MeasurementObject>& object);

}  // namespace rix::python
