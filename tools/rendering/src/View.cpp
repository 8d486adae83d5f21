#include <rix/rendering/View.h>

#include <rix/rendering/Contours.h>
#include <rix/rendering/LabelColours.h>
#include <rix/rendering/Numbers.h>

namespace rix::rendering {

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

Picture renderView(const ImageModel& image, const ImageModel* base, const SliceChoice& choice, LabelNumbers numbers,
                   const std::function<bool()>& interrupted) {
    const helper::InterruptPoint interrupt(interrupted);
    Picture picture = base == nullptr ? renderSlice(image, choice, interrupt)
                                      : onWhite(renderSlice(*base, matchingSlice(image, *base, choice), interrupt));
    if (base == nullptr && numbers == LabelNumbers::None) {
        return picture;
    }
    const LabelSlice labels = readLabelSlice(image, choice, interrupt);
    checkContours({labels.width, labels.height}, {picture.width(), picture.height()});
    if (numbers == LabelNumbers::Drawn) {
        picture = enlarged(picture, enlargementForNumbers(labels, interrupt));
    }
    if (base != nullptr && image.getInterpretation() == RIX_BINARY) {
        // Yellow is rare in photographs, and seen on dark and on light.
        drawContours(picture, labels, [](std::uint32_t) { return Colour{255, 220, 0}; }, interrupt);
    } else if (base != nullptr) {
        drawContours(picture, labels, LabelColours(labels), interrupt);
    }
    if (numbers == LabelNumbers::Drawn) {
        drawNumbers(picture, labels, interrupt);
    }
    return picture;
}

}  // namespace rix::rendering
