#pragma once

#include <cmath>
#include <memory>

#include <rix/algorithms/FilterChoices.h>
#include <rix/rules/ValueRules.h>

/// Least sizes of objects, in voxels or in the image's unit to the power of the axes.
namespace rix::algorithms {

/// A size is finite, not negative, and in the world there are spacings to compare it with.
class RuleLeastSize : public Rules<Property<double>> {
public:
    RuleLeastSize(const Property<const ImageModel*>& image, const Property<int>& unit, std::size_t axes)
        : m_image(image), m_unit(unit), m_axes(axes) {}

    void apply(Property<double>& property) override {
        RuleAssertFinite<double>().apply(property);
        RuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL).apply(property);
        if (m_unit.get() != static_cast<int>(LengthUnit::WORLD)) {
            return;
        }
        for (std::size_t axis = 0; axis < m_axes; ++axis) {
            assertSpacingFor(property, m_image.get()->getSpacingOf(static_cast<Components>(axis)));
        }
    }
    String describe() const override { return "must be finite and at least 0"; }

private:
    const Property<const ImageModel*>& m_image;
    const Property<int>& m_unit;
    std::size_t m_axes;
};

/// Attaches that rule. @param axes 2 for planes, 3 for volumes
inline void addRuleLeastSize(Property<double>& size, const Property<const ImageModel*>& image,
                             const Property<int>& unit, std::size_t axes) {
    size.getImpl()->addRule(std::make_shared<RuleLeastSize>(image, unit, axes));
}

/// The least number of voxels of a size, at most `most`.
inline std::size_t leastVoxels(double size, LengthUnit unit, const ImageModel& image, std::size_t axes,
                               std::size_t most) {
    double ofVoxel = 1.0;
    for (std::size_t axis = 0; axis < axes && unit == LengthUnit::WORLD; ++axis) {
        ofVoxel *= std::fabs(image.getSpacingOf(static_cast<Components>(axis)));
    }
    const auto isEnough = [=](double voxels) { return voxels * ofVoxel >= size; };
    if (size <= 0.0) {
        return 0;  // also where a voxel has none
    }
    double voxels = std::ceil(size / ofVoxel);
    voxels += isEnough(voxels) ? 0.0 : 1.0;
    voxels -= voxels > 0 && isEnough(voxels - 1.0) ? 1.0 : 0.0;
    return voxels < static_cast<double>(most) ? static_cast<std::size_t>(voxels) : most;
}

}  // namespace rix::algorithms
