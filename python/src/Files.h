#pragma once

#include <optional>
#include <string>

#include <pybind11/numpy.h>

namespace rix::python {

/// An image file as a rix.Image, its axes those on which it has more than one element, and at least rows and columns.
/// @throws LoadingError as `io::readImage`
pybind11::object readFile(const std::string& path);

/// @throws WritingError as `io::writeImage`, RefusedError for an unknown compression
void writeFile(const std::string& path, pybind11::handle image, const std::string& axes,
               const std::string& compression);

/// The outlines of labels on a picture of `base`, on wish with the label on each object: an array of (rows, columns, 3)
/// of uint8.
pybind11::array overlay(pybind11::handle base, pybind11::handle labels, const std::string& axes,
                        std::optional<std::size_t> plane, std::optional<std::size_t> frame, bool numbers);

}  // namespace rix::python
