#pragma once

#include <concepts>
#include <cstddef>
#include <memory>
#include <optional>
#include <type_traits>

#include <vessel/ImageView.h>

#include <rix/image/ImageDetails.h>
#include <rix/image/ImageModel.h>

namespace rix {

struct ImageModelFromViewPrivate;

/// An image view as an image: what algorithms need to work on images of the container library.
///
/// Axes that the view lacks have extent 1; their calibration is kept here, as the view has no place for it. Rows are
/// reached in place where the view is one buffer and columns lie side by side in it; else, as with channels that vary
/// fastest, they are copied. The spatial unit is that of the view's first spatial axis and is set on all of them. The
/// interpretations live in the view's metadata ("interpretation", "color_interpretation", with the texts of the
/// enumerations), as does the frame of a spectrum ("spatial_frame"); a missing entry reads as `RIX_VALUE`, `UNKNOWN`
/// and no frame.
///
/// A view can't be reshaped: `reserve` succeeds only for the shape and types that it has, and leaves the samples alone.
/// An image over a const view is read-only: everything that would change it returns false.
class RIX_EXPORT ImageModelFromView : public ImageModel, public KeepsImageDetails {
public:
    /// The view stays alive as long as the image does.
    /// @throws InvalidCall for a null view, for a type that images do not have (64-bit integers) and for a size in
    ///         bytes that does not fit 64 bits
    template <class View>
        requires std::derived_from<std::remove_const_t<View>, vessel::ImageView>
    explicit ImageModelFromView(const std::shared_ptr<View>& view)
        : ImageModelFromView(view, mutableView(view.get())) {}
    ~ImageModelFromView() override;
    ImageModelFromView(const ImageModelFromView&) = delete;
    ImageModelFromView& operator=(const ImageModelFromView&) = delete;

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
    std::optional<SpatialFrame> getSpatialFrame() const override;
    bool setSpatialFrame(const std::optional<SpatialFrame>& frame) override;
    LabelScope getLabelScope() const override;
    bool setLabelScope(LabelScope scope) override;
    bool isOnDisk() const override;
    bool isOnGpu() const override;

    [[nodiscard]] bool reserve(const VoxelTypes& voxelType, std::size_t columns, std::size_t rows, std::size_t planes,
                               std::size_t sequence, std::size_t spectral) override;
    [[nodiscard]] bool reserve(const ElementTypes& elementType, const VoxelTypes& voxelType, std::size_t columns,
                               std::size_t rows, std::size_t planes, std::size_t sequence,
                               std::size_t spectral) override;
    ConstRawData getImageBuffer() const override;
    RawData getImageBuffer() override;

private:
    ImageModelFromView(std::shared_ptr<const vessel::ImageView> view, vessel::ImageView* writable);

    static vessel::ImageView* mutableView(vessel::ImageView* view) { return view; }
    static vessel::ImageView* mutableView(const vessel::ImageView*) { return nullptr; }

    std::unique_ptr<ImageModelFromViewPrivate> m_private;
};

}  // namespace rix
