#pragma once

#include "RawSamples.h"

namespace rix::io {

/// Gives the axes of the file the names of a selection, if it has some. Spacing and direction of a spatial axis go with
/// it to another one; all other calibration stays with the name.
/// @throws LoadingError when they are not as many, or not as long, as those of the file
void renameAxes(const Selection& selection, RawLayout& layout);

}  // namespace rix::io
