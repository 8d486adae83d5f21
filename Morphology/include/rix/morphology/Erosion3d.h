#pragma once

#include <rix/morphology/ElementFilter.h>

namespace rix::morphology {

/// Erodes each volume: every voxel becomes the smallest value under the structuring element, min { f(x + b) }.
/// Bright objects shrink.
///
/// Element, border, values and failures: see `ElementFilter3d`. Cost: log2 of the extents and 2 minima a voxel for a
/// box, two minima a row of the element for others.
class RIX_EXPORT Erosion3d : public ElementFilter3d {
    RIX_ALGORITHM(Erosion3d)
};

}  // namespace rix::morphology
