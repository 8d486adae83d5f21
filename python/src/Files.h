#pragma once

#include <string>

#include <pybind11/pybind11.h>

namespace rix::python {

/// An image file as a rix.Image, its axes those on which it has more than one element, and at least rows and columns.
/// @throws LoadingError as `io::readImage`
pybind11::object readFile(const std::string& path);

/// @throws WritingError as `io::writeImage`, RefusedError for an unknown compression
void writeFile(const std::string& path, pybind11::handle image, const std::string& axes,
               const std::string& compression);

}  // namespace rix::python
