// Floods from markers against the definition: a plain queue that is searched for the next voxel.

#include <rix/image/ImageDetails.h>
#include <rix/segmentation/MarkerBasedWatershed2d.h>
#include <rix/segmentation/MarkerBasedWatershed3d.h>

#include "Testing.h"

namespace rix::test {
namespace {

using segmentation::MarkerBasedWatershed2d;
using segmentation::MarkerBasedWatershed3d;

struct FloodCase {
    io::MemoryImage relief;
    io::MemoryImage markers;
    std::optional<io::MemoryImage> mask = std::nullopt;
};

template <class Watershed>
io::MemoryImage floodedBy(const FloodCase& from, int neighborhood, bool lines, int threads = 1) {
    Watershed watershed;
    io::MemoryImage labels;
    watershed.settings().setMaximumNumberOfThreads(threads);
    watershed.setInputGrayImage(&from.relief);
    watershed.setInputMarkerImage(&from.markers);
    watershed.setInputMaskImage(from.mask ? &*from.mask : nullptr);
    watershed.neighborhood = neighborhood;
    watershed.setWatershedLines(lines ? Watershed::LINES : Watershed::NONE);
    watershed.setOutputLabelImage(&labels);
    watershed.run();
    EXPECT_EQ(labels.getInterpretation(), RIX_LABEL);
    return labels;
}

io::MemoryImage flooded(const FloodCase& from, std::size_t axes, int neighborhood, bool lines, int threads = 1) {
    return axes == 2 ? floodedBy<MarkerBasedWatershed2d>(from, neighborhood, lines, threads)
                     : floodedBy<MarkerBasedWatershed3d>(from, neighborhood, lines, threads);
}

/// One plane or volume as the definition says. Neighbours are gone through forth or back, which changes nothing.
class PlainFlood {
public:
    PlainFlood(const Extents& n, int farthest, bool back) : m_extents(n), m_farthest(farthest), m_back(back) {}

    std::vector<double> run(const std::vector<double>& relief, const std::vector<double>& markers,
                            const std::vector<bool>& isWall, bool lines) const {
        // Level, the sign of zeros, time of entry.
        using Turn = std::tuple<double, bool, std::size_t, std::size_t>;
        std::set<Turn> queue;
        std::vector<double> labels(relief.size(), 0.0);
        std::vector<bool> isIn(relief.size(), false);
        std::size_t time = 0;
        const auto push = [&](std::size_t p, double level, bool isPlus) {
            queue.emplace(level, isPlus, time++, p);
            isIn[p] = true;
        };
        for (std::size_t p = 0; p < relief.size(); ++p) {
            if (markers[p] != 0 && !isWall[p]) {
                labels[p] = markers[p];
                push(p, relief[p], !std::signbit(relief[p]));
            }
        }
        while (!queue.empty()) {
            const auto [level, isPlus, entry, p] = *queue.begin();
            queue.erase(queue.begin());
            const std::vector<std::size_t> around = neighborsOf(p);
            if (labels[p] == 0) {  // with lines: decided now
                std::set<double> found;
                for (const std::size_t q : around) {
                    found.insert(labels[q]);
                }
                found.erase(0.0);
                if (found.size() != 1) {
                    continue;
                }
                labels[p] = *found.begin();
            }
            for (const std::size_t q : around) {
                if (isIn[q] || isWall[q]) {
                    continue;
                }
                labels[q] = lines ? 0.0 : labels[p];
                const auto own = std::pair(relief[q], !std::signbit(relief[q]));
                const auto highest = std::max(own, std::pair(level, isPlus));
                push(q, highest.first, highest.second);
            }
        }
        return labels;
    }

private:
    std::vector<std::size_t> neighborsOf(std::size_t p) const {
        const auto x = static_cast<std::int64_t>(p % m_extents[0]);
        const auto y = static_cast<std::int64_t>(p / m_extents[0] % m_extents[1]);
        const auto z = static_cast<std::int64_t>(p / m_extents[0] / m_extents[1]);
        std::vector<std::size_t> found;
        for (int k = 0; k < 27; ++k) {
            const int step = m_back ? 26 - k : k;
            const std::int64_t d[3] = {step % 3 - 1, step / 3 % 3 - 1, step / 9 - 1};
            const std::int64_t to[3] = {x + d[0], y + d[1], z + d[2]};
            const std::int64_t length = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
            bool isInside = length > 0 && length <= m_farthest;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                isInside = isInside && to[axis] >= 0 && to[axis] < static_cast<std::int64_t>(m_extents[axis]);
            }
            if (isInside) {
                found.push_back(static_cast<std::size_t>(to[0]) +
                                m_extents[0] *
                                    (static_cast<std::size_t>(to[1]) + m_extents[1] * static_cast<std::size_t>(to[2])));
            }
        }
        return found;
    }

    Extents m_extents;
    int m_farthest;
    bool m_back;
};

struct FloodNeighbors {
    std::size_t axes;
    int neighborhood;
    int farthest;
};
constexpr FloodNeighbors floodNeighbors[] = {{2, 0, 1}, {2, 1, 2}, {3, 0, 1}, {3, 1, 2}, {3, 2, 3}};

io::MemoryImage floodedPlainly(const FloodCase& from, const FloodNeighbors& neighbors, bool lines, bool back) {
    const Extents n = helper::getExtents(from.relief);
    const std::vector<double> relief = samplesOf<double>(from.relief);
    const std::vector<double> markers = samplesOf<double>(from.markers);
    const std::vector<double> mask = from.mask ? samplesOf<double>(*from.mask) : std::vector<double>(relief.size(), 1);
    const Extents part{n[0], n[1], neighbors.axes == 3 ? n[2] : 1, 1, 1};
    const std::size_t voxels = part[0] * part[1] * part[2];
    const PlainFlood plain(part, neighbors.farthest, back);
    std::vector<double> labels;
    for (std::size_t first = 0; first < relief.size(); first += voxels) {
        const auto piece = [&](const std::vector<double>& all) {
            return std::vector<double>(all.begin() + static_cast<std::ptrdiff_t>(first),
                                       all.begin() + static_cast<std::ptrdiff_t>(first + voxels));
        };
        std::vector<bool> isWall;
        for (std::size_t p = first; p < first + voxels; ++p) {
            isWall.push_back(std::isnan(relief[p]) || mask[p] == 0 || std::isnan(mask[p]));
        }
        const std::vector<double> of = plain.run(piece(relief), piece(markers), isWall, lines);
        labels.insert(labels.end(), of.begin(), of.end());
    }
    std::size_t next = 0;
    io::MemoryImage image =
        makeImage({.voxelType = from.markers.getVoxelType(), .extents = n, .interpretation = RIX_LABEL},
                  [&](auto...) { return labels[next++]; });
    helper::setLabelScope(image, neighbors.axes == 2 && n[2] > 1 ? LabelScope::Plane : LabelScope::Volume);
    return image;
}

std::uint64_t mixed(std::size_t x, std::size_t y, std::size_t z, std::size_t seed) {
    return (((x * 7919 + y * 104729 + z * 1299709 + seed) * 0x9E3779B97F4A7C15U) >> 29) & 0xffffU;
}

/// Every so often a marker of one of some labels.
io::MemoryImage sparseMarkers(VoxelTypes type, const Extents& extents, std::size_t seed, std::uint64_t every,
                              std::uint64_t labels, double largest = 0) {
    return makeImage({.voxelType = type, .extents = extents},
                     [=](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t c) {
                         const bool isMarker = mixed(x, y, z + 5 * c, seed) % every == 0;
                         const auto label = static_cast<double>(1 + mixed(x, y, z + 5 * c, seed + 1) % labels);
                         return isMarker ? (label == 1 && largest != 0 ? largest : label) : 0.0;
                     });
}

void compareFloods(const FloodCase& from, const char* what) {
    for (const FloodNeighbors& neighbors : floodNeighbors) {
        for (const bool lines : {false, true}) {
            const bool back = neighbors.neighborhood == 1;
            EXPECT_TRUE(imagesEqual(floodedPlainly(from, neighbors, lines, back),
                                    flooded(from, neighbors.axes, neighbors.neighborhood, lines)))
                << what << ", axes " << neighbors.axes << ", neighborhood " << neighbors.neighborhood
                << (lines ? ", lines" : "");
        }
    }
}

TEST(MarkerBasedWatershed, IsThePlainQueueOnAllSmallImagesOfFewLevels) {
    // All planes of 3 x 3 voxels and 3 levels, in the channels of an image; markers in two corners, or three.
    constexpr std::size_t count = 19683;
    std::size_t powers[9] = {1};
    for (std::size_t i = 1; i < 9; ++i) {
        powers[i] = powers[i - 1] * 3;
    }
    const Extents extents{3, 3, 1, 1, count};
    for (const VoxelTypes type : {RIX_UINT8, RIX_FLOAT32}) {
        const io::MemoryImage relief = makeImage({.voxelType = type, .extents = extents},
                                                 [&](std::size_t x, std::size_t y, std::size_t, std::size_t,
                                                     std::size_t c) { return c / powers[3 * y + x] % 3; });
        for (const bool third : {false, true}) {
            const FloodCase from{
                relief, makeImage({.extents = extents}, [=](std::size_t x, std::size_t y, auto...) {
                    return x == 0 && y == 0 ? 2 : x == 2 && y == 2 ? 1 : third && x == 2 && y == 0 ? 3 : 0;
                })};
            for (const FloodNeighbors& neighbors : {floodNeighbors[0], floodNeighbors[1]}) {
                for (const bool lines : {false, true}) {
                    EXPECT_TRUE(imagesEqual(floodedPlainly(from, neighbors, lines, third),
                                            flooded(from, 2, neighbors.neighborhood, lines)));
                }
            }
        }
    }
}

TEST(MarkerBasedWatershed, IsThePlainQueueForEveryTypeMaskAndPlateau) {
    const Extents extents{13, 11, 4, 1, 2};
    for (const VoxelTypes type : realTypes) {
        const bool isReal = type == RIX_FLOAT32 || type == RIX_FLOAT64;
        const bool isSigned = type == RIX_INT8 || type == RIX_INT16 || type == RIX_INT32 || isReal;
        constexpr double infinity = std::numeric_limits<double>::infinity();
        const double reals[] = {-infinity, -2.5, -0.0, 0.0, 1e-40, 3.25, infinity, std::nan("")};
        for (const std::uint64_t levels : {3U, 12U}) {
            const io::MemoryImage relief = makeImage(
                {.voxelType = type, .extents = extents},
                [&](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t c) {
                    const std::uint64_t random = mixed(x / 2, y, z + 3 * c, static_cast<std::size_t>(type) + levels);
                    return isReal && levels > 3 ? reals[random % std::size(reals)]
                                                : static_cast<double>(random % levels) * 9 - (isSigned ? 50 : 0);
                });
            compareFloods({relief, sparseMarkers(RIX_UINT16, extents, levels, 25, 5)}, "no mask");
            compareFloods({relief, sparseMarkers(RIX_INT32, extents, levels, 9, 3, -1),
                           makeImage({.voxelType = type, .extents = extents},
                                     [](std::size_t x, std::size_t y, std::size_t z, auto...) {
                                         return mixed(x, y, z, 8) % 4 == 0 ? 0 : 7;
                                     })},
                          "mask");
        }
    }
}

TEST(MarkerBasedWatershed, TakesThinImagesAndOddMarkers) {
    for (const Extents& extents :
         {Extents{1, 1, 1, 1, 1}, Extents{2, 17, 3, 1, 1}, Extents{30, 1, 2, 1, 2}, Extents{1, 1, 24, 1, 1}}) {
        compareFloods({makeRandomImage({.extents = extents}, 8), sparseMarkers(RIX_UINT8, extents, 1, 4, 3)}, "thin");
        compareFloods({makeRandomImage({.voxelType = RIX_UINT16, .extents = extents}, 8),
                       makeImage({.extents = extents}, [](auto...) { return 0; })},
                      "no marker");
    }
    const Extents extents{9, 7, 2, 1, 1};
    compareFloods({makeRandomImage({.extents = extents}, 8), sparseMarkers(RIX_UINT32, extents, 3, 6, 4, 4294967295.0)},
                  "largest label");
}

/// Large enough for threads to take part, and the queue to go round; the definition knows no threads.
TEST(MarkerBasedWatershed, IsThePlainQueueForAllThreads) {
    const Extents extents{403, 301, 1, 1, 1};
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_FLOAT32}) {
        for (const std::uint64_t levels : {1U, 4U, 60U}) {
            const io::MemoryImage relief =
                makeImage({.voxelType = type, .extents = extents}, [&](std::size_t x, std::size_t y, auto...) {
                    return (mixed(x / 3, y / 3, 0, levels) + mixed(x, y, 1, levels) / 4) % levels;
                });
            for (const std::uint64_t every : {40U, 30000U}) {
                const FloodCase from{relief, sparseMarkers(RIX_UINT16, extents, 7, every, 1000)};
                for (const int neighborhood : {0, 1}) {
                    const io::MemoryImage expected =
                        floodedPlainly(from, floodNeighbors[static_cast<std::size_t>(neighborhood)], false, false);
                    for (const int threads : {1, 2, 5}) {
                        EXPECT_TRUE(imagesEqual(expected, flooded(from, 2, neighborhood, false, threads)))
                            << threads << " threads, " << levels << " levels";
                    }
                }
            }
        }
    }
    // Labels that look like claims.
    const io::MemoryImage flat = makeImage({.extents = extents}, [](auto...) { return 1; });
    const FloodCase from{flat, sparseMarkers(RIX_UINT32, extents, 7, 40, 9, 2147483649.0)};
    EXPECT_TRUE(imagesEqual(floodedPlainly(from, floodNeighbors[1], false, false), flooded(from, 2, 1, false, 4)));
}

TEST(MarkerBasedWatershed, IsThePlainQueueInVolumesForAllThreads) {
    const Extents extents{79, 71, 41, 1, 1};
    const FloodCase from{makeImage({.extents = extents},
                                   [&](std::size_t x, std::size_t y, std::size_t z, auto...) {
                                       return mixed(x / 4, y / 4, z / 4, 3) % 5 + mixed(x, y, z, 4) % 2;
                                   }),
                         sparseMarkers(RIX_UINT16, extents, 7, 60, 900)};
    for (const FloodNeighbors& neighbors : {floodNeighbors[2], floodNeighbors[3], floodNeighbors[4]}) {
        const io::MemoryImage expected = floodedPlainly(from, neighbors, false, true);
        for (const int threads : {1, 3}) {
            EXPECT_TRUE(imagesEqual(expected, flooded(from, 3, neighbors.neighborhood, false, threads)));
        }
    }
}

TEST(MarkerBasedWatershed, RefusesWhatItCannotTake) {
    const io::MemoryImage relief = makeRandomImage({.extents = {5, 4, 1, 1, 1}}, 1);
    EXPECT_THROW(flooded({relief, makeRandomImage({.extents = {5, 5, 1, 1, 1}}, 1)}, 2, 0, false), RuleException);
    EXPECT_THROW(
        flooded({relief, makeRandomImage({.voxelType = RIX_FLOAT32, .extents = {5, 4, 1, 1, 1}}, 1)}, 2, 0, false),
        RuleException);
}

}  // namespace
}  // namespace rix::test
