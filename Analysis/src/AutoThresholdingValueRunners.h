#pragma once

#include <cstddef>

namespace rix {
class AlgoInfo;
class ImageModel;

namespace analysis {

/// Registers the runners of the levels scalar, SSE and AVX.
void addAutoThresholdingValueRunners(AlgoInfo& info);

/// Peak bytes of extra memory of a run on an image.
std::size_t thresholdingMemory(const ImageModel& image);

}  // namespace analysis
}  // namespace rix
