#pragma once

#include <rix/Export.h>
#include <rix/access/Blocks.h>
#include <rix/algorithms/BaseAlgorithm.h>

namespace rix::algorithms {

/// Where the images that a running algorithm sees begin in those that it was given: at the frame and the channel of the
/// present pass when the run, or a run above it, is iterated over these axes, else at 0. For what computes from
/// positions: each pass of an iterated run sees its own index as the first.
RIX_EXPORT access::Position firstOfPass(BaseAlgorithm& algorithm);

}  // namespace rix::algorithms
