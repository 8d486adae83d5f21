#pragma once

#include <rix/image/ImageTypes.h>
#include <rix/segmentation/ThresholdingByCriterion.h>

namespace rix::segmentation {

/// A comparison of voxels with a value, brought into a form that needs no wider type than the voxels' own.
struct Comparison {
    enum class Kind { Never, Always, Compare };

    Kind kind = Kind::Never;
    ThresholdingByCriterion::CriterionType criterion = ThresholdingByCriterion::LESS_THAN;
    double threshold = 0.0;            ///< exactly representable in `voxelType`
    VoxelTypes voxelType = RIX_UINT8;  ///< the type as which voxels are read
};

/// Finds the comparison in the voxels' own type that holds for the same voxels as "voxel criterion value" in the type
/// in which the value and the voxels meet. For example, v < 99.5 on `uint8` becomes v < 100, and v > 300 never holds.
/// @param voxelType a real type
Comparison reduceComparison(VoxelTypes voxelType, ThresholdingByCriterion::CriterionType criterion, double value);

}  // namespace rix::segmentation
