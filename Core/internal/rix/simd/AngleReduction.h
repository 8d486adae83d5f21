#pragma once

namespace rix::simd {

/// An angle less a whole number of quarter turns: `angle + rest` from -pi/4 to pi/4.
struct ReducedAngle {
    double angle;
    double rest;
    double quarterTurns;  ///< modulo 4
};

/// Above this magnitude three parts of pi/2 no longer do.
inline constexpr double largestSimpleAngle = 0x1.8p20;

/// Reduces an angle of at least 1 with as many digits of 2/pi as it takes (M. H. Payne, R. N. Hanek, 1983). NaN for an
/// infinite one.
ReducedAngle reduceLargeAngle(double angle);

}  // namespace rix::simd
