#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/filtering/frequency/FourierChoices.h>

namespace rix::filtering::frequency {

/// The discrete Fourier transform of each volume.
///
/// The three-dimensional form of `FourierTransform2d`, with which it shares formula, types, calibration, exactness and
/// failures: the sum is over columns, rows and planes, and n = columns * rows * planes. Frames and channels are
/// transformed by themselves; of `HALF` and `CENTER` planes are like rows.
///
/// Cost: n log n for any extents. Memory: some lines a thread; see `describe`.
class RIX_EXPORT FourierTransform3d : public BaseAlgorithm {
    RIX_ALGORITHM(FourierTransform3d)

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
