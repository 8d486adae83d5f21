#pragma once

#include <optional>

#include <rix/Export.h>
#include <rix/image/ImageModel.h>
#include <rix/image/LabelScope.h>
#include <rix/image/SpatialFrame.h>

namespace rix {

/// What images are, beside `ImageModel`, that have a place for what only some images need. Views reach through to the
/// real image. Ask and set through the functions below, which take any image.
class RIX_EXPORT KeepsImageDetails {
public:
    virtual ~KeepsImageDetails();

    /// None of an image that is no spectrum. It belongs to the calibration: who copies this copies it, too.
    virtual std::optional<SpatialFrame> getSpatialFrame() const = 0;
    /// False when the image can't be changed.
    virtual bool setSpatialFrame(const std::optional<SpatialFrame>& frame) = 0;
    /// It belongs to the interpretation: an image that gets another one than `RIX_LABEL` loses it.
    virtual LabelScope getLabelScope() const = 0;
    /// False when the image can't be changed.
    virtual bool setLabelScope(LabelScope scope) = 0;

protected:
    KeepsImageDetails() = default;
    KeepsImageDetails(const KeepsImageDetails&) = default;
    KeepsImageDetails& operator=(const KeepsImageDetails&) = default;
};

namespace helper {

/// None also of an image without a place for it.
RIX_EXPORT std::optional<SpatialFrame> getSpatialFrame(const ImageModel& image);
/// False when there is no place for a frame in the image, or it can't be changed. An image without a place takes none.
RIX_EXPORT bool setSpatialFrame(ImageModel& image, const std::optional<SpatialFrame>& frame);

/// `LabelScope::Volume` also of an image without a place for it, or that holds no labels.
RIX_EXPORT LabelScope getLabelScope(const ImageModel& image);
/// False when the image holds no labels, has no place for it, or can't be changed. Every image takes `Volume`.
RIX_EXPORT bool setLabelScope(ImageModel& image, LabelScope scope);

/// Whether an image has several planes whose labels have nothing to do with each other, so that the voxels of a label
/// in different planes are no body.
RIX_EXPORT bool areLabelsOfPlanes(const ImageModel& image);

}  // namespace helper
}  // namespace rix
