// Local statistics against their formulas in extended precision.

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <rix/access/ForcedStores.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/filtering/smoothing/LocalStatistics2d.h>
#include <rix/filtering/smoothing/LocalStatistics3d.h>

#include "ImageSamples.h"
#include "RunFilter.h"
#include "WindowReference.h"

namespace rix::test {
namespace {

using access::BorderPolicy;
using namespace filtering::smoothing;

template <class Filter>
void setWindow(Filter& filter, const std::array<int, 3>& window) {
    filter.setKernelSizeX(window[0]);
    filter.setKernelSizeY(window[1]);
    if constexpr (requires { filter.setKernelSizeZ(1); }) {
        filter.setKernelSizeZ(window[2]);
    }
}

/// @param isVariance else the mean
double formula(const Neighbours& around, const std::array<int, 3>& window, bool isVariance) {
    const auto sumOf = [&](const auto& term) {
        long double sum = 0;
        for (int dz = -(window[2] / 2); dz < window[2] - window[2] / 2; ++dz) {
            for (int dy = -(window[1] / 2); dy < window[1] - window[1] / 2; ++dy) {
                for (int dx = -(window[0] / 2); dx < window[0] - window[0] / 2; ++dx) {
                    sum += term(static_cast<long double>(around(dx, dy, dz)));
                }
            }
        }
        return sum / (static_cast<long double>(window[0]) * window[1] * window[2]);
    };
    const long double mean = sumOf([](long double value) { return value; });
    return static_cast<double>(isVariance ? sumOf([mean](long double value) { return (value - mean) * (value - mean); })
                                          : mean);
}

template <class Filter>
void expectTheFormulas(const io::MemoryImage& image, const std::array<int, 3>& window, double meanSquare) {
    const bool isInteger = access::contains(access::Integers{}, image.getVoxelType());
    for (const BorderPolicy policy : {BorderPolicy::MIRROR, BorderPolicy::CONTINUE, BorderPolicy::FIXED}) {
        Filter filter;
        setWindow(filter, window);
        filter.setBorderPolicy(policy);
        filter.setBorderValue(9);
        const auto expectedOf = [&](bool isVariance) {
            return test::samplesOf<double>(
                windowReference(image, RIX_FLOAT64, policy, 9,
                                [&](const Neighbours& around) { return formula(around, window, isVariance); }));
        };
        const auto means = expectedOf(false);
        const auto variances = expectedOf(true);
        for (const auto statistic : {Filter::MEAN, Filter::VARIANCE, Filter::STANDARD_DEVIATION}) {
            filter.setStatistic(statistic);
            const io::MemoryImage output = runFilter(filter, image);
            const bool isDouble = image.getVoxelType() == RIX_FLOAT64;
            ASSERT_EQ(output.getVoxelType(), isDouble ? RIX_FLOAT64 : RIX_FLOAT32);
            const auto results = test::samplesOf<double>(output);
            const double e = isInteger ? 0.0 : (window[0] + window[1] + window[2] + 4) * 0x1p-52;
            const double last = isDouble ? 0x1p-52 : 0x1p-23;
            for (std::size_t i = 0; i < results.size(); ++i) {
                const double root = std::sqrt(variances[i]);
                const double ofVariance = 1.5 * e * meanSquare;
                if (statistic == Filter::MEAN) {
                    ASSERT_NEAR(results[i], means[i], e * std::sqrt(meanSquare) + last * std::abs(means[i])) << i;
                } else if (statistic == Filter::VARIANCE) {
                    ASSERT_NEAR(results[i], variances[i], ofVariance + last * variances[i]) << i;
                } else {
                    // Of a variance near 0 the root of its error, else about half of it over the deviation.
                    const double bound = root > 0 ? ofVariance / root : 0.0;
                    ASSERT_NEAR(results[i], root, std::min(std::sqrt(ofVariance), bound + 1e-300) + last * root) << i;
                }
            }
        }
    }
}

TEST(LocalStatistics, AreTheirFormulas) {
    for (const VoxelTypes type :
         {RIX_UINT8, RIX_INT8, RIX_UINT16, RIX_INT16, RIX_UINT32, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64}) {
        const io::MemoryImage plane =
            makeRandomImage({.voxelType = type, .extents = {31, 12, 2, 1, 2}}, 3, Extremes::None);
        const io::MemoryImage volume =
            makeRandomImage({.voxelType = type, .extents = {13, 6, 7, 2, 1}}, 4, Extremes::None);
        for (const std::array<int, 3>& window : {std::array{3, 3, 1}, {1, 1, 1}, {8, 5, 1}, {4, 26, 1}, {70, 2, 1}}) {
            SCOPED_TRACE("type " + std::to_string(type) + ", window " + std::to_string(window[0]));
            expectTheFormulas<LocalStatistics2d>(plane, window, 1e6);
        }
        for (const std::array<int, 3>& window : {std::array{3, 3, 3}, {2, 9, 4}, {1, 3, 17}}) {
            SCOPED_TRACE("type " + std::to_string(type) + ", window " + std::to_string(window[0]));
            expectTheFormulas<LocalStatistics3d>(volume, window, 1e6);
        }
    }
}

/// Rows of bytes begin and end within lines of the cache, where they are written past it.
TEST(LocalStatistics, AreTheirFormulasHoweverTheyAreStored) {
    for (const access::Stores stores : {access::Stores::Cached, access::Stores::Streaming}) {
        const access::ForcedStores forced(stores);
        for (const std::size_t width : {std::size_t{15}, std::size_t{48}, std::size_t{67}}) {
            const io::MemoryImage plane = makeRandomImage(
                {.voxelType = width == 48 ? RIX_INT8 : RIX_UINT8, .extents = {width, 9, 1, 1, 1}}, 5, Extremes::None);
            expectTheFormulas<LocalStatistics2d>(plane, {4, 3, 1}, 1e6);
        }
    }
}

/// The largest sums that there are of a type: what overflows, or is rounded, would show.
TEST(LocalStatistics, AreExactAtTheEndsOfIntegers) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT8, RIX_UINT16, RIX_INT16, RIX_UINT32, RIX_INT32}) {
        access::dispatch(access::Integers{}, type, [&](auto tag) {
            using Limits = std::numeric_limits<typename decltype(tag)::type>;
            const io::MemoryImage image = makeImage(
                {.voxelType = type, .extents = {2100, 3, 1, 1, 1}},
                [](auto x, auto...) { return static_cast<std::int64_t>(x % 2 == 0 ? Limits::min() : Limits::max()); });
            for (const auto& [columns, rows] : {std::pair{2, 1}, {16, 16}, {256, 258}, {1024, 1024}}) {
                LocalStatistics2d filter;
                setWindow(filter, {columns, rows, 1});
                const double low = Limits::min();
                const double high = Limits::max();
                filter.setStatistic(LocalStatistics2d::STANDARD_DEVIATION);
                ASSERT_EQ(test::samplesOf<float>(runFilter(filter, image))[1050], static_cast<float>((high - low) / 2));
                filter.setStatistic(LocalStatistics2d::MEAN);
                ASSERT_EQ(test::samplesOf<float>(runFilter(filter, image))[1050], static_cast<float>((high + low) / 2));
            }
        });
    }
}

TEST(LocalStatistics, DoNotDrift) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const VoxelTypes type : {RIX_FLOAT32, RIX_FLOAT64}) {
        const io::MemoryImage image = makeImage({.voxelType = type, .extents = {400, 9, 1, 1, 1}}, [](auto x, auto...) {
            return x == 50 ? 1e18 : x == 200 ? infinity : 0.1;
        });
        for (const int size : {5, 23}) {
            LocalStatistics2d filter;
            setWindow(filter, {size, 3, 1});
            filter.setStatistic(LocalStatistics2d::VARIANCE);
            const auto variances = test::samplesOf<double>(runFilter(filter, image));
            const auto reach = static_cast<std::size_t>(size / 2);
            for (std::size_t i = 0; i < variances.size(); ++i) {
                const std::size_t x = i % 400;
                const auto isNear = [&](std::size_t other) { return x + reach >= other && x <= other + reach; };
                ASSERT_EQ(std::isnan(variances[i]), isNear(200)) << i;
                ASSERT_EQ(variances[i] == 0.0, !isNear(50) && !isNear(200)) << i;
            }
        }
    }
}

}  // namespace
}  // namespace rix::test
