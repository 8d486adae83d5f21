#pragma once

#include <cstddef>
#include <optional>

#include <rix/image/ImageModelFull3d.h>

namespace rix::analysis {

/// The volume of one frame of the first channel of an image. An image that has no other is taken as it is, because one
/// contiguous buffer is read faster than a view.
class FrameView {
public:
    FrameView(const ImageModel& image, std::size_t frame) : m_image(&image) {
        if (image.getNumOf(SEQUENCE) > 1 || image.getNumOf(SPECTRAL_SERIES) > 1) {
            m_view.emplace(&image, frame, std::size_t{0});
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

}  // namespace rix::analysis
