#pragma once

#include <cstddef>

namespace rix {
class AlgoInfo;

namespace analysis {

class AutoThresholdingValue;

/// Registers the runners of the levels scalar, SSE and AVX.
void addAutoThresholdingValueRunners(AlgoInfo& info);

/// The most bytes of extra memory that a run with the present inputs can take: assumes that every class of the
/// histogram occurs.
std::size_t thresholdingMemory(const AutoThresholdingValue& algorithm);

}  // namespace analysis
}  // namespace rix
