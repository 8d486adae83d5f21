#pragma once

#include <cstdint>

#include <rix/algorithms/Declaration.h>

namespace rix::geometry {

/// Turns each volume into the coefficients of the spline through its elements: what `BSplineCoefficients2d` does with
/// planes, on columns, rows and planes. Everything else, and what is thrown, is as there; in `float32` the spline gives
/// the elements back within 1e-5 of their range.
class RIX_EXPORT BSplineCoefficients3d : public BaseAlgorithm {
    RIX_ALGORITHM(BSplineCoefficients3d)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Of the polynomials between elements, 2 to 5; default 3.
    RIX_INPUT(std::int32_t, Degree, degree)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::geometry
