#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/filtering/frequency/FourierChoices.h>

namespace rix::filtering::frequency {

/// The discrete Fourier transform of each plane,
///
///     F(k, l) = s * sum over x, y of f(x, y) exp(-2 pi i (k x / columns + l y / rows)),
///
/// with x, y, k and l from 0; s is 1 (`BACKWARD`), 1 / sqrt(columns * rows) (`ORTHONORMAL`) or 1 / (columns * rows)
/// (`FORWARD`): what `numpy.fft.rfft2` (`HALF`) and `numpy.fft.fft2` (`FULL`) compute.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any type; planes, frames and channels are
/// transformed by themselves. A complex image needs the layout `FULL`.
/// **Output** `outputImage`: `complex float32`, for an input of `float64` or `complex float64` `complex float64`;
/// interpretation value; shares no memory with the input. `HALF` has the columns 0 to floor(columns / 2): of a real
/// image the others are F(columns - k, rows - l) = conj F(k, l), indices modulo the extents. With the origin `CENTER`
/// the coefficient of frequency 0 lies at index floor(n / 2) instead of 0, of the rows and, with `FULL`, of the
/// columns.
///
/// **Calibration.** Along columns and rows the output's spacing is 1 / (n * spacing of the input), its origin the
/// frequency of its first coefficient, and the unit the reciprocal one: "mm" becomes "1/mm". Images whose spacings are
/// all 0 count as ones of spacing 1. Planes keep their numbers, also under that unit. Columns, origin and spacing of
/// the input are kept with the output (`SpatialFrame`), and images calibrated like it, for the inverse transform.
///
/// **Exactness.** Within 3e-7 log2(columns * rows), in double precision 1e-15 log2(columns * rows), of the definition,
/// times the largest magnitude of a coefficient. The same bits for every number of threads, size of blocks and storage;
/// with oneMKL they may depend on the processor: see `frequency::getFourierEngine`. A voxel that is not finite spoils
/// its plane.
///
/// @throws RuleException from `run` for an unset or empty image, a vector image, a complex one with `HALF`, spacings of
///         0 beside others, infinities or NaN; MemoryError when there is no memory.
/// Cost: n log n for any extents; primes cost some times as much as their neighbours. Memory: some lines a thread; see
/// `describe`.
class RIX_EXPORT FourierTransform2d : public BaseAlgorithm {
    RIX_ALGORITHM(FourierTransform2d)

    using Layout = SpectrumLayout;
    using enum SpectrumLayout;
    using Origin = SpectrumOrigin;
    using enum SpectrumOrigin;
    using Scaling = FourierScaling;
    using enum FourierScaling;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `HALF`.
    RIX_CHOICE(Layout, Layout, layout, getInfoSpectrumLayout)
    /// Default `CORNER`.
    RIX_CHOICE(Origin, Origin, origin, getInfoSpectrumOrigin)
    /// Default `BACKWARD`.
    RIX_CHOICE(Scaling, Scaling, scaling, getInfoFourierScaling)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::frequency
