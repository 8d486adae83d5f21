#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <optional>

#include <rix/Export.h>
#include <rix/access/Blocks.h>
#include <rix/access/BorderCondition.h>
#include <rix/access/ImageModelProxy.h>
#include <rix/access/Plan.h>
#include <rix/access/Scratch.h>
#include <rix/image/ImageModel.h>

namespace rix::access {

/// Behind the last column within reach, so many bytes of every row of a window may be read, whatever they hold: kernels
/// load whole vectors.
inline constexpr std::size_t readableBytesBehindWindow = 64;

/// The rows that a neighbourhood filter sees around the voxels of one block, as samples of type `T` whatever the image
/// holds, with what lies beyond the image supplied by a border condition.
///
/// Where no border is needed and the storage has the samples in type `T`, rows are the image's own memory; `spansOf`
/// cuts a block so that this holds for all but its ends. Of the others a ring is kept, so that a filter that walks the
/// block row by row and plane by plane has each row read, converted and extended once: the rows of one window where the
/// block has one plane or the filter looks at one only, else all rows of the block in as many planes as a window has.
/// Made by the thread that uses it, once a block; cost a row of a window: one read of the image.
template <class T>
class RIX_EXPORT WindowRows {
public:
    /// The arguments must outlive this.
    /// @param border null where none is needed: nothing beyond the image may be asked for, and the columns within reach
    ///        end at its edges
    /// @throws MemoryError when there is no memory for the rows; then or when rows are asked for
    WindowRows(const ImageModel& image, const BorderCondition<T>* border, const Block& block, const Reach& reach);
    ~WindowRows();
    WindowRows(const WindowRows&) = delete;
    WindowRows& operator=(const WindowRows&) = delete;

    /// The first sample of the block's first column in a row of the block or within reach of one. The columns within
    /// reach lie around it, from the index -before * samples on; samples of an element are adjacent. Valid while rows
    /// of the window of one voxel are asked for, at least until a row is asked for whose distance from this one, or
    /// whose plane's, is that of the reach's sum plus 1.
    /// @throws BadIndex for a row out of reach, or beyond the image without a border; UnexpectedError when the image
    ///         refuses to be read
    const T* row(std::int64_t row, std::int64_t plane);

    /// Samples an element.
    std::size_t samples() const { return m_samples; }

private:
    struct Slot;

    bool isInsideImage(std::int64_t row, std::int64_t plane) const;
    const T* load(std::size_t index, std::int64_t row, std::int64_t plane);

    const ImageModel& m_image;
    const BorderCondition<T>* m_border;
    Block m_block;
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

/// The parts of a block, from left to right, that are worth windows of their own: the ends, whose windows reach beyond
/// the image or so close to its edge that no vector fits, and what lies between, whose rows are the image's own memory.
/// One part where the rows have to be copied anyway or are too short.
struct WindowSpans {
    Block parts[3];
    std::size_t count = 0;
};
/// @param voxelType of the samples that windows show
RIX_EXPORT WindowSpans spansOf(const ImageModel& image, VoxelTypes voxelType, const Block& block, const Reach& reach);

/// The most bytes that the windows of a run hold, for descriptions: rings of rows of all its threads, and a row of
/// results each. @param sampleBytes of a sample of the windows
RIX_EXPORT std::size_t windowMemory(const ImageModel& input, const BoxNeeds& needs, std::size_t sampleBytes,
                                    std::size_t threads);

extern template class WindowRows<std::uint8_t>;
extern template class WindowRows<std::uint16_t>;
extern template class WindowRows<std::uint32_t>;
extern template class WindowRows<std::int8_t>;
extern template class WindowRows<std::int16_t>;
extern template class WindowRows<std::int32_t>;
extern template class WindowRows<float>;
extern template class WindowRows<double>;
extern template class WindowRows<std::complex<float>>;
extern template class WindowRows<std::complex<double>>;

}  // namespace rix::access
