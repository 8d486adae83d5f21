#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "RankJob.h"

namespace rix::filtering::rank {

/// Whether a job is a median that has a kernel of its own: of 3x3 or 5x5 integers or `float`, without a mask.
template <class T>
bool isSquareMedian(const RankJob& job);

/// As `selectRanks`, for such a job. Rows are read where the image has them. Instances for all real types.
template <class T>
void selectSquareMedian(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                        const RankJob& job, OptimLevelType level);

/// The most bytes that it holds.
template <class T>
std::size_t squareMedianBytes(const ImageModel& input, const RankJob& job, std::size_t threads);

}  // namespace rix::filtering::rank
