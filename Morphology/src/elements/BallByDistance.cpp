#include "BallByDistance.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include <rix/access/PointFilters.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>

#include "distance/DistancePasses.h"

namespace rix::morphology {

namespace {

DistanceTask taskOf(const ImageModel& input, std::size_t axes, Extremum extremum) {
    DistanceTask task;
    task.extents = helper::getExtents(input);
    task.axes = axes;
    task.side = extremum == Extremum::Minimum ? DistanceSide::INSIDE : DistanceSide::OUTSIDE;
    return task;
}

}  // namespace

bool isDistanceForced(const Settings& settings) {
    return settings.getValueAsBool("RIX_MORPHO_FORCE_USE_DISTANCE_MAP", false);
}

std::optional<std::int64_t> squareOfBall(const Element& element, const ImageModel& image, std::size_t axes) {
    const auto squareOf = [](std::int64_t x, std::int64_t y, std::int64_t z) { return x * x + y * y + z * z; };
    if (element.isBox()) {
        return std::nullopt;
    }
    const std::vector<Chord> chords = element.chords();
    std::int64_t most = -1;
    for (const Chord& chord : chords) {
        most = std::max(most, squareOf(chord.first[0], chord.first[1], chord.first[2]));
    }
    // Each row within the ball has to be one chord, as long as it goes.
    std::set<std::pair<std::int64_t, std::int64_t>> rows;
    for (const Chord& chord : chords) {
        const auto [x, y, z] = chord.first;
        const bool isWhole = chord.length == 1 - 2 * x && squareOf(x - 1, y, z) > most;
        if (!isWhole || !rows.emplace(y, z).second) {
            return std::nullopt;
        }
    }
    std::size_t expected = 0;
    const auto reach = static_cast<std::int64_t>(std::sqrt(static_cast<double>(most))) + 1;
    const std::int64_t planes = axes == 3 ? reach : 0;
    for (std::int64_t z = -planes; z <= planes; ++z) {
        for (std::int64_t y = -reach; y <= reach; ++y) {
            expected += squareOf(0, y, z) <= most ? 1U : 0U;
        }
    }
    const auto extents = helper::getExtents(image);
    const bool fits = std::all_of(extents.begin(), extents.begin() + 3,
                                  [](std::size_t extent) { return extent <= static_cast<std::size_t>(noCount); });
    return expected == rows.size() && fits ? std::optional(most) : std::nullopt;
}

void takeBallByDistance(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                        Extremum extremum, std::int64_t square, std::size_t axes, OptimLevelType level) {
    const access::Steps steps(context, {0.9, 0.1});
    access::TemporaryImage distances(input, RIX_FLOAT32);
    distances.image().setInterpretation(RIX_VALUE);
    measureDistances(context, input, taskOf(input, axes, extremum), distances.image(), level);
    // Roots of integers up to the square of the largest radius are as far apart as numbers of 24 bits tell.
    const auto radius = static_cast<float>(std::sqrt(static_cast<double>(square)));
    const bool isErosion = extremum == Extremum::Minimum;
    constexpr double nanosecondsPerVoxel = 0.3;
    access::transformRows<float, std::uint8_t>(context, distances.image(), output, nanosecondsPerVoxel,
                                               [=](const float* in, std::uint8_t* out, std::size_t count) {
                                                   for (std::size_t x = 0; x < count; ++x) {
                                                       out[x] = (in[x] <= radius) != isErosion ? 1 : 0;
                                                   }
                                               });
}

std::size_t ballByDistanceBytes(const ImageModel& input, std::size_t axes, std::size_t threads) {
    return access::TemporaryImage::bytes(input, RIX_FLOAT32) +
           distanceBytes(input, taskOf(input, axes, Extremum::Minimum), nullptr, threads) +
           threads * access::Scratch::held(std::max(access::blockBytes(), input.getNumOf(COLUMNS)));
}

}  // namespace rix::morphology
