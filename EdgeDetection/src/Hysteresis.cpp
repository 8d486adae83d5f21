#include "Hysteresis.h"

#include <cstring>
#include <vector>

#include <rix/access/Looks.h>
#include <rix/access/Run.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageModel.h>

namespace rix::edge_detection {

namespace {

/// The strides of an image of classes, as bytes.
struct Strides {
    std::size_t row = 0;
    std::size_t plane = 0;
    std::size_t image = 0;
    std::size_t images = 0;
    std::size_t all = 0;
};

Strides stridesOf(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, std::size_t axes) {
    const auto times = [](std::size_t a, std::size_t b) {
        std::size_t product = 0;
        if (!helper::checkedMultiply(a, b, product)) {
            throw MemoryError("The classes of the voxels do not fit 64 bits.");
        }
        return product;
    };
    Strides strides;
    strides.row = extents[COLUMNS] + 2;
    strides.plane = times(strides.row, extents[ROWS] + 2);
    strides.image = axes == 3 ? times(strides.plane, extents[PLANS] + 2) : strides.plane;
    strides.images = times(times(extents[SEQUENCE], extents[SPECTRAL_SERIES]), axes == 3 ? 1 : extents[PLANS]);
    strides.all = times(strides.image, strides.images);
    return strides;
}

}  // namespace

EdgeClasses::EdgeClasses(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, std::size_t axes)
    : m_extents(extents), m_axes(axes) {
    const Strides strides = stridesOf(extents, axes);
    m_images = strides.images;
    m_rowStride = strides.row;
    m_planeStride = strides.plane;
    m_imageStride = strides.image;
    m_memory = access::Scratch(strides.all);
    constexpr std::size_t piece = std::size_t{1} << 24;
    for (std::size_t begin = 0; begin < strides.all; begin += piece) {
        access::throwIfRunCancelled();
        std::memset(m_memory.data() + begin, NoEdge, std::min(piece, strides.all - begin));
    }
}

std::size_t EdgeClasses::bytes(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, std::size_t axes) {
    return access::Scratch::held(stridesOf(extents, axes).all);
}

std::uint8_t* EdgeClasses::row(std::size_t image, std::size_t row, std::size_t plane) const {
    return m_memory.data() + image * m_imageStride + (m_axes == 3 ? plane + 1 : 0) * m_planeStride +
           (row + 1) * m_rowStride + 1;
}

std::array<std::size_t, 2> EdgeClasses::imageOf(std::size_t plane, std::size_t sequence, std::size_t spectral) const {
    const std::size_t volume = spectral * m_extents[SEQUENCE] + sequence;
    return m_axes == 3 ? std::array{volume, plane} : std::array{volume * m_extents[PLANS] + plane, std::size_t{0}};
}

void EdgeClasses::connect(access::ExecutionContext& context) {
    const double nanoseconds = static_cast<double>(m_imageStride);
    access::forEachPart(context, m_images, nanoseconds, [&](std::size_t image) { connectImage(image); });
}

void EdgeClasses::connectImage(std::size_t image) const {
    std::vector<std::ptrdiff_t> neighbours;
    for (std::ptrdiff_t z = m_axes == 3 ? -1 : 0; z <= (m_axes == 3 ? 1 : 0); ++z) {
        for (std::ptrdiff_t y = -1; y <= 1; ++y) {
            for (std::ptrdiff_t x = -1; x <= 1; ++x) {
                if (x != 0 || y != 0 || z != 0) {
                    neighbours.push_back(z * static_cast<std::ptrdiff_t>(m_planeStride) +
                                         y * static_cast<std::ptrdiff_t>(m_rowStride) + x);
                }
            }
        }
    }
    std::uint8_t* const classes = m_memory.data() + image * m_imageStride;
    access::Looks looks;
    // A walk in depth: a voxel that is reached keeps the direction to it, by which the walk goes back.
    const auto walkFrom = [&](std::uint8_t* const root) {
        std::uint8_t* at = root;
        std::size_t next = 0;
        for (;;) {
            looks.add(1);
            while (next < neighbours.size() && at[neighbours[next]] != WeakEdge) {
                ++next;
            }
            if (next < neighbours.size()) {
                at += neighbours[next];
                *at = static_cast<std::uint8_t>(ReachedEdge + next);
                next = 0;
            } else if (at == root) {
                return;
            } else {
                const std::size_t came = *at - static_cast<std::size_t>(ReachedEdge);
                at -= neighbours[came];
                next = came + 1;
            }
        }
    };
    constexpr std::uint64_t strong = 0x0202020202020202U;
    std::size_t i = 0;
    for (; i + sizeof(std::uint64_t) <= m_imageStride; i += sizeof(std::uint64_t)) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, classes + i, sizeof(eight));
        if ((eight & strong) != 0) {
            for (std::size_t k = i; k < i + sizeof(eight); ++k) {
                if (classes[k] == StrongEdge) {
                    walkFrom(classes + k);
                }
            }
        }
        if (i % 4096 == 0) {
            looks.add(1 << 6);
        }
    }
    for (; i < m_imageStride; ++i) {
        if (classes[i] == StrongEdge) {
            walkFrom(classes + i);
        }
    }
}

}  // namespace rix::edge_detection
