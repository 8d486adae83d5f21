#pragma once

#include <cstddef>

#include <rix/rules/ImageAssertions.h>
#include <rix/rules/ValueRules.h>

namespace rix::segmentation {

/// The voxels of a plane or volume can be numbered, with a bit to spare.
class AssertPartSize {
public:
    static constexpr bool individual = true;
    /// @param axes 2 for planes, 3 for volumes
    explicit AssertPartSize(std::size_t axes) : m_axes(axes) {}

    void apply(const rules::ImageOperand& operand) const {
        double voxels = 1;
        for (std::size_t axis = 0; axis < m_axes; ++axis) {
            voxels *= static_cast<double>(operand.image.getNumOf(static_cast<Components>(axis)));
        }
        if (voxels > mostVoxels) {
            rules::refuse(rules::parameterText(operand.property) + " must have at most 2147483646 voxels in a " +
                              (m_axes == 3 ? "volume." : "plane."),
                          "There are " + rules::valueToText(voxels) + '.');
        }
    }
    String describe() const {
        return String("must have at most 2147483646 voxels in a ") + (m_axes == 3 ? "volume" : "plane");
    }

private:
    static constexpr double mostVoxels = 2147483646.0;

    std::size_t m_axes;
};

using AddRulePartSize = rules::AddRuleOnImage<AssertPartSize>;

}  // namespace rix::segmentation
