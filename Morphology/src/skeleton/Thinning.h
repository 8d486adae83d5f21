#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>

#include "bits/BitImage.h"

namespace rix::morphology {

/// Takes simple voxels out of objects, layer after layer, until only ends are simple; planes by themselves, or volumes
/// (3 axes). The rule stands at `Skeleton2d` and `Skeleton3d`. It depends on no order in which rows are visited: voxels
/// that are taken at once are no neighbours.
void thinObjects(access::ExecutionContext& context, const BitImage& objects, std::size_t axes, OptimLevelType level);

/// The bytes that it holds, at most.
std::size_t thinningBytes(const Extents& extents, std::size_t axes);

}  // namespace rix::morphology
