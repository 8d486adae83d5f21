// Basins against minima by the definition: an image that is filled until nothing changes. And objects that are cut.

#include <rix/image/ImageDetails.h>
#include <rix/segmentation/MarkerBasedWatershed2d.h>
#include <rix/segmentation/MarkerBasedWatershed3d.h>
#include <rix/segmentation/SplitTouchingObjects2d.h>
#include <rix/segmentation/SplitTouchingObjects3d.h>
#include <rix/segmentation/Watershed2d.h>
#include <rix/segmentation/Watershed3d.h>

#include "Testing.h"

namespace rix::test {
namespace {

constexpr double wallValue = std::numeric_limits<double>::quiet_NaN();

/// A plane or volume, with the neighbours of its voxels.
class SmallGrid {
public:
    SmallGrid(const Extents& n, int farthest) : m_around(n[0] * n[1] * n[2]) {
        forEachPosition({n[0], n[1], n[2], 1, 1}, [&](const Extents& p) {
            for (int k = 0; k < 27; ++k) {
                const std::int64_t d[3] = {k % 3 - 1, k / 3 % 3 - 1, k / 9 - 1};
                const std::int64_t length = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
                bool isInside = length > 0 && length <= farthest;
                std::size_t to[3] = {};
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    to[axis] = p[axis] + static_cast<std::size_t>(d[axis]);
                    isInside = isInside && to[axis] < n[axis];
                }
                if (isInside) {
                    m_around[p[0] + n[0] * (p[1] + n[1] * p[2])].push_back(to[0] + n[0] * (to[1] + n[1] * to[2]));
                }
            }
        });
    }
    const std::vector<std::size_t>& around(std::size_t p) const { return m_around[p]; }

    /// The connected set of a voxel for which something holds, in which it holds for all pairs.
    template <class Holds>
    std::vector<std::size_t> setOf(std::size_t start, const Holds& holds) const {
        std::vector<std::size_t> set{start};
        std::set<std::size_t> known{start};
        for (std::size_t i = 0; i < set.size(); ++i) {
            for (const std::size_t q : around(set[i])) {
                if (holds(q) && known.insert(q).second) {
                    set.push_back(q);
                }
            }
        }
        return set;
    }

private:
    std::vector<std::vector<std::size_t>> m_around;
};

/// The markers of one plane or volume: numbers of its minima.
std::vector<double> minimaOf(const std::vector<double>& values, const SmallGrid& grid, double depth) {
    std::vector<double> filled;
    for (const double value : values) {
        filled.push_back(value + depth);
    }
    for (bool changes = true; changes;) {
        changes = false;
        for (std::size_t p = 0; p < values.size(); ++p) {
            double least = filled[p];
            for (const std::size_t q : grid.around(p)) {
                least = std::isnan(filled[q]) ? least : std::min(least, filled[q]);
            }
            least = std::max(least, values[p]);
            changes = changes || least < filled[p];
            filled[p] = least;
        }
    }
    std::vector<double> numbers(values.size(), 0.0);
    double last = 0;
    for (std::size_t p = 0; p < values.size(); ++p) {
        if (std::isnan(filled[p]) || numbers[p] != 0) {
            continue;
        }
        const auto plateau = grid.setOf(p, [&](std::size_t q) { return filled[q] == filled[p]; });
        const bool isMinimum = std::all_of(plateau.begin(), plateau.end(), [&](std::size_t r) {
            const auto& around = grid.around(r);
            return std::none_of(around.begin(), around.end(), [&](std::size_t q) { return filled[q] < filled[p]; });
        });
        if (isMinimum) {
            ++last;
            for (const std::size_t r : plateau) {
                numbers[r] = last;
            }
        }
    }
    return numbers;
}

struct BasinCase {
    io::MemoryImage relief;
    std::optional<io::MemoryImage> mask = std::nullopt;
    double depth = 0;
    double area = 0;
};

template <class Watershed, class FromMarkers>
void compareBasins(const BasinCase& from, int neighborhood, int farthest, bool lines) {
    Watershed watershed;
    io::MemoryImage basins;
    watershed.setInputGrayImage(&from.relief);
    watershed.setInputMaskImage(from.mask ? &*from.mask : nullptr);
    watershed.setMinimumDepth(from.depth);
    watershed.setMinimumArea(from.area);
    watershed.neighborhood = neighborhood;
    watershed.setWatershedLines(lines ? Watershed::LINES : Watershed::NONE);
    watershed.setOutputLabelImage(&basins);
    watershed.run();

    const Extents n = helper::getExtents(from.relief);
    constexpr bool ofVolumes = std::is_same_v<Watershed, segmentation::Watershed3d>;
    const Extents part{n[0], n[1], ofVolumes ? n[2] : 1, 1, 1};
    const std::size_t voxels = part[0] * part[1] * part[2];
    const SmallGrid grid(part, farthest);
    std::vector<double> values = samplesOf<double>(from.relief);
    const std::vector<double> mask = from.mask ? samplesOf<double>(*from.mask) : std::vector<double>(values.size(), 1);
    std::vector<double> seeds;
    for (std::size_t first = 0; first < values.size(); first += voxels) {
        std::vector<double> piece;
        for (std::size_t p = first; p < first + voxels; ++p) {
            piece.push_back(mask[p] == 0 ? wallValue : values[p]);
        }
        const std::vector<double> numbers = minimaOf(piece, grid, from.depth);
        seeds.insert(seeds.end(), numbers.begin(), numbers.end());
    }
    io::MemoryImage expected;
    const auto flood = [&] {
        std::size_t next = 0;
        const io::MemoryImage markers =
            makeImage({.voxelType = RIX_UINT32, .extents = n}, [&](auto...) { return seeds[next++]; });
        FromMarkers fromMarkers;
        fromMarkers.setInputGrayImage(&from.relief);
        fromMarkers.setInputMarkerImage(&markers);
        fromMarkers.setInputMaskImage(from.mask ? &*from.mask : nullptr);
        fromMarkers.neighborhood = neighborhood;
        fromMarkers.watershedLines = lines ? 1 : 0;
        fromMarkers.setOutputLabelImage(&expected);
        fromMarkers.run();
    };
    flood();
    for (bool areSmall = true; areSmall;) {
        areSmall = false;
        const std::vector<double> labels = samplesOf<double>(expected);
        for (std::size_t first = 0; first < labels.size(); first += voxels) {
            std::map<double, std::size_t> areas;
            std::map<double, double> renamed{{0.0, 0.0}};
            for (std::size_t p = first; p < first + voxels; ++p) {
                ++areas[labels[p]];
            }
            double last = 0;
            for (const auto& [label, area] : areas) {
                if (label != 0) {
                    const bool isSmall = static_cast<double>(area) < from.area;
                    areSmall = areSmall || isSmall;
                    renamed[label] = isSmall ? 0.0 : ++last;
                }
            }
            for (std::size_t p = first; p < first + voxels; ++p) {
                seeds[p] = renamed.at(seeds[p]);
            }
        }
        if (areSmall) {
            flood();
        }
    }
    EXPECT_TRUE(imagesEqual(expected, basins)) << "neighborhood " << neighborhood << (lines ? ", lines" : "")
                                               << ", depth " << from.depth << ", area " << from.area;
}

void compareAllBasins(const BasinCase& from) {
    for (const bool lines : {false, true}) {
        using namespace segmentation;
        compareBasins<Watershed2d, MarkerBasedWatershed2d>(from, 0, 1, lines);
        compareBasins<Watershed2d, MarkerBasedWatershed2d>(from, 1, 2, lines);
        compareBasins<Watershed3d, MarkerBasedWatershed3d>(from, 0, 1, lines);
        compareBasins<Watershed3d, MarkerBasedWatershed3d>(from, 2, 3, lines);
    }
}

std::uint64_t blended(std::size_t x, std::size_t y, std::size_t z, std::size_t seed) {
    return (((x * 7919 + y * 104729 + z * 1299709 + seed) * 0x9E3779B97F4A7C15U) >> 29) & 0xffffU;
}

TEST(Watershed, IsAFloodFromTheMinimaOfTheDefinition) {
    const Extents extents{17, 13, 3, 1, 2};
    const io::MemoryImage mask =
        makeImage({.extents = extents}, [](std::size_t x, std::size_t y, std::size_t z, auto...) {
            return blended(x / 2, y / 2, z, 5) % 3 == 0 ? 0 : 1;
        });
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64}) {
        const io::MemoryImage relief =
            makeImage({.voxelType = type, .extents = extents},
                      [](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t c) {
                          return blended(x / 2, y / 2, z + 3 * c, 1) % 12 * 3 + blended(x, y, z, 2) % 3;
                      });
        for (const double depth : {0.0, 4.0, 9.0}) {
            compareAllBasins({relief, std::nullopt, depth, 0});
            compareAllBasins({relief, mask, depth, 0});
        }
        compareAllBasins({relief, std::nullopt, 0, 12});
        compareAllBasins({relief, mask, 3, 7});
        compareAllBasins({relief, std::nullopt, 0, 10000});
    }
}

TEST(Watershed, MakesOneBasinOfWhatIsFlat) {
    const Extents extents{12, 9, 2, 1, 1};
    // Flat parts of several heights, with and without walls between them.
    for (const std::uint64_t heights : {1U, 3U}) {
        const io::MemoryImage relief = makeImage(
            {.voxelType = RIX_FLOAT32, .extents = extents}, [=](std::size_t x, std::size_t y, std::size_t z, auto...) {
                return x == 4 || y == 5 ? wallValue : static_cast<double>(blended(x / 5, y / 6, z, 3) % heights);
            });
        compareAllBasins({relief});
        compareAllBasins({relief, std::nullopt, 5.0, 0});
    }
    compareAllBasins({makeImage({.extents = extents}, [](auto...) { return 255; })});
}

io::MemoryImage cut(const ImageModel& objects, double contrast, bool inWorld = false) {
    segmentation::SplitTouchingObjects2d splitting;
    io::MemoryImage labels;
    splitting.setInputObjectImage(&objects);
    splitting.setContrast(contrast);
    splitting.setLengthUnit(inWorld ? segmentation::SplitTouchingObjects2d::WORLD
                                    : segmentation::SplitTouchingObjects2d::VOXEL);
    splitting.setOutputLabelImage(&labels);
    splitting.run();
    return labels;
}

double largestSample(const ImageModel& image) {
    const std::vector<double> samples = samplesOf<double>(image);
    return *std::max_element(samples.begin(), samples.end());
}

TEST(SplitTouchingObjects, CutsAtNecksNarrowerThanTheContrastSays) {
    // Two discs of radius 12 whose centres are 20 apart: the neck is 13 wide. Of the third nothing touches.
    const io::MemoryImage discs = makeImage(
        {.extents = {80, 40, 1, 1, 1}, .interpretation = RIX_BINARY}, [](std::size_t x, std::size_t y, auto...) {
            const auto isIn = [&](double cx, double cy, double r) {
                return std::hypot(static_cast<double>(x) - cx, static_cast<double>(y) - cy) <= r;
            };
            return isIn(16, 20, 12) || isIn(36, 20, 12) || isIn(68, 10, 2.5) ? 1 : 0;
        });
    const io::MemoryImage two = cut(discs, 1.5);
    EXPECT_EQ(largestSample(two), 3);
    EXPECT_EQ(two.getInterpretation(), RIX_LABEL);
    EXPECT_EQ(two.getVoxelType(), RIX_UINT32);
    const std::vector<double> labels = samplesOf<double>(two);
    const std::vector<double> objects = samplesOf<double>(discs);
    for (std::size_t i = 0; i < labels.size(); ++i) {
        ASSERT_EQ(labels[i] != 0, objects[i] != 0);
    }
    // The cut lies on the neck: columns 25 and 27 belong to different discs in all rows.
    for (std::size_t y = 15; y < 26; ++y) {
        EXPECT_NE(labels[y * 80 + 24], labels[y * 80 + 28]);
    }
    EXPECT_EQ(largestSample(cut(discs, 8)), 2);
    EXPECT_EQ(largestSample(cut(discs, 100)), 2) << "every object stays one at least";
}

TEST(SplitTouchingObjects, MeasuresInTheWorld) {
    // Ellipses that are discs in the world.
    io::MemoryImage discs = makeImage({.extents = {60, 60, 1, 1, 1}}, [](std::size_t x, std::size_t y, auto...) {
        const auto isIn = [&](double cx, double cy) {
            return std::hypot(static_cast<double>(x) * 0.5 - cx, static_cast<double>(y) * 0.25 - cy) <= 5.0;
        };
        return isIn(7, 7) || isIn(16, 7) ? 7 : 0;
    });
    discs.setSpacingOf(COLUMNS, -0.5);
    discs.setSpacingOf(ROWS, 0.25);
    EXPECT_EQ(largestSample(cut(discs, 0.4, true)), 2);
    EXPECT_EQ(largestSample(cut(discs, 4, true)), 1);
    discs.setSpacingOf(ROWS, 0.0);
    EXPECT_THROW(cut(discs, 0.4, true), RuleException);
    EXPECT_THROW(cut(discs, -1), RuleException);
    EXPECT_EQ(largestSample(cut(makeImage({.extents = {9, 8, 1, 1, 1}}, [](auto...) { return 1; }), 1)), 1);
    EXPECT_EQ(largestSample(cut(makeImage({.extents = {9, 8, 1, 1, 1}}, [](auto...) { return 0; }), 1)), 0);
}

TEST(SplitTouchingObjects, CutsBalls) {
    const io::MemoryImage balls =
        makeImage({.extents = {44, 24, 24, 1, 1}}, [](std::size_t x, std::size_t y, std::size_t z, auto...) {
            const auto isIn = [&](double cx) {
                const double dx = static_cast<double>(x) - cx;
                const double dy = static_cast<double>(y) - 11.5;
                const double dz = static_cast<double>(z) - 11.5;
                return dx * dx + dy * dy + dz * dz <= 100;
            };
            return isIn(12) || isIn(29) ? 1 : 0;
        });
    segmentation::SplitTouchingObjects3d splitting;
    io::MemoryImage labels;
    splitting.setInputObjectImage(&balls);
    splitting.setOutputLabelImage(&labels);
    splitting.run();
    EXPECT_EQ(largestSample(labels), 2);
    splitting.setContrast(6);
    splitting.run();
    EXPECT_EQ(largestSample(labels), 1);
}

}  // namespace
}  // namespace rix::test
