#include "PlaceProperties.h"

#include <algorithm>

#include <rix/image/ImageDetails.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/RuleSupport.h>

#include "World.h"
#include "WorldTransform.h"

namespace rix::geometry {

namespace {

bool isOfClasses(const ImageModel& image) {
    return image.getInterpretation() == RIX_LABEL || image.getInterpretation() == RIX_BINARY;
}

}  // namespace

ImageHeader placedHeader(const ImageModel& image) {
    ImageHeader header = helper::headerOf(image);
    header.spacing = spacingsOf(header);
    return header;
}

void takeGrid(ImageHeader& header, const ImageHeader& from) {
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        header.extents[axis] = from.extents[axis];
        header.spacing[axis] = from.spacing[axis];
        header.origin[axis] = from.origin[axis];
    }
    header.spatialDirections = from.spatialDirections;
    header.spatialUnitName = from.spatialUnitName;
}

int degreeOf(PlaceInterpolation interpolation, const ImageModel& image) {
    if (interpolation == PlaceInterpolation::AUTOMATIC) {
        return isOfClasses(image) ? 0 : 1;
    }
    // Descriptions ask before rules have refused values that are none.
    return std::clamp(static_cast<int>(interpolation), 1, 6) - 1;
}

void assertSpans(const ImageModel& image, const BaseProperty& property, std::size_t axes) {
    if (!spansWorld(placedHeader(image), axes)) {
        rules::refuse(rules::parameterText(property) + " must have directions that span " +
                      (axes == 3 ? "space." : "a plane."));
    }
}

void RuleSamplesMeaning::apply(Property<int>& property) {
    const ImageModel& input = *m_image.get();
    const auto interpolation = static_cast<PlaceInterpolation>(property.get());
    if (isOfClasses(input) && interpolation != PlaceInterpolation::AUTOMATIC &&
        interpolation != PlaceInterpolation::NEAREST) {
        rules::refuse(rules::parameterText(property) +
                          " must be AUTOMATIC or NEAREST for labels and binary images: what is between labels is none.",
                      "It is " + getInfoPlaceInterpolation().getLabelFromValue(property.get()) + "; " +
                          rules::quotedName(m_image) + " is a " +
                          helper::interpretationsToString(input.getInterpretation()) + " image.");
    }
    if (m_ofSpace && input.getNumOf(PLANS) > 1 && helper::areLabelsOfPlanes(input)) {
        rules::refuse(rules::parameterText(m_image) + " must not have labels of planes.",
                      "Its labels count plane by plane: the same label in the next plane is another object. Label "
                      "it in 3D, or convert it to values.");
    }
}

String RuleSamplesMeaning::describe() const {
    return "must be AUTOMATIC or NEAREST for label and binary images";
}

}  // namespace rix::geometry
