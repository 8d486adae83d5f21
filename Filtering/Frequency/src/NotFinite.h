#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/Scratch.h>

#include "TileTransform.h"

namespace rix::filtering::frequency {

/// The voxels of a tile that are not finite: one NaN would spread over all of its spectrum.
class NotFinite {
public:
    explicit NotFinite(const TileExtents& tile) : m_tile(tile) {}

    /// Replaces what is not finite in a row by 0 and remembers it.
    /// @param offset of the row in the tile
    template <class Real>
    void takeOut(Real* row, std::size_t offset, std::size_t count);

    bool any() const { return m_marks.data() != nullptr; }
    /// Marks the results that see such voxels, if there are any, at the first voxel of their windows.
    void spread(const TileExtents& window);
    /// Whether the result is to be NaN.
    bool operator[](std::size_t sample) const { return m_marks.data()[sample] != 0; }

private:
    TileExtents m_tile;
    access::Scratch m_marks;  ///< one a sample, when there is a voxel to mark
};

}  // namespace rix::filtering::frequency
