#include "PlaneLabels.h"

#include <rix/image/ImageDetails.h>

namespace rix::geometry {

void assertLabelsStayApart(const BaseProperty& property, const ImageModel& image, const AxisMaps& maps) {
    // As frames or channels planes stay apart by themselves, if nothing takes their place.
    const bool staysApart = maps[PLANS].source == PLANS ||
                            (maps[COLUMNS].source != PLANS && maps[ROWS].source != PLANS && maps[PLANS].extent == 1);
    if (helper::areLabelsOfPlanes(image) && !staysApart) {
        rules::refuse(rules::parameterText(property) + " must leave the planes of this label image as they are.",
                      "Its labels count plane by plane: the same label in the next plane is another object. Label it "
                      "in 3D, or convert it to values.");
    }
}

}  // namespace rix::geometry
