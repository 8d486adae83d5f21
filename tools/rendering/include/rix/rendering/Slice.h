#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include <rix/image/ImageModel.h>
#include <rix/image/InterruptPoint.h>

#include <rix/rendering/Picture.h>
#include <rix/rendering/Window.h>

namespace rix::rendering {

/// Which slice of an image to show. Unless chosen, the middle plane, the first frame and the first channel.
struct SliceChoice {
    std::optional<std::size_t> plane;
    std::optional<std::size_t> frame;
    std::optional<std::size_t> channel;
};

/// A slice of a label image.
struct LabelSlice {
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<std::uint32_t> labels;
    std::uint32_t at(std::size_t x, std::size_t y) const { return labels[y * width + x]; }
};

/// @throws NotDrawable when the choice is not inside the image, or an element has several samples.
void checkSlice(const ImageModel& image, const SliceChoice& choice);

/// @throws NotDrawable when the samples are no integers.
void checkLabels(const ImageModel& image);

/// Draws a slice. RGB of 8 bits is shown as it is, of 16 bits by its upper half, both with their opacity where they
/// have one as a fourth channel; RGB of other types and everything else that measures something as grey or colour in an
/// automatic window over the slice; binary images in black and white; labels in `LabelColours`, on nothing. Complex
/// samples are shown by their magnitude.
/// @throws NotDrawable when the choice is not inside the image, or an element has several samples.
Picture renderSlice(const ImageModel& image, const SliceChoice& choice, helper::InterruptPoint interrupt = {});

/// The labels of a slice; every integer image will do, whatever its interpretation.
/// @throws NotDrawable for images of other types and choices outside the image.
LabelSlice readLabelSlice(const ImageModel& image, const SliceChoice& choice, helper::InterruptPoint interrupt = {});

/// The plane of `base` that lies under a plane of `over`: the same, or the only one.
SliceChoice matchingSlice(const ImageModel& over, const ImageModel& base, const SliceChoice& choice);

}  // namespace rix::rendering
