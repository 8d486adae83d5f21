// Convolutions and correlations against their definition in double precision.

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include <rix/access/VoxelTypeLists.h>
#include <rix/filtering/linear/Convolution2d.h>
#include <rix/filtering/linear/Convolution3d.h>

#include "Failures.h"
#include "ImageSamples.h"
#include "KernelFactors.h"
#include "RunFilter.h"
#include "WindowReference.h"

namespace rix::test {
namespace {

using access::BorderPolicy;
using namespace filtering::linear;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

struct Weights {
    KernelExtents extents;
    std::vector<double> values;
};

/// No product of lines.
Weights uneven(const KernelExtents& extents, double largest = 1.0) {
    Weights weights{extents, std::vector<double>(extents[0] * extents[1] * extents[2])};
    for (std::size_t i = 0; i < weights.values.size(); ++i) {
        const auto x = static_cast<double>(i);
        weights.values[i] = i % 4 == 3 ? 0.0 : largest * (std::sin(1.0 + x * x) + 0.25);
    }
    return weights;
}

Weights product(const std::vector<double>& x, const std::vector<double>& y, const std::vector<double>& z) {
    Weights weights{{x.size(), y.size(), z.size()}, {}};
    for (const double c : z) {
        for (const double b : y) {
            for (const double a : x) {
                weights.values.push_back(a * b * c);
            }
        }
    }
    return weights;
}

void setKernel(Convolution2d& filter, const Weights& weights) {
    filter.setKernel({weights.extents[0], weights.extents[1], weights.values});
}
void setKernel(Convolution3d& filter, const Weights& weights) {
    filter.setKernel({weights.extents[0], weights.extents[1], weights.extents[2], weights.values});
}

/// What the definition gives, and the sums of the magnitudes of the products.
std::array<io::MemoryImage, 2> reference(const ImageModel& image, const Weights& weights, ConvolutionMode mode,
                                         BorderPolicy policy, double divisor) {
    std::array<io::MemoryImage, 2> results;
    for (const bool ofMagnitudes : {false, true}) {
        results[ofMagnitudes ? 1 : 0] = windowReference(image, RIX_FLOAT64, policy, 7, [&](const Neighbours& around) {
            double sum = 0;
            std::size_t element = 0;
            const auto [m, n, p] = weights.extents;
            for (std::size_t k = 0; k < p; ++k) {
                for (std::size_t j = 0; j < n; ++j) {
                    for (std::size_t i = 0; i < m; ++i) {
                        const auto offset = [mode](std::size_t index, std::size_t extent) {
                            const auto d = static_cast<std::int64_t>(extent / 2) - static_cast<std::int64_t>(index);
                            return mode == ConvolutionMode::CONVOLUTION ? d : -d;
                        };
                        const double term =
                            weights.values[element++] / divisor * around(offset(i, m), offset(j, n), offset(k, p));
                        sum += ofMagnitudes ? std::abs(term) : term;
                    }
                }
            }
            return sum;
        });
    }
    return results;
}

template <class Filter>
void expectTheDefinition(const Extents& extents, const Weights& weights, bool isTransformed = false) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64}) {
        const io::MemoryImage image = makeRandomImage({.voxelType = type, .extents = extents}, 5, Extremes::None);
        for (const int variant : {0, 1, 2}) {
            SCOPED_TRACE("type " + std::to_string(type) + ", variant " + std::to_string(variant) + ", kernel of " +
                         std::to_string(weights.extents[0]) + " columns");
            Filter filter;
            setKernel(filter, weights);
            filter.setMode(variant == 1 ? Filter::CORRELATION : Filter::CONVOLUTION);
            filter.setAutoScale(variant == 2 ? Filter::YES : Filter::NO);
            filter.setBorderPolicy(static_cast<BorderPolicy>(variant));
            filter.setBorderValue(7);
            filter.setOutputType(variant == 0 ? Filter::FLOAT_32_BIT : Filter::SAME_AS_INPUT);
            const io::MemoryImage output = runFilter(filter, image);
            const double sum = std::accumulate(weights.values.begin(), weights.values.end(), 0.0);
            const auto expected = reference(image, weights, filter.getMode(), filter.getBorderPolicy(),
                                            variant == 2 && sum != 0 ? sum : 1.0);
            const bool isInteger = access::contains(access::Integers{}, output.getVoxelType());
            const bool isDouble = type == RIX_FLOAT64 || type == RIX_INT32;
            const double perProduct = static_cast<double>(weights.values.size() + 4) * (isDouble ? 0x1p-53 : 0x1p-24);
            const double ofTransform = isDouble ? 2e-14 : 6e-6;
            const double rounding = output.getVoxelType() == RIX_FLOAT32 ? 0x1p-24 : 0.0;
            const auto results = samplesOf<double>(output);
            const auto exact = samplesOf<double>(expected[0]);
            const auto magnitudes = samplesOf<double>(expected[1]);
            const double largest = *std::max_element(magnitudes.begin(), magnitudes.end());
            access::dispatch(access::Reals{}, output.getVoxelType(), [&](auto tag) {
                using Limits = std::numeric_limits<typename decltype(tag)::type>;
                for (std::size_t i = 0; i < results.size(); ++i) {
                    const double bound = (isTransformed ? ofTransform * largest : perProduct * magnitudes[i]) +
                                         rounding * std::abs(exact[i]) + (isInteger ? 0.5 : 0.0);
                    const double wanted =
                        isInteger ? std::clamp<double>(exact[i], Limits::lowest(), Limits::max()) : exact[i];
                    ASSERT_NEAR(results[i], wanted, bound) << "element " << i;
                }
            });
        }
    }
}

TEST(Convolution, EqualsTheDefinition) {
    for (const Weights& weights :
         {uneven({1, 1, 1}), uneven({3, 3, 1}), uneven({4, 5, 1}), product({1, 4, 2, -3, 1}, {-1, 0, 0, 0.1}, {1}),
          product({0.3}, {1, 2, 3, 4}, {1}), uneven({41, 1, 1}, 1e-30)}) {
        expectTheDefinition<Convolution2d>({23, 9, 2, 1, 2}, weights);
    }
    for (const Weights& weights :
         {uneven({3, 3, 3}), uneven({2, 1, 4}), product({1, 2, 1}, {0.5, 1, 3, 1}, {-1, 0, 2, 0.75}),
          product({1, 2, 1}, {1, 0, -1}, {1})}) {
        expectTheDefinition<Convolution3d>({13, 7, 6, 2, 1}, weights);
    }
}

TEST(Convolution, EqualsTheDefinitionThroughTheFourierTransform) {
    expectTheDefinition<Convolution2d>({31, 19, 1, 1, 1}, uneven({18, 15, 1}), true);
    expectTheDefinition<Convolution3d>({9, 8, 7, 1, 1}, uneven({9, 8, 10}), true);
}

TEST(Convolution, TakesTheKernelFromAnImage) {
    const io::MemoryImage image = makeRandomImage({.voxelType = RIX_INT16, .extents = {19, 11, 1, 1, 1}}, 3);
    const Weights weights{{3, 2, 1}, {1, -2, 3, 0, 5, 6}};
    const io::MemoryImage kernel = makeImage({.voxelType = RIX_INT8, .extents = {3, 2, 1, 1, 1}},
                                             [&](auto x, auto y, auto...) { return weights.values[y * 3 + x]; });
    Convolution2d ofValue;
    setKernel(ofValue, weights);
    Convolution2d ofImage;
    ofImage.setInputKernelImage(&kernel);
    EXPECT_EQ(samplesOf<float>(runFilter(ofImage, image)), samplesOf<float>(runFilter(ofValue, image)));
    setKernel(ofImage, {{1, 1, 1}, {7}});
    EXPECT_EQ(samplesOf<float>(runFilter(ofImage, image)), samplesOf<float>(runFilter(ofValue, image)))
        << "in place of the value";
    ofImage.setInputKernelImage(nullptr);
    ofImage.setKernel({});
    EXPECT_EQ(messageOf<RuleException>([&] { runFilter(ofImage, image); }),
              "The parameter \"inputKernelImage\" must be set where \"kernel\" has no coefficients.");
    ofValue.setKernel({1, 2, {1, nan}});
    EXPECT_EQ(messageOf<RuleException>([&] { runFilter(ofValue, image); }),
              "The parameter \"kernel\" must have finite coefficients.");
}

/// Products of the rounded coefficients decide, not how near they are to a product of lines.
TEST(Convolution, FindsProductsOfLinesExactly) {
    const auto areFound = [](const Weights& weights) {
        return factorsOf(LaidKernel(weights.extents, weights.values, ConvolutionMode::CORRELATION)).has_value();
    };
    EXPECT_TRUE(areFound(product({1.0 / 3, 1.0 / 3, 0}, {0.1}, {1, -4})));
    EXPECT_FALSE(areFound(product({0, 0}, {0}, {1})));
    EXPECT_FALSE(areFound(product({1e300, 1e-300}, {1e-20, 1}, {1})));
    Weights weights = product({6, 9, 15}, {4, 0, -14}, {3, 5});
    EXPECT_TRUE(areFound(weights));
    for (double& value : weights.values) {
        const double whole = value;
        value = std::nextafter(value, 1000.0);
        EXPECT_FALSE(areFound(weights)) << whole;
        value = whole;
    }
}

TEST(Convolution, LetsNothingThroughZeros) {
    const io::MemoryImage image =
        makeImage({.voxelType = RIX_FLOAT32, .extents = {40, 30, 1, 1, 1}},
                  [](auto x, auto y, auto...) { return x == 20 && y == 15 ? infinity : 1.0; });
    for (const Weights& weights :
         {product({1, 0, 1, 2, -1}, {1, 0, 0, 0, 2}, {1}), uneven({5, 5, 1}), uneven({19, 17, 1})}) {
        Convolution2d filter;
        setKernel(filter, weights);
        filter.setMode(Convolution2d::CORRELATION);
        const auto results = samplesOf<float>(runFilter(filter, image));
        const auto [m, n, p] = weights.extents;
        for (std::size_t i = 0; i < results.size(); ++i) {
            const std::size_t x = 20 + m / 2 - i % 40;
            const std::size_t y = 15 + n / 2 - i / 40;
            const double weight = x < m && y < n ? weights.values[y * m + x] : 0.0;
            if (weight == 0.0) {
                ASSERT_TRUE(std::isfinite(results[i])) << i;
            } else {
                ASSERT_EQ(results[i], weight > 0 ? infinity : -infinity) << i;
            }
        }
    }
}

}  // namespace
}  // namespace rix::test
