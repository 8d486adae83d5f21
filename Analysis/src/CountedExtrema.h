#pragma once

#include <vector>

#include <rix/analysis/IntensityExtrema.h>

#include "ValueCounts.h"

namespace rix::analysis {

/// `IntensityExtrema` that also keeps how often each value occurs, frame by frame: whoever needs both reads the image
/// once. For images of 8 or 16 bits with one channel. A child of others only: the registry does not list it.
class CountedExtrema : public IntensityExtrema {
    RIX_ALGORITHM(CountedExtrema)

    /// True when an image is of that kind and the tables of its frames take little memory.
    static bool accepts(const ImageModel& image);

    /// The counts of each frame, filled by a run.
    std::vector<ValueCounts> frames;
};

}  // namespace rix::analysis
