#pragma once

#include <array>
#include <cstddef>

#include <rix/edge_detection/GradientMethod.h>

#include "FieldPlan.h"

namespace rix::edge_detection {

/// The derivative by an axis, by differences of neighbours that are averaged along the other axes.
/// @param isMean whether a ramp gives its slope; else the field's unscaled weights (but of central differences)
/// @param units what a voxel is along each axis, where `isMean`
FieldComponent differenceComponent(GradientMethod method, std::size_t axis, std::size_t axes, bool isMean,
                                   const std::array<double, 3>& units);

}  // namespace rix::edge_detection
