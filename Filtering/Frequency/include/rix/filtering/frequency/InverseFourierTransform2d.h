#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>
#include <rix/filtering/frequency/FourierChoices.h>

namespace rix::filtering::frequency {

/// The inverse of the discrete Fourier transform of each plane,
///
///     f(x, y) = s * sum over k, l of F(k, l) exp(2 pi i (k x / columns + l y / rows)),
///
/// with s = 1 / (columns * rows) (`BACKWARD`), 1 / sqrt(columns * rows) (`ORTHONORMAL`) or 1 (`FORWARD`). With layout,
/// origin and scaling of `FourierTransform2d` it gives back what that transformed.
///
/// **Input** `inputImage`: a spectrum of any extents on all five axes, scalar elements, any type. `layout` and `origin`
/// tell how its coefficients lie.
/// **Output** `outputImage`: the real part (`result` `REAL`), `float32` or, for a spectrum in double precision,
/// `float64`; or all of it (`COMPLEX`). Interpretation value; shares no memory with the input.
///
/// **Columns.** Of a half spectrum (`HALF`) the output has `sizeX` columns; when that is 0, as many as the transformed
/// image had, where the spectrum still tells (`SpatialFrame`), else 2 (columns of the spectrum - 1). The other half is
/// taken as F(columns - k, rows - l) = conj F(k, l), and imaginary parts that this makes 0 are ignored, as
/// `numpy.fft.irfft2` does.
///
/// **Calibration.** Spacing is 1 / (n * spacing of the spectrum), the unit the reciprocal one ("1/mm" becomes "mm").
/// Origins, and spacings to their last bit, are those of the transformed image where the spectrum still tells; else the
/// origin is 0.
///
/// **Exactness, method, failures.** As `FourierTransform2d`.
///
/// @throws RuleException from `run` also for a `sizeX` of which no such spectrum is the half, and for a half spectrum
///         that tells of another number of columns.
/// Cost: as `FourierTransform2d`. Memory: for a real result one more spectrum; see `describe`.
class RIX_EXPORT InverseFourierTransform2d : public BaseAlgorithm {
    RIX_ALGORITHM(InverseFourierTransform2d)

    using Layout = SpectrumLayout;
    using enum SpectrumLayout;
    using Origin = SpectrumOrigin;
    using enum SpectrumOrigin;
    using Scaling = FourierScaling;
    using enum FourierScaling;
    using Result = InverseResult;
    using enum InverseResult;

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default `HALF`.
    RIX_CHOICE(Layout, Layout, layout, getInfoSpectrumLayout)
    /// Default `CORNER`.
    RIX_CHOICE(Origin, Origin, origin, getInfoSpectrumOrigin)
    /// Default `BACKWARD`.
    RIX_CHOICE(Scaling, Scaling, scaling, getInfoFourierScaling)
    /// Default `REAL`.
    RIX_CHOICE(Result, Result, result, getInfoInverseResult)
    /// Columns of the output; default 0.
    RIX_INPUT(std::int64_t, SizeX, sizeX)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::filtering::frequency
