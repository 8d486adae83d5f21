#pragma once

#include <cstddef>
#include <string>

#include <rix/image/ImageModel.h>
#include <rix/properties/Property.h>
#include <rix/rules/RuleSupport.h>
#include <rix/rules/Rules.h>

namespace rix::morphology {

inline constexpr std::size_t mostVoxelsAlong = std::size_t{1} << 28;

/// Of images whose distances are measured: no axis is too long.
class RuleExtents : public Rules<Property<const ImageModel*>> {
public:
    explicit RuleExtents(std::size_t axes) : m_axes(axes) {}
    bool isIndividual() const override { return true; }
    void apply(Property<const ImageModel*>& property) override {
        constexpr const char* axisNames[] = {"columns", "rows", "planes"};
        for (std::size_t axis = 0; axis < m_axes; ++axis) {
            const std::size_t extent = property.get()->getNumOf(static_cast<Components>(axis));
            if (extent > mostVoxelsAlong) {
                rules::refuse(rules::parameterText(property) + " must have " + describe().substr(10) + '.',
                              "It has " + std::to_string(extent) + ' ' + axisNames[axis] + '.');
            }
        }
    }
    String describe() const override {
        return "must have at most " + std::to_string(mostVoxelsAlong) + " voxels along an axis";
    }

private:
    std::size_t m_axes;
};

}  // namespace rix::morphology
