#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <vessel/Axis.h>
#include <vessel/ElementType.h>
#include <vessel/Export.h>
#include <vessel/PropertyTree.h>
#include <vessel/SpatialDirections.h>

namespace vessel {

/// What an image can do; asked with `ImageView::has`.
enum class Capability : std::uint32_t {
    IN_MEMORY,  ///< the samples are in the memory of the process
    ON_DISK,    ///< the samples are in a file and are fetched on access
    WRITABLE    ///< samples may be written
};

/// A box of elements, one interval an axis, in the order of the image's axes. Entries beyond its axes are ignored.
struct Region {
    std::array<std::size_t, maximumAxes> first{};
    std::array<std::size_t, maximumAxes> extent{};
};

/// An image as it enters and leaves a library: a dense array of elements over named axes, with its calibration and a
/// tree of metadata.
///
/// Axes are listed from the fastest to the slowest in storage order; each name occurs at most once, in any order.
/// Axes and element type are fixed for the life of the view.
///
/// Access to samples reports failure by a false result (a region outside the image, a medium that fails, an image that
/// is not writable) and never throws: a region is what an inner loop asks for. Concurrent reads are safe, concurrent
/// writes are safe on disjoint regions; metadata and calibration exclude every other access.
class VESSEL_EXPORT ImageView {
public:
    virtual ~ImageView();

    virtual const std::vector<Axis>& getAxes() const = 0;
    virtual ElementType getElementType() const = 0;
    virtual bool has(Capability capability) const = 0;

    /// Copies a region into `buffer`, dense and in the order of the axes. A region with an extent of 0 copies nothing
    /// and succeeds inside the image.
    [[nodiscard]] virtual bool readRegion(const Region& region, std::byte* buffer) const = 0;
    /// The reverse copy.
    [[nodiscard]] virtual bool writeRegion(const Region& region, const std::byte* buffer) = 0;

    /// The address of the first element when the whole image is one buffer in storage order, else null. The writable
    /// form is null for an image that is not writable.
    virtual const std::byte* getBuffer() const = 0;
    virtual std::byte* getBuffer() = 0;

    /// Replaces the calibration of an axis; false when there is no such axis or it cannot be changed.
    [[nodiscard]] virtual bool setCalibration(AxisName name, const AxisCalibration& calibration) = 0;
    virtual SpatialDirections getSpatialDirections() const = 0;
    [[nodiscard]] virtual bool setSpatialDirections(const SpatialDirections& directions) = 0;

    PropertyTree& metadata() noexcept { return m_metadata; }
    const PropertyTree& metadata() const noexcept { return m_metadata; }

protected:
    ImageView() = default;
    ImageView(const ImageView&) = default;
    ImageView& operator=(const ImageView&) = default;

    /// True when the region lies inside the axes; positions near the end of the number range do not wrap.
    static bool isInside(const std::vector<Axis>& axes, const Region& region) noexcept;

private:
    PropertyTree m_metadata;
};

}  // namespace vessel
