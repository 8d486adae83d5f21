// Shortest ways against the definition: from voxel to voxel, the nearest to the markers first.

#include <queue>

#include <rix/access/BlockScheduler.h>
#include <rix/access/BlockSize.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/Children.h>

#include "Testing.h"

namespace rix::test {
namespace {

/// A plane or volume of a mask, the starts of ways, and how far they may step.
struct Maze {
    std::size_t axes;
    int neighborhood;
    bool inWorld;
    const io::MemoryImage& marker;
    const io::MemoryImage& mask;

    io::MemoryImage run(int threads, const std::shared_ptr<access::BlockScheduler>& scheduler) const {
        const auto algorithm =
            AlgoInfo::fromName(axes == 2 ? "GeodesicDistanceMap2d" : "GeodesicDistanceMap3d").createInstance(nullptr);
        algorithm->settings().setMaximumNumberOfThreads(threads);
        algorithm->setBlockScheduler(scheduler);
        io::MemoryImage output;
        algorithms::propertyOf<const ImageModel*>(*algorithm, "inputMarkerImage") = &marker;
        algorithms::propertyOf<const ImageModel*>(*algorithm, "inputMaskImage") = &mask;
        algorithms::propertyOf<int>(*algorithm, "lengthUnit") = inWorld ? 1 : 0;
        algorithms::propertyOf<int>(*algorithm, "neighborhood") = neighborhood;
        algorithms::propertyOf<ImageModel*>(*algorithm, "outputDistanceImage") = &output;
        algorithm->run();
        return output;
    }

    /// Each part by itself.
    std::vector<float> shortestWays() const {
        const Extents n = helper::getExtents(mask);
        const std::size_t whole = n[0] * n[1] * (axes == 3 ? n[2] : 1);
        const auto isSet = [](const io::MemoryImage& image, std::size_t place) {
            const float value = reinterpret_cast<const float*>(image.getInternalBuffer())[place];
            return value != 0 && !std::isnan(value);
        };
        std::vector<double> lengths(whole * (n[2] / (axes == 3 ? n[2] : 1)) * n[3] * n[4],
                                    std::numeric_limits<double>::infinity());
        using Reached = std::pair<double, std::size_t>;
        std::priority_queue<Reached, std::vector<Reached>, std::greater<>> waiting;
        for (std::size_t p = 0; p < lengths.size(); ++p) {
            if (isSet(mask, p) && isSet(marker, p)) {
                waiting.emplace(lengths[p] = 0, p);
            }
        }
        std::array<double, 3> spacing{1, 1, 1};
        for (std::size_t axis = 0; axis < axes && inWorld; ++axis) {
            spacing[axis] = mask.getSpacingOf(static_cast<Components>(axis));
        }
        while (!waiting.empty()) {
            const auto [length, p] = waiting.top();
            waiting.pop();
            if (length > lengths[p]) {
                continue;
            }
            const std::array<std::size_t, 3> at{p % n[0], p / n[0] % n[1], p % whole / (n[0] * n[1])};
            for (int step = 0; step < 27; ++step) {
                const std::array<int, 3> d{step % 3 - 1, step / 3 % 3 - 1, step / 9 - 1};
                const int square = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
                bool isInside = square > 0 && square <= neighborhood + 1 && (axes == 3 || d[2] == 0);
                double way = 0;
                std::size_t q = p - p % whole;
                for (std::size_t axis = 0, stride = 1; axis < 3; stride *= n[axis++]) {
                    const auto there = static_cast<std::int64_t>(at[axis]) + d[axis];
                    isInside = isInside && there >= 0 && there < static_cast<std::int64_t>(n[axis]);
                    q += static_cast<std::size_t>(there) * stride;
                    way += static_cast<double>(d[axis] * d[axis]) * spacing[axis] * spacing[axis];
                }
                if (isInside && isSet(mask, q) && length + std::sqrt(way) < lengths[q]) {
                    waiting.emplace(lengths[q] = length + std::sqrt(way), q);
                }
            }
        }
        return {lengths.begin(), lengths.end()};
    }
};

void expectShortestWays(io::MemoryImage marker, io::MemoryImage mask) {
    mask.setSpacingOf(COLUMNS, 0.5);
    mask.setSpacingOf(ROWS, 1.25);
    mask.setSpacingOf(PLANS, 3.0);
    for (const std::size_t axes : {std::size_t{2}, std::size_t{3}}) {
        for (int neighborhood = 0; neighborhood < static_cast<int>(axes); ++neighborhood) {
            for (const bool inWorld : {false, true}) {
                const Maze maze{axes, neighborhood, inWorld, marker, mask};
                const std::vector<float> expected = maze.shortestWays();
                const access::ScopedBlockBytes manyBlocks(2048);
                for (const auto& [threads, scheduler] :
                     {std::pair{1, std::shared_ptr<access::BlockScheduler>()},
                      std::pair{
                          1, std::shared_ptr<access::BlockScheduler>(std::make_shared<access::ShuffledScheduler>(5))},
                      std::pair{3, std::shared_ptr<access::BlockScheduler>()}}) {
                    const io::MemoryImage found = maze.run(threads, scheduler);
                    const auto* const lengths = reinterpret_cast<const float*>(found.getInternalBuffer());
                    for (std::size_t p = 0; p < expected.size(); ++p) {
                        ASSERT_EQ(lengths[p], expected[p])
                            << axes << "d, neighborhood " << neighborhood << ", at " << p;
                    }
                }
            }
        }
    }
}

/// Where a hash of the position is among the lowest.
io::MemoryImage scattered(const Extents& extents, double share, std::uint64_t seed) {
    return makeImage({.voxelType = RIX_FLOAT32, .extents = extents}, [=](std::size_t x, std::size_t y, std::size_t z,
                                                                         std::size_t t, std::size_t s) {
        std::uint64_t hash = (x * 7919 + y * 104729 + z * 1299709 + t * 15485863 + s * 32452843 + seed) * 2654435761U;
        hash = (hash ^ hash >> 15) * 2246822519U;
        const double drawn = static_cast<double>(hash >> 12 & 0xFFFFU) / 65536;
        return drawn < share ? 1.5F : drawn > 0.99 ? std::numeric_limits<float>::quiet_NaN() : 0.0F;
    });
}

TEST(GeodesicDistanceMap, FollowsTheShortestWays) {
    for (const double share : {0.45, 0.65, 0.97}) {
        expectShortestWays(scattered({37, 29, 5, 1, 1}, 0.004, 3), scattered({37, 29, 5, 1, 1}, share, 4));
    }
    expectShortestWays(scattered({2, 61, 3, 2, 2}, 0.02, 5), scattered({2, 61, 3, 2, 2}, 0.9, 6));
    expectShortestWays(scattered({1, 1, 1, 1, 1}, 1, 5), scattered({1, 1, 1, 1, 1}, 1, 6));
}

/// Walls with a gap at their one end, then at the other.
TEST(GeodesicDistanceMap, FollowsALongWay) {
    const Extents extents{41, 40, 2, 1, 1};
    expectShortestWays(
        makeImage({.voxelType = RIX_FLOAT32, .extents = extents},
                  [](std::size_t x, std::size_t y, auto...) { return x == 0 && y == 0 ? 1.0 : 0.0; }),
        makeImage({.voxelType = RIX_FLOAT32, .extents = extents}, [](std::size_t x, std::size_t y, auto...) {
            return y % 2 == 0 || x == (y % 4 == 1 ? 40U : 0U) ? 1.0 : 0.0;
        }));
}

}  // namespace
}  // namespace rix::test
