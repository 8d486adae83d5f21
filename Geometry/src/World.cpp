#include "World.h"

#include <algorithm>

#include <rix/rules/SpacingRules.h>

namespace rix::geometry {

namespace {

/// Whether the spacings of all spatial axes are 0, as those of a new image.
bool hasNoSpacing(const std::array<double, RIX_COMPONENTS_SIZE>& spacing) {
    return std::all_of(spacing.begin(), spacing.begin() + 3, [](double each) { return each == 0; });
}

}  // namespace

std::array<double, RIX_COMPONENTS_SIZE> spacingsOf(const ImageHeader& header) {
    std::array<double, RIX_COMPONENTS_SIZE> spacing = header.spacing;
    if (hasNoSpacing(spacing)) {
        std::fill_n(spacing.begin(), 3, 1.0);
    }
    return spacing;
}

void AssertPlaced::apply(const rules::ImageOperand& operand) const {
    const ImageHeader header = helper::headerOf(operand.image);
    if (!hasNoSpacing(header.spacing)) {
        rules::AssertSpacing(3).apply(operand);
    }
}

String AssertPlaced::describe() const {
    return "must have spacings that are finite and not 0, or none at all";
}

}  // namespace rix::geometry
