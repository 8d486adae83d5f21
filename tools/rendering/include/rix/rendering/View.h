#pragma once

#include <functional>

#include <rix/image/ImageModel.h>

#include <rix/rendering/Picture.h>
#include <rix/rendering/Slice.h>

namespace rix::rendering {

/// Whether labels are written on their objects.
enum class LabelNumbers { None, Drawn };

/// Refuses what `renderView` would refuse, from the headers alone.
void checkView(const ImageModel& image, const ImageModel* base, const SliceChoice& choice, LabelNumbers numbers);

/// A picture of an image; with a base, the outlines of its labels (or of its objects, when it is binary) drawn on a
/// picture of the base. Nothing shines through a base. With numbers the picture is enlarged a whole number of times
/// where they would not fit into the objects otherwise.
/// @param interrupted asked now and then whether to end; empty for never
/// @throws NotDrawable when the choice is not inside the image, or labels are wanted of what has none.
/// @throws UserCancelException `interrupted` said so.
Picture renderView(const ImageModel& image, const ImageModel* base, const SliceChoice& choice, LabelNumbers numbers,
                   const std::function<bool()>& interrupted = {});

}  // namespace rix::rendering
