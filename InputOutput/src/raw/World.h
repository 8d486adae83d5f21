#pragma once

#include <array>
#include <cstddef>

#include <rix/io/ImageFile.h>

namespace rix::io {

// Formats for medicine tell where the axes of the world point in the patient. An image of ours has no such names; where
// a format has to have them, its world is that of DICOM: to the left, to the back and to the head.

/// Sets direction and spacing of an axis from the vector between neighbours, of up to three components. False for a
/// vector of no length.
bool setStep(ImageFileInfo& info, std::size_t axis, const std::array<double, 3>& vector);
/// The vector between neighbours along an axis.
std::array<double, 3> stepOf(const ImageFileInfo& info, std::size_t axis);
/// Completes the third direction at a right angle to the first two, where a file told only these.
void completeDirections(ImageFileInfo& info);
/// Turns axes of the world over: directions and origin.
void flipWorld(ImageFileInfo& info, bool x, bool y);
/// Takes the units of the spatial axes: spacings and origins come to that of the first one.
/// @throws LoadingError where they differ and cannot be compared
void setSpatialUnits(ImageFileInfo& info, const std::array<String, 3>& units);

}  // namespace rix::io
