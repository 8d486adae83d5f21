#include "WindowReference.h"

#include <algorithm>

#include "ImageSamples.h"

namespace rix::test {

double Neighbours::operator()(std::int64_t dx, std::int64_t dy, std::int64_t dz) const {
    std::int64_t index = 0;
    const std::int64_t offsets[] = {dx, dy, dz};
    for (int axis = 2; axis >= 0; --axis) {
        const std::int64_t extent = m_extents[axis];
        std::int64_t i = m_at[axis] + offsets[axis];
        if (i < 0 || i >= extent) {
            switch (m_policy) {
                case access::BorderPolicy::FIXED: return m_fixed;
                case access::BorderPolicy::CONTINUE: i = std::clamp<std::int64_t>(i, 0, extent - 1); break;
                case access::BorderPolicy::MIRROR:
                    i = (i % (2 * extent) + 2 * extent) % (2 * extent);
                    i = i < extent ? i : 2 * extent - 1 - i;
                    break;
            }
        }
        index = index * extent + i;
    }
    return m_samples[static_cast<std::size_t>(index)];
}

io::MemoryImage windowReference(const ImageModel& image, VoxelTypes outputType, access::BorderPolicy policy,
                                double fixed, const std::function<double(const Neighbours&)>& function) {
    const Extents n = helper::getExtents(image);
    Neighbours neighbours;
    neighbours.m_policy = policy;
    neighbours.m_fixed = fixed;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        neighbours.m_extents[axis] = static_cast<std::int64_t>(n[axis]);
    }
    return makeImage({.voxelType = outputType, .extents = n},
                     [&](std::size_t x, std::size_t y, std::size_t z, std::size_t t, std::size_t s) {
                         if (x == 0 && y == 0 && z == 0) {
                             neighbours.m_samples = volumeOf<double>(image, t, s);
                         }
                         neighbours.m_at[0] = static_cast<std::int64_t>(x);
                         neighbours.m_at[1] = static_cast<std::int64_t>(y);
                         neighbours.m_at[2] = static_cast<std::int64_t>(z);
                         return function(neighbours);
                     });
}

}  // namespace rix::test
