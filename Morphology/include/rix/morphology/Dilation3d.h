#pragma once

#include <rix/morphology/ElementFilter.h>

namespace rix::morphology {

/// Dilates each volume: every voxel becomes the largest value under the reflected structuring element,
/// max { f(x - b) }. Bright objects grow.
///
/// Element, border, values and failures: see `ElementFilter3d`. Cost: log2 of the extents and 2 maxima a voxel for a
/// box, two maxima a row of the element for others.
class RIX_EXPORT Dilation3d : public ElementFilter3d {
    RIX_ALGORITHM(Dilation3d)
};

}  // namespace rix::morphology
