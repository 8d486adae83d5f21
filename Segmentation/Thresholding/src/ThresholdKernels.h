#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/OptimLevel.h>

namespace rix::segmentation {

/// Writes 1 where a sample compares with the threshold as the row's criterion says, 0 elsewhere. `out` may be `in`.
template <class T>
using ThresholdRow = void (*)(const T* in, std::uint8_t* out, std::size_t count, T threshold);

/// The row kernels of one sample type, indexed by `ThresholdingByCriterion::CriterionType`.
template <class T>
struct ThresholdRows {
    ThresholdRow<T> byCriterion[6];
};

/// The kernels of a level.
template <class T>
const ThresholdRows<T>& thresholdRows(OptimLevelType level);

}  // namespace rix::segmentation
