#pragma once

#include <array>
#include <span>

#include "quantities/Int128.h"
#include "quantities/OutlineQuantity.h"

namespace rix::individual_analysis {

/// Angles are in [0, pi), from the columns' to the rows' axis.
struct HullInPlane {
    double area = 0.0;
    double diameter = 0.0;
    double diameterAngle = 0.0;
    double width = 0.0;
    double widthAngle = 0.0;
};

/// @param rows of the object's outline, in raster order
HullInPlane measureHullInPlane(std::span<const OutlineRow> rows, const std::array<double, 2>& spacing);

struct HullInSpace {
    double volume = 0.0;
    double diameter = 0.0;
};

HullInSpace measureHullInSpace(std::span<const OutlineRow> rows, const std::array<double, 3>& spacing);

}  // namespace rix::individual_analysis
