// Area openings and closings against the definition: every level by itself, flooded from every voxel.

#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/Children.h>

#include "Testing.h"

namespace rix::test {
namespace {

io::MemoryImage areaFiltered(const String& name, const ImageModel& image, double size, int neighborhood,
                             int lengthUnit = 0) {
    const auto algorithm = AlgoInfo::fromName(name).createInstance(nullptr);
    io::MemoryImage output;
    algorithms::propertyOf<const ImageModel*>(*algorithm, "inputImage") = &image;
    algorithms::propertyOf<double>(*algorithm, "minimumSize") = size;
    algorithms::propertyOf<int>(*algorithm, "lengthUnit") = lengthUnit;
    algorithms::propertyOf<int>(*algorithm, "neighborhood") = neighborhood;
    algorithms::propertyOf<ImageModel*>(*algorithm, "outputImage") = &output;
    algorithm->run();
    return output;
}

/// The values of a part in order: their places among all of them, 0 for walls. Closings turn it around.
std::vector<std::size_t> orderRanks(const std::vector<double>& values, bool opens) {
    const auto isBelow = [=](double a, double b) {
        return (opens ? a : b) < (opens ? b : a) ||
               (a == b && std::signbit(opens ? a : b) > std::signbit(opens ? b : a));
    };
    std::vector<double> sorted;
    std::copy_if(values.begin(), values.end(), std::back_inserter(sorted), [](double v) { return v == v; });
    std::sort(sorted.begin(), sorted.end(), isBelow);
    std::vector<std::size_t> ranks;
    for (const double value : values) {
        const auto place = std::lower_bound(sorted.begin(), sorted.end(), value, isBelow);
        ranks.push_back(value == value ? 1 + static_cast<std::size_t>(place - sorted.begin()) : 0);
    }
    return ranks;
}

/// The voxels of level or higher that are connected with one.
std::vector<std::size_t> connectedTo(const std::vector<std::size_t>& ranks, const Extents& n, int farthest,
                                     std::size_t start, std::size_t level) {
    std::vector<std::size_t> set{start};
    std::vector<bool> isIn(ranks.size(), false);
    isIn[start] = true;
    for (std::size_t i = 0; i < set.size(); ++i) {
        const auto x = static_cast<std::int64_t>(set[i] % n[0]);
        const auto y = static_cast<std::int64_t>(set[i] / n[0] % n[1]);
        const auto z = static_cast<std::int64_t>(set[i] / n[0] / n[1]);
        for (int k = 0; k < 27; ++k) {
            const int d[3] = {k % 3 - 1, k / 3 % 3 - 1, k / 9 - 1};
            const std::int64_t to[3] = {x + d[0], y + d[1], z + d[2]};
            bool isInside = d[0] * d[0] + d[1] * d[1] + d[2] * d[2] <= farthest;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                isInside = isInside && to[axis] >= 0 && to[axis] < static_cast<std::int64_t>(n[axis]);
            }
            if (!isInside) {
                continue;
            }
            const std::size_t next = static_cast<std::size_t>(to[0]) +
                                     n[0] * (static_cast<std::size_t>(to[1]) + n[1] * static_cast<std::size_t>(to[2]));
            if (!isIn[next] && ranks[next] >= level) {
                isIn[next] = true;
                set.push_back(next);
            }
        }
    }
    return set;
}

/// Of one plane or volume: all connected sets of all levels.
std::vector<double> openedByDefinition(const std::vector<double>& values, const Extents& n, int farthest,
                                       std::size_t least, bool opens, bool isBinary) {
    const std::vector<std::size_t> ranks = orderRanks(values, opens);
    std::map<std::size_t, double> levels;
    for (std::size_t p = 0; p < values.size(); ++p) {
        levels[ranks[p]] = values[p];
    }
    levels.erase(0);
    std::vector<double> result = values;
    for (const auto& [level, value] : levels) {
        std::vector<bool> isDone(values.size(), false);
        for (std::size_t p = 0; p < values.size(); ++p) {
            if (isDone[p] || ranks[p] < level) {
                continue;
            }
            const std::vector<std::size_t> set = connectedTo(ranks, n, farthest, p, level);
            std::size_t lowest = ranks[p];
            for (const std::size_t q : set) {
                isDone[q] = true;
                lowest = std::min(lowest, ranks[q]);
            }
            for (const std::size_t q : set) {
                if (set.size() >= least) {
                    result[q] = value;
                } else if (level == levels.begin()->first) {  // all that is connected with it
                    result[q] = isBinary ? (opens ? 0.0 : 1.0) : levels.at(lowest);
                }
            }
        }
    }
    return result;
}

struct Adjacency {
    std::size_t axes;
    int neighborhood;
    int farthest;
};
constexpr Adjacency adjacencies[] = {{2, 0, 1}, {2, 1, 2}, {3, 0, 1}, {3, 1, 2}, {3, 2, 3}};

void compareWithDefinition(const io::MemoryImage& image, const std::vector<std::size_t>& sizes) {
    const Extents n = helper::getExtents(image);
    const std::vector<double> values = samplesOf<double>(image);
    const bool isBinary = image.getInterpretation() == RIX_BINARY;
    for (const Adjacency& adjacency : adjacencies) {
        const Extents part{n[0], n[1], adjacency.axes == 3 ? n[2] : 1, 1, 1};
        const std::size_t voxels = part[0] * part[1] * part[2];
        for (const std::size_t size : sizes) {
            for (const bool opens : {true, false}) {
                std::vector<double> expected;
                for (std::size_t first = 0; first < values.size(); first += voxels) {
                    const auto begin = values.begin() + static_cast<std::ptrdiff_t>(first);
                    const std::vector<double> of =
                        openedByDefinition({begin, begin + static_cast<std::ptrdiff_t>(voxels)}, part,
                                           adjacency.farthest, size, opens, isBinary);
                    expected.insert(expected.end(), of.begin(), of.end());
                }
                std::size_t next = 0;
                const io::MemoryImage wanted = makeImage(
                    {.voxelType = image.getVoxelType(), .extents = n, .interpretation = image.getInterpretation()},
                    [&](auto...) { return expected[next++]; });
                const String name = String(opens ? "AreaOpening" : "AreaClosing") + (adjacency.axes == 2 ? "2d" : "3d");
                EXPECT_TRUE(
                    imagesEqual(wanted, areaFiltered(name, image, static_cast<double>(size), adjacency.neighborhood)))
                    << name << ' ' << adjacency.neighborhood << " size " << size << ' ' << helper::describeImage(image);
            }
        }
    }
}

std::uint64_t scrambled(std::size_t x, std::size_t y, std::size_t z, std::size_t seed) {
    return (((x * 7919 + y * 104729 + z * 1299709 + seed) * 0x9E3779B97F4A7C15U) >> 29) & 0xffffU;
}

TEST(AreaOpening, IsThatOfTheDefinitionForEveryTypeAndNeighbourhood) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT8, RIX_UINT16, RIX_INT16, RIX_UINT32, RIX_INT32}) {
        const bool isSigned = type == RIX_INT8 || type == RIX_INT16 || type == RIX_INT32;
        compareWithDefinition(makeImage({.voxelType = type, .extents = {11, 9, 3, 1, 2}},
                                        [=](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t c) {
                                            const auto step =
                                                static_cast<std::int64_t>(scrambled(x, y, z + 3 * c, type) % 12);
                                            return isSigned ? step * 10 - 60 : step * 20;
                                        }),
                              {1, 2, 5, 40, 120, 1000});
    }
    for (const VoxelTypes type : {RIX_FLOAT32, RIX_FLOAT64}) {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        const double values[] = {-infinity, -1e30, -2.5, -0.0, 0.0, 1e-40, 3.25, 1e30, infinity, std::nan("")};
        compareWithDefinition(makeImage({.voxelType = type, .extents = {12, 10, 2, 1, 1}},
                                        [&](std::size_t x, std::size_t y, std::size_t z, auto...) {
                                            return values[scrambled(x, y, z, 5) % std::size(values)];
                                        }),
                              {1, 3, 9, 30, 500});
    }
    // Few values: plateaus, and walls between them.
    compareWithDefinition(makeImage({.voxelType = RIX_FLOAT32, .extents = {14, 11, 2, 1, 1}},
                                    [](std::size_t x, std::size_t y, std::size_t z, auto...) {
                                        return scrambled(x, y, z, 1) % 3 == 0
                                                   ? std::nan("")
                                                   : static_cast<double>(scrambled(x / 3, y / 2, z, 2) % 4);
                                    }),
                          {2, 6, 20});
}

TEST(AreaOpening, TakesSmallObjectsOutOfBinaryImages) {
    for (const std::uint64_t density : {4U, 6U}) {
        compareWithDefinition(
            makeImage({.voxelType = RIX_INT16, .extents = {15, 11, 3, 1, 1}, .interpretation = RIX_BINARY},
                      [=](std::size_t x, std::size_t y, std::size_t z, auto...) {
                          return scrambled(x, y, z, 9) % 10 < density ? 1 : 0;
                      }),
            {1, 4, 12, 600});
    }
    compareWithDefinition(
        makeImage({.extents = {5, 4, 2, 1, 1}, .interpretation = RIX_BINARY}, [](auto...) { return 1; }), {20, 21, 41});
}

TEST(AreaOpening, TakesThinAndFlatImages) {
    for (const Extents& extents :
         {Extents{1, 1, 1, 1, 1}, Extents{2, 17, 3, 1, 1}, Extents{30, 1, 2, 1, 2}, Extents{1, 1, 24, 1, 1}}) {
        compareWithDefinition(makeRandomImage({.extents = extents}, 8), {1, 2, 4, 30});
        compareWithDefinition(makeImage({.extents = extents}, [](auto...) { return 7; }), {2, 50});
    }
}

TEST(AreaOpening, TakesSizesInTheWorld) {
    io::MemoryImage image = makeRandomImage({.voxelType = RIX_UINT16, .extents = {30, 20, 6, 1, 1}}, 3);
    image.setSpacingOf(COLUMNS, 0.1);
    image.setSpacingOf(ROWS, -0.3);
    image.setSpacingOf(PLANS, 2.0);
    for (const double voxels : {1.0, 3.0, 6.5, 7.0, 12.0}) {  // of 0.03 and 0.06, which are no binary fractions
        EXPECT_TRUE(imagesEqual(areaFiltered("AreaOpening2d", image, voxels, 1),
                                areaFiltered("AreaOpening2d", image, voxels * (0.1 * 0.3), 1, 1)));
        EXPECT_TRUE(imagesEqual(areaFiltered("AreaClosing3d", image, voxels, 2),
                                areaFiltered("AreaClosing3d", image, voxels * (0.1 * 0.3 * 2.0), 2, 1)));
    }
    for (const double size : {-1.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
        EXPECT_THROW(areaFiltered("AreaOpening2d", image, size, 1), RuleException);
    }
    EXPECT_TRUE(imagesEqual(image, areaFiltered("AreaOpening2d", image, 0, 1)));
    image.setSpacingOf(PLANS, 0.0);
    areaFiltered("AreaOpening2d", image, 5, 1, 1);
    EXPECT_THROW(areaFiltered("AreaOpening3d", image, 5, 2, 1), RuleException);
}

/// Large enough for trees of many voxels, whose ways to the root are shortened.
TEST(AreaOpening, NeverExceedsTheImageAndIsIdempotent) {
    const io::MemoryImage image = makeImage(
        {.voxelType = RIX_FLOAT32, .extents = {160, 140, 1, 1, 1}}, [](std::size_t x, std::size_t y, auto...) {
            return std::sin(0.2 * static_cast<double>(x)) * 50 + static_cast<double>(scrambled(x, y, 0, 4) % 64) +
                   static_cast<double>(y);
        });
    const io::MemoryImage opened = areaFiltered("AreaOpening2d", image, 300, 1);
    const io::MemoryImage closed = areaFiltered("AreaClosing2d", image, 300, 1);
    EXPECT_TRUE(imagesEqual(opened, areaFiltered("AreaOpening2d", opened, 300, 1)));
    EXPECT_TRUE(imagesEqual(closed, areaFiltered("AreaClosing2d", closed, 300, 1)));
    const auto values = samplesOf<float>(image);
    const auto below = samplesOf<float>(opened);
    const auto above = samplesOf<float>(closed);
    std::size_t changed = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        ASSERT_TRUE(below[i] <= values[i] && values[i] <= above[i]);
        changed += below[i] < values[i] ? 1U : 0U;
    }
    EXPECT_GT(changed, values.size() / 4);
}

}  // namespace
}  // namespace rix::test
