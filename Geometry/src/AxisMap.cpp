#include "AxisMap.h"

#include <algorithm>

#include "World.h"

namespace rix::geometry {

namespace {

using Vector = vessel::Vector3d;

constexpr bool isSpatial(std::size_t axis) {
    return axis <= PLANS;
}

double dot(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// a += factor * b
void addTo(Vector& a, double factor, const Vector& b) {
    for (std::size_t i = 0; i < a.size(); ++i) {
        a[i] += factor * b[i];
    }
}

std::array<Vector, 3> directionsOf(const vessel::SpatialDirections& directions) {
    return {directions.columnDirection, directions.rowDirection, directions.sliceDirection};
}

/// The axis of the output that comes from an axis of the input.
std::size_t destinationOf(const AxisMaps& maps, std::size_t source) {
    const auto found = std::find_if(maps.begin(), maps.end(), [source](const AxisMap& map) {
        return static_cast<std::size_t>(map.source) == source;
    });
    return static_cast<std::size_t>(found - maps.begin());
}

/// The axis of the output in space whose elements come from time or spectrum, for an axis of the input that goes there.
/// Of several the one at the end of the exchange that begins with the axis, so that the inverse order pairs the same.
std::size_t successorOf(const AxisMaps& maps, std::size_t leaving) {
    std::size_t axis = destinationOf(maps, leaving);
    while (!isSpatial(axis)) {
        axis = destinationOf(maps, axis);
    }
    return axis;
}

std::int64_t floorModulo(std::int64_t a, std::int64_t b) {
    const std::int64_t rest = a % b;
    return rest < 0 ? rest + b : rest;
}

}  // namespace

AxisMaps identityMaps(const ImageModel& input) {
    AxisMaps maps;
    for (std::size_t axis = 0; axis < maps.size(); ++axis) {
        maps[axis].source = static_cast<Components>(axis);
        maps[axis].extent = input.getNumOf(maps[axis].source);
    }
    return maps;
}

bool isIdentity(const AxisMap& map, std::size_t axis, std::size_t extent) {
    return static_cast<std::size_t>(map.source) == axis && map.first == 0 && !map.reversed && map.extent == extent;
}

void reverse(AxisMap& map) {
    const auto last = static_cast<std::int64_t>(map.extent) - 1;
    map.first = map.reversed ? map.first - last : map.first + last;
    map.reversed = !map.reversed;
}

EvenRun evenRunAt(const AxisMap& map, std::size_t index, std::size_t extent) {
    const std::size_t left = map.extent - index;
    const auto n = static_cast<std::int64_t>(extent);
    const auto at = static_cast<std::int64_t>(index);
    const auto atMost = [left](std::int64_t count) { return std::min(static_cast<std::size_t>(count), left); };
    const std::int64_t place = map.reversed ? map.first - at : map.first + at;
    if (map.beyond == Beyond::Nothing) {
        return {left, place, map.reversed ? -1 : 1};
    }
    if (place >= 0 && place < n) {
        return {atMost(n - place), place, 1};
    }
    switch (map.beyond) {
        case Beyond::Mirror: {
            const std::int64_t c = floorModulo(place, 2 * n);
            return c < n ? EvenRun{atMost(n - c), c, 1} : EvenRun{atMost(2 * n - c), 2 * n - 1 - c, -1};
        }
        case Beyond::Again: {
            const std::int64_t c = floorModulo(place, n);
            return {atMost(n - c), c, 1};
        }
        case Beyond::Continue: return {place < 0 ? atMost(-place) : left, place < 0 ? 0 : n - 1, 0};
        case Beyond::Value:
        case Beyond::Nothing: break;
    }
    return {place < 0 ? atMost(-place) : left, EvenRun::none, 0};
}

ImageHeader mappedHeader(const ImageModel& input, const AxisMaps& maps) {
    const ImageHeader from = helper::headerOf(input);
    const std::array<double, RIX_COMPONENTS_SIZE> spacing = spacingsOf(from);
    const std::array<Vector, 3> directions = directionsOf(from.spatialDirections);
    ImageHeader header = from;

    Vector origin{from.origin[COLUMNS], from.origin[ROWS], from.origin[PLANS]};
    std::array<double, RIX_COMPONENTS_SIZE> along = from.origin;  // coordinates of the first element on the old axes
    for (const AxisMap& map : maps) {
        // Of an axis with one element the spacing may be anything.
        const double shift = map.first == 0 ? 0.0 : static_cast<double>(map.first) * spacing[map.source];
        if (isSpatial(map.source)) {
            addTo(origin, shift, directions[map.source]);
        } else {
            along[map.source] += shift;
        }
    }
    std::array<Vector, 3> turned = directions;
    bool keepsGrid = true;
    for (std::size_t axis = 0; axis < maps.size(); ++axis) {
        const AxisMap& map = maps[axis];
        header.extents[axis] = map.extent;
        header.spacing[axis] = spacing[map.source];
        if (isSpatial(axis)) {
            keepsGrid = keepsGrid && isIdentity(map, axis, from.extents[axis]);
        }
        if (!isSpatial(map.source)) {
            continue;
        }
        const Vector& direction = directions[map.source];
        if (isSpatial(axis)) {
            turned[axis] = direction;
        } else {
            const std::size_t successor = successorOf(maps, map.source);
            along[map.source] = dot(origin, direction);
            turned[successor] = direction;
        }
    }
    for (std::size_t axis = 0; axis < maps.size(); ++axis) {
        const AxisMap& map = maps[axis];
        if (isSpatial(axis) && !isSpatial(map.source)) {
            addTo(origin, along[map.source] - dot(origin, turned[axis]), turned[axis]);
        }
        if (isSpatial(axis) && map.reversed) {
            for (double& part : turned[axis]) {
                part = part == 0 ? part : -part;  // no -0 in files
            }
        }
        header.origin[axis] = isSpatial(axis) ? 0 : along[map.source];
    }
    std::copy(origin.begin(), origin.end(), header.origin.begin());
    header.spatialDirections = {turned[COLUMNS], turned[ROWS], turned[PLANS]};

    const AxisMap& channels = maps[SPECTRAL_SERIES];
    if (!isIdentity(channels, SPECTRAL_SERIES, from.extents[SPECTRAL_SERIES])) {
        header.colorInterpretation = UNKNOWN;
    }
    header.spatialFrame = keepsGrid ? from.spatialFrame : std::nullopt;
    header.labelScope = maps[PLANS].source == PLANS ? from.labelScope : LabelScope::Volume;
    return header;
}

}  // namespace rix::geometry
