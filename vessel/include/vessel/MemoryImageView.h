#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include <vessel/Export.h>
#include <vessel/ImageView.h>

namespace vessel {

struct MemoryImageViewPrivate;

/// An image whose samples are one buffer in memory, its own or one that it shares with somebody else.
class VESSEL_EXPORT MemoryImageView : public ImageView {
public:
    /// An image of its own, filled with 0.
    /// @throws std::invalid_argument when a name occurs twice; std::length_error when the size in bytes does not fit 64
    ///         bits; std::bad_alloc
    MemoryImageView(ElementType type, std::vector<Axis> axes);

    /// An image over a buffer that lies elsewhere; it stays alive as long as the image does.
    /// @param buffer at least as many bytes as the image has, in the order of the axes
    /// @throws as above; std::invalid_argument also for a null buffer of an image that is not empty
    MemoryImageView(ElementType type, std::vector<Axis> axes, std::shared_ptr<std::byte> buffer);

    ~MemoryImageView() override;
    MemoryImageView(const MemoryImageView&) = delete;
    MemoryImageView& operator=(const MemoryImageView&) = delete;

    const std::vector<Axis>& getAxes() const override;
    ElementType getElementType() const override;
    bool has(Capability capability) const override;
    [[nodiscard]] bool readRegion(const Region& region, std::byte* buffer) const override;
    [[nodiscard]] bool writeRegion(const Region& region, const std::byte* buffer) override;
    const std::byte* getBuffer() const override;
    std::byte* getBuffer() override;
    [[nodiscard]] bool setCalibration(AxisName name, const AxisCalibration& calibration) override;
    SpatialDirections getSpatialDirections() const override;
    [[nodiscard]] bool setSpatialDirections(const SpatialDirections& directions) override;

private:
    std::unique_ptr<MemoryImageViewPrivate> m_private;
};

}  // namespace vessel
