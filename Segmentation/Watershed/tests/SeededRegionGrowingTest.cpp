// Regions that grow, against the definition with a queue that holds every entry.

#include <rix/image/ImageDetails.h>
#include <rix/segmentation/SeededRegionGrowing2d.h>
#include <rix/segmentation/SeededRegionGrowing3d.h>

#include "Testing.h"

namespace rix::test {
namespace {

template <class Growing>
io::MemoryImage grown(const ImageModel& gray, const ImageModel& markers, const ImageModel* mask, int neighborhood) {
    Growing growing;
    io::MemoryImage labels;
    growing.setInputGrayImage(&gray);
    growing.setInputMarkerImage(&markers);
    growing.setInputMaskImage(mask);
    growing.neighborhood = neighborhood;
    growing.setOutputLabelImage(&labels);
    growing.run();
    return labels;
}

/// Of the part of an image that begins at a sample.
void growPlainly(const std::vector<double>& values, const std::vector<bool>& isWall, const Extents& n, int farthest,
                 std::size_t first, std::vector<double>& labels) {
    struct RegionSum {
        double sum = 0;
        double count = 0;
    };
    std::map<double, RegionSum> regions;
    std::set<std::tuple<double, std::size_t, std::size_t, double>> queue;
    std::size_t time = 0;
    const std::size_t voxels = n[0] * n[1] * n[2];
    const auto pushAround = [&](std::size_t p) {
        const RegionSum& region = regions.at(labels[first + p]);
        for (std::int64_t k = 0; k < 27; ++k) {
            const std::int64_t d[3] = {k % 3 - 1, k / 3 % 3 - 1, k / 9 - 1};
            const std::int64_t to[3] = {static_cast<std::int64_t>(p % n[0]) + d[0],
                                        static_cast<std::int64_t>(p / n[0] % n[1]) + d[1],
                                        static_cast<std::int64_t>(p / n[0] / n[1]) + d[2]};
            bool isInside = d[0] * d[0] + d[1] * d[1] + d[2] * d[2] <= farthest;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                isInside = isInside && to[axis] >= 0 && to[axis] < static_cast<std::int64_t>(n[axis]);
            }
            if (!isInside) {
                continue;
            }
            const std::size_t q = static_cast<std::size_t>(to[0]) +
                                  n[0] * (static_cast<std::size_t>(to[1]) + n[1] * static_cast<std::size_t>(to[2]));
            if (labels[first + q] == 0 && !isWall[first + q]) {
                queue.emplace(std::fabs(values[first + q] - region.sum / region.count), time++, q, labels[first + p]);
            }
        }
    };
    const auto add = [&](std::size_t p) {
        regions[labels[first + p]].sum += values[first + p];
        regions[labels[first + p]].count += 1;
    };
    for (std::size_t p = 0; p < voxels; ++p) {
        labels[first + p] = isWall[first + p] ? 0.0 : labels[first + p];
        if (labels[first + p] != 0) {
            add(p);
        }
    }
    for (std::size_t p = 0; p < voxels; ++p) {
        if (labels[first + p] != 0) {
            pushAround(p);
        }
    }
    while (!queue.empty()) {
        const auto [priority, entry, p, label] = *queue.begin();
        queue.erase(queue.begin());
        if (labels[first + p] == 0) {
            labels[first + p] = label;
            add(p);
            pushAround(p);
        }
    }
}

TEST(SeededRegionGrowing, IsThatOfTheDefinition) {
    for (const Extents& extents : {Extents{15, 12, 4, 1, 2}, Extents{1, 19, 2, 1, 1}, Extents{60, 50, 1, 1, 1}}) {
        for (const VoxelTypes type : {RIX_UINT8, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64}) {
            for (const std::uint64_t levels : {4U, 200U}) {
                const auto random = [](std::size_t x, std::size_t y, std::size_t z, std::size_t seed) {
                    return (((x * 7919 + y * 104729 + z * 1299709 + seed) * 0x9E3779B97F4A7C15U) >> 29) & 0xffffU;
                };
                const bool isReal = type == RIX_FLOAT32 || type == RIX_FLOAT64;
                const io::MemoryImage gray =
                    makeImage({.voxelType = type, .extents = extents},
                              [&](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t c) {
                                  const std::uint64_t value = random(x, y, z + 7 * c, 2);
                                  return isReal && value % 11 == 0
                                             ? (value % 2 == 0 ? std::nan("") : std::numeric_limits<double>::infinity())
                                             : static_cast<double>(value % levels) + (isReal ? 0.1 : 0.0);
                              });
                const io::MemoryImage markers = makeImage({.voxelType = RIX_INT16, .extents = extents},
                                                          [&](std::size_t x, std::size_t y, std::size_t z, auto...) {
                                                              const std::int64_t label =
                                                                  static_cast<std::int64_t>(random(x, y, z, 3) % 5) - 2;
                                                              return random(x, y, z, 4) % 12 == 0 ? label : 0;
                                                          });
                const io::MemoryImage mask = makeImage(
                    {.extents = extents},
                    [&](std::size_t x, std::size_t y, std::size_t z, auto...) { return random(x, y, z, 5) % 5; });
                const std::vector<double> values = samplesOf<double>(gray);
                const std::vector<double> masked = samplesOf<double>(mask);
                for (const bool isMasked : {false, true}) {
                    std::vector<bool> isWall;
                    for (std::size_t i = 0; i < values.size(); ++i) {
                        isWall.push_back(!std::isfinite(values[i]) || (isMasked && masked[i] == 0));
                    }
                    for (const auto& [axes, neighborhood, farthest] :
                         {std::tuple{2, 0, 1}, {2, 1, 2}, {3, 0, 1}, {3, 1, 2}, {3, 2, 3}}) {
                        const Extents part{extents[0], extents[1], axes == 3 ? extents[2] : 1, 1, 1};
                        std::vector<double> expected = samplesOf<double>(markers);
                        for (std::size_t first = 0; first < values.size(); first += part[0] * part[1] * part[2]) {
                            growPlainly(values, isWall, part, farthest, first, expected);
                        }
                        const ImageModel* const used = isMasked ? &mask : nullptr;
                        const io::MemoryImage labels =
                            axes == 2 ? grown<segmentation::SeededRegionGrowing2d>(gray, markers, used, neighborhood)
                                      : grown<segmentation::SeededRegionGrowing3d>(gray, markers, used, neighborhood);
                        ASSERT_EQ(samplesOf<double>(labels), expected)
                            << helper::describeImage(gray) << ", axes " << axes << ", " << neighborhood;
                        ASSERT_EQ(labels.getInterpretation(), RIX_LABEL);
                    }
                }
            }
        }
    }
}

}  // namespace
}  // namespace rix::test
