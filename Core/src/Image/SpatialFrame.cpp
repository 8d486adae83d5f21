#include <rix/image/SpatialFrame.h>

namespace rix {

KeepsSpatialFrame::~KeepsSpatialFrame() = default;

namespace helper {

std::optional<SpatialFrame> getSpatialFrame(const ImageModel& image) {
    const auto* const keeper = dynamic_cast<const KeepsSpatialFrame*>(&image);
    return keeper == nullptr ? std::nullopt : keeper->getSpatialFrame();
}

bool setSpatialFrame(ImageModel& image, const std::optional<SpatialFrame>& frame) {
    auto* const keeper = dynamic_cast<KeepsSpatialFrame*>(&image);
    return keeper == nullptr ? !frame.has_value() : keeper->setSpatialFrame(frame);
}

}  // namespace helper
}  // namespace rix
