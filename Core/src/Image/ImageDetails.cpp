#include <rix/image/ImageDetails.h>

namespace rix {

KeepsImageDetails::~KeepsImageDetails() = default;

namespace helper {

std::optional<SpatialFrame> getSpatialFrame(const ImageModel& image) {
    const auto* const keeper = dynamic_cast<const KeepsImageDetails*>(&image);
    return keeper == nullptr ? std::nullopt : keeper->getSpatialFrame();
}

bool setSpatialFrame(ImageModel& image, const std::optional<SpatialFrame>& frame) {
    auto* const keeper = dynamic_cast<KeepsImageDetails*>(&image);
    return keeper == nullptr ? !frame.has_value() : keeper->setSpatialFrame(frame);
}

String labelScopeToString(const LabelScope& scope) {
    return scope == LabelScope::Plane ? "plane" : "volume";
}

LabelScope getLabelScope(const ImageModel& image) {
    if (image.getInterpretation() != RIX_LABEL) {
        return LabelScope::Volume;
    }
    const auto* const keeper = dynamic_cast<const KeepsImageDetails*>(&image);
    return keeper == nullptr ? LabelScope::Volume : keeper->getLabelScope();
}

bool setLabelScope(ImageModel& image, LabelScope scope) {
    if (getLabelScope(image) == scope) {
        return true;
    }
    auto* const keeper = dynamic_cast<KeepsImageDetails*>(&image);
    return image.getInterpretation() == RIX_LABEL && keeper != nullptr && keeper->setLabelScope(scope);
}

bool areLabelsOfPlanes(const ImageModel& image) {
    return image.getNumOf(PLANS) > 1 && getLabelScope(image) == LabelScope::Plane;
}

}  // namespace helper
}  // namespace rix
