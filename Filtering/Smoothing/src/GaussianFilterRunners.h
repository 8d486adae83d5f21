#pragma once

namespace rix {
class AlgoInfo;

namespace filtering::smoothing {

/// Register the runners of the levels scalar, SSE and AVX.
void addGaussianFilter2dRunners(AlgoInfo& info);
void addGaussianFilter3dRunners(AlgoInfo& info);

}  // namespace filtering::smoothing
}  // namespace rix
