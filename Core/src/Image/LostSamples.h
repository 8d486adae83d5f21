#pragma once

#include <rix/image/ImageModel.h>

namespace rix::helper {

/// Called after an image failed to be reserved. One that lost its samples in the attempt (memory is short) is made
/// empty: with extents that promise samples, a later run would take it for well-shaped already and never reserve it.
void emptyIfSamplesAreLost(ImageModel& image);

}  // namespace rix::helper
