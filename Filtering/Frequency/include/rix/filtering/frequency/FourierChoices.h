#pragma once

#include <rix/Export.h>

namespace rix {
class EnumInfo;
}

/// Choices of all Fourier transforms. An algorithm makes them names of its own, as
/// `using Layout = SpectrumLayout; using enum SpectrumLayout;`.
namespace rix::filtering::frequency {

/// The columns of a spectrum: floor(n / 2) + 1, from which the others of a real image follow, or all n.
enum class SpectrumLayout : int { HALF = 0, FULL };
RIX_EXPORT const EnumInfo& getInfoSpectrumLayout();

/// Where the coefficient of frequency 0 lies: at index 0, or at floor(n / 2) on each axis whose coefficients are all
/// there.
enum class SpectrumOrigin : int { CORNER = 0, CENTER };
RIX_EXPORT const EnumInfo& getInfoSpectrumOrigin();

/// Which way the sums are divided by the number of samples: back, both ways by its root, or forward.
enum class FourierScaling : int { BACKWARD = 0, ORTHONORMAL, FORWARD };
RIX_EXPORT const EnumInfo& getInfoFourierScaling();

/// The samples of an inverse transform: its real part, or all of it.
enum class InverseResult : int { REAL = 0, COMPLEX };
RIX_EXPORT const EnumInfo& getInfoInverseResult();

}  // namespace rix::filtering::frequency
