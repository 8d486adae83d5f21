// Distance maps against the definition: each voxel looked at from each other one.

#include <rix/access/BlockSize.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/Children.h>
#include <rix/morphology/DistanceChoices.h>

#include "Levels.h"
#include "Testing.h"

namespace rix::test {
namespace {

using morphology::DistanceMetric;
using morphology::DistanceSide;

constexpr double none = std::numeric_limits<double>::infinity();

/// A run of either class.
struct DistanceCase {
    std::size_t axes = 2;
    DistanceMetric metric = DistanceMetric::EUCLIDEAN;
    DistanceSide side = DistanceSide::INSIDE;
    bool inWorld = false;
    bool borderIsBackground = false;
    String weights;  ///< empty: the default

    String toText() const {
        return std::to_string(axes) + "d metric " + std::to_string(static_cast<int>(metric)) + " side " +
               std::to_string(static_cast<int>(side)) + (inWorld ? " WORLD" : "") +
               (borderIsBackground ? " border " : " ") + weights;
    }
    bool hasNearest() const { return metric != DistanceMetric::CHESSBOARD || !inWorld; }
};

struct DistanceImages {
    io::MemoryImage distances;
    io::MemoryImage nearest;
};

std::unique_ptr<BaseAlgorithm> makeDistanceMap(const DistanceCase& each, const ImageModel& image) {
    auto algorithm = AlgoInfo::fromName(each.axes == 2 ? "DistanceMap2d" : "DistanceMap3d").createInstance(nullptr);
    algorithms::propertyOf<const ImageModel*>(*algorithm, "inputObjectImage") = &image;
    algorithms::propertyOf<int>(*algorithm, "metric") = static_cast<int>(each.metric);
    algorithms::propertyOf<int>(*algorithm, "side") = static_cast<int>(each.side);
    algorithms::propertyOf<int>(*algorithm, "lengthUnit") = each.inWorld ? 1 : 0;
    algorithms::propertyOf<int>(*algorithm, "borderIsBackground") = each.borderIsBackground ? 1 : 0;
    if (!each.weights.empty()) {
        algorithms::propertyOf<String>(*algorithm, "chamferWeights") = each.weights;
    }
    return algorithm;
}

DistanceImages runDistanceMap(const DistanceCase& each, const ImageModel& image, bool withNearest,
                              OptimLevelType level = VEC_AVX) {
    const auto algorithm = makeDistanceMap(each, image);
    DistanceImages images;
    algorithm->setMaxOptimLevel(level);
    algorithms::propertyOf<ImageModel*>(*algorithm, "outputDistanceImage") = &images.distances;
    if (withNearest) {
        algorithms::propertyOf<ImageModel*>(*algorithm, "outputNearestImage") = &images.nearest;
    }
    const std::size_t stated = algorithm->describe().extraMemory;
    algorithm->run();
    EXPECT_LE(algorithm->getPeakExtraMemory(), stated) << each.toText();
    return images;
}

// The definition ------------------------------------------------------------------------------------------------------

using Way = std::array<std::int64_t, 3>;

std::vector<std::int64_t> pricesOf(const DistanceCase& each) {
    std::vector<std::int64_t> prices;
    std::istringstream text(!each.weights.empty() ? each.weights : each.axes == 2 ? "5,7,11" : "3,4,5");
    for (String part; std::getline(text, part, ',');) {
        prices.push_back(std::stoll(part));
    }
    return prices;
}

/// Prices of the cheapest chains of steps, by the offset of their ends, for offsets up to a number of voxels: from
/// step to step until nothing becomes cheaper.
class ChamferPrices {
public:
    ChamferPrices(const DistanceCase& each, std::int64_t most)
        : m_size(most + 1), m_planes(each.axes == 3 ? m_size : 1) {
        const std::vector<std::int64_t> prices = pricesOf(each);
        m_prices.assign(static_cast<std::size_t>(m_size * m_size * m_planes), none);
        m_prices[0] = 0;
        for (bool changes = true; changes;) {
            changes = false;
            forEach([&](std::int64_t x, std::int64_t y, std::int64_t z) {
                for (std::int64_t dz = each.axes == 3 ? -1 : 0; dz <= (each.axes == 3 ? 1 : 0); ++dz) {
                    for (std::int64_t dy = -2; dy <= 2; ++dy) {
                        for (std::int64_t dx = -2; dx <= 2; ++dx) {
                            const auto farthest = std::max({std::abs(dx), std::abs(dy), std::abs(dz)});
                            const auto sum = std::abs(dx) + std::abs(dy) + std::abs(dz);
                            const bool isKnight = each.axes == 2 && prices.size() == 3 && farthest == 2 && sum == 3;
                            if (!isKnight && farthest != 1) {
                                continue;
                            }
                            const auto price = prices.at(isKnight ? 2 : static_cast<std::size_t>(sum) - 1);
                            const double there = at({x - dx, y - dy, z - dz}) + static_cast<double>(price);
                            if (there < own(x, y, z)) {
                                own(x, y, z) = there;
                                changes = true;
                            }
                        }
                    }
                }
            });
        }
    }

    double at(const Way& way) const {
        const std::int64_t x = std::abs(way[0]);
        const std::int64_t y = std::abs(way[1]);
        const std::int64_t z = std::abs(way[2]);
        return x < m_size && y < m_size && z < m_planes
                   ? m_prices[static_cast<std::size_t>((z * m_size + y) * m_size + x)]
                   : none;
    }

private:
    template <class Use>
    void forEach(const Use& use) {
        for (std::int64_t z = 0; z < m_planes; ++z) {
            for (std::int64_t y = 0; y < m_size; ++y) {
                for (std::int64_t x = 0; x < m_size; ++x) {
                    use(x, y, z);
                }
            }
        }
    }
    double& own(std::int64_t x, std::int64_t y, std::int64_t z) {
        return m_prices[static_cast<std::size_t>((z * m_size + y) * m_size + x)];
    }

    std::int64_t m_size;
    std::int64_t m_planes;
    std::vector<double> m_prices;
};

/// What is compared: of Euclidean distances the square.
double costOf(const DistanceCase& each, const Way& way, const std::array<double, 3>& spacing,
              const ChamferPrices* prices) {
    std::array<double, 3> length{};
    for (std::size_t axis = 0; axis < length.size(); ++axis) {
        length[axis] = static_cast<double>(std::abs(way[axis])) * spacing[axis];
    }
    switch (each.metric) {
        case DistanceMetric::EUCLIDEAN: return length[0] * length[0] + length[1] * length[1] + length[2] * length[2];
        case DistanceMetric::CITY_BLOCK: return length[0] + length[1] + length[2];
        case DistanceMetric::CHESSBOARD: return std::max({length[0], length[1], length[2]});
        case DistanceMetric::CHAMFER: break;
    }
    return prices->at(way);
}

double valueAt(const io::MemoryImage& image, std::size_t place) {
    double value = 0;
    access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        value = static_cast<double>(reinterpret_cast<const T*>(image.getInternalBuffer())[place]);
    });
    return value;
}

/// Distances and nearest voxels of planes or volumes of an image in memory.
void expectDistances(const DistanceCase& each, const io::MemoryImage& image) {
    const Extents n = helper::getExtents(image);
    SCOPED_TRACE(each.toText() + " of " + std::to_string(n[0]) + " x " + std::to_string(n[1]) + " x " +
                 std::to_string(n[2]));
    const bool ofLabels = image.getInterpretation() == RIX_LABEL;
    const std::size_t whole = n[0] * n[1] * (each.axes == 3 ? n[2] : 1);
    std::size_t voxels = 0;
    ASSERT_TRUE(helper::getElementCount(image, voxels));
    std::array<double, 3> spacing{1, 1, 1};
    for (std::size_t axis = 0; axis < each.axes && each.inWorld; ++axis) {
        spacing[axis] = std::fabs(image.getSpacingOf(static_cast<Components>(axis)));
    }
    std::optional<ChamferPrices> prices;
    if (each.metric == DistanceMetric::CHAMFER) {
        prices.emplace(each, static_cast<std::int64_t>(std::max({n[0], n[1], each.axes == 3 ? n[2] : 1})));
    }
    std::vector<double> classes(voxels);
    for (std::size_t p = 0; p < voxels; ++p) {
        const double value = valueAt(image, p);
        classes[p] = ofLabels ? value : value != 0 ? 1.0 : 0.0;
    }
    const auto wayOf = [&](std::size_t p) {
        return Way{static_cast<std::int64_t>(p % n[0]), static_cast<std::int64_t>(p / n[0] % n[1]),
                   static_cast<std::int64_t>(p / (n[0] * n[1]))};
    };
    const auto costBetween = [&](const Way& a, const Way& b) {
        return costOf(each, {a[0] - b[0], a[1] - b[1], a[2] - b[2]}, spacing, prices ? &*prices : nullptr);
    };
    // The voxels q around p: what they cost, and what is expected of the nearest of them.
    const auto inPart = [&](std::size_t p, const auto& use) {
        const std::size_t first = p - p % whole;
        for (std::size_t q = first; q < first + whole; ++q) {
            if (classes[q] != classes[p]) {
                use(costBetween(wayOf(p - first), wayOf(q - first)),
                    ofLabels ? classes[q] : static_cast<double>(q - first + 1));
            }
        }
        for (std::size_t axis = 0; axis < each.axes && each.borderIsBackground && classes[p] != 0; ++axis) {
            Way beyond = wayOf(p - first);
            for (const std::int64_t edge : {std::int64_t{-1}, static_cast<std::int64_t>(n[axis])}) {
                beyond[axis] = edge;
                use(costBetween(wayOf(p - first), beyond), 0.0);
            }
        }
    };
    std::vector<float> distances(voxels);
    std::vector<double> nearest(voxels);
    std::vector<double> costs(voxels, none);
    for (std::size_t p = 0; p < voxels; ++p) {
        const bool isObject = classes[p] != 0;
        if (each.side == (isObject ? DistanceSide::OUTSIDE : DistanceSide::INSIDE)) {
            nearest[p] = ofLabels ? classes[p] : static_cast<double>(p % whole + 1);
            continue;
        }
        inPart(p, [&](double cost, double what) {
            if (cost < costs[p]) {
                costs[p] = cost;
                nearest[p] = what;
            }
        });
        const double distance = each.metric == DistanceMetric::EUCLIDEAN ? std::sqrt(costs[p]) : costs[p];
        distances[p] = static_cast<float>(!isObject && each.side == DistanceSide::SIGNED ? -distance : distance);
    }
    // In the world, which of several is nearest is left to roundings.
    const auto isNearest = [&](std::size_t p, double found) {
        bool isAsNear = found == nearest[p];
        inPart(p, [&](double cost, double what) {
            isAsNear = isAsNear || (each.inWorld && what == found && cost <= costs[p] * (1 + 1e-12));
        });
        return isAsNear;
    };
    const auto compare = [&](OptimLevelType level, bool withNearest) {
        const DistanceImages images = runDistanceMap(each, image, withNearest, level);
        const auto* const found = reinterpret_cast<const float*>(images.distances.getInternalBuffer());
        for (std::size_t p = 0; p < voxels; ++p) {
            const bool isSame =
                found[p] == distances[p] || (each.inWorld && found[p] == std::nextafter(distances[p], found[p]));
            ASSERT_TRUE(isSame) << found[p] << " instead of " << distances[p] << " at " << p << ", level " << level;
            if (withNearest) {
                const double voxel = valueAt(images.nearest, p);
                ASSERT_TRUE(isNearest(p, voxel)) << voxel << " instead of " << nearest[p] << " at " << p;
            }
        }
    };
    for (const OptimLevelType level : runnableLevels()) {
        ASSERT_NO_FATAL_FAILURE(compare(level, false));
    }
    if (each.hasNearest()) {
        ASSERT_NO_FATAL_FAILURE(compare(VEC_AVX, true));
    }
}

/// Objects of some voxels across, of which a share is not background.
io::MemoryImage blobs(const Extents& extents, double share, std::size_t across, std::uint64_t seed, VoxelTypes type,
                      Interpretations meaning) {
    io::MemoryImage image = makeImage(
        {.voxelType = type, .extents = extents, .interpretation = meaning},
        [&](std::size_t x, std::size_t y, std::size_t z, std::size_t t, std::size_t s) {
            std::uint64_t hash = ((x / across * 7919 + y / across * 104729 + z / across * 1299709 + t * 15485863 +
                                   s * 32452843 + seed * 49979687) *
                                  2654435761U) ^
                                 seed;
            hash = (hash ^ hash >> 15) * 2246822519U;
            const std::int64_t value = meaning == RIX_LABEL ? static_cast<std::int64_t>(1 + (hash >> 30 & 1U)) : 1;
            return static_cast<double>(hash >> 9 & 1023U) < share * 1024 ? value : 0;
        });
    image.setSpacingOf(COLUMNS, 0.7);
    image.setSpacingOf(ROWS, -1.3);
    image.setSpacingOf(PLANS, 2.1);
    return image;
}

std::vector<DistanceCase> allDistanceCases(std::size_t axes) {
    std::vector<DistanceCase> cases;
    for (const auto metric :
         {DistanceMetric::EUCLIDEAN, DistanceMetric::CITY_BLOCK, DistanceMetric::CHESSBOARD, DistanceMetric::CHAMFER}) {
        for (const auto side : {DistanceSide::INSIDE, DistanceSide::OUTSIDE, DistanceSide::SIGNED}) {
            for (const bool inWorld : {false, true}) {
                for (const bool border : {false, true}) {
                    // Chamfers know no lengths, but prices that fit 16 bits in an image, and others.
                    const bool isDear = metric == DistanceMetric::CHAMFER && inWorld;
                    cases.push_back({axes, metric, side, inWorld && !isDear, border,
                                     !isDear     ? ""
                                     : axes == 2 ? "1000,1400,2200"
                                                 : "1000,1400,1700"});
                }
            }
        }
    }
    return cases;
}

TEST(DistanceMap, IsTheLeastOverAllVoxelsInImagesOfAllSmallExtents) {
    for (std::size_t columns = 1; columns <= 6; ++columns) {
        for (std::size_t rows = 1; rows <= 5; ++rows) {
            const std::uint64_t seed = columns * 31 + rows;
            const Interpretations meaning = seed % 2 == 0 ? RIX_LABEL : RIX_BINARY;
            const auto image = blobs({columns, rows, 2, 1, 2}, 0.6, 1, seed, RIX_UINT8, meaning);
            for (const DistanceCase& each : allDistanceCases(2)) {
                ASSERT_NO_FATAL_FAILURE(expectDistances(each, image));
            }
            for (const DistanceCase& each : allDistanceCases(3)) {
                ASSERT_NO_FATAL_FAILURE(expectDistances(
                    each, blobs({columns, rows, seed % 4 + 1, 2, 1}, 0.7, 1, seed, RIX_UINT16, meaning)));
            }
        }
    }
}

/// Through bands, tiles, whole vectors and what is left of them.
TEST(DistanceMap, IsTheLeastOverAllVoxelsInImagesOfManyBlocks) {
    const access::ScopedBlockBytes manyBlocks(1024);
    const std::tuple<Extents, double, std::size_t> shapes[] = {
        {{53, 21, 1, 1, 1}, 0.5, 1},  {{47, 25, 1, 1, 1}, 0.97, 1},  {{53, 25, 1, 1, 1}, 0.6, 9},
        {{131, 3, 2, 1, 1}, 0.99, 1}, {{2, 211, 1, 1, 1}, 0.98, 1},  {{49, 23, 1, 1, 1}, 0.999, 1},
        {{9, 7, 13, 1, 1}, 0.98, 1},  {{19, 2, 25, 1, 1}, 0.995, 1}, {{18, 9, 7, 1, 1}, 0.7, 5},
    };
    std::uint64_t seed = 3;
    for (const auto& [extents, share, across] : shapes) {
        ++seed;
        const auto binary = blobs(extents, share, across, seed, RIX_UINT8, RIX_BINARY);
        const auto labels = blobs(extents, share, across, seed, RIX_UINT32, RIX_LABEL);
        for (const DistanceCase& each : allDistanceCases(extents[2] > 2 ? 3 : 2)) {
            ASSERT_NO_FATAL_FAILURE(expectDistances(each, each.borderIsBackground ? labels : binary));
        }
    }
}

/// What a few background voxels are far away from: the order of places is all that bounds the search.
TEST(DistanceMap, FindsWhatIsFarAway) {
    for (const auto& [x0, y0] : {std::pair{0, 0}, std::pair{300, 7}, std::pair{150, 5}}) {
        const auto image = makeImage(
            {.extents = {301, 8, 1, 1, 1}, .interpretation = RIX_BINARY}, [&](std::size_t x, std::size_t y, auto...) {
                const bool isSeed = x == static_cast<std::size_t>(x0) && y == static_cast<std::size_t>(y0);
                return isSeed || (x == 40 && y == 0) || (x == 41 && y == 7) ? 0 : 1;
            });
        for (const DistanceCase& each : allDistanceCases(2)) {
            if (!each.borderIsBackground) {
                ASSERT_NO_FATAL_FAILURE(expectDistances(each, image));
            }
        }
    }
}

TEST(DistanceMap, TellsLabelsOfEveryTypeApart) {
    for (const VoxelTypes type : realTypes) {
        for (const Interpretations meaning : {RIX_LABEL, RIX_VALUE}) {
            const auto image = blobs({29, 17, 2, 1, 1}, 0.8, 3, 11, type, meaning);
            for (const DistanceSide side : {DistanceSide::INSIDE, DistanceSide::SIGNED}) {
                ASSERT_NO_FATAL_FAILURE(expectDistances({.axes = 2, .side = side, .weights = {}}, image));
                ASSERT_NO_FATAL_FAILURE(expectDistances({.axes = 3, .side = side, .weights = {}}, image));
            }
        }
    }
}

}  // namespace
}  // namespace rix::test
