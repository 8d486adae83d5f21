#pragma once

#include <cstddef>

#include <rix/filtering/frequency/FourierChoices.h>
#include <rix/image/ImageHeader.h>

namespace rix::filtering::frequency {

/// Complex for `float64` and `complex float64` in double precision, else in single.
VoxelTypes spectrumTypeOf(VoxelTypes samples);
VoxelTypes resultTypeOf(VoxelTypes coefficients, InverseResult result);

/// What the spectrum of an image is like: extents, type, and frequencies instead of positions along the first axes.
/// @param axes 2 or 3
ImageHeader headerOfSpectrum(const ImageModel& samples, std::size_t axes, SpectrumLayout layout, SpectrumOrigin origin);

/// Columns of what a spectrum is of: `asked` unless 0, else those that the image kept where they make such a half, else
/// the even number.
std::size_t columnsOfSamples(const ImageModel& coefficients, SpectrumLayout layout, std::size_t asked);

/// What the inverse transform of a spectrum is like: all that `headerOfSpectrum` has changed as it was before.
/// @param columns of the samples
ImageHeader headerOfSamples(const ImageModel& coefficients, std::size_t axes, std::size_t columns,
                            InverseResult result);

}  // namespace rix::filtering::frequency
