#pragma once

#include <rix/Export.h>

namespace rix {
class EnumInfo;
}

namespace rix::edge_detection {

/// How gradients are taken.
enum class GradientMethod : int {
    CENTRAL_DIFFERENCES = 0,  ///< half the difference of the neighbours
    SOBEL,                    ///< weighted 1 2 1 across
    SCHARR,                   ///< weighted 3 10 3 across
    PREWITT,                  ///< weighted 1 1 1 across
    GAUSSIAN                  ///< derivatives of a Gaussian
};
RIX_EXPORT const EnumInfo& getInfoGradientMethod();

}  // namespace rix::edge_detection
