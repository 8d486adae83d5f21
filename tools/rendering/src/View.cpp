#include <rix/rendering/View.h>

#include <rix/rendering/Contours.h>
#include <rix/rendering/LabelColours.h>
#include <rix/rendering/Numbers.h>

namespace rix::rendering {

namespace {

/// The image alone, or its outlines on the base.
Picture renderPlain(const ImageModel& image, const ImageModel* base, const SliceChoice& choice) {
    if (base == nullptr) {
        return renderSlice(image, choice);
    }
    Picture picture = renderSlice(*base, matchingSlice(image, *base, choice));
    if (image.getInterpretation() == RIX_BINARY) {
        // Yellow is rare in photographs, and seen on dark and on light.
        drawContours(picture, readLabelSlice(image, choice), [](std::uint32_t) { return Colour{255, 220, 0}; });
    } else {
        const LabelSlice labels = readLabelSlice(image, choice);
        drawContours(picture, labels, LabelColours(labels));
    }
    return picture;
}

}  // namespace

void checkView(const ImageModel& image, const ImageModel* base, const SliceChoice& choice, LabelNumbers numbers) {
    checkSlice(image, choice);
    if (base != nullptr) {
        checkSlice(*base, matchingSlice(image, *base, choice));
        checkContours({image.getNumOf(COLUMNS), image.getNumOf(ROWS)}, {base->getNumOf(COLUMNS), base->getNumOf(ROWS)});
    }
    if (base != nullptr || numbers == LabelNumbers::Drawn) {
        checkLabels(image);
    }
}

Picture renderView(const ImageModel& image, const ImageModel* base, const SliceChoice& choice, LabelNumbers numbers) {
    Picture picture = renderPlain(image, base, choice);
    if (numbers == LabelNumbers::Drawn) {
        drawNumbers(picture, readLabelSlice(image, choice));
    }
    return picture;
}

}  // namespace rix::rendering
