#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>

#include <rix/image/ImageModel.h>
#include <rix/properties/Property.h>
#include <rix/rules/SpacingRules.h>
#include <rix/rules/ValueRules.h>

namespace rix::morphology {

/// On the choice of a unit: lengths in the world need spacings, of axes along which there is a way.
class RuleSpacings : public Rules<Property<int>> {
public:
    /// @param axes 2 for planes, 3 for volumes
    /// @param isNeeded whether spacings count
    /// @param leadsBeyond whether there is a way also along an axis of one voxel
    RuleSpacings(const Property<const ImageModel*>& image, std::size_t axes, std::function<bool()> isNeeded,
                 std::function<bool()> leadsBeyond)
        : m_image(image), m_axes(axes), m_isNeeded(std::move(isNeeded)), m_leadsBeyond(std::move(leadsBeyond)) {}

    void apply(Property<int>& /*property*/) override {
        constexpr const char* names[] = {"columns", "rows", "planes"};
        const ImageModel& image = *m_image.get();
        for (std::size_t axis = 0; m_isNeeded() && axis < m_axes; ++axis) {
            const auto component = static_cast<Components>(axis);
            const double spacing = image.getSpacingOf(component);
            if ((image.getNumOf(component) > 1 || m_leadsBeyond()) && !rules::isDivisor(spacing)) {
                rules::refuse(rules::parameterText(m_image) +
                                  " must have spacings that are finite and not 0 where lengthUnit is WORLD.",
                              String("That of its ") + names[axis] + " is " + rules::valueToText(spacing) + ". " +
                                  rules::spacingCure);
            }
        }
    }
    String describe() const override { return "for WORLD, the spacings must be finite and not 0"; }

private:
    const Property<const ImageModel*>& m_image;
    std::size_t m_axes;
    std::function<bool()> m_isNeeded;
    std::function<bool()> m_leadsBeyond;
};

}  // namespace rix::morphology
