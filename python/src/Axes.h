#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include <rix/image/ImageTypes.h>

namespace rix::python {

/// The letters of the axes, indexed by `Components`: columns, rows, planes, time, channels.
inline constexpr std::string_view axisLetters = "xyztc";

/// The place of an axis in arrays that hold a value for each.
constexpr std::size_t indexOf(Components axis) {
    return static_cast<std::size_t>(axis);
}

/// The axis of a letter, in either case. @throws RefusedError for a letter that names none.
Components axisOfLetter(char letter);

/// The axes of an array of `dimensions` dimensions. Two are (rows, columns), three (planes, rows, columns); for any
/// other number, and for other meanings, `named` tells: a letter a dimension, "tczyx" style. It speaks for arrays of as
/// many dimensions as it has letters, so that images of different dimensions may take part in one call.
/// @throws RefusedError for letters that name no axis or one twice, and for dimensions that nobody named
std::string axesOfArray(std::size_t dimensions, const std::string& named);

/// The axes of a result: those of the image that it was made from, and before them those on which it has more than one
/// element beside.
std::string axesOfResult(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, const std::string& reference);

}  // namespace rix::python
