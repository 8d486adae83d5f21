#pragma once

#include <concepts>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <vector>

#include <vessel/ImageView.h>

#include <rix/Export.h>
#include <rix/image/ImageModel.h>

namespace rix {

struct ImageViewFromModelPrivate;

/// An image as an image view over all five axes: the form in which results are handed to code that knows only the
/// container library.
///
/// Samples are those of the image, without a copy. Axes with their calibration are taken when the view is made; a
/// change through the view reaches the image. When the image is reshaped or retyped later, every access to samples
/// through the view fails. The interpretations and the frame of a spectrum are put into the metadata, under the keys
/// that `ImageModelFromView` reads; `applyMetadata` takes them back.
///
/// A view of a const image is read-only.
class RIX_EXPORT ImageViewFromModel : public vessel::ImageView {
public:
    /// The image must outlive the view. @throws InvalidCall for a null image or one of an undefined type
    explicit ImageViewFromModel(ImageModel* model);
    explicit ImageViewFromModel(const ImageModel* model);
    /// The image stays alive as long as the view does. @throws as above
    template <class Model>
        requires std::derived_from<std::remove_const_t<Model>, ImageModel>
    explicit ImageViewFromModel(const std::shared_ptr<Model>& model)
        : ImageViewFromModel(model, mutableModel(model.get())) {}
    ~ImageViewFromModel() override;
    ImageViewFromModel(const ImageViewFromModel&) = delete;
    ImageViewFromModel& operator=(const ImageViewFromModel&) = delete;

    const std::vector<vessel::Axis>& getAxes() const override;
    vessel::ElementType getElementType() const override;
    bool has(vessel::Capability capability) const override;
    [[nodiscard]] bool readRegion(const vessel::Region& region, std::byte* buffer) const override;
    [[nodiscard]] bool writeRegion(const vessel::Region& region, const std::byte* buffer) override;
    const std::byte* getBuffer() const override;
    std::byte* getBuffer() override;
    /// An image has one unit for its three spatial axes and none for its channels: the unit of one spatial axis becomes
    /// that of all, a unit for the channels is refused.
    [[nodiscard]] bool setCalibration(vessel::AxisName name, const vessel::AxisCalibration& calibration) override;
    vessel::SpatialDirections getSpatialDirections() const override;
    [[nodiscard]] bool setSpatialDirections(const vessel::SpatialDirections& directions) override;

    /// Sets the interpretations and the frame of the image from the metadata of the view; false when the image refuses.
    [[nodiscard]] bool applyMetadata();

private:
    ImageViewFromModel(std::shared_ptr<const ImageModel> model, ImageModel* writable);

    static ImageModel* mutableModel(ImageModel* model) { return model; }
    static ImageModel* mutableModel(const ImageModel*) { return nullptr; }

    std::unique_ptr<ImageViewFromModelPrivate> m_private;
};

}  // namespace rix
