#pragma once

#include <array>
#include <vector>

#include <rix/individual_analysis/ObjectView.h>

#include "quantities/ContactsQuantity.h"

namespace rix::individual_analysis {

/// Cauchy and Crofton: the length of a curve (the area of a surface) is the mean over all directions of the number of
/// its crossings with a family of parallel lines, times the space between the lines. The lines here are the rows of
/// pixels along the `directions`; an object of n pixels with p neighbouring pairs in a direction is entered n - p
/// times. Each direction stands for those that are nearer to it than to the others (Lang and Ohser), whatever the
/// spacing.

/// What each entry in a direction adds to the perimeter, for the four directions in the plane.
std::vector<double> perimeterWeights(double spacingX, double spacingY);

/// What each entry in a direction adds to the surface area, for the 13 directions in space.
std::vector<double> surfaceWeights(const std::array<double, 3>& spacing);

/// Sums the entries into an object by weight.
double weightedEntries(const ObjectView& object);

}  // namespace rix::individual_analysis
