#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include <rix/access/BorderPolicy.h>
#include <rix/image/MemoryImage.h>

#include "ImageFactories.h"

namespace rix::test {

/// The samples of a volume around one of its elements, beyond the edges as a border policy says; written from the
/// definition of the policies.
class Neighbours {
public:
    double operator()(std::int64_t dx, std::int64_t dy, std::int64_t dz = 0) const;

private:
    friend io::MemoryImage windowReference(const ImageModel&, VoxelTypes, access::BorderPolicy, double,
                                           const std::function<double(const Neighbours&)>&);
    std::vector<double> m_samples;
    std::int64_t m_extents[3];
    std::int64_t m_at[3];
    access::BorderPolicy m_policy;
    double m_fixed;
};

/// What a window filter has to give: an image of `outputType` with `function` of the neighbours of each element. Frames
/// and channels are volumes of their own.
/// @param fixed the value beyond the edges with `FIXED`
io::MemoryImage windowReference(const ImageModel& image, VoxelTypes outputType, access::BorderPolicy policy,
                                double fixed, const std::function<double(const Neighbours&)>& function);

}  // namespace rix::test
