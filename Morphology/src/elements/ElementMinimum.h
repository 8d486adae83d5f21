#pragma once

#include <cstddef>

#include <rix/access/BorderPolicy.h>
#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>
#include <rix/morphology/ElementFilter.h>

#include "Element.h"
#include "ElementKernels.h"

namespace rix::morphology {

/// An erosion or a dilation.
struct ElementJob {
    Extremum extremum = Extremum::Minimum;
    /// Around each voxel; for a dilation reflected already.
    const Element& element;
    ElementBorderPolicy border = ElementBorderPolicy::NEUTRAL;
    double borderValue = 0.0;
};

/// What lies beyond the edges, where something does.
constexpr access::BorderPolicy policyOf(ElementBorderPolicy policy) {
    return policy == ElementBorderPolicy::MIRROR     ? access::BorderPolicy::MIRROR
           : policy == ElementBorderPolicy::CONTINUE ? access::BorderPolicy::CONTINUE
                                                     : access::BorderPolicy::FIXED;
}

/// What becomes of the results.
enum class Difference : std::uint8_t {
    None,             ///< they are written as they are
    ResultLessImage,  ///< less the voxels of another image
    ImageLessResult   ///< taken from those
};

/// @param output shares no memory with `input`; of differences the type is that of `DifferenceOf`
/// @param image of the differences, with the type and extents of `input`, else null; may be `output` if that has its
/// type
void takeExtrema(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const ElementJob& job,
                 Difference difference, const ImageModel* image, OptimLevelType level);

/// What such a run takes of an element: where nothing lies beyond the edges, no more than the image can show, so that
/// large elements cost no more in small or thin images.
Element neededOf(const Element& element, const ImageModel& input, ElementBorderPolicy border);

/// The most bytes that such a run holds.
std::size_t extremaBytes(const ImageModel& input, const Element& element, ElementBorderPolicy border,
                         bool takesDifference, std::size_t threads);

/// The type that holds all differences of two voxels of a type.
VoxelTypes differenceTypeOf(VoxelTypes type);

}  // namespace rix::morphology
