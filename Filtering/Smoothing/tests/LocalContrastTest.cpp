// Unsharp masks and local normalisations against their formulas in double precision.

#include <algorithm>
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include <rix/filtering/smoothing/LocalNormalization2d.h>
#include <rix/filtering/smoothing/LocalNormalization3d.h>
#include <rix/filtering/smoothing/UnsharpMask2d.h>
#include <rix/filtering/smoothing/UnsharpMask3d.h>

#include "BoxReference.h"
#include "GaussianReference.h"
#include "ImageFactories.h"
#include "ImageSamples.h"

namespace rix::test {
namespace {

using namespace filtering::smoothing;
using Volume = std::vector<double>;

constexpr std::array<std::size_t, 3> extents{23, 15, 6};

io::MemoryImage imageOf(VoxelTypes type) {
    return makeImage({.voxelType = type, .extents = {extents[0], extents[1], extents[2], 1, 1}},
                     [](std::size_t x, std::size_t y, std::size_t z, auto...) {
                         return (x * 7919 + y * 104729 + z * 1299709) % 97 + (x < 9 ? 20 : 0);
                     });
}

Volume smooth(Volume values, double deviation, bool isVolume, double borderValue) {
    for (std::size_t axis = 0; axis < (isVolume ? 3U : 2U); ++axis) {
        values = gaussianAlong(values, extents, axis, deviation, access::BorderPolicy::FIXED, borderValue);
    }
    return values;
}

template <class Filter>
io::MemoryImage run(Filter& filter, const io::MemoryImage& input, double deviation) {
    io::MemoryImage output;
    filter.setInputImage(&input);
    filter.setStandardDeviation(deviation);
    filter.setBorderPolicy(Filter::FIXED);
    filter.setBorderValue(3);
    filter.setOutputImage(&output);
    filter.run();
    return output;
}

template <class Filter>
void checkUnsharpMask(VoxelTypes type, double deviation, bool isVolume) {
    Filter filter;
    filter.setAmount(1.7);
    const io::MemoryImage input = imageOf(type);
    const io::MemoryImage output = run(filter, input, deviation);
    EXPECT_EQ(output.getVoxelType(), type);
    const Volume in = volumeOf<double>(input, 0, 0);
    const Volume mean = smooth(in, deviation, isVolume, 3);
    const Volume out = volumeOf<double>(output, 0, 0);
    const bool isInteger = access::contains(access::Integers{}, type);
    for (std::size_t i = 0; i < in.size(); ++i) {
        double expected = in[i] + 1.7 * (in[i] - mean[i]);
        if (type == RIX_UINT8) {
            expected = std::clamp(expected, 0.0, 255.0);
        }
        ASSERT_NEAR(out[i], expected, (isInteger ? 0.5 : 0.0) + 1.7 * 2e-5 * 117) << i;
    }
}

TEST(UnsharpMask, IsItsFormula) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64}) {
        for (const double deviation : {1.2, 5.0}) {
            checkUnsharpMask<UnsharpMask2d>(type, deviation, false);
            checkUnsharpMask<UnsharpMask3d>(type, deviation, true);
        }
    }
}

template <class Filter>
void checkNormalization(VoxelTypes type, double deviation, bool isVolume, double tolerance) {
    Filter filter;
    const io::MemoryImage input = imageOf(type);
    const io::MemoryImage output = run(filter, input, deviation);
    EXPECT_EQ(output.getVoxelType(), type == RIX_FLOAT64 ? RIX_FLOAT64 : RIX_FLOAT32);
    const Volume in = volumeOf<double>(input, 0, 0);
    Volume squares = in;
    std::transform(in.begin(), in.end(), squares.begin(), [](double value) { return value * value; });
    squares = smooth(squares, deviation, isVolume, 9);
    const Volume mean = smooth(in, deviation, isVolume, 3);
    const Volume out = volumeOf<double>(output, 0, 0);
    for (std::size_t i = 0; i < in.size(); ++i) {
        ASSERT_NEAR(out[i], (in[i] - mean[i]) / std::sqrt(squares[i] - mean[i] * mean[i]), tolerance) << i;
    }
}

TEST(LocalNormalization, IsItsFormula) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_UINT32, RIX_FLOAT32, RIX_FLOAT64}) {
        checkNormalization<LocalNormalization2d>(type, 1.5, false, 1e-5);
        checkNormalization<LocalNormalization3d>(type, 1.5, true, 1e-5);
        checkNormalization<LocalNormalization2d>(type, 6, false, 1e-3);
    }
}

TEST(LocalNormalization, IsZeroWhereNothingVaries) {
    for (const double deviation : {0.0, 2.0, 5.0}) {
        const io::MemoryImage flat =
            makeImage({.voxelType = RIX_FLOAT64, .extents = {40, 9, 1, 1, 1}}, [](auto...) { return 0.1; });
        io::MemoryImage output;
        LocalNormalization2d filter;
        filter.setInputImage(&flat);
        filter.setStandardDeviation(deviation);
        filter.setOutputImage(&output);
        filter.run();
        for (const double value : volumeOf<double>(output, 0, 0)) {
            ASSERT_EQ(value, 0.0);
        }
    }
}

}  // namespace
}  // namespace rix::test
