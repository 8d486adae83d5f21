#pragma once

#include <cstddef>
#include <optional>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "RankJob.h"
#include "RankNetwork.h"

namespace rix::filtering::rank {

/// The network of a job, where that is faster than counting.
std::optional<RankNetwork> networkFor(const RankJob& job, std::size_t keyBytes);

/// As `selectRanks`. Instances for all real types.
template <class T>
void selectByNetwork(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const RankJob& job,
                     const RankNetwork& network, OptimLevelType level);

/// The most bytes that it holds.
template <class T>
std::size_t networkBytes(const ImageModel& input, const RankJob& job, const RankNetwork& network, std::size_t threads);

}  // namespace rix::filtering::rank
