// Superpixels against the method as it is written, voxel by voxel, and connected parts against a flood.

#include <array>
#include <cmath>
#include <limits>
#include <set>

#include <rix/segmentation/Superpixels2d.h>
#include <rix/segmentation/Superpixels3d.h>

#include "Testing.h"

namespace rix::segmentation {
namespace {

using SlicExtents = std::array<std::size_t, 3>;

struct SlicCenterReference {
    std::array<double, 3> at;
    std::vector<float> values;
};

/// The values and a grid that is given: the rest of the method.
struct SlicReference {
    SlicExtents extents;
    SlicExtents counts;
    double side;
    double compactness;
    std::vector<std::vector<float>> channels;
    std::vector<SlicCenterReference> centers{};

    std::size_t voxels() const { return extents[0] * extents[1] * extents[2]; }
    SlicExtents placeOf(std::size_t i) const {
        return {i % extents[0], i / extents[0] % extents[1], i / extents[0] / extents[1]};
    }

    void begin() {
        for (std::size_t i = 0; i < counts[0] * counts[1] * counts[2]; ++i) {
            const SlicExtents cell{i % counts[0], i / counts[0] % counts[1], i / counts[0] / counts[1]};
            SlicCenterReference center{};
            std::size_t voxel = 0;
            for (std::size_t a = 3; a-- > 0;) {
                center.at[a] = (static_cast<double>(cell[a]) + 0.5) * stepOf(a) - 0.5;
                voxel = voxel * extents[a] + static_cast<std::size_t>(center.at[a] + 0.5);
            }
            for (const auto& channel : channels) {
                center.values.push_back(channel[voxel]);
            }
            centers.push_back(center);
        }
    }
    double stepOf(std::size_t a) const { return static_cast<double>(extents[a]) / static_cast<double>(counts[a]); }

    /// Of equally near centres the one in the earlier row of cells, then the first.
    std::size_t nearest(std::size_t i) const {
        const SlicExtents at = placeOf(i);
        const auto weight = static_cast<float>(std::pow(compactness / side, 2.0));
        for (double windows = 1.0;; windows += 1.0) {
            float least = std::numeric_limits<float>::infinity();
            double leastRow = 0.0;
            std::size_t best = centers.size();
            for (std::size_t c = 0; c < centers.size(); ++c) {
                std::array<double, 3> apart{};
                bool isNear = true;
                for (std::size_t a = 0; a < 3; ++a) {
                    apart[a] = centers[c].at[a] - static_cast<double>(at[a]);
                    isNear = isNear && std::abs(apart[a]) <= windows * stepOf(a);
                }
                if (!isNear) {
                    continue;
                }
                // As rounded as the method has it: columns from the start of a window.
                const double first = std::max(std::ceil(centers[c].at[0] - windows * stepOf(0)), 0.0);
                const float along = static_cast<float>(static_cast<double>(at[0]) - first) -
                                    static_cast<float>(centers[c].at[0] - first);
                const auto across = static_cast<float>(apart[1] * apart[1] + apart[2] * apart[2]);
                float distance = along * along * weight + across * weight;
                for (std::size_t k = 0; k < channels.size(); ++k) {
                    const float difference = channels[k][i] - centers[c].values[k];
                    distance = distance + difference * difference;
                }
                const double row = std::floor((centers[c].at[2] + 0.5) / stepOf(2)) * 1e6 +
                                   std::floor((centers[c].at[1] + 0.5) / stepOf(1));
                if (distance < least || (distance == least && row < leastRow)) {
                    least = distance;
                    leastRow = row;
                    best = c;
                }
            }
            if (best < centers.size()) {
                return best;
            }
        }
    }

    std::vector<std::size_t> divide(int iterations) {
        begin();
        std::vector<std::size_t> numbers(voxels());
        for (int iteration = 1;; ++iteration) {
            for (std::size_t i = 0; i < voxels(); ++i) {
                numbers[i] = nearest(i);
            }
            if (iteration == iterations) {
                return numbers;
            }
            for (std::size_t c = 0; c < centers.size(); ++c) {
                std::array<double, 3> sum{};
                std::vector<double> sums(channels.size());
                double count = 0.0;
                for (std::size_t i = 0; i < voxels(); ++i) {
                    if (numbers[i] == c) {
                        count += 1.0;
                        for (std::size_t a = 0; a < 3; ++a) {
                            sum[a] += static_cast<double>(placeOf(i)[a]);
                        }
                        for (std::size_t k = 0; k < channels.size(); ++k) {
                            sums[k] += static_cast<double>(channels[k][i]);
                        }
                    }
                }
                for (std::size_t a = 0; count > 0.0 && a < 3; ++a) {
                    centers[c].at[a] = sum[a] / count;
                }
                for (std::size_t k = 0; count > 0.0 && k < channels.size(); ++k) {
                    centers[c].values[k] = static_cast<float>(sums[k] / count);
                }
            }
        }
    }

    /// The connected parts, small ones given away.
    std::vector<double> connect(const std::vector<std::size_t>& numbers) const {
        std::vector<double> labels(voxels(), 0.0);
        const double smallest =
            static_cast<double>(voxels()) / static_cast<double>(counts[0] * counts[1] * counts[2]) / 4.0;
        const std::array<std::size_t, 3> steps{1, extents[0], extents[0] * extents[1]};
        double count = 0.0;
        for (std::size_t first = 0; first < voxels(); ++first) {
            if (labels[first] != 0.0) {
                continue;
            }
            std::vector<std::size_t> part{first};
            std::set<std::size_t> seen{first};
            for (std::size_t next = 0; next < part.size(); ++next) {
                const std::size_t i = part[next];
                for (std::size_t a = 0; a < 3; ++a) {
                    for (const bool up : {false, true}) {
                        if (up ? placeOf(i)[a] + 1 < extents[a] : placeOf(i)[a] > 0) {
                            const std::size_t other = up ? i + steps[a] : i - steps[a];
                            if (numbers[other] == numbers[i] && seen.insert(other).second) {
                                part.push_back(other);
                            }
                        }
                    }
                }
            }
            double label = 0.0;
            for (std::size_t a = 0; a < 3 && label == 0.0; ++a) {
                label = placeOf(first)[a] > 0 ? labels[first - steps[a]] : 0.0;
            }
            if (label == 0.0 || static_cast<double>(part.size()) >= smallest) {
                label = ++count;
            }
            for (const std::size_t i : part) {
                labels[i] = label;
            }
        }
        return labels;
    }
};

io::MemoryImage patches(VoxelTypes type, const test::Extents& extents) {
    return test::makeImage({.voxelType = type, .extents = extents}, [](auto c, auto y, auto z, auto, auto s) {
        return (c / 7 + y / 5 + z / 3 + s) % 3 * 40 + (c * 5 + y * 3 + z + s * 11) % 13;
    });
}

template <class Filter>
std::vector<double> superpixels(const ImageModel& image, int segments, double compactness, int iterations) {
    io::MemoryImage labels;
    Filter filter;
    filter.setInputImage(&image);
    filter.setNumberOfSegments(segments);
    filter.setCompactness(compactness);
    filter.setNumberOfIterations(iterations);
    filter.setOutputLabelImage(&labels);
    filter.run();
    EXPECT_EQ(labels.getNumOf(SPECTRAL_SERIES), 1U);
    return test::samplesOf<double>(labels);
}

std::vector<std::vector<float>> channelsOf(const ImageModel& image) {
    const std::vector<float> samples = test::samplesOf<float>(image);
    const std::size_t count = image.getNumOf(SPECTRAL_SERIES);
    const auto size = static_cast<std::ptrdiff_t>(samples.size() / count);
    std::vector<std::vector<float>> channels;
    for (auto at = samples.begin(); at != samples.end(); at += size) {
        channels.emplace_back(at, at + size);
    }
    return channels;
}

TEST(Superpixels, AreThoseOfTheMethod) {
    for (const std::size_t channels : {1U, 2U, 3U}) {
        for (const double compactness : {0.5, 10.0, 60.0}) {
            const io::MemoryImage image = patches(RIX_UINT8, {40, 30, 1, 1, channels});
            // 12 centres of 10 x 10 pixels.
            SlicReference reference{{40, 30, 1}, {4, 3, 1}, 10.0, compactness, channelsOf(image)};
            EXPECT_EQ(superpixels<Superpixels2d>(image, 12, compactness, 5), reference.connect(reference.divide(5)))
                << channels << " channels, " << compactness;
        }
    }
    const io::MemoryImage volume = patches(RIX_INT16, {16, 12, 8, 1, 1});
    SlicReference reference{{16, 12, 8}, {4, 3, 2}, 4.0, 12.0, channelsOf(volume)};
    EXPECT_EQ(superpixels<Superpixels3d>(volume, 24, 12.0, 4), reference.connect(reference.divide(4)));
}

TEST(Superpixels, ScaledRealsDivideAsIntegersDo) {
    // Values that fit the steps that reals are rounded to.
    const io::MemoryImage bytes = patches(RIX_UINT8, {50, 33, 2, 1, 1});
    io::MemoryImage reals = patches(RIX_FLOAT64, {50, 33, 2, 1, 1});
    auto* const samples = reinterpret_cast<double*>(reals.getImageBuffer());
    const std::vector<double> values = test::samplesOf<double>(bytes);
    const double most = *std::max_element(values.begin(), values.end());
    for (std::size_t i = 0; i < values.size(); ++i) {
        samples[i] = values[i] == 0.0    ? std::numeric_limits<double>::quiet_NaN()
                     : values[i] == most ? std::numeric_limits<double>::infinity()
                                         : values[i] * 0x1p900;
    }
    samples[0] = 0.0;
    samples[1] = most * 0x1p900;
    const std::vector<double> expected = superpixels<Superpixels2d>(bytes, 20, 0.0, 3);
    const std::vector<double> found = superpixels<Superpixels2d>(reals, 20, 0.0, 3);
    std::size_t differences = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        differences += found[i] != expected[i] ? 1U : 0U;
    }
    // Two pixels are others, and so are the means.
    EXPECT_LT(differences, expected.size() / 50);
    // Constant images are divided by the grid, whatever the value.
    const auto constant = [](std::int64_t value) {
        return test::makeImage({.voxelType = RIX_FLOAT32, .extents = {20, 10, 1, 1, 1}},
                               [=](auto, auto, auto, auto, auto) { return value; });
    };
    const std::vector<double> halves = superpixels<Superpixels2d>(constant(-7), 2, 10.0, 10);
    for (std::size_t i = 0; i < halves.size(); ++i) {
        ASSERT_EQ(halves[i], i % 20 < 10 ? 1.0 : 2.0);
    }
}

}  // namespace
}  // namespace rix::segmentation
