#pragma once

namespace rix {
class AlgoInfo;

namespace segmentation {

/// Registers the runners of the levels scalar, SSE and AVX.
void addThresholdingByCriterionRunners(AlgoInfo& info);

}  // namespace segmentation
}  // namespace rix
