#pragma once

#include <array>
#include <cstddef>

#include <rix/image/ImageModel.h>

namespace rix::helper {

/// Where the voxels of an image lie along its own axes, in the unit of its spacings; an image whose spacings are all 0
/// has voxels of the extent 1.
class AxisPlaces {
public:
    explicit AxisPlaces(const ImageModel& image) {
        bool isPlaced = false;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            m_spacing[axis] = image.getSpacingOf(static_cast<Components>(axis));
            m_origin[axis] = image.getOriginOf(static_cast<Components>(axis));
            isPlaced = isPlaced || m_spacing[axis] != 0.0;
        }
        if (!isPlaced) {
            m_spacing = {1.0, 1.0, 1.0};
        }
    }
    double operator()(std::size_t axis, double index) const { return m_origin[axis] + m_spacing[axis] * index; }

private:
    std::array<double, 3> m_spacing{};
    std::array<double, 3> m_origin{};
};

}  // namespace rix::helper
