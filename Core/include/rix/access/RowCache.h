#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <optional>

#include <rix/Export.h>
#include <rix/access/BorderCondition.h>
#include <rix/access/ImageModelProxy.h>
#include <rix/access/NeighbourhoodBlocks.h>
#include <rix/access/Scratch.h>
#include <rix/image/ImageModel.h>

namespace rix::access {

/// The rows that a neighbourhood filter sees around the voxels of one block, as samples of type `T` whatever the image
/// holds, with what lies beyond the image supplied by a border condition.
///
/// A ring of rows is kept, so that a filter that walks the block row by row and plane by plane has each row read,
/// converted and extended once: the rows of one window where the block has one plane or the filter looks at one only,
/// else all rows of the block in as many planes as a window has. Where no border is needed and the storage has the
/// samples in type `T`, rows are the image's own memory. Made by the thread that uses it, once a block; cost a row of a
/// window: one read of the image.
template <class T>
class RIX_EXPORT RowCache {
public:
    /// The arguments must outlive the cache.
    /// @throws MemoryError when there is no memory for the rows; then or when rows are asked for
    RowCache(const ImageModel& image, const BorderCondition<T>& border, const NeighbourhoodBlock& block,
             const Reach& reach);
    ~RowCache();
    RowCache(const RowCache&) = delete;
    RowCache& operator=(const RowCache&) = delete;

    /// The first sample of the block's first column in a row of the block or within reach of one. The columns within
    /// reach lie around it, from the index -before * samples on; samples of an element are adjacent. Valid while rows
    /// of the window of one voxel are asked for, at least until a row is asked for whose distance from this one, or
    /// whose plane's, is that of the reach's sum plus 1.
    /// @throws BadIndex for a row out of reach; UnexpectedError when the image refuses to be read
    const T* row(std::int64_t row, std::int64_t plane);

    /// Samples an element.
    std::size_t samples() const { return m_samples; }

private:
    struct Slot;

    const T* load(std::size_t index, std::int64_t row, std::int64_t plane);

    const ImageModel& m_image;
    const BorderCondition<T>& m_border;
    NeighbourhoodBlock m_block;
    std::size_t m_samples;
    std::optional<ImageModelProxy> m_converted;  ///< the image as samples of type T, where it has others
    std::int64_t m_firstColumn;                  ///< of the windows
    std::int64_t m_firstRow;
    std::int64_t m_firstPlane;
    std::size_t m_columns;  ///< of the windows
    std::size_t m_rows;     ///< of the windows of the whole block
    std::size_t m_planes;
    std::size_t m_heldRows;
    std::size_t m_heldPlanes;
    std::size_t m_rowBytes = 0;  ///< from row to row of the ring
    Scratch m_slots;
    Scratch m_ring;  ///< had when the first row has to be copied
};

extern template class RowCache<std::uint8_t>;
extern template class RowCache<std::uint16_t>;
extern template class RowCache<std::uint32_t>;
extern template class RowCache<std::int8_t>;
extern template class RowCache<std::int16_t>;
extern template class RowCache<std::int32_t>;
extern template class RowCache<float>;
extern template class RowCache<double>;
extern template class RowCache<std::complex<float>>;
extern template class RowCache<std::complex<double>>;

}  // namespace rix::access
