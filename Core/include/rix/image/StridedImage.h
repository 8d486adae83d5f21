#pragma once

#include <array>
#include <cstddef>

#include <rix/Export.h>
#include <rix/image/ImageHeader.h>

namespace rix {

/// Memory of somebody else as an image: a buffer of an application, a frame of a camera, an array of another library.
/// Elements of a row lie side by side; rows, planes, frames and channels have any distance, also a negative one. The
/// owner keeps the memory alive as long as the image is used.
///
/// The memory can't be reshaped: `reserve` succeeds only for the shape and types that it has. Calibration and
/// interpretations are kept in the image and can be set, also when it is read-only.
///
///     ImageHeader header{.extents = {640, 480, 1, 1, 1}, .voxelType = RIX_UINT16};
///     StridedImage image(pixels, header, {2, bytesPerLine, 0, 0, 0});
class RIX_EXPORT StridedImage : public ImageModelWithHeader {
public:
    /// Bytes from an element to the next on each axis. Where an axis has one element or none, any value will do.
    using Pitches = std::array<std::ptrdiff_t, RIX_COMPONENTS_SIZE>;

    /// @param first the element at position 0 on all axes, which is not the lowest address where a pitch is negative
    /// @throws InvalidCall for types that don't exist, for null, when the elements of a row are not side by side, when
    ///         the memory does not fit the address space, and, of a writable image, when elements may overlap: on each
    ///         axis an element has to lie beyond what the axes of smaller pitches span
    StridedImage(void* first, const ImageHeader& header, const Pitches& pitches);
    /// For reading only. Elements may overlap: a pitch of 0 shows the same plane at each position.
    StridedImage(const void* first, const ImageHeader& header, const Pitches& pitches);
    /// Without gaps, in storage order.
    StridedImage(void* first, const ImageHeader& header);
    StridedImage(const void* first, const ImageHeader& header);
    ~StridedImage() override;

    bool isWritable() const { return m_writable; }

    [[nodiscard]] bool readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                                 std::size_t firstPlans, std::size_t firstSequence,
                                 std::size_t firstSpectralSeries) const override;
    [[nodiscard]] bool writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols,
                                  std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                  std::size_t firstSpectralSeries) override;
    [[nodiscard]] bool getRowAt(std::size_t nbElement, RawData& row, std::size_t firstCols, std::size_t firstRows,
                                std::size_t firstPlans, std::size_t firstSequence,
                                std::size_t firstSpectralSeries) const override;
    [[nodiscard]] bool getConstRowAt(std::size_t nbElement, ConstRawData& row, std::size_t firstCols,
                                     std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                     std::size_t firstSpectralSeries) const override;
    /// True for the shape and types that the memory has; nothing happens.
    [[nodiscard]] bool reserve(const ElementTypes& elementType, const VoxelTypes& voxelType, std::size_t columns,
                               std::size_t rows, std::size_t planes, std::size_t sequence,
                               std::size_t spectral) override;
    using ImageModelWithHeader::reserve;
    ConstRawData getImageBuffer() const override;
    RawData getImageBuffer() override;

private:
    StridedImage(RawData first, const ImageHeader& header, const Pitches& pitches, bool writable);
    void checkPitches() const;
    /// The address of an element; null when the run of elements leaves the image.
    RawData address(std::size_t nbElement, const std::array<std::size_t, RIX_COMPONENTS_SIZE>& position) const;

    RawData m_first;
    Pitches m_pitches;
    std::size_t m_elementSize;
    bool m_writable;
    bool m_contiguous;
};

}  // namespace rix
