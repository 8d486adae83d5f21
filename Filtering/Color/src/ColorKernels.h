#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>
#include <rix/filtering/color/ConvertColorSpace.h>

#include "ColorEncoding.h"

namespace rix::filtering::color {

/// The most channels that a colour has beside opacity.
inline constexpr std::size_t mostChannels = 3;

/// One step between colour spaces, of a row of each channel; rows of `out` may be those of `in`.
/// @tparam Real float or double
template <class Real>
using ColorStep = void (*)(const Real* const* in, Real* const* out, std::size_t count);

/// The step from a space to its neighbour on the way to `RGB`; null for `RGB` itself.
template <class Real>
ColorStep<Real> stepTowardsRgb(ConvertColorSpace::ColorSpace space, OptimLevelType level);
/// The step back.
template <class Real>
ColorStep<Real> stepFromRgb(ConvertColorSpace::ColorSpace space, OptimLevelType level);

/// Samples of integers to real units or back; `out` may be `in`.
template <class Real>
using CodeRow = void (*)(const Real* in, Real* out, std::size_t count, const ChannelCode& code);

template <class Real>
CodeRow<Real> decodeRow(OptimLevelType level);
/// What lies in the last half of a step before a full turn becomes 0, so that it is not rounded to a full turn.
template <class Real>
CodeRow<Real> encodeRow(OptimLevelType level);

}  // namespace rix::filtering::color
