#pragma once

#include <cstddef>

#include <rix/access/BorderPolicy.h>
#include <rix/access/ExecutionContext.h>
#include <rix/image/ImageModel.h>

#include "ConvolutionTiles.h"

namespace rix::filtering::frequency {

/// What a run computes beside its images.
struct ConvolutionJob {
    ConvolutionTiles tiles;
    access::BorderPolicy border = access::BorderPolicy::MIRROR;
    double borderValue = 0.0;
};

/// @param output shares no memory with `input`
void convolveTiles(access::ExecutionContext& context, const ImageModel& input, const ImageModel& kernel,
                   ImageModel& output, const ConvolutionJob& job);

/// The most bytes that such a run holds.
std::size_t convolutionBytes(const ImageModel& input, const ConvolutionTiles& tiles, std::size_t threads);

}  // namespace rix::filtering::frequency
