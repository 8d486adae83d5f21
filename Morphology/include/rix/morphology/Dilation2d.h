#pragma once

#include <rix/morphology/ElementFilter.h>

namespace rix::morphology {

/// Dilates each plane: every voxel becomes the largest value under the reflected structuring element,
/// max { f(x - b) }. Bright objects grow.
///
/// Element, border, values and failures: see `ElementFilter2d`. Cost: log2 of the extents and 2 maxima a voxel for a
/// box, two maxima a row of the element for others.
class RIX_EXPORT Dilation2d : public ElementFilter2d {
    RIX_ALGORITHM(Dilation2d)
};

}  // namespace rix::morphology
