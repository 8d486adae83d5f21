#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <pybind11/pybind11.h>

#include "OpenImage.h"

namespace rix::python {

/// An image file as a rix.Image, its axes those on which it has more than one element, and at least rows and columns.
/// Doubts about the file are Python's warnings; Ctrl-C ends the reading.
/// @param calibration "file", "all" or "none", see `io::Calibration`
/// @param maximumSize in bytes; 0 for the setting
/// @param select the text of a selection; empty for that in brackets behind the path, or none
/// @throws LoadingError as `io::readImage`, RefusedError for an unknown choice and a wrong selection
pybind11::object readFile(const std::string& path, const std::string& calibration, std::uint64_t maximumSize,
                          const std::string& select, bool grey);

/// An image file on disk, of which no sample is read; as `readFile` else.
/// @throws LoadingError as `io::openImage`
std::unique_ptr<OpenImage> openFile(const std::string& path, const std::string& calibration, std::uint64_t maximumSize,
                                    const std::string& select);

/// An image on disk for a result; with an empty path temporary data.
/// @throws WritingError as `io::createImage`, RefusedError for an unknown compression
std::unique_ptr<OpenImage> createFile(const std::string& path, const std::string& compression, bool dropMetadata,
                                      int quality, bool pyramid);

/// @param quality of JPEG; 0 for the usual one
/// @return the selection that reads the file back; empty where none is needed
/// @throws WritingError as `io::writeImage`, RefusedError for an unknown compression
std::string writeFile(const std::string& path, pybind11::handle image, const std::string& axes,
                      const std::string& compression, bool dropMetadata, int quality, bool pyramid);

}  // namespace rix::python
