#pragma once

#include <cstddef>

/// B-splines, the piecewise polynomials of C. de Boor, "A Practical Guide to Splines", 1978; images as splines: M.
/// Unser, "Splines: a perfect fit for signal and image processing", 1999.
namespace rix::geometry {

inline constexpr int largestSplineDegree = 5;

/// The poles of the filter that makes samples the coefficients of a spline, each between -1 and 0: the zeros of the
/// spline's samples as a polynomial.
struct SplinePoles {
    std::size_t count = 0;
    double poles[2] = {};
};
/// @param degree 2 to 5
SplinePoles splinePoles(int degree);

}  // namespace rix::geometry
