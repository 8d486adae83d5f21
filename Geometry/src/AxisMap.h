#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/image/ImageHeader.h>
#include <rix/image/ImageModel.h>

namespace rix::geometry {

/// What an output reads beyond the ends of an axis of the input.
enum class Beyond : std::uint8_t {
    Nothing,   ///< it reads nothing there
    Mirror,    ///< the axis reflected, its end element repeated
    Continue,  ///< the end element
    Value,     ///< one value
    Again      ///< the axis again, from its other end
};

/// Where the elements of one axis of an output come from: element i from element first + i of an axis of the input, or
/// first - i. All that is done to images here without interpolation is five of these.
struct AxisMap {
    Components source = COLUMNS;  ///< the axis of the input
    std::int64_t first = 0;       ///< the index there of the output's first element, which may lie beyond the input
    bool reversed = false;        ///< only where nothing beyond the input is read
    std::size_t extent = 0;       ///< of the output
    Beyond beyond = Beyond::Nothing;
};
using AxisMaps = std::array<AxisMap, RIX_COMPONENTS_SIZE>;

/// An output that is its input.
AxisMaps identityMaps(const ImageModel& input);

/// Whether an axis of that extent stays as it is.
bool isIdentity(const AxisMap& map, std::size_t axis, std::size_t extent);

/// Reverses an axis.
void reverse(AxisMap& map);

/// Some elements of an axis of the output that read evenly.
struct EvenRun {
    std::size_t count;
    std::int64_t source;  ///< what the first reads; none where the value is read
    int step;             ///< 1, -1, or 0 where all read the same
    static constexpr std::int64_t none = -1;
};

/// The elements of the output from `index` on that read evenly.
/// @param index below the extent of the map
/// @param extent of the source axis, not 0
EvenRun evenRunAt(const AxisMap& map, std::size_t index, std::size_t extent);

/// The output's header. Every element that comes from the input is where it was in the world: extents, origins,
/// spacings and directions follow the maps.
///
/// An axis that comes into space from time or spectrum takes the direction of the axis that went the other way, its
/// spacing and its origin, as a coordinate along that direction; that one takes its coordinate with it as origin.
/// Spacings of an image without any become 1. The colour interpretation stays with all channels in their order, the
/// memory of where a spectrum lay with a grid that does not change, and the scope of labels with planes that stay
/// planes.
ImageHeader mappedHeader(const ImageModel& input, const AxisMaps& maps);

}  // namespace rix::geometry
