#pragma once

#include <rix/Export.h>

namespace rix {
class EnumInfo;
}

/// Choices of all convolutions. An algorithm makes them names of its own, as
/// `using Mode = ConvolutionMode; using enum ConvolutionMode;`.
namespace rix::filtering::linear {

/// Whether the kernel is turned over before it is laid on the image, or laid on it as it is.
enum class ConvolutionMode : int { CONVOLUTION = 0, CORRELATION };
RIX_EXPORT const EnumInfo& getInfoConvolutionMode();

/// Whether the coefficients of a kernel are divided by their sum.
enum class KernelScaling : int { NO = 0, YES };
RIX_EXPORT const EnumInfo& getInfoKernelScaling();

}  // namespace rix::filtering::linear
