// Noise: its generator against published words, its distributions by moments and tests with fixed seeds, its
// independence of everything but seed and index.

#include <rix/synthesis/AddNoise.h>
#include <rix/synthesis/ConstantImage.h>
#include <rix/synthesis/NoiseImage.h>

#include "NoiseKernels.h"
#include "Philox.h"
#include "SynthesisTestSupport.h"

namespace rix::test {
namespace {

using namespace synthesis;

TEST(Philox, GivesThePublishedWords) {
    // From the known answers that come with the authors' library.
    EXPECT_EQ(philox::words({0, 0, 0, 0}, {0, 0}), (philox::Counter{0x6627e8d5, 0xe169c58d, 0xbc57ac4c, 0x9b00dbd8}));
    EXPECT_EQ(philox::words({~0U, ~0U, ~0U, ~0U}, {~0U, ~0U}),
              (philox::Counter{0x408f276d, 0x41c83b0e, 0xa20bc7c6, 0x6d5451fd}));
    EXPECT_EQ(philox::words({0x243f6a88, 0x85a308d3, 0x13198a2e, 0x03707344}, {0xa4093822, 0x299f31d0}),
              (philox::Counter{0xd16cfe09, 0x94fdcceb, 0x5001e420, 0x24126ea1}));
}

TEST(NoiseKernels, AreTheGeneratorAndTheFormulaAtEveryLevel) {
    const NoiseRow row{0x12345678, 0x9abcdef0, 7, 11, 13};
    constexpr std::size_t groups = 500;
    std::vector<std::uint32_t> expected(groups * groupVoxels);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const std::size_t block = i / 64 * 16 + i % 16 + (std::size_t{3} * 16);
        expected[i] = philox::words({static_cast<std::uint32_t>(block), 7, 11, 13}, {row.key0, row.key1})[i % 64 / 16];
    }
    std::vector<float> portable(expected.size());
    noiseKernels(SCALAR).gaussians(row, 3, groups, 0, 1, portable.data());
    for (const OptimLevelType level : {SCALAR, VEC_SSE, VEC_AVX}) {
        if (!devices::Cpu::supports(level)) {
            continue;
        }
        std::vector<std::uint32_t> words(expected.size());
        noiseKernels(level).words(row, 3, groups, words.data());
        EXPECT_EQ(words, expected) << level;
        std::vector<float> deviates(expected.size());
        noiseKernels(level).gaussians(row, 3, groups, 0, 1, deviates.data());
        EXPECT_EQ(deviates, portable) << level;
    }
    double worst = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const bool isSecond = i % 32 >= 16;
        const double u = (static_cast<double>(expected[i - (isSecond ? 16 : 0)] / 2) + 0.5) * 0x1p-31;
        const double angle = 2 * std::numbers::pi * expected[i + (isSecond ? 0 : 16)] * 0x1p-32;
        const double exact = std::sqrt(-2 * std::log(u)) * (isSecond ? std::sin(angle) : std::cos(angle));
        worst = std::max(worst, std::fabs(exact - static_cast<double>(portable[i])));
    }
    EXPECT_LT(worst, 2e-6);
}

struct Sample {
    const char* what;
    NoiseImage::Distribution distribution;
    double mean;
    double deviation;
    ImageGenerator::OutputType type;
    std::function<double(double)> cumulative;  ///< of reals
};

double normalCumulative(double x) {
    return 0.5 * std::erfc(-x / std::numbers::sqrt2);
}

std::vector<double> draw(NoiseImage::Distribution distribution, double mean, double deviation,
                         ImageGenerator::OutputType type, std::int64_t seed,
                         const std::array<std::int64_t, 5>& extents) {
    NoiseImage generator;
    generator.setDistribution(distribution);
    generator.setMean(mean);
    generator.setStandardDeviation(deviation);
    generator.setOutputType(type);
    generator.setSeed(seed);
    return valuesOf(madeBy(generator, extents));
}

struct Moments {
    double mean = 0;
    double variance = 0;
    double skewness = 0;
    double kurtosis = 0;
};

Moments momentsOf(const std::vector<double>& values) {
    const auto n = static_cast<double>(values.size());
    Moments moments;
    for (const double value : values) {
        moments.mean += value / n;
    }
    for (const double value : values) {
        const double d = value - moments.mean;
        moments.variance += d * d / n;
        moments.skewness += d * d * d / n;
        moments.kurtosis += d * d * d * d / n;
    }
    moments.skewness /= std::pow(moments.variance, 1.5);
    moments.kurtosis = moments.kurtosis / (moments.variance * moments.variance) - 3;
    return moments;
}

TEST(NoiseImage, HasMomentsAndDistributionOfReals) {
    const double root3 = std::sqrt(3.0);
    const Sample samples[] = {
        {"uniform", NoiseImage::UNIFORM, 5, 2, ImageGenerator::FLOAT_64_BIT,
         [=](double x) { return std::clamp((x - 5) / (2 * root3 * 2) + 0.5, 0.0, 1.0); }},
        {"normal, float32", NoiseImage::GAUSSIAN, -1, 3, ImageGenerator::FLOAT_32_BIT,
         [](double x) { return normalCumulative((x + 1) / 3); }},
        {"normal, float64", NoiseImage::GAUSSIAN, 1e9, 0.5, ImageGenerator::FLOAT_64_BIT,
         [](double x) { return normalCumulative((x - 1e9) / 0.5); }},
    };
    for (const Sample& sample : samples) {
        for (const std::int64_t seed : {0L, 1L, -77L}) {
            SCOPED_TRACE(String(sample.what) + ", seed " + std::to_string(seed));
            auto values =
                draw(sample.distribution, sample.mean, sample.deviation, sample.type, seed, {301, 103, 4, 2, 2});
            const auto n = static_cast<double>(values.size());
            const Moments moments = momentsOf(values);
            const bool uniform = sample.distribution == NoiseImage::UNIFORM;
            const double kurtosis = uniform ? -1.2 : 0.0;
            // Four standard errors.
            EXPECT_NEAR(moments.mean, sample.mean, 4 * sample.deviation / std::sqrt(n));
            EXPECT_NEAR(moments.variance, sample.deviation * sample.deviation,
                        4 * sample.deviation * sample.deviation * std::sqrt((kurtosis + 2) / n));
            EXPECT_NEAR(moments.skewness, 0, 4 * std::sqrt(6 / n));
            EXPECT_NEAR(moments.kurtosis, kurtosis, 4 * std::sqrt(24 / n));
            // Kolmogorov: the greatest distance is below 1.95 / sqrt(n) in 99.9 % of the samples.
            std::sort(values.begin(), values.end());
            double distance = 0;
            for (std::size_t i = 0; i < values.size(); ++i) {
                const double expected = sample.cumulative(values[i]);
                distance = std::max({distance, std::fabs(expected - static_cast<double>(i) / n),
                                     std::fabs(expected - static_cast<double>(i + 1) / n)});
            }
            EXPECT_LT(distance, 1.95 / std::sqrt(n));
        }
    }
}

/// The greatest chi-square that 99.9 % of samples stay below, after E. B. Wilson and M. M. Hilferty, 1931.
double chiSquareLimit(double degrees) {
    const double t = 2.0 / (9.0 * degrees);
    return degrees * std::pow(1 - t + 3.09 * std::sqrt(t), 3);
}

TEST(NoiseImage, CountsHaveTheProbabilitiesOfPoisson) {
    for (const double mean : {0.0, 0.3, 4.0, 9.99, 10.0, 12.5, 80.0, 1e4}) {
        SCOPED_TRACE(mean);
        const auto values =
            draw(NoiseImage::POISSON, mean, 1, ImageGenerator::SIGNED_INTEGER_32_BIT, 3, {400, 300, 1, 1, 1});
        const auto n = static_cast<double>(values.size());
        const double reach = 6 * std::sqrt(mean) + 10;
        const auto first = static_cast<std::int64_t>(std::max(0.0, mean - reach));
        const auto last = static_cast<std::int64_t>(mean + reach);
        std::vector<double> counts(static_cast<std::size_t>(last - first + 1));
        for (const double value : values) {
            ASSERT_GE(value, static_cast<double>(first));
            ASSERT_LE(value, static_cast<double>(last));
            counts[static_cast<std::size_t>(value) - static_cast<std::size_t>(first)] += 1;
        }
        double chiSquare = 0;
        double degrees = -1;
        double expected = 0;
        double found = 0;
        for (std::size_t i = 0; i < counts.size(); ++i) {
            const double k = static_cast<double>(first) + static_cast<double>(i);
            expected += n * (mean > 0 ? std::exp(k * std::log(mean) - mean - std::lgamma(k + 1)) : k == 0 ? 1.0 : 0.0);
            found += counts[i];
            if (expected >= 20) {  // rare counts are taken together
                chiSquare += (found - expected) * (found - expected) / expected;
                degrees += 1;
                expected = found = 0;
            }
        }
        EXPECT_LE(chiSquare, degrees > 0 ? chiSquareLimit(degrees) : 1e-9);
        EXPECT_NEAR(found, expected, 20);
    }
    const Moments huge =
        momentsOf(draw(NoiseImage::POISSON, 1e15, 1, ImageGenerator::FLOAT_64_BIT, 3, {400, 300, 1, 1, 1}));
    EXPECT_NEAR(huge.mean - 1e15, 0, 4 * std::sqrt(1e15 / 120000));
    EXPECT_NEAR(huge.variance / 1e15, 1, 4 * std::sqrt(2.0 / 120000));
}

TEST(NoiseImage, SaltAndPepperHaveTheirShare) {
    NoiseImage generator;
    generator.setDistribution(NoiseImage::SALT_AND_PEPPER);
    generator.setMean(100);
    generator.setDensity(0.2);
    generator.setOutputType(ImageGenerator::UNSIGNED_INTEGER_8_BIT);
    const auto values = valuesOf(madeBy(generator, {500, 400, 1, 1, 1}));
    const double error = 4 * std::sqrt(0.1 * 0.9 / 200000);
    EXPECT_NEAR(static_cast<double>(std::count(values.begin(), values.end(), 0.0)) / 200000, 0.1, error);
    EXPECT_NEAR(static_cast<double>(std::count(values.begin(), values.end(), 255.0)) / 200000, 0.1, error);
    EXPECT_NEAR(static_cast<double>(std::count(values.begin(), values.end(), 100.0)) / 200000, 0.8, 2 * error);
}

TEST(NoiseImage, IsTheSameInALargerImageAndNeighboursAreIndependent) {
    for (const auto distribution :
         {NoiseImage::UNIFORM, NoiseImage::GAUSSIAN, NoiseImage::POISSON, NoiseImage::SALT_AND_PEPPER}) {
        SCOPED_TRACE(distribution);
        const auto large = draw(distribution, 50, 9, ImageGenerator::FLOAT_32_BIT, 5, {203, 31, 3, 3, 2});
        for (const std::int64_t width : {1, 15, 16, 17, 63, 64, 65, 130}) {
            const auto small = draw(distribution, 50, 9, ImageGenerator::FLOAT_32_BIT, 5, {width, 7, 2, 2, 2});
            for (std::size_t i = 0; i < small.size(); ++i) {
                const auto columns = static_cast<std::size_t>(width);
                const std::size_t x = i % columns;
                const std::size_t y = i / columns % 7;
                const std::size_t z = i / columns / 7 % 2;
                const std::size_t t = i / columns / 14 % 2;
                const std::size_t c = i / columns / 28;
                ASSERT_EQ(small[i], large[(((c * 3 + t) * 3 + z) * 31 + y) * 203 + x]) << i << " of width " << width;
            }
        }
        if (distribution == NoiseImage::SALT_AND_PEPPER) {
            continue;
        }
        // The correlation with the neighbour on each axis, and with another seed.
        const Moments moments = momentsOf(large);
        const auto correlation = [&](const std::vector<double>& other, std::size_t shift) {
            double sum = 0;
            for (std::size_t i = 0; i + shift < large.size(); ++i) {
                sum += (large[i] - moments.mean) * (other[i + shift] - moments.mean);
            }
            return sum / moments.variance / static_cast<double>(large.size() - shift);
        };
        const double limit = 4 / std::sqrt(static_cast<double>(large.size()) / 2);
        for (const std::size_t shift : {1U, 16U, 64U, 203U, 203U * 31U, 203U * 93U, 203U * 279U}) {
            EXPECT_LT(std::fabs(correlation(large, shift)), limit) << shift;
        }
        EXPECT_LT(
            std::fabs(correlation(draw(distribution, 50, 9, ImageGenerator::FLOAT_32_BIT, 6, {203, 31, 3, 3, 2}), 0)),
            limit);
    }
}

TEST(AddNoise, IsTheNoiseImageOnAnImage) {
    ConstantImage constant;
    constant.setValue(40);
    constant.setOutputType(ImageGenerator::FLOAT_64_BIT);
    const io::MemoryImage flat = madeBy(constant, {131, 67, 1, 1, 1});
    const auto add = [&](AddNoise::Distribution distribution, const io::MemoryImage& input) {
        AddNoise algorithm;
        io::MemoryImage output;
        algorithm.setInputImage(&input);
        algorithm.setDistribution(distribution);
        algorithm.setMean(distribution == AddNoise::SPECKLE ? 0.0 : 2.0);
        algorithm.setStandardDeviation(distribution == AddNoise::SPECKLE ? 0.25 : 10.0);
        algorithm.setSeed(9);
        algorithm.setOutputImage(&output);
        algorithm.run();
        return valuesOf(output);
    };
    const auto type = ImageGenerator::FLOAT_64_BIT;
    const std::array<std::int64_t, 5> extents{131, 67, 1, 1, 1};
    const auto normal = draw(NoiseImage::GAUSSIAN, 2, 10, type, 9, extents);
    const auto uniform = draw(NoiseImage::UNIFORM, 2, 10, type, 9, extents);
    const auto relative = draw(NoiseImage::GAUSSIAN, 0, 0.25, type, 9, extents);
    EXPECT_EQ(add(AddNoise::POISSON, flat), draw(NoiseImage::POISSON, 40, 1, type, 9, extents));
    const auto added = add(AddNoise::GAUSSIAN, flat);
    const auto addedUniform = add(AddNoise::UNIFORM, flat);
    const auto speckled = add(AddNoise::SPECKLE, flat);
    constant.setOutputType(ImageGenerator::UNSIGNED_INTEGER_8_BIT);
    const auto bytes = add(AddNoise::GAUSSIAN, madeBy(constant, extents));
    for (std::size_t i = 0; i < added.size(); ++i) {
        EXPECT_EQ(added[i], 40 + normal[i]);
        EXPECT_EQ(addedUniform[i], 40 + uniform[i]);
        EXPECT_EQ(speckled[i], 40 + 40 * relative[i]);
        EXPECT_EQ(bytes[i], std::clamp(std::nearbyint(40 + normal[i]), 0.0, 255.0));
    }
}

}  // namespace
}  // namespace rix::test
