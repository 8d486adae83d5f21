#pragma once

#include <cstddef>

#include <rix/image/InterruptPoint.h>

#include <rix/rendering/Picture.h>
#include <rix/rendering/Slice.h>

namespace rix::rendering {

/// How many times a picture of the labels has to be enlarged so that legible numbers fit into nine of ten objects; less
/// where the picture would have more than 2048 pixels a side.
std::size_t enlargementForNumbers(const LabelSlice& labels, helper::InterruptPoint interrupt = {});

/// Writes each label on its object: at its centre, or at the place of the object that is nearest to it. White letters
/// on a dark edge, which are read on any ground, of a size that follows that of the picture, is less where they would
/// not fit into nine of ten objects, and is never too small to be read. The picture may be a whole number of times as
/// large as the labels.
void drawNumbers(Picture& picture, const LabelSlice& labels, helper::InterruptPoint interrupt = {});

}  // namespace rix::rendering
