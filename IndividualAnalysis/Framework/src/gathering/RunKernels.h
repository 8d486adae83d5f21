#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>
#include <rix/individual_analysis/Quantity.h>

namespace rix::individual_analysis {

/// Finds the runs of a row. `runs` has room for `count` of them. @return how many there are
template <class Label>
using FindRuns = std::size_t (*)(const Label* row, std::size_t count, Run* runs);

/// The kernel of a level for `uint8`, `uint16` or `uint32`.
template <class Label>
FindRuns<Label> findRuns(OptimLevelType level);

}  // namespace rix::individual_analysis
