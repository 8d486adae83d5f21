#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/filtering/color/ConvertColorSpace.h>
#include <rix/image/ImageModel.h>

namespace rix::filtering::color {

/// What a run makes of colours.
struct ColorWork {
    ConvertColorSpace::ColorSpace from;
    ConvertColorSpace::ColorSpace to;
    double largestIn;  ///< the sample of 1 in the input; 1 where samples are real already
    double largestOut;
    bool inputIsBinary;
};

/// Tells the colours of all pixels in another space. The images have the channels of the spaces, or both one more,
/// which is kept; else their extents are the same.
void convertColors(access::ExecutionContext& context, OptimLevelType level, const ImageModel& input, ImageModel& output,
                   const ColorWork& work);

/// Peak bytes of working memory.
std::size_t colorMemory(std::size_t threads);

}  // namespace rix::filtering::color
