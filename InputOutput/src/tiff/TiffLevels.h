#pragma once

#include <vector>

#include "TiffLayout.h"

namespace rix::io {

/// The most smaller copies of a page that are looked at.
inline constexpr std::size_t MostLevels = 64;

/// The offsets of directories that the current one names as its own (SubIFDs): usually smaller copies.
std::vector<std::uint64_t> namedCopies(TiffHandle& handle);

/// Tells how many levels the pyramid of an image has, and makes the layout that of the level that is selected: its
/// pages, extents, and a calibration for which the picture covers the same place.
/// @throws LoadingError when that level is missing, damaged, or promises more than the file can hold
void chooseLevel(TiffHandle& handle, std::uint64_t fileBytes, const Selection& selection, TiffLayout& layout);

}  // namespace rix::io
