#include <rix/rules/SpacingRules.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace rix::rules {

namespace {

struct Axis {
    Components component;
    const char* name;
};
constexpr std::array<Axis, 3> spatialAxes{{{COLUMNS, "x"}, {ROWS, "y"}, {PLANS, "z"}}};

}  // namespace

bool isDivisor(double spacing) {
    return std::isfinite(spacing) && spacing != 0;
}

void AssertSpacing::apply(const ImageOperand& operand) const {
    for (std::size_t i = 0; i < std::min(m_axes, spatialAxes.size()); ++i) {
        const auto& [component, name] = spatialAxes[i];
        const double spacing = operand.image.getSpacingOf(component);
        if (operand.image.getNumOf(component) > 1 && !isDivisor(spacing)) {
            refuse(parameterText(operand.property) + " must have spacings that are finite and not 0.",
                   String("The spacing along ") + name + " is " + valueToText(spacing) + ". " + spacingCure);
        }
    }
}

String AssertSpacing::describe() const {
    return "must have spacings that are finite and not 0";
}

}  // namespace rix::rules
