#pragma once

#include "Picture.h"
#include "Slice.h"

namespace rix::cli {

/// Writes each label at the centre of its object: white letters on a dark edge, which are read on any ground. The
/// letters' size follows that of the picture.
void drawNumbers(Picture& picture, const LabelSlice& labels);

}  // namespace rix::cli
