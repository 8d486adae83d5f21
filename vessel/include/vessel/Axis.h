#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <vessel/Export.h>

namespace vessel {

/// The name of an axis. The first three are spatial.
enum class AxisName : std::int32_t { COLUMN, ROW, SLICE, TIME, CHANNEL };

/// The most axes that an image can have: each name once.
inline constexpr std::size_t maximumAxes = 5;

/// Where the elements of an axis lie in the world.
struct AxisCalibration {
    double origin = 0.0;   ///< position of the first element, in `unit`
    double spacing = 1.0;  ///< distance between neighbours, in `unit`
    std::string unit;      ///< empty when unknown

    bool operator==(const AxisCalibration&) const = default;
};

struct Axis {
    AxisName name = AxisName::COLUMN;
    std::size_t extent = 0;
    AxisCalibration calibration;

    bool operator==(const Axis&) const = default;
};

/// The place of `name` in `axes`, or nothing when there is no such axis.
VESSEL_EXPORT std::optional<std::size_t> findAxis(const std::vector<Axis>& axes, AxisName name) noexcept;

/// Number of elements over all axes, 1 without axes and 0 with an empty axis; nothing when it does not fit 64 bits.
VESSEL_EXPORT std::optional<std::size_t> countElements(const std::vector<Axis>& axes) noexcept;

}  // namespace vessel
