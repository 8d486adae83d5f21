#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "RankJob.h"

namespace rix::filtering::rank {

/// @param output of the input's type and extents; shares no memory with it
void selectRanks(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const RankJob& job,
                 OptimLevelType level);

/// The most bytes that `selectRanks` holds.
std::size_t rankWorkingBytes(const ImageModel& input, const RankJob& job, std::size_t threads);

}  // namespace rix::filtering::rank
