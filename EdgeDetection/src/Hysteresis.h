#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/access/ExecutionContext.h>
#include <rix/access/Scratch.h>

#include "CannyKernels.h"

namespace rix::edge_detection {

/// The classes of all voxels, an image after the other, each with a margin of `NoEdge` around it: planes have rows of
/// their own above and below, volumes planes as well.
class EdgeClasses {
public:
    /// @param axes of one image, 2 or 3
    EdgeClasses(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, std::size_t axes);
    static std::size_t bytes(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, std::size_t axes);

    /// The first voxel of a row. @param image its number
    std::uint8_t* row(std::size_t image, std::size_t row, std::size_t plane) const;
    std::size_t images() const { return m_images; }
    /// Which image a place belongs to, and the plane in it.
    std::array<std::size_t, 2> imageOf(std::size_t plane, std::size_t sequence, std::size_t spectral) const;

    /// Makes weak edges that are connected with a strong one (across corners as well) `ReachedEdge` and more, and
    /// leaves the others: in no memory but that of the classes, at a cost that grows with the edges.
    void connect(access::ExecutionContext& context);

private:
    void connectImage(std::size_t image) const;

    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_extents;
    std::size_t m_axes;
    std::size_t m_images;
    std::size_t m_rowStride;
    std::size_t m_planeStride;
    std::size_t m_imageStride;
    access::Scratch m_memory;
};

}  // namespace rix::edge_detection
