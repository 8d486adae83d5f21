#pragma once

#include <array>
#include <cstddef>

#include <rix/image/ImageModel.h>

namespace rix::python {

/// Everything about an image but its samples.
struct ImageHeader {
    VoxelTypes voxelType = RIX_UINT8;
    std::array<std::size_t, RIX_COMPONENTS_SIZE> extents{1, 1, 1, 1, 1};
    std::array<double, RIX_COMPONENTS_SIZE> spacing{1.0, 1.0, 1.0, 1.0, 1.0};
    std::array<double, RIX_COMPONENTS_SIZE> origin{};
    String spatialUnit;
    String sequenceUnit;
    vessel::SpatialDirections directions;
    Interpretations interpretation = RIX_VALUE;
    ColorInterpretation colorInterpretation = UNKNOWN;
};

/// The header of any image.
ImageHeader headerOf(const ImageModel& image);

/// Memory of somebody else, such as a NumPy array, as an image of scalar elements. Columns lie side by side; all other
/// axes have any stride, also a negative one. The owner keeps the memory alive as long as the image is used.
///
/// The memory can't be reshaped: `reserve` succeeds only for the shape and type that it has. `refusal` then tells what
/// was asked for and what there is. A read-only image refuses everything that would change samples; calibration can be
/// set, as it is kept here.
class ArrayImage : public ImageModel {
public:
    enum class Access { ReadOnly, ReadWrite };

    /// @param strides bytes from an element to the next on each axis
    ArrayImage(void* first, const ImageHeader& header, const std::array<std::ptrdiff_t, RIX_COMPONENTS_SIZE>& strides,
               Access access);

    const ImageHeader& header() const { return m_header; }
    /// Empty unless a `reserve` failed.
    const String& refusal() const { return m_refusal; }
    /// The memory from the lowest to beyond the highest address of a sample.
    std::array<ConstRawData, 2> bounds() const;
    /// True when every element lies at the same address as in the other image.
    bool hasLayoutOf(const ArrayImage& other) const;

    String getImageId() const override;
    std::size_t getNumOf(const Components& component) const override;
    VoxelTypes getVoxelType() const override { return m_header.voxelType; }
    ElementTypes getElementType() const override { return SINGLE; }
    bool setOriginOf(const Components& component, double origin) override;
    double getOriginOf(const Components& component) const override;
    bool setSpacingOf(const Components& component, double spacing) override;
    double getSpacingOf(const Components& component) const override;
    bool setSpatialUnitName(const String& name) override;
    String getSpatialUnitName() const override { return m_header.spatialUnit; }
    bool setSpatialDirections(const vessel::SpatialDirections& directions) override;
    vessel::SpatialDirections getSpatialDirections() const override { return m_header.directions; }
    bool setSequenceUnitName(const String& name) override;
    String getSequenceUnitName() const override { return m_header.sequenceUnit; }
    Interpretations getInterpretation() const override { return m_header.interpretation; }
    bool setInterpretation(const Interpretations& interpretation) override;
    ColorInterpretation getColorInterpretation() const override { return m_header.colorInterpretation; }
    bool setColorInterpretation(ColorInterpretation interpretation) override;
    bool getPreferedSize(std::size_t& columns, std::size_t& rows, std::size_t& planes, std::size_t& sequence,
                         std::size_t& spectral) override;
    bool readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                   std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) const override;
    bool writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols, std::size_t firstRows,
                    std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) override;
    bool getRowAt(std::size_t nbElement, RawData& row, std::size_t firstCols, std::size_t firstRows,
                  std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) const override;
    bool getConstRowAt(std::size_t nbElement, ConstRawData& row, std::size_t firstCols, std::size_t firstRows,
                       std::size_t firstPlans, std::size_t firstSequence,
                       std::size_t firstSpectralSeries) const override;
    bool isOnDisk() const override { return false; }
    bool isOnGpu() const override { return false; }
    bool reserve(const VoxelTypes& voxelType, std::size_t columns, std::size_t rows, std::size_t planes,
                 std::size_t sequence, std::size_t spectral) override;
    bool reserve(const ElementTypes& elementType, const VoxelTypes& voxelType, std::size_t columns, std::size_t rows,
                 std::size_t planes, std::size_t sequence, std::size_t spectral) override;
    ConstRawData getImageBuffer() const override;
    RawData getImageBuffer() override;

private:
    /// The address of an element; null when the run of elements leaves the image.
    RawData address(std::size_t nbElement, std::size_t column, std::size_t row, std::size_t plane, std::size_t frame,
                    std::size_t channel) const;

    RawData m_first;
    ImageHeader m_header;
    std::array<std::ptrdiff_t, RIX_COMPONENTS_SIZE> m_strides;
    std::size_t m_sampleSize;
    bool m_writable;
    bool m_contiguous;
    String m_refusal;
};

}  // namespace rix::python
