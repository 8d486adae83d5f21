#pragma once

#include <rix/synthesis/ImageGenerator.h>

namespace rix::synthesis {

/// Makes rings around the centre of the image that get finer outwards, so that every frequency occurs in every
/// direction: middle + amplitude cos(pi f r^2 / R). Here r is the distance from the centre in voxels, R half of the
/// greatest extent, and f the frequency that the rings have at r = R, in cycles a voxel: 0.5 is the finest that the
/// grid can show. Middle and amplitude follow from the values of crests and troughs.
///
/// The error is below 1e-11 of the amplitude up to r = 10^4 (the cosine is the library's own, so that every machine
/// gives the same bits). Extents, spacing, type and failures: see `ImageGenerator`. Cost: one pass; no extra memory.
class RIX_EXPORT ZonePlateImage : public ImageGenerator {
    RIX_ALGORITHM(ZonePlateImage)

    /// Cycles a voxel at the middle of the longest sides; default 0.5.
    RIX_INPUT(double, Frequency, frequency)
    /// Of troughs; default 0.
    RIX_INPUT(double, FirstValue, firstValue)
    /// Of crests, as the centre is one; default 255.
    RIX_INPUT(double, LastValue, lastValue)
};

}  // namespace rix::synthesis
