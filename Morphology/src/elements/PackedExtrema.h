#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "ElementMinimum.h"

namespace rix::morphology {

/// As `takeExtrema`, of binary images, at one bit a voxel: 64 of them are met in one step.
void takePackedExtrema(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                       const ElementJob& job, Difference difference, const ImageModel* image, OptimLevelType level);

/// The most bytes that such a run holds.
/// @param element as `neededOf` gives it
std::size_t packedExtremaBytes(const ImageModel& input, const Element& element, bool takesDifference,
                               std::size_t threads);

}  // namespace rix::morphology
