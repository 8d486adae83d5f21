#include "level/LevelRows.h"

#include <rix/access/BlockSize.h>
#include <rix/rules/RuleSupport.h>

#include "PlaceProperties.h"

namespace rix::geometry {

access::Plan cutRows(const ImageModel& image, double nanosecondsPerVoxel) {
    const auto extents = helper::getExtents(image);
    access::Plan plan(extents, access::JoinedAxes::None);
    constexpr std::size_t voxelsOfBand = std::size_t{1} << 15;
    const std::size_t rows = access::scaledToBlocks(voxelsOfBand) / extents[COLUMNS];
    plan.cut(ROWS, {1, std::clamp<std::size_t>(rows, 1, extents[ROWS])});
    for (const Components axis : {PLANS, SEQUENCE, SPECTRAL_SERIES}) {
        plan.cut(axis, {1, 1});
    }
    plan.setSmall(static_cast<double>(plan.voxelCount()) * nanosecondsPerVoxel < access::smallWorkNanoseconds());
    return plan;
}

void RuleHasLevels::apply(Property<const ImageModel*>& property) {
    if (property.get()->getInterpretation() == RIX_LABEL) {
        rules::refuse(rules::parameterText(property) + ' ' + describe() + ".",
                      "It is a label image: compare it with a label first.");
    }
    assertSpans(*property.get(), property, m_axes);
}

String RuleHasLevels::describe() const {
    return "must not be a label image, as there is nothing between labels";
}

}  // namespace rix::geometry
