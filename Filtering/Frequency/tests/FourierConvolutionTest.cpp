// The convolutions through the Fourier transform against their definition in double precision.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include <rix/access/SampleCast.h>
#include <rix/filtering/frequency/FourierConvolution2d.h>
#include <rix/filtering/frequency/FourierConvolution3d.h>

#include "Failures.h"
#include "ImageFactories.h"
#include "RunFilter.h"
#include "WindowReference.h"

namespace rix::test {
namespace {

using access::BorderPolicy;
using filtering::frequency::FourierConvolution2d;
using filtering::frequency::FourierConvolution3d;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

double at(const io::MemoryImage& image, const Extents& p) {
    double sample = 0;
    ConstRawData row = nullptr;
    EXPECT_TRUE(image.getConstRowAt(1, row, p[0], p[1], p[2], p[3], p[4]));
    access::castRowFrom(image.getVoxelType(), row, &sample, 1);
    return sample;
}

io::MemoryImage makeKernel(const Extents& extents) {
    return makeImage({.voxelType = RIX_FLOAT32, .extents = extents}, [](auto x, auto y, auto z, auto, auto) {
        return 0.5 * std::sin(1.0 + 3.0 * static_cast<double>(x) + 5.0 * static_cast<double>(y)) +
               0.1 * static_cast<double>(z);
    });
}

template <class Filter>
io::MemoryImage convolve(const ImageModel& image, const ImageModel& kernel, BorderPolicy policy) {
    Filter filter;
    filter.setInputKernelImage(&kernel);
    filter.setBorderPolicy(policy);
    filter.setBorderValue(7);
    return runFilter(filter, image);
}

io::MemoryImage reference(const ImageModel& image, const io::MemoryImage& kernel, BorderPolicy policy) {
    const Extents n = helper::getExtents(kernel);
    return windowReference(image, RIX_FLOAT64, policy, 7, [&](const Neighbours& around) {
        double sum = 0;
        forEachPosition(n, [&](const Extents& p) {
            const auto offset = [&](std::size_t axis) {
                return static_cast<std::int64_t>(n[axis] / 2) - static_cast<std::int64_t>(p[axis]);
            };
            sum += at(kernel, p) * around(offset(0), offset(1), offset(2));
        });
        return sum;
    });
}

template <class Filter>
void expectTheDefinition(const Extents& extents, const Extents& window) {
    const io::MemoryImage kernel = makeKernel(window);
    double weights = 0;
    forEachPosition(window, [&](const Extents& p) { weights += std::abs(at(kernel, p)); });
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64}) {
        const io::MemoryImage image = makeRandomImage({.voxelType = type, .extents = extents}, 5, Extremes::None);
        double largest = 7;
        forEachPosition(extents, [&](const Extents& p) { largest = std::max(largest, std::abs(at(image, p))); });
        for (const BorderPolicy policy : {BorderPolicy::MIRROR, BorderPolicy::CONTINUE, BorderPolicy::FIXED}) {
            const io::MemoryImage result = convolve<Filter>(image, kernel, policy);
            const io::MemoryImage expected = reference(image, kernel, policy);
            ASSERT_EQ(result.getVoxelType(), type == RIX_FLOAT64 ? RIX_FLOAT64 : RIX_FLOAT32);
            const bool inDouble = type == RIX_FLOAT64;
            // Tiles have more elements, which makes the bound of the docstring wider than this one. Integers of 32 bits
            // are computed as double and rounded once.
            std::size_t elements = 2;
            for (const std::size_t axis : {0U, 1U, 2U}) {
                elements *= std::max<std::size_t>(extents[axis], window[axis]);
            }
            const double bound =
                (inDouble ? 1e-15 : 3e-7) * std::log2(static_cast<double>(elements)) * largest * weights;
            forEachPosition(extents, [&](const Extents& p) {
                ASSERT_NEAR(at(result, p), at(expected, p), bound)
                    << "type " << type << ", policy " << static_cast<int>(policy) << ", element " << p[0] << ' ' << p[1]
                    << ' ' << p[2] << ", kernel " << window[0] << ' ' << window[1] << ' ' << window[2];
            });
        }
    }
}

TEST(FourierConvolution, EqualsTheDefinition) {
    for (const Extents& window : {Extents{1, 1, 1, 1, 1}, Extents{4, 1, 1, 1, 1}, Extents{1, 5, 1, 1, 1},
                                  Extents{5, 4, 1, 1, 1}, Extents{31, 26, 1, 1, 1}}) {
        expectTheDefinition<FourierConvolution2d>({23, 17, 2, 1, 2}, window);
    }
    expectTheDefinition<FourierConvolution2d>({1, 19, 1, 1, 1}, {1, 3, 1, 1, 1});
    for (const Extents& window : {Extents{3, 3, 3, 1, 1}, Extents{1, 1, 4, 1, 1}, Extents{2, 5, 9, 1, 1}}) {
        expectTheDefinition<FourierConvolution3d>({13, 9, 7, 2, 1}, window);
    }
}

/// A kernel with one weight moves the image: what many tiles give can be told without summing.
template <class Filter>
void expectAShift(const Extents& extents, const Extents& window, const Extents& place) {
    const io::MemoryImage image = makeRandomImage({.voxelType = RIX_FLOAT32, .extents = extents}, 11, Extremes::None);
    const io::MemoryImage kernel =
        makeImage({.voxelType = RIX_UINT8, .extents = window},
                  [&](auto x, auto y, auto z, auto, auto) { return x == place[0] && y == place[1] && z == place[2]; });
    const io::MemoryImage result = convolve<Filter>(image, kernel, BorderPolicy::CONTINUE);
    double worst = 0;
    forEachPosition(extents, [&](const Extents& p) {
        Extents source = p;
        for (const std::size_t axis : {0U, 1U, 2U}) {
            const auto moved =
                static_cast<std::int64_t>(p[axis] + window[axis] / 2) - static_cast<std::int64_t>(place[axis]);
            source[axis] = static_cast<std::size_t>(
                std::clamp<std::int64_t>(moved, 0, static_cast<std::int64_t>(extents[axis]) - 1));
        }
        worst = std::max(worst, std::abs(at(result, p) - at(image, source)));
    });
    EXPECT_LE(worst, 3e-7 * 18 * 1000);
}

TEST(FourierConvolution, OfManyTilesHasNoSeams) {
    expectAShift<FourierConvolution2d>({1100, 700, 1, 1, 1}, {61, 44, 1, 1, 1}, {0, 43, 0, 0, 0});
    expectAShift<FourierConvolution2d>({500, 600, 1, 1, 1}, {401, 3, 1, 1, 1}, {399, 0, 0, 0, 0});
    expectAShift<FourierConvolution3d>({90, 81, 75, 1, 1}, {9, 30, 8, 1, 1}, {8, 0, 7, 0, 0});
    // Tiles that all threads share.
    expectAShift<FourierConvolution2d>({900, 1500, 1, 1, 1}, {800, 601, 1, 1, 1}, {799, 7, 0, 0, 0});
    expectAShift<FourierConvolution3d>({90, 81, 75, 1, 1}, {70, 60, 61, 1, 1}, {3, 59, 60, 0, 0});
}

TEST(FourierConvolution, OnlyWindowsWithWhatIsNotFiniteAreNaN) {
    io::MemoryImage image = makeImage({.voxelType = RIX_FLOAT32, .extents = {400, 380, 1, 1, 1}},
                                      [](auto x, auto y, auto, auto, auto) -> double {
                                          return x == 200 && y == 10 ? nan : x == 399 && y == 379 ? infinity : 1.0;
                                      });
    const auto expectNaN = [&](const Extents& window) {
        const io::MemoryImage kernel =
            makeImage({.voxelType = RIX_FLOAT64, .extents = window}, [](auto, auto, auto, auto, auto) { return 0.25; });
        const io::MemoryImage result = convolve<FourierConvolution2d>(image, kernel, BorderPolicy::FIXED);
        // The window of a result reaches half of its even extent before it, less one, and half behind it.
        const auto sees = [&](const Extents& p, std::size_t x, std::size_t y) {
            return p[0] + window[0] / 2 >= x && p[0] <= x + (window[0] - 1) / 2 && p[1] + window[1] / 2 >= y &&
                   p[1] <= y + (window[1] - 1) / 2;
        };
        forEachPosition(helper::getExtents(image), [&](const Extents& p) {
            ASSERT_EQ(std::isnan(at(result, p)), sees(p, 200, 10) || sees(p, 399, 379)) << p[0] << ' ' << p[1];
        });
    };
    expectNaN({6, 3, 1, 1, 1});
    expectNaN({1500, 301, 1, 1, 1});  // in a tile that all threads share
    const io::MemoryImage broken = makeImage({.voxelType = RIX_FLOAT64, .extents = {3, 1, 1, 1, 1}},
                                             [](auto x, auto, auto, auto, auto) { return x == 1 ? nan : 1.0; });
    const io::MemoryImage nothing = convolve<FourierConvolution2d>(image, broken, BorderPolicy::MIRROR);
    EXPECT_TRUE(std::isnan(at(nothing, {17, 100, 0, 0, 0})));
}

TEST(FourierConvolution, RefusesKernelsThatItCannotUse) {
    const io::MemoryImage image = makeRandomImage({.extents = {8, 8, 2, 1, 1}}, 1);
    io::MemoryImage volume = makeKernel({3, 3, 2, 1, 1});
    EXPECT_THROW(convolve<FourierConvolution2d>(image, volume, BorderPolicy::MIRROR), RuleException);
    EXPECT_NO_THROW(convolve<FourierConvolution3d>(image, volume, BorderPolicy::MIRROR));
    const io::MemoryImage frames = makeKernel({3, 3, 1, 2, 1});
    EXPECT_THROW(convolve<FourierConvolution3d>(image, frames, BorderPolicy::MIRROR), RuleException);
    FourierConvolution3d filter;
    filter.setInputImage(&image);
    filter.setInputKernelImage(&volume);
    filter.setOutputImage(&volume);
    EXPECT_THROW(filter.run(), RuleException) << "an output that is the kernel";
}

}  // namespace
}  // namespace rix::test
