#pragma once

namespace rix {
class AlgoInfo;

namespace segmentation {

/// Register the runners of the levels scalar, SSE and AVX.
void addAutoThresholdingBrightRunners(AlgoInfo& info);
void addAutoThresholdingDarkRunners(AlgoInfo& info);

}  // namespace segmentation
}  // namespace rix
