#pragma once

namespace rix {
class AlgoInfo;

namespace filtering::smoothing {

/// Register the runners of the levels scalar, SSE and AVX.
void addBoxFilter2dRunners(AlgoInfo& info);
void addBoxFilter3dRunners(AlgoInfo& info);

}  // namespace filtering::smoothing
}  // namespace rix
