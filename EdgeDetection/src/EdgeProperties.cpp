#include "EdgeProperties.h"

namespace rix::edge_detection {

void RuleDeviation::apply(Property<double>& property) {
    RuleAssertFinite<double>().apply(property);
    if (m_smallest > 0.0) {
        RuleLimitedValue<double>(0.0, CHECK_GREATER).apply(property);
    } else {
        RuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL).apply(property);
    }
    for (std::size_t axis = 0; axis < m_axes; ++axis) {
        const double voxels = algorithms::lengthInVoxels(property, static_cast<algorithms::LengthUnit>(m_unit.get()),
                                                         *m_image.get(), static_cast<Components>(axis));
        algorithms::assertVoxelsOf(property, voxels, largestDeviation);
    }
}

String RuleDeviation::describe() const {
    return String("must be a length ") + (m_smallest > 0.0 ? "above 0 and up to " : "from 0 to ") +
           rules::valueToText(largestDeviation) + " voxels along each axis";
}

void RuleDivisors::apply(Property<int>& property) {
    for (std::size_t axis = 0; axis < m_axes && property.get() == static_cast<int>(algorithms::LengthUnit::WORLD);
         ++axis) {
        const double spacing = m_image.get()->getSpacingOf(static_cast<Components>(axis));
        if (!rules::isDivisor(spacing)) {
            rules::refuse(
                rules::parameterText(property) + " WORLD needs an image with spacings that are finite and not 0.",
                "The spacing is " + rules::valueToText(spacing) + ". Set the spacing, or use VOXEL.");
        }
    }
}

String RuleDivisors::describe() const {
    return "for WORLD, the spacings must be finite and not 0";
}

void RuleOneChannel::apply(Property<const ImageModel*>& property) {
    const std::size_t channels = property.get()->getNumOf(SPECTRAL_SERIES);
    if (channels != 1) {
        rules::refuse(rules::parameterText(property) + " must have one channel: those of the results are components.",
                      "It has " + std::to_string(channels) + ". Take the channels one by one.");
    }
}

String RuleOneChannel::describe() const {
    return "must have one channel";
}

FieldComponent gaussianComponent(const std::array<double, 3>& deviations, const std::array<std::size_t, 3>& orders,
                                 const std::array<double, 3>& units) {
    FieldComponent component;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double unit = std::pow(units[axis], static_cast<double>(orders[axis]));
        component.taps[axis] = scaled(gaussianTaps(deviations[axis], orders[axis]), 1.0 / unit);
    }
    return component;
}

}  // namespace rix::edge_detection
