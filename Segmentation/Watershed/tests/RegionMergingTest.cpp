// Merged regions against the definition: neighbours are kept as sets of labels.

#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <tuple>

#include <rix/segmentation/RegionMerging2d.h>
#include <rix/segmentation/RegionMerging3d.h>

#include "Testing.h"

namespace rix::segmentation {
namespace {

struct MergedRegion {
    double sum = 0.0;
    double count = 0.0;
    std::set<double> neighbors{};
    double mean() const { return sum / count; }
};

/// Of a plane or volume. @param farthest the largest sum of squares of a step to a neighbour
std::vector<double> mergedReference(std::vector<double> labels, const std::vector<double>& values,
                                    const std::array<std::int64_t, 3>& n, int farthest, double threshold) {
    std::map<double, MergedRegion> regions;
    for (std::int64_t i = 0; i < n[0] * n[1] * n[2]; ++i) {
        const double label = labels[static_cast<std::size_t>(i)];
        const double value = values[static_cast<std::size_t>(i)];
        if (label == 0.0) {
            continue;
        }
        MergedRegion& region = regions[label];
        region.sum += std::isfinite(value) ? value : 0.0;
        region.count += std::isfinite(value) ? 1.0 : 0.0;
        for (int step = 0; step < 27; ++step) {
            const std::int64_t d[3] = {step % 3 - 1, step / 3 % 3 - 1, step / 9 - 1};
            const std::int64_t x = i % n[0] + d[0];
            const std::int64_t y = i / n[0] % n[1] + d[1];
            const std::int64_t z = i / n[0] / n[1] + d[2];
            if (d[0] * d[0] + d[1] * d[1] + d[2] * d[2] > farthest || x < 0 || y < 0 || z < 0 || x >= n[0] ||
                y >= n[1] || z >= n[2]) {
                continue;
            }
            const double other = labels[static_cast<std::size_t>((z * n[1] + y) * n[0] + x)];
            if (other != 0.0 && other != label) {
                region.neighbors.insert(other);
            }
        }
    }
    for (bool changes = true; changes;) {
        std::set<std::tuple<double, double, double>> pairs;
        for (const auto& [label, region] : regions) {
            for (const double other : region.neighbors) {
                const double difference = std::abs(region.mean() - regions[other].mean());
                if (difference <= threshold) {
                    pairs.emplace(difference, std::min(label, other), std::max(label, other));
                }
            }
        }
        changes = !pairs.empty();
        std::map<double, double> partOf;
        for (const auto& [label, region] : regions) {
            partOf[label] = label;
        }
        for (const auto& [difference, first, second] : pairs) {
            const double low = std::min(partOf[first], partOf[second]);
            const double high = std::max(partOf[first], partOf[second]);
            if (low == high || !(std::abs(regions[low].mean() - regions[high].mean()) <= threshold)) {
                continue;
            }
            const MergedRegion gone = regions[high];
            regions.erase(high);
            regions[low].sum += gone.sum;
            regions[low].count += gone.count;
            regions[low].neighbors.insert(gone.neighbors.begin(), gone.neighbors.end());
            for (auto& [label, part] : partOf) {
                part = part == high ? low : part;
            }
            std::replace(labels.begin(), labels.end(), high, low);
        }
        for (auto& [label, region] : regions) {
            std::set<double> neighbors;
            for (const double other : region.neighbors) {
                neighbors.insert(partOf[other]);
            }
            neighbors.erase(label);
            region.neighbors = neighbors;
        }
    }
    return labels;
}

template <class Filter>
std::vector<double> mergeRegions(const ImageModel& labels, const ImageModel& values, double threshold,
                                 int neighborhood) {
    io::MemoryImage merged;
    Filter filter;
    filter.setInputLabelImage(&labels);
    filter.setInputGrayImage(&values);
    filter.setThreshold(threshold);
    filter.neighborhood = neighborhood;
    filter.setOutputLabelImage(&merged);
    filter.run();
    EXPECT_EQ(merged.getVoxelType(), labels.getVoxelType());
    return test::samplesOf<double>(merged);
}

/// Labels in blobs with gaps of 0, many of them beside each other, and values of few levels, so that many are equal.
io::MemoryImage crumbs(VoxelTypes type, const test::Extents& extents, std::size_t seed, std::int64_t levels) {
    return test::makeImage({.voxelType = type, .extents = extents}, [=](auto c, auto y, auto z, auto, auto) {
        const std::size_t cell = c / 2 + y / 2 * 31 + z * 77 + seed * 1009;
        return static_cast<std::int64_t>((cell * 2654435761U >> 7) % static_cast<std::size_t>(levels));
    });
}

TEST(RegionMerging, MergesTheNearestPairsUntilNoneIsNear) {
    std::size_t merged = 0;
    for (std::size_t seed = 0; seed < 12; ++seed) {
        const io::MemoryImage labels = crumbs(seed % 2 == 0 ? RIX_UINT8 : RIX_INT32, {17, 12, 1, 1, 1}, seed, 60);
        const io::MemoryImage values = crumbs(RIX_INT16, {17, 12, 1, 1, 1}, seed + 50, seed % 3 == 0 ? 5 : 200);
        for (const double threshold : {0.0, 1.5, 12.0, 60.0}) {
            for (const int neighborhood : {0, 1}) {
                const std::vector<double> expected =
                    mergedReference(test::samplesOf<double>(labels), test::samplesOf<double>(values), {17, 12, 1},
                                    neighborhood + 1, threshold);
                ASSERT_EQ(mergeRegions<RegionMerging2d>(labels, values, threshold, neighborhood), expected)
                    << seed << ", " << threshold;
                merged += expected != test::samplesOf<double>(labels) ? 1U : 0U;
            }
        }
    }
    EXPECT_GT(merged, 40U);
    const io::MemoryImage labels = crumbs(RIX_UINT16, {8, 7, 5, 1, 1}, 3, 40);
    const io::MemoryImage values = crumbs(RIX_FLOAT32, {8, 7, 5, 1, 1}, 9, 100);
    for (const int neighborhood : {0, 1, 2}) {
        EXPECT_EQ(mergeRegions<RegionMerging3d>(labels, values, 15.0, neighborhood),
                  mergedReference(test::samplesOf<double>(labels), test::samplesOf<double>(values), {8, 7, 5},
                                  neighborhood + 1, 15.0));
    }
}

TEST(RegionMerging, RegionsWithoutFiniteValuesStayAlone) {
    const io::MemoryImage labels = test::makeImage({.voxelType = RIX_UINT8, .extents = {6, 1, 1, 1, 1}},
                                                   [](auto c, auto, auto, auto, auto) { return c / 2 + 1; });
    io::MemoryImage values = test::makeImage({.voxelType = RIX_FLOAT32, .extents = {6, 1, 1, 1, 1}},
                                             [](auto, auto, auto, auto, auto) { return 4; });
    auto* const samples = reinterpret_cast<float*>(values.getImageBuffer());
    samples[0] = std::numeric_limits<float>::infinity();
    samples[2] = std::numeric_limits<float>::quiet_NaN();
    samples[3] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(mergeRegions<RegionMerging2d>(labels, values, 1e30, 1), (std::vector<double>{1, 1, 2, 2, 3, 3}));
    samples[3] = 5;
    EXPECT_EQ(mergeRegions<RegionMerging2d>(labels, values, 1.0, 1), (std::vector<double>{1, 1, 1, 1, 1, 1}));
}

}  // namespace
}  // namespace rix::segmentation
