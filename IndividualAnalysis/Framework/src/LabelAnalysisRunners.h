#pragma once

namespace rix {
class AlgoInfo;

namespace individual_analysis {

/// Registers the runners of the levels scalar, SSE and AVX.
void addLabelAnalysisRunners(AlgoInfo& info);

}  // namespace individual_analysis
}  // namespace rix
