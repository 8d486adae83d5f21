#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include <rix/image/ImageDetails.h>
#include <rix/image/ImageModel.h>

namespace rix {

/// A box of another image, presented as an image of its own. Characteristics are those of the real image: reading and
/// setting them reaches through. A view can't be reshaped and is not one contiguous buffer by itself.
///
/// A view does not own the real image and must not outlive it. Origins are those of the real image, too: a view does
/// not shift them by its first element.
class RIX_EXPORT ImageModelSizeProxyBase : public ImageModel, public KeepsImageDetails {
public:
    ~ImageModelSizeProxyBase() override;

    String getImageId() const override;
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

    /// False: a view can't be reshaped. Nothing happens.
    [[nodiscard]] bool reserve(const VoxelTypes& voxelType, std::size_t columns, std::size_t rows, std::size_t planes,
                               std::size_t sequence, std::size_t spectral) override;
    [[nodiscard]] bool reserve(const ElementTypes& elementType, const VoxelTypes& voxelType, std::size_t columns,
                               std::size_t rows, std::size_t planes, std::size_t sequence,
                               std::size_t spectral) override;
    /// Null.
    ConstRawData getImageBuffer() const override;
    RawData getImageBuffer() override;

    /// The position in the real image of the view's element (0, 0, 0, 0, 0).
    virtual std::vector<std::size_t> firstElement() const = 0;

    ImageModel* realImage();
    const ImageModel* realImageReadOnly() const;

protected:
    explicit ImageModelSizeProxyBase(ImageModel* real);
    /// For reading; writing through the view is then the caller's fault.
    explicit ImageModelSizeProxyBase(const ImageModel* real);

    ImageModel* m_realImage;
};

}  // namespace rix
