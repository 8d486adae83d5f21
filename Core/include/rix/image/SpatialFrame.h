#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include <rix/Export.h>
#include <rix/image/ImageModel.h>

namespace rix {

/// Where the samples of a spectrum lay before the transform: what its frequencies don't tell and the inverse needs.
struct SpatialFrame {
    std::size_t columns = 0;         ///< before the half that the others determine was left out
    std::array<double, 3> origin{};  ///< of columns, rows and planes
    std::array<double, 3> spacing{};

    bool operator==(const SpatialFrame& other) const = default;
};

/// What images are, beside `ImageModel`, that have a place for it. It belongs to the calibration: who copies this
/// copies it, too. Views reach through to the real image.
class RIX_EXPORT KeepsSpatialFrame {
public:
    virtual ~KeepsSpatialFrame();

    /// None of an image that is no spectrum.
    virtual std::optional<SpatialFrame> getSpatialFrame() const = 0;
    /// False when the image can't be changed.
    virtual bool setSpatialFrame(const std::optional<SpatialFrame>& frame) = 0;

protected:
    KeepsSpatialFrame() = default;
    KeepsSpatialFrame(const KeepsSpatialFrame&) = default;
    KeepsSpatialFrame& operator=(const KeepsSpatialFrame&) = default;
};

namespace helper {

/// None also of an image without a place for it.
RIX_EXPORT std::optional<SpatialFrame> getSpatialFrame(const ImageModel& image);
/// False when there is no place for a frame in the image, or it can't be changed. An image without a place takes none.
RIX_EXPORT bool setSpatialFrame(ImageModel& image, const std::optional<SpatialFrame>& frame);

}  // namespace helper
}  // namespace rix
