#pragma once

#include <array>
#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

namespace rix::geometry {

/// Which axes of an image become coefficients of splines.
using SplineAxes = std::array<bool, 3>;

/// The samples in which coefficients of an image are computed: `RIX_FLOAT32`, and `RIX_FLOAT64` for images that it
/// cannot hold.
VoxelTypes splineWorkType(VoxelTypes input);

/// Turns the samples of an image into the coefficients of splines through them, along each of the axes. The image is
/// mirrored at its ends, the end element repeated. One step of the run.
/// @param output of the input's extents, real; its samples are those in which is computed
void computeSplineCoefficients(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                               int degree, const SplineAxes& axes, OptimLevelType level);

/// The most bytes that it holds. @param outputType `RIX_FLOAT32` or `RIX_FLOAT64`
std::size_t splineCoefficientsMemory(const ImageModel& input, VoxelTypes outputType, const SplineAxes& axes,
                                     std::size_t threads);

}  // namespace rix::geometry
