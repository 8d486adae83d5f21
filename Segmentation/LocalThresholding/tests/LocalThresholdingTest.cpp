// Every method against a reference from its definition, with windows beyond all edges.

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include <rix/segmentation/LocalThresholding2d.h>
#include <rix/segmentation/LocalThresholding3d.h>

#include "Levels.h"
#include "Testing.h"

namespace rix::segmentation {
namespace {

using LocalMethod = LocalThresholdingMethod;
using LocalWindow = std::array<std::int32_t, 3>;

constexpr LocalMethod localMethods[] = {LocalMethod::MEAN,    LocalMethod::MEDIAN,  LocalMethod::GAUSSIAN,
                                        LocalMethod::NIBLACK, LocalMethod::SAUVOLA, LocalMethod::PHANSALKAR,
                                        LocalMethod::BERNSEN};

struct LocalNumbers {
    LocalMethod method;
    double weight;
    double offset;
    double contrast;
    double lowest;
    double highest;
};

std::size_t mirroredIndex(std::int64_t i, std::size_t extent) {
    const auto n = static_cast<std::int64_t>(extent);
    i = ((i % (2 * n)) + 2 * n) % (2 * n);
    return static_cast<std::size_t>(i < n ? i : 2 * n - 1 - i);
}

/// What a voxel's window holds, with the weights of a Gaussian.
struct WindowValues {
    std::vector<double> values;
    std::vector<double> weights;
};

double meanOf(const WindowValues& window, bool isWeighted) {
    double sum = 0.0;
    double weights = 0.0;
    for (std::size_t i = 0; i < window.values.size(); ++i) {
        const double weight = isWeighted ? window.weights[i] : 1.0;
        sum += weight * window.values[i];
        weights += weight;
    }
    return sum / weights;
}

/// What a value is compared with; infinite where it does not matter.
double thresholdFor(WindowValues window, const LocalNumbers& n) {
    const double m = meanOf(window, false);
    double variance = 0.0;
    for (const double value : window.values) {
        variance += (value - m) * (value - m);
    }
    const double s = std::sqrt(variance / static_cast<double>(window.values.size()));
    const double range = n.highest - n.lowest;
    switch (n.method) {
        case LocalMethod::MEAN: return m - n.offset;
        case LocalMethod::GAUSSIAN: return meanOf(window, true) - n.offset;
        case LocalMethod::NIBLACK: return m - n.weight * s - n.offset;
        case LocalMethod::SAUVOLA: return m * (1.0 + n.weight * (s / (range / 2.0) - 1.0)) - n.offset;
        case LocalMethod::PHANSALKAR: {
            const double scaled = (m - n.lowest) / range;
            const double t = scaled * (1.0 + 2.0 * std::exp(-10.0 * scaled) + n.weight * (s / range / 0.5 - 1.0));
            return n.lowest + t * range - n.offset;
        }
        case LocalMethod::MEDIAN: {
            const auto middle = window.values.begin() + static_cast<std::ptrdiff_t>(window.values.size() / 2);
            std::nth_element(window.values.begin(), middle, window.values.end());
            return *middle - n.offset;
        }
        case LocalMethod::BERNSEN: break;
    }
    const auto [low, high] = std::minmax_element(window.values.begin(), window.values.end());
    const double half = (*low + *high) / 2.0;
    if (*high - *low < n.contrast) {
        return half > (n.lowest + n.highest) / 2.0 ? -std::numeric_limits<double>::infinity()
                                                   : std::numeric_limits<double>::infinity();
    }
    return half - n.offset;
}

/// Gaussians reach further than windows: to six deviations.
WindowValues windowAt(const std::vector<double>& samples, const test::Extents& extents, std::array<std::size_t, 3> at,
                      const LocalWindow& sizes, bool isGaussian) {
    WindowValues window;
    std::array<std::int64_t, 3> reach{};
    std::array<double, 3> deviations{};
    for (std::size_t a = 0; a < 3; ++a) {
        deviations[a] = (sizes[a] - 1) / 6.0;
        reach[a] = isGaussian ? static_cast<std::int64_t>(std::ceil(6.0 * deviations[a])) : sizes[a] / 2;
    }
    const auto weightOf = [&](std::int64_t d, std::size_t a) {
        const auto distance = static_cast<double>(d);
        return d == 0 ? 1.0 : std::exp(-distance * distance / (2.0 * deviations[a] * deviations[a]));
    };
    for (std::int64_t z = -reach[2]; z <= reach[2]; ++z) {
        for (std::int64_t y = -reach[1]; y <= reach[1]; ++y) {
            for (std::int64_t x = -reach[0]; x <= reach[0]; ++x) {
                const std::size_t column = mirroredIndex(static_cast<std::int64_t>(at[0]) + x, extents[0]);
                const std::size_t row = mirroredIndex(static_cast<std::int64_t>(at[1]) + y, extents[1]);
                const std::size_t plane = mirroredIndex(static_cast<std::int64_t>(at[2]) + z, extents[2]);
                window.values.push_back(samples[(plane * extents[1] + row) * extents[0] + column]);
                window.weights.push_back(weightOf(x, 0) * weightOf(y, 1) * weightOf(z, 2));
            }
        }
    }
    return window;
}

template <class Filter>
void checkAgainstDefinition(VoxelTypes type, const test::Extents& extents, const LocalWindow& sizes) {
    const bool isReal = type == RIX_FLOAT32 || type == RIX_FLOAT64;
    io::MemoryImage input =
        test::makeImage({.voxelType = type, .extents = extents}, [](auto c, auto y, auto z, auto, auto) {
            const auto object = (c / 6 + y / 5) % 2 == 0 ? 60U : 15U;
            return (c < 8 ? 40 : object) + (c * 7 + y * 11 + z * 5) % (c < 8 ? 5U : 33U) + c;
        });
    const std::vector<double> samples = test::samplesOf<double>(input);
    const auto [least, most] = std::minmax_element(samples.begin(), samples.end());
    for (const LocalMethod method : localMethods) {
        LocalNumbers numbers{
            method, 0.3, 1.75, 12.0, type == RIX_INT16 ? -32768.0 : 0.0, type == RIX_INT16 ? 32767.0 : 255.0};
        if (isReal) {
            numbers.lowest = *least;
            numbers.highest = *most;
        }
        Filter filter;
        io::MemoryImage bright;
        io::MemoryImage dark;
        filter.setInputGrayImage(&input);
        filter.setMethod(method);
        filter.setKernelSizeX(sizes[0]);
        filter.setKernelSizeY(sizes[1]);
        if constexpr (requires { filter.kernelSizeZ; }) {
            filter.setKernelSizeZ(sizes[2]);
        }
        filter.setWeight(numbers.weight);
        filter.setOffset(numbers.offset);
        filter.setContrast(numbers.contrast);
        filter.setOutputBinaryImage(&bright);
        filter.run();
        filter.setSide(Filter::DARK);
        filter.setOutputBinaryImage(&dark);
        filter.run();
        EXPECT_EQ(bright.getInterpretation(), RIX_BINARY);
        const std::vector<double> found = test::samplesOf<double>(bright);
        const std::vector<double> others = test::samplesOf<double>(dark);
        std::size_t compared = 0;
        std::size_t brights = 0;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            ASSERT_EQ(found[i] + others[i], 1.0);
            const std::array<std::size_t, 3> at{i % extents[0], i / extents[0] % extents[1],
                                                i / extents[0] / extents[1]};
            const double threshold =
                thresholdFor(windowAt(samples, extents, at, sizes, method == LocalMethod::GAUSSIAN), numbers);
            // Gaussians are computed of a kernel that ends, within 1e-4 of the values.
            const double unsure = method == LocalMethod::GAUSSIAN ? 0.05 : 1e-4;
            if (std::isfinite(threshold) && std::abs(samples[i] - threshold) < unsure) {
                continue;
            }
            ++compared;
            brights += samples[i] > threshold ? 1U : 0U;
            ASSERT_EQ(found[i], samples[i] > threshold ? 1.0 : 0.0)
                << getInfoLocalThresholdingMethod().getLabelFromValue(static_cast<int>(method)) << " at " << at[0]
                << ", " << at[1] << ", " << at[2] << ": " << samples[i] << " and " << threshold;
        }
        EXPECT_GT(compared, samples.size() * 8 / 10);
        const bool mayBeOne = type == RIX_INT16;  // small values of a large range
        EXPECT_TRUE(mayBeOne || (brights > 0 && brights < compared)) << static_cast<int>(method);
    }
}

TEST(LocalThresholding, IsItsDefinition) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_FLOAT32, RIX_FLOAT64}) {
        checkAgainstDefinition<LocalThresholding2d>(type, {37, 23, 1, 1, 1}, {7, 5, 1});
        checkAgainstDefinition<LocalThresholding3d>(type, {21, 13, 4, 1, 1}, {5, 3, 3});
    }
}

/// Voxels at their threshold or next to it, many in a row, none, and values far outside of what is usual.
TEST(LocalThresholding, IsTheSameOnEveryLevelWhereFloatsCannotDecide) {
    for (const double scale : {1.0, 1e-34, 1e36}) {
        const io::MemoryImage image = test::makeImage(
            {.voxelType = RIX_FLOAT32, .extents = {2100, 3, 1, 1, 1}}, [&](auto x, auto y, auto, auto, auto) {
                const auto step = static_cast<double>(x / 700 + (x > 1400 ? (x * 7 + y * 5) % 11 : 0));
                return scale * (100.0 + step + (x % 97 == 0 ? 1e-4 : 0.0));
            });
        for (const LocalMethod method : localMethods) {
            for (const double offset : {0.0, 1e-5}) {
                std::vector<double> scalar;
                for (const OptimLevelType level : test::runnableLevels()) {
                    io::MemoryImage output;
                    LocalThresholding2d filter;
                    filter.setMaxOptimLevel(level);
                    filter.setInputGrayImage(&image);
                    filter.setOutputBinaryImage(&output);
                    filter.setMethod(method);
                    filter.setOffset(scale * offset);
                    filter.setKernelSizeX(5);
                    filter.setKernelSizeY(3);
                    filter.run();
                    scalar = level == SCALAR ? test::samplesOf<double>(output) : scalar;
                    EXPECT_EQ(test::samplesOf<double>(output), scalar) << static_cast<int>(method) << ' ' << scale;
                }
            }
        }
    }
}

TEST(LocalThresholding, ConstantImagesNotANumberAndEvenWindows) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    io::MemoryImage image = test::makeImage({.voxelType = RIX_FLOAT32, .extents = {20, 20, 1, 1, 1}},
                                            [](auto, auto, auto, auto, auto) { return 3; });
    io::MemoryImage output;
    LocalThresholding2d filter;
    filter.setInputGrayImage(&image);
    filter.setOutputBinaryImage(&output);
    filter.setKernelSizeX(3);
    filter.setKernelSizeY(3);
    for (const LocalMethod method : localMethods) {
        // What is constant is not above its own mean; a factor below 1 makes it so.
        filter.setMethod(method);
        filter.run();
        const double expected = method == LocalMethod::SAUVOLA ? 1.0 : 0.0;
        EXPECT_EQ(test::samplesOf<double>(output), std::vector<double>(400, expected)) << static_cast<int>(method);
    }
    reinterpret_cast<float*>(image.getImageBuffer())[10 * 20 + 10] = nan;
    filter.setMethod(LocalMethod::SAUVOLA);
    filter.run();
    EXPECT_EQ(output.getInternalBuffer()[10 * 20 + 9], 0);
    EXPECT_EQ(output.getInternalBuffer()[10 * 20 + 8], 1);
    filter.setKernelSizeY(4);
    EXPECT_THROW(filter.run(), RuleException);
}

}  // namespace
}  // namespace rix::segmentation
