#pragma once

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>

#include "GroupStatistics.h"

namespace rix::analysis {

/// What is asked of a group of samples of 8 or 16 bits.
template <class T>
void measureSmallIntegers(access::ExecutionContext& context, OptimLevelType level, const Group& group,
                          const StatisticRequest& request, GroupStatistics& result);

}  // namespace rix::analysis
