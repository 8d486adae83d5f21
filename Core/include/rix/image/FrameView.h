#pragma once

#include <cstddef>
#include <optional>

#include <rix/image/ImageModelFull3d.h>

namespace rix {

/// The volume of one frame of one channel of an image, for what is done frame by frame. An image that has no other is
/// taken as it is. The image outlives the view.
class FrameView {
public:
    /// The only frame and channel of an image are taken whatever the indices. @throws as `ImageModelFull3d`
    explicit FrameView(const ImageModel& image, std::size_t frame, std::size_t channel = 0) : m_image(&image) {
        if (image.getNumOf(SEQUENCE) > 1 || image.getNumOf(SPECTRAL_SERIES) > 1) {
            m_view.emplace(&image, frame, channel);
            m_image = &*m_view;
        }
    }
    FrameView(const FrameView&) = delete;
    FrameView& operator=(const FrameView&) = delete;

    const ImageModel& image() const { return *m_image; }

private:
    std::optional<ImageModelFull3d> m_view;
    const ImageModel* m_image;
};

}  // namespace rix
