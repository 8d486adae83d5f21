#pragma once

#include <string>

#include <pybind11/pybind11.h>

namespace rix::python {

/// All that the registry tells of a class, as a dict: what classes, functions, docstrings and stubs are made from.
pybind11::dict describeClass(const std::string& name);

/// One dict for each class that users are offered, in the order of the registry: name, function, area, summary.
pybind11::list listClasses();

}  // namespace rix::python
