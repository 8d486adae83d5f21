#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include <vessel/SpatialDirections.h>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/image/ImageDetails.h>
#include <rix/image/ImageModel.h>

namespace rix {

/// Everything about an image but its samples: a value type. Arrays are indexed by `Components`.
struct ImageHeader {
    std::array<std::size_t, RIX_COMPONENTS_SIZE> extents{};
    VoxelTypes voxelType = RIX_UINT8;
    ElementTypes elementType = SINGLE;
    Interpretations interpretation = RIX_VALUE;
    ColorInterpretation colorInterpretation = UNKNOWN;
    std::array<double, RIX_COMPONENTS_SIZE> spacing{1.0, 1.0, 1.0, 1.0, 1.0};
    std::array<double, RIX_COMPONENTS_SIZE> origin{};
    String spatialUnitName{};
    String sequenceUnitName{};
    vessel::SpatialDirections spatialDirections{};
    std::optional<SpatialFrame> spatialFrame{};
    LabelScope labelScope = LabelScope::Volume;  ///< of labels; of other images it says nothing
};

namespace helper {

/// The header of any image.
RIX_EXPORT ImageHeader headerOf(const ImageModel& image);
/// Reserves an image for a header and gives it calibration and interpretations; false when the image refuses.
[[nodiscard]] RIX_EXPORT bool applyHeader(const ImageHeader& header, ImageModel& image);

}  // namespace helper

/// Base of the images that keep their characteristics in a header, where all but shape and types can be set.
class RIX_EXPORT ImageModelWithHeader : public ImageModel, public KeepsImageDetails {
public:
    ~ImageModelWithHeader() override;

    const ImageHeader& header() const { return m_header; }

    String getImageId() const override;
    std::size_t getNumOf(const Components& component) const override;
    VoxelTypes getVoxelType() const override;
    ElementTypes getElementType() const override;
    bool setOriginOf(const Components& component, double origin) override;
    double getOriginOf(const Components& component) const override;
    bool setSpacingOf(const Components& component, double spacing) override;
    double getSpacingOf(const Components& component) const override;
    bool setSpatialUnitName(const String& name) override;
    String getSpatialUnitName() const override;
    bool setSpatialDirections(const vessel::SpatialDirections& directions) override;
    vessel::SpatialDirections getSpatialDirections() const override;
    bool setSequenceUnitName(const String& name) override;
    String getSequenceUnitName() const override;
    Interpretations getInterpretation() const override;
    bool setInterpretation(const Interpretations& interpretation) override;
    ColorInterpretation getColorInterpretation() const override;
    bool setColorInterpretation(ColorInterpretation interpretation) override;
    bool getPreferedSize(std::size_t& columns, std::size_t& rows, std::size_t& planes, std::size_t& sequence,
                         std::size_t& spectral) override;
    std::optional<SpatialFrame> getSpatialFrame() const override;
    bool setSpatialFrame(const std::optional<SpatialFrame>& frame) override;
    LabelScope getLabelScope() const override;
    bool setLabelScope(LabelScope scope) override;
    bool isOnDisk() const override;
    bool isOnGpu() const override;
    /// The full form for elements of one sample.
    [[nodiscard]] bool reserve(const VoxelTypes& voxelType, std::size_t columns, std::size_t rows, std::size_t planes,
                               std::size_t sequence, std::size_t spectral) override;
    using ImageModel::reserve;

protected:
    explicit ImageModelWithHeader(const ImageHeader& header);

    ImageHeader m_header;
};

/// A header as an image: it can be looked at, reserved and calibrated, and takes no memory for samples. Row access
/// returns false. For asking an operation's rules what they would make of images.
class RIX_EXPORT HeaderImage : public ImageModelWithHeader {
public:
    explicit HeaderImage(const ImageHeader& header = {});
    ~HeaderImage() override;

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
    /// Changes the header; false for types that don't exist and for a size in bytes that does not fit 64 bits.
    [[nodiscard]] bool reserve(const ElementTypes& elementType, const VoxelTypes& voxelType, std::size_t columns,
                               std::size_t rows, std::size_t planes, std::size_t sequence,
                               std::size_t spectral) override;
    using ImageModelWithHeader::reserve;
    /// Null.
    ConstRawData getImageBuffer() const override;
    RawData getImageBuffer() override;
};

}  // namespace rix
