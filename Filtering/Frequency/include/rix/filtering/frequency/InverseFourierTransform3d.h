#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>
#include <rix/filtering/frequency/FourierChoices.h>

namespace rix::filtering::frequency {

/// The inverse of the discrete Fourier transform of each volume.
///
/// The three-dimensional form of `InverseFourierTransform2d`, with which it shares all but the axes: the sum is over
/// columns, rows and planes. With layout, origin and scaling of `FourierTransform3d` it gives back what that
/// transformed.
///
/// Cost: n log n for any extents. Memory: for a real result one more spectrum; see `describe`.
class RIX_EXPORT InverseFourierTransform3d : public BaseAlgorithm {
    RIX_ALGORITHM(InverseFourierTransform3d)

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
