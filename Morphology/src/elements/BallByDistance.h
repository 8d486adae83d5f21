#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>
#include <rix/settings/Settings.h>

#include "elements/Element.h"
#include "elements/ElementKernels.h"

namespace rix::morphology {

/// Whether erosions and dilations of binary images by balls are to be found from distances, where they can be. Key
/// "RIX_MORPHO_FORCE_USE_DISTANCE_MAP". Results are the same.
bool isDistanceForced(const Settings& settings);

/// The square of the radius, when an element is all offsets whose square is no more, and images of these extents can be
/// measured. @param axes 2 for planes, 3 for volumes
std::optional<std::int64_t> squareOfBall(const Element& element, const ImageModel& image, std::size_t axes);

/// Erodes (`Minimum`) or dilates a binary image by such an element. A step of the run.
/// @param output shares no memory with the input
void takeBallByDistance(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                        Extremum extremum, std::int64_t square, std::size_t axes, OptimLevelType level);

/// The most bytes that it holds.
std::size_t ballByDistanceBytes(const ImageModel& input, std::size_t axes, std::size_t threads);

}  // namespace rix::morphology
