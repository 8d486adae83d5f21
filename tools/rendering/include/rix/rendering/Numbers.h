#pragma once

#include <rix/rendering/Picture.h>
#include <rix/rendering/Slice.h>

namespace rix::rendering {

/// Writes each label at the centre of its object: white letters on a dark edge, which are read on any ground. The
/// letters' size follows that of the picture.
void drawNumbers(Picture& picture, const LabelSlice& labels);

}  // namespace rix::rendering
